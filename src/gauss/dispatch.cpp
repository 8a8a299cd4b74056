// SPDX-License-Identifier: Apache-2.0
#include "frame/optimized.hpp"
#include "gauss/fixed_point.hpp"
#include "gauss/level2.hpp"
#include "gauss/portable.hpp"
#include "kip/gauss.h"

namespace kip {

namespace {

// The vectorised engine for this processor, asked afresh for every request.
ksys_status gauss_vectorDispatch(const ksImage* source, ksVImage* destination, const ksGaussParams* params,
                                 ksIRegion* requested, ksVImage** out, int64_t& finished) {
  ksys_cpuinfo info;
  const ksys_status status = ksys_cpuinfo_init(&info);
  if (failed(status)) return status;
  const Level* const level = levelFor(info, &Level::exact);
  if (level != nullptr) return gauss_vec2Smooth(*level, source, destination, params, requested, out, finished);
  if (levelFor(info, &Level::fixedPoint) == nullptr) return statusFallback;
  return gauss_vec1Smooth(source, destination, params, requested, out, finished);
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
