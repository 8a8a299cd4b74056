// SPDX-License-Identifier: Apache-2.0
// Sigmas and standard deviations: a sigma is the width of a box less one, not the standard deviation of the kernel.
// Begin at kip::stddev.
#pragma once

#include <cmath>
#include <cstdint>

#include "error.hpp"

namespace kip {

// The standard deviation, in pixels, of three boxes of width sigma + 1: sqrt(sigma (sigma + 2)) / 2. sigma >= 0.
[[nodiscard]] inline double stddev_of(int32_t sigma) noexcept {
  return std::sqrt(sigma * (sigma + 2.0)) / 2;
}

// The sigma whose kernel comes nearest to a standard deviation of 0 to 2^30 - 1 pixels: {.x_sigma = kip::stddev(2.5)}
// takes 4, whose standard deviation is 2.45. Up to 0.433 it is 0, no smoothing. In whole numbers there is no tie; of
// two that are equally near in doubles it is the smaller. try_stddev leaves `sigma` alone and returns, and stddev
// throws, KIP_STATUS_BAD_SIGMA for a negative or larger one and for not-a-number.
[[nodiscard]] inline ksys_status try_stddev(double pixels, int32_t& sigma) noexcept {
  if (!(pixels >= 0 && pixels <= (1 << 30) - 1)) return KIP_STATUS_BAD_SIGMA;
  const auto below = static_cast<int32_t>(std::sqrt(4 * pixels * pixels + 1) - 1);
  sigma = stddev_of(below + 1) - pixels < pixels - stddev_of(below) ? below + 1 : below;
  return 0;
}
[[nodiscard]] inline int32_t stddev(double pixels) {
  int32_t sigma = 0;
  if (const ksys_status status = try_stddev(pixels, sigma); status < 0) {
    throw error(status, "a standard deviation is no number of pixels from 0 to 2^30 - 1");
  }
  return sigma;
}

}  // namespace kip
