// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kip {

// A kernel of its own for masked 8-bit images at sigma 1 along both axes, every sample and scale 1: the weights are so
// few that sums fit in 16 bits.

inline constexpr int64_t maskedSigma1Columns = 32;  // rows of the plane and of the output have at least so many
inline constexpr int64_t maskedSigma1Rows = 16;

// A group of output rows and the rows of the planes that their taps touch.
struct MaskedSigma1Group {
  static constexpr int64_t taps = 4;

  const uint8_t* image[maskedSigma1Rows + taps - 1];
  const uint8_t* mask[maskedSigma1Rows + taps - 1];
  uint8_t* out[maskedSigma1Rows];
  int64_t count;           // output rows
  int64_t width, leftPad;  // of the planes; what lies beyond either edge is mirrored
  int64_t outputs;         // pixels of an output row
  bool isRounded;
};

// Writes the values of the output rows as if every output were valid; where the mask counts nothing they are any.
void maskedSigma1(const MaskedSigma1Group& group);

}  // namespace kip
