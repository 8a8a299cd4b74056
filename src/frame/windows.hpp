// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bit>
#include <cstdint>

#include "kip/host/kimg.h"

namespace kip {

// The two kinds of window are one record but for the pixels' constness.
[[nodiscard]] inline kimg_windowConst asConst(const kimg_window& window) {
  return std::bit_cast<kimg_windowConst>(window);
}

// The first pixel of a window's row, counted from its top. The window refers to pixels of that type.
template <typename Pixel>
[[nodiscard]] inline Pixel* rowOf(const kimg_window& window, int64_t row) {
  return static_cast<Pixel*>(window.pixels) + row * window.stride;
}
template <typename Pixel>
[[nodiscard]] inline const Pixel* rowOf(const kimg_windowConst& window, int64_t row) {
  return static_cast<const Pixel*>(window.pixels) + row * window.stride;
}

}  // namespace kip
