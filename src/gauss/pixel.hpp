// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "kip/host/kimg.h"

namespace kip {

template <typename Pixel>
[[nodiscard]] Pixel* pixelAddress(const ksVImage* image, int32_t x, int32_t y) {
  if constexpr (sizeof(Pixel) == 1) {
    return ksImagePixAddr(ksImageVirt(image), x, y);
  } else {
    return ksUSImagePixAddr(ksUSImageVirt(image), x, y);
  }
}

// A grey value as it is stored: truncated toward zero, low bits kept. What a 64-bit integer cannot hold becomes 0.
template <typename Pixel>
[[nodiscard]] inline Pixel storeLow(double value) {
  constexpr double limit = 9223372036854775808.0;  // 2^63
  if (!(value > -limit && value < limit)) return 0;
  return static_cast<Pixel>(static_cast<int64_t>(value));
}

}  // namespace kip
