// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>

#include "kip/host/kstd.h"

namespace kip {

// The rectangle that a reduction along the flagged axes makes of a source rectangle.
[[nodiscard]] constexpr kstd_rect32 gauss2_destRect(const kstd_rect32& src, bool xFlag, bool yFlag) {
  kstd_rect32 dst = src;
  if (xFlag) {
    dst.x >>= 1;  // rounds down
    dst.width = std::max(src.width, 0) >> 1;
  }
  if (yFlag) {
    dst.y >>= 1;
    dst.height = std::max(src.height, 0) >> 1;
  }
  return dst;
}

}  // namespace kip
