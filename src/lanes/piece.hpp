// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kip {

namespace {  // kernel files use it, too: each has its own

// The columns of a piece of a line: whole blocks of `columns`, so few that the piece stays in the first-level cache.
// The first and the last piece hold what is mirrored into the pads, and the last one a block, which would otherwise
// reach back into the piece before.
[[maybe_unused]] int64_t pieceWidth(int64_t width, int64_t leftPad, int64_t rightPad, int64_t columns) {
  constexpr int64_t least = 256;
  const int64_t leastLast = rightPad < columns ? columns : rightPad;
  int64_t piece = ((leftPad < least ? least : leftPad) + columns - 1) / columns * columns;
  while (piece < width && (width - 1) % piece + 1 < leastLast) piece += columns;
  return piece;
}

}  // namespace

}  // namespace kip
