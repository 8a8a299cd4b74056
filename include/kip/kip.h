/* SPDX-License-Identifier: Apache-2.0 */
/* kipgauss: every public header of the library and of its host, for C; kip.hpp is the one for C++. Read gauss.h first:
 * kip_gauss_smooth8_8, and what a pixel is. */
#ifndef KIP_KIP_H
#define KIP_KIP_H

#include "gauss.h"
#include "gauss2.h"
#include "geometry.h"
#include "host/kimg.h"
#include "host/kjob.h"
#include "host/kmath.h"
#include "host/kpel.h"
#include "host/kstd.h"
#include "host/ksys.h"
#include "levels.h"
#include "masked.h"
#include "params.h"
#include "parts.h"
#include "version.h"

#endif
