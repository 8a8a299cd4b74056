// SPDX-License-Identifier: Apache-2.0
#include "kip/version.h"

const char* kip_version(void) {
  return KIP_VERSION_STRING;
}
