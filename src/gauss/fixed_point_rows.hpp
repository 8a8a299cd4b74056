// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "lanes/line_request.hpp"
#include "lanes/reach.hpp"

namespace kip {

struct FixedPointLine {
  LineRequest line;
  bool isNarrow;  // sums are below 2^32, and `half` is 0
  Reach reach;    // of others
  // A pixel is ((sum + half) >> shift) * multiplier >> finalShift; the first shift leaves 15 bits. Without sampling it
  // saturates as a signed 16-bit number and as a pixel, with sampling it keeps its low bits.
  uint64_t half;
  int32_t shift, finalShift, multiplier;
};

// The kernel of level 1 for an instruction set.
struct FixedPointKernel {
  // Takes the steps, which have at most as many output rows as `vectors` and leave first sums of 16 bits and sums below
  // 2^31, and writes the output rows.
  template <typename Pixel>
  using SmoothRows = void(const FixedPointLine& request, const LineStep* steps, int64_t count, int32_t* sums,
                          int32_t* line, Pixel* const* out);

  LineVectors vectors;
  SmoothRows<uint8_t>* smooth8;
  SmoothRows<uint16_t>* smooth16;
};

}  // namespace kip
