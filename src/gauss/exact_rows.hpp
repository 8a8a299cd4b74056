// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "lanes/line_request.hpp"

namespace kip {

// How the running sums along the row are kept: not needed for a box of one column; integers below 2^32 with an integer
// reciprocal; the last one in doubles, of integers up to the second or the third differences; all in doubles.
enum class ExactSums { none, integer, narrow, wide, widest };

struct ExactLine {
  LineRequest line;
  bool isShort;  // first sums down the columns fit in 16 bits
  ExactSums sums;
  double divisor;  // every quotient is below 2^31
  bool isRounded;
  // For integers: a quotient is (sum + half) * multiplier >> shift, with 32 <= shift < 64.
  uint32_t half, multiplier;
  int32_t shift;
};

// The kernel of level 2's general path for an instruction set.
struct ExactKernel {
  // Takes the steps, which have at most as many output rows as `vectors` and leave sums below 2^31, and writes the
  // output rows. `memory`: sums, then line.
  template <typename Pixel>
  using SmoothRows = void(const ExactLine& request, const LineStep* steps, int64_t count, int32_t* memory,
                          Pixel* const* out);

  LineVectors vectors;
  SmoothRows<uint8_t>* smooth8;
  SmoothRows<uint16_t>* smooth16;
};

}  // namespace kip
