// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <limits>

#include "kip/params.h"

namespace kip {

// What is added before truncation.
[[nodiscard]] inline double roundingTerm(const kip_gaussParams& params) {
  return params.roundResult != 0 ? 0.5 : 0.0;
}

// A grey value of 0 or more truncated and limited to the pixel's range; not-a-number gives 0.
template <typename Pixel>
[[nodiscard]] inline Pixel saturate(double value) {
  constexpr double largest = std::numeric_limits<Pixel>::max();
  const double positive = value > 0.0 ? value : 0.0;
  return static_cast<Pixel>(static_cast<int32_t>(positive < largest ? positive : largest));
}

}  // namespace kip
