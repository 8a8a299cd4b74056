// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kip {

// Kernels of their own for sigma 1 along both axes and every sample: the weights are so few that sums of 8-bit images
// fit in 16 bits, those of 16-bit ones in 22.

inline constexpr int64_t maskedSigma1Taps = 4;
inline constexpr int64_t maskedSigma1Columns = 32;  // rows of the plane and of the output have at least so many
inline constexpr int64_t maskedSigma1Rows = 16;     // output rows of a group, at most
inline constexpr int32_t maskedSigma1GainBits = 9;  // at most

// A group of output rows and the rows of the planes that their taps touch.
template <typename Src, typename Dst>
struct MaskedSigma1Group {
  const Src* image[maskedSigma1Rows + maskedSigma1Taps - 1];
  const uint8_t* mask[maskedSigma1Rows + maskedSigma1Taps - 1];  // null: every pixel counts, of 16-bit images
  Dst* out[maskedSigma1Rows];
  int64_t count;           // output rows
  int64_t width, leftPad;  // of the planes; what lies beyond either edge is mirrored
  int64_t outputs;         // pixels of an output row
  int32_t gainBits;        // of 8-bit images and 16-bit outputs: the scale's binary logarithm, 0 at scale 1; limited
  bool isRounded;
};

// Writes the values of the output rows as if every output were valid; where the mask counts nothing they are any.
void maskedSigma1(const MaskedSigma1Group<uint8_t, uint8_t>& group);
void maskedSigma1(const MaskedSigma1Group<uint8_t, uint16_t>& group);
void maskedSigma1(const MaskedSigma1Group<uint16_t, uint16_t>& group);

}  // namespace kip
