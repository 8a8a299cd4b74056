// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <cstring>

#include "frame/windows.hpp"

namespace kip {

// The rows of a plane that the source has: below `top` padded ones.
struct PlaneRows {
  int64_t top, count, bottom;

  PlaneRows(const kimg_window& plane, const kstd_rect32& padding)
      : top(-int64_t{padding.y}), count(plane.height - (padding.height - 1)), bottom(plane.height - count - top) {}
};

// Fills the padded rows of a plane: the source's mirrored once with the edge row repeated, 0 beyond.
template <typename Pixel>
void extendRows(const kimg_window& plane, const kstd_rect32& padding) {
  const PlaneRows rows(plane, padding);
  const size_t bytes = static_cast<size_t>(plane.width) * sizeof(Pixel);
  const auto fill = [&](int64_t row, int64_t mirrored) {
    Pixel* const target = rowOf<Pixel>(plane, rows.top + row);
    if (0 <= mirrored && mirrored < rows.count) {
      std::memcpy(target, rowOf<Pixel>(plane, rows.top + mirrored), bytes);
    } else {
      std::memset(target, 0, bytes);
    }
  };
  for (int64_t i = 0; i < rows.top; ++i) fill(-1 - i, i);
  for (int64_t i = 0; i < rows.bottom; ++i) fill(rows.count + i, rows.count - 1 - i);
}

}  // namespace kip
