// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "gauss/portable.hpp"
#include "levels/levels.hpp"

namespace kip {

// The engine of level 2, with that level's kernels. Serves every request, those that its own paths are not made for
// through the portable engine.
[[nodiscard]] ksys_status gauss_vec2Smooth(const Level& level, const ksImage* source, ksVImage* destination,
                                           const ksGaussParams* params, ksIRegion* requested, ksVImage** out,
                                           int64_t& finished);

}  // namespace kip
