// SPDX-License-Identifier: Apache-2.0
#include "engine/generic.hpp"
#include "frame/optimized.hpp"
#include "kip/gauss.h"

namespace kip {

namespace {

// The vectorised engine for this processor, asked afresh for every request. This version has none.
ksys_status gauss_vectorDispatch() {
  ksys_cpuinfo info;
  const ksys_status status = ksys_cpuinfo_init(&info);
  return failed(status) ? status : statusFallback;
}

}  // namespace

}  // namespace kip

ksys_status kip_gauss(const ksImage* src, ksVImage* dst, const ksGaussParams* params, ksIRegion* region,
                      ksVImage** out) {
  return kip::runOptimized(
      L"gauss", [] { return kip::gauss_vectorDispatch(); },
      [&] { return kip::gauss_genericSmooth(src, dst, params, region, out); });
}
