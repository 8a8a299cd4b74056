// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "frame/status.hpp"
#include "geometry/kernel.hpp"
#include "kip/geometry.h"

namespace kip {

[[nodiscard]] constexpr AxisKernel xKernel(const kip_gaussParams& params) {
  return {params.xSample, int64_t{params.xSigma} + 1};
}
[[nodiscard]] constexpr AxisKernel yKernel(const kip_gaussParams& params) {
  return {params.ySample, int64_t{params.ySigma} + 1};
}

[[nodiscard]] constexpr bool isNull(const kstd_rect32& rect) {
  return rect.width <= 0 || rect.height <= 0;
}

// Argument check: sample factors and sigmas that the arithmetic of regions takes.
void checkGeometryParams(const kip_gaussParams* params);

// The destination of a request over all that the source supplies; (0, 0, 0, 0) when that is nothing. Fails as
// checkFits32.
[[nodiscard]] ksys_status gauss_computeDstRect(const kstd_rect32& source, const kip_gaussParams& params,
                                               kstd_rect32& destination);

// The number of bands, at most `maximum`, that a request is worth; 0 and 1 mean the same.
[[nodiscard]] int32_t gauss_computeBandCount(const kip_gaussParams& params, const kstd_rect32& source,
                                             const kstd_rect32& padding, const kstd_rect32& destination,
                                             int32_t maximum);

}  // namespace kip
