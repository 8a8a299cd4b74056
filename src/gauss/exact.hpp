// SPDX-License-Identifier: Apache-2.0
// Level 2's path for every other sigma, with the portable engine's pixels.
#pragma once

#include "gauss/work.hpp"
#include "levels/levels.hpp"

namespace kip {

[[nodiscard]] bool servesExactly(const Level& level, const ksGaussParams& params, const RequestGeometry& geometry);
[[nodiscard]] ksys_status gauss_vec2General(const Level& level, const Work& work);

}  // namespace kip
