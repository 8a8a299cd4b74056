// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "lanes/line_request.hpp"
#include "lanes/reach.hpp"

namespace kip {

// The kernel of the first level.
inline constexpr LineVectors vec1Vectors = {.block = 16, .rows = 4};

struct Vec1Line {
  LineRequest line;
  bool isNarrow;  // sums are below 2^32, and `half` is 0
  Reach reach;    // of others
  // A pixel is ((sum + half) >> shift) * multiplier >> finalShift; the first shift leaves 15 bits. Without sampling it
  // saturates as a signed 16-bit number and as a pixel, with sampling it keeps its low bits.
  uint64_t half;
  int32_t shift, finalShift, multiplier;
};

// Take the steps, which have at most as many output rows as there are lanes and leave first sums of 16 bits and sums
// below 2^31, and write the output rows.
void vec1SmoothRows8(const Vec1Line& request, const LineStep* steps, int64_t count, int32_t* sums, int32_t* line,
                     uint8_t* const* out);
void vec1SmoothRows16(const Vec1Line& request, const LineStep* steps, int64_t count, int32_t* sums, int32_t* line,
                      uint16_t* const* out);

}  // namespace kip
