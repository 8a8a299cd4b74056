// SPDX-License-Identifier: Apache-2.0
#include "frame/optimized.hpp"
#include "gauss/fixed_point.hpp"
#include "gauss/level2.hpp"
#include "gauss/portable.hpp"
#include "kip/gauss.h"
#include "levels/processor.hpp"

namespace kip {

namespace {

// The vectorised engine for this processor, asked afresh for every request.
ksys_status gauss_vectorDispatch(const ksImage* source, ksVImage* destination, const ksGaussParams* params,
                                 ksIRegion* requested, ksVImage** out, int64_t& finished) {
  ksys_cpuinfo info;
  const ksys_status status = ksys_cpuinfo_init(&info);
  if (failed(status)) return status;
  if (!hasFeatures(info, ksys_cpuMmxSse2)) return statusFallback;
  const auto smooth = hasFeatures(info, ksys_cpuAvx2) ? gauss_vec2Smooth : gauss_vec1Smooth;
  return smooth(source, destination, params, requested, out, finished);
}

}  // namespace

ksys_status dispatch(const ksImage* source, ksVImage* destination, const ksGaussParams* params, ksIRegion* requested,
                     ksVImage** out, int64_t& finished) {
  return runOptimized(
      L"gauss", [&] { return gauss_vectorDispatch(source, destination, params, requested, out, finished); },
      [&] { return gauss_genericSmooth(source, destination, params, requested, out, finished); });
}

}  // namespace kip

ksys_status kip_gauss(const ksImage* src, ksVImage* dst, const ksGaussParams* params, ksIRegion* region,
                      ksVImage** out) {
  int64_t finished = 0;
  return kip::dispatch(src, dst, params, region, out, finished);
}
