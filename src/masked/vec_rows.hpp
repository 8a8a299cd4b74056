// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "lanes/reach.hpp"

namespace kip {

// The kernel of the vectorised masked engine. Down the columns, the rows of both planes enter three running sums.
// Groups of output rows go through the same along the row, one row a lane, and the sums of image and mask under an
// output become its value, as if it were valid.

// One step down the columns: the rows that enter and those one, two and three box heights above them. Pixels are read
// through the mask, of whose bytes bit 0 counts.
struct MaskedStep {
  const uint8_t* image[4];  // of 8-bit or 16-bit pixels
  const uint8_t* mask[4];
  bool isOutput;  // the sums after this step are an output row
};

// How sums down the columns and along the row are kept.
enum class MaskedSums {
  joined,    // image and mask in the same 32 bits all the way: the kernel's weights sum to at most 4096
  narrow,    // in 32 bits each, below 2^32
  wide,      // the image's in 64 bits along the row, the mask's in 32
  widest,    // both in 64 bits
  imageOnly  // the image's alone, in 64 bits: every pixel counts
};

// How an output with invalid pixels under its kernel is divided; the others are multiplied by a fixed-point factor.
enum class MaskedDivision {
  plain,       // the scale is 1; quotients in floats
  gain,        // also where all pixels are valid: the scale is a power of two, products are below 2^48; limited
  scaled,      // the scale as a fixed-point number; quotients in doubles, sums are below 2^52
  inDoubles,   // also where all pixels are valid, and limited to the largest pixel
  scaledExact  // as scaled or at scale 1, for what has more bits
};

// What quotients must stay below: 20 bits and a correction come out of floats, 31 bits of doubles. Pixels alone never
// come near, but even bytes of a mask let bits of 8-bit ones through that count nothing, and a divisor may be 1.
inline constexpr double maskedFloatLimit = 0x1p20, maskedDoubleLimit = 0x1p31;

// 20 bits of a joined sum belong to the image. Sums of 4096 in the mask's part come out as 0.
inline constexpr int32_t maskedJoin = 20;
inline constexpr int64_t maskedJoinedWeights = 4096;  // along the row
inline constexpr int64_t maskedJoinedBox = 15;        // down the columns

struct MaskedRows {
  // Along the row.
  int64_t width;                    // columns of the planes
  int64_t readable;                 // the same or, for narrow planes, the columns of a block
  int64_t leftPad, rightPad;        // columns beyond either edge
  int64_t leftMirror, rightMirror;  // the nearest of them, which one reflection supplies; the others count as 0
  int64_t box, sample;
  int64_t outputs;  // pixels of an output row

  MaskedSums sums;
  bool isJoinedDown;  // image and mask go down the columns together
  Reach reach;        // of the image's sums along the row, where they are kept in 64 bits

  MaskedDivision division;
  bool isRounded;
  uint64_t weights;     // the sum of the kernel's
  uint64_t fixedScale;  // the scale times 65536
  double scale;         // of divisions in doubles
  int32_t gainBits;     // the binary logarithm of a gain
  int32_t pre, post;    // with all pixels valid: (sum >> pre) * multiplier >> post
  uint32_t multiplier;

  // Working memory.
  int32_t* imageColumns;  // 3 elements a column in whole blocks, 0 at first
  int32_t* maskColumns;   // likewise; not used when joined down the columns
  int32_t* line;          // history + leftPad + piece + rightPad columns of `rows` elements each
  int64_t maskLine;       // elements from there to the mask's line, of the same size
  int64_t history;        // at least 3 boxes
  int64_t piece;          // columns that are at hand together, from pieceWidth
};

// What an invalid output becomes: (factor * sample + half) >> 16, limited, of which the low bits are written.
struct SampleScale {
  uint64_t factor, half, limit;
};

// The kernel for a pair of pixel types.
template <typename Src, typename Dst>
struct MaskedPairKernel {
  // Takes the steps of a group and writes its output rows' values with their low bits.
  void (*smooth)(const MaskedRows& rows, const MaskedStep* steps, int64_t count, Dst* const* out);
  // For a row whose mask alone decides: invalid outputs become the source's pixels, which in wider ones are shifted
  // left by gainBits. Writes `valid`, 255 or 0 each. Returns hasEvenBytes of the mask.
  bool (*keepValid)(const uint8_t* mask, const Src* source, int32_t gainBits, Dst* out, uint8_t* valid, int64_t width);
  // Outputs whose `valid` is 0 become their samples, `step` apart.
  void (*scaleInvalid)(const uint8_t* valid, const Src* samples, int64_t step, const SampleScale& scale, Dst* out,
                       int64_t width);
};

// The kernel for one vector size.
struct MaskedRowsKernel {
  int64_t rows;                                              // output rows of a group, at most
  int64_t block;                                             // columns that enter at once
  bool (*hasEvenBytes)(const uint8_t* mask, int64_t width);  // bytes that are not 0 though their bit 0 is
  MaskedPairKernel<uint8_t, uint8_t> pair8_8;
  MaskedPairKernel<uint8_t, uint16_t> pair8_16;
  MaskedPairKernel<uint16_t, uint16_t> pair16_16;
};

extern const MaskedRowsKernel maskedRowsSse2;
extern const MaskedRowsKernel maskedRowsAvx2;

}  // namespace kip
