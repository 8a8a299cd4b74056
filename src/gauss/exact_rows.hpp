// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "lanes/line_request.hpp"

namespace kip {

// The kernel of the second level's general path.
inline constexpr LineVectors vec2Vectors = {.block = 32, .rows = 8};

// How the running sums along the row are kept: not needed for a box of one column; integers below 2^32 with an integer
// reciprocal; the last one in doubles, of integers up to the second or the third differences; all in doubles.
enum class Vec2Sums { none, integer, narrow, wide, widest };

struct Vec2Line {
  LineRequest line;
  bool isShort;  // first sums down the columns fit in 16 bits
  Vec2Sums sums;
  double divisor;  // every quotient is below 2^31
  bool isRounded;
  // For integers: a quotient is (sum + half) * multiplier >> shift, with 32 <= shift < 64.
  uint32_t half, multiplier;
  int32_t shift;
};

// Takes the steps, which have at most as many output rows as there are lanes and leave sums below 2^31, and writes the
// output rows. `memory`: sums, then line.
void vec2SmoothRows8(const Vec2Line& request, const LineStep* steps, int64_t count, int32_t* memory,
                     uint8_t* const* out);
void vec2SmoothRows16(const Vec2Line& request, const LineStep* steps, int64_t count, int32_t* memory,
                      uint16_t* const* out);

}  // namespace kip
