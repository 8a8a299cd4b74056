// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kip {

// Kernels of their own for sigma 1 along both axes without sampling, that is an output for every pixel. The weights are
// so few that sums of 8-bit images fit in 16 bits, those of 16-bit ones in 22.

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

namespace {  // each kernel file has its own

// Calls inside(at, column, ahead), or atEdge where taps lie beyond the planes, for every block of outputs: its first
// output and its first column, and a column to prefetch. The last block ends with the row.
template <int64_t Block, int64_t Ahead, typename Group, typename Inside, typename AtEdge>
[[gnu::always_inline]] inline void forEachBlock(const Group& group, Inside&& inside, AtEdge&& atEdge) {
  for (int64_t i = 0; i < group.outputs; i += Block) {
    const int64_t at = i < group.outputs - Block ? i : group.outputs - Block;
    const int64_t column = at - group.leftPad;
    const int64_t next = column < 0 ? 0 : column + Ahead;
    const int64_t ahead = next < group.width ? next : group.width - 1;
    const bool isInside = column >= 0 && column + Block + maskedSigma1Taps - 1 <= group.width;
    isInside ? inside(at, column, ahead) : atEdge(at, column, ahead);
  }
}

}  // namespace

// Writes the values of a group's output rows as if every output were valid; where the mask counts nothing they are any.
template <typename Src, typename Dst>
using MaskedSigma1Smooth = void(const MaskedSigma1Group<Src, Dst>& group);

struct MaskedSigma1Kernel {
  MaskedSigma1Smooth<uint8_t, uint8_t>* smooth8_8;
  MaskedSigma1Smooth<uint8_t, uint16_t>* smooth8_16;
  MaskedSigma1Smooth<uint16_t, uint16_t>* smooth16_16;

  void smooth(const MaskedSigma1Group<uint8_t, uint8_t>& group) const { smooth8_8(group); }
  void smooth(const MaskedSigma1Group<uint8_t, uint16_t>& group) const { smooth8_16(group); }
  void smooth(const MaskedSigma1Group<uint16_t, uint16_t>& group) const { smooth16_16(group); }
};

}  // namespace kip
