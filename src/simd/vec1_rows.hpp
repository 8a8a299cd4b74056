// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kip {

// One request of the first vectorised level, as the row kernels take it. Distances in elements unless told otherwise.
struct Vec1Request {
  const uint8_t* source;  // the source rectangle's top-left pixel
  int64_t sourceStride;   // bytes
  int64_t width, height;  // of the source rectangle, >= 1
  int64_t leftPad, rightPad, topPad, bottomPad;
  int64_t xBox, yBox;
  int64_t xSample, ySample;

  void* destination;          // the destination rectangle's top-left pixel
  int64_t destinationStride;  // bytes
  int64_t destinationWidth;
  bool is16;

  // A pixel is ((sum + half) >> shift) * multiplier >> finalShift; the first shift leaves 15 bits.
  uint64_t half;
  int32_t shift, finalShift, multiplier;

  // Working memory, aligned to 16 bytes. Column sums come in blocks of 16; `columns` is the width in whole blocks.
  int64_t columns;
  int16_t* first;        // `columns`, 0
  int32_t* second;       // `columns`, 0
  int32_t* third;        // vec1Rows rows of `columns`, 0
  const uint8_t* zeros;  // `columns` bytes of 0: a row that does not exist
  int32_t* line;         // vec1Rows times (3 xBox + leftPad + columns + rightPad)
};

// Output rows that go along the row together.
constexpr int64_t vec1Rows = 4;

// Write all destination pixels. Sums along the row in 32 bits, for sums below 2^32 (`half` must be 0), and in 64 bits.
void gauss_vec1Rows32(const Vec1Request& request);
void gauss_vec1Rows64(const Vec1Request& request);

}  // namespace kip
