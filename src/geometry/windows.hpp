// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "frame/status.hpp"
#include "geometry/kernel.hpp"
#include "kip/geometry.h"

namespace kip {

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
