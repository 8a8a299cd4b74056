// SPDX-License-Identifier: Apache-2.0
#include "frame/check.hpp"
#include "geometry/kernel.hpp"
#include "kip/gauss.h"

using kip::AxisKernel;
using kip::check;
using kip::columns;
using kip::makeRegion;
using kip::rows;

ksIRegion* kfGaussGetDstReg(const ksIRegion* src, ksIRegion* dst, int32_t xSample, int32_t ySample, int32_t kx,
                            int32_t ky) {
  check(src != nullptr && dst != nullptr);
  check(xSample >= 1 && ySample >= 1);
  *dst = makeRegion(AxisKernel{xSample, kx}.destinationOf(columns(*src)),
                    AxisKernel{ySample, ky}.destinationOf(rows(*src)));
  return dst;
}

ksIRegion* kfGaussGetDummyReg(const ksIRegion* dst, ksIRegion* dummy, int32_t xSample, int32_t ySample, int32_t kx,
                              int32_t ky) {
  check(dst != nullptr && dummy != nullptr);
  check(xSample >= 1 && ySample >= 1);
  *dummy =
      makeRegion(AxisKernel{xSample, kx}.positionsOf(columns(*dst)), AxisKernel{ySample, ky}.positionsOf(rows(*dst)));
  return dummy;
}
