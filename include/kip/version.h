/* SPDX-License-Identifier: Apache-2.0 */
/* The version of kipgauss: its library, its host and its program share one. The numbers below are the only place where
 * it is written; the build reads them. Semantic versioning: a new major number may break programs, a new minor number
 * adds, a new patch number repairs. */
#ifndef KIP_VERSION_H
#define KIP_VERSION_H

#include "host/ksys.h"

#define KIP_VERSION_MAJOR 0
#define KIP_VERSION_MINOR 1
#define KIP_VERSION_PATCH 0

#define KIP_VERSION_TEXT_(number) #number
#define KIP_VERSION_JOIN_(major, minor, patch) \
  KIP_VERSION_TEXT_(major) "." KIP_VERSION_TEXT_(minor) "." KIP_VERSION_TEXT_(patch)
/* "MAJOR.MINOR.PATCH" of these headers. */
#define KIP_VERSION_STRING KIP_VERSION_JOIN_(KIP_VERSION_MAJOR, KIP_VERSION_MINOR, KIP_VERSION_PATCH)

KSYS_DECLARATIONS_BEGIN

/* "MAJOR.MINOR.PATCH" of the libkiphost that the process runs with; the text is never released. */
const char* kip_version(void);

KSYS_DECLARATIONS_END

#endif
