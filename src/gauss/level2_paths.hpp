// SPDX-License-Identifier: Apache-2.0
// The paths of the second vectorised level, after the set-up. `finished` counts the destination rows.
#pragma once

#include "geometry/regions.hpp"

namespace kip {

// Sigma 1, sample factors up to 3, an 8-bit destination. The source rectangle is at least 32 columns wide.
[[nodiscard]] ksys_status gauss_vec2Sigma1(const ksImage* source, const ksVImage* destination,
                                           const ksGaussParams& params, const RequestGeometry& geometry,
                                           int64_t& finished);

// Sigma 2, an 8-bit destination, by sample factor in x: 1, 2, any other. The source rectangle is at least 32 columns
// wide and 7 rows high.
[[nodiscard]] ksys_status gauss_vec2Sigma2X1(const ksImage* source, const ksVImage* destination,
                                             const ksGaussParams& params, const RequestGeometry& geometry,
                                             int64_t& finished);
[[nodiscard]] ksys_status gauss_vec2Sigma2X2(const ksImage* source, const ksVImage* destination,
                                             const ksGaussParams& params, const RequestGeometry& geometry,
                                             int64_t& finished);
[[nodiscard]] ksys_status gauss_vec2Sigma2XN(const ksImage* source, const ksVImage* destination,
                                             const ksGaussParams& params, const RequestGeometry& geometry,
                                             int64_t& finished);

// Anything that gauss_vec2ServesGeneral accepts: the portable engine's pixels.
[[nodiscard]] ksys_status gauss_vec2General(const ksImage* source, ksVImage* destination, const ksGaussParams& params,
                                            const RequestGeometry& geometry, int64_t& finished);
[[nodiscard]] bool gauss_vec2ServesGeneral(const ksGaussParams& params, const RequestGeometry& geometry);

}  // namespace kip
