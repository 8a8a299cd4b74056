// SPDX-License-Identifier: Apache-2.0
// Level 2's paths for sigma 1 and 2, to an 8-bit destination.
#pragma once

#include "gauss/work.hpp"
#include "levels/levels.hpp"

namespace kip {

// Sample factors up to 3. The source rectangle is at least 32 columns wide.
[[nodiscard]] ksys_status gauss_vec2Sigma1(const Level& level, const Work& work);

// The source rectangle is at least 32 columns wide and 7 rows high.
[[nodiscard]] ksys_status gauss_vec2Sigma2(const Level& level, const Work& work);

}  // namespace kip
