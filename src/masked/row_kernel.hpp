// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "lanes/line_request.hpp"

namespace kip {

// The kernel of the vectorised masked engine, for groups of output rows. Down the columns, the rows of both planes
// enter three running sums (column_sums.hpp). The group's rows go through the same along the row, one row a lane, which
// gives the sums of image and mask under every output (line_outputs.hpp). Those become its value, as if it were valid
// (values.hpp). Kinds of sums and kinds of values know nothing of each other: the plan names one of each, and
// lineOutputs gives the function for the two.

// One step down the columns: the rows that enter and those one, two and three box heights above them. Pixels are read
// through the mask, of whose bytes bit 0 counts.
struct MaskedStep {
  const uint8_t* image[4];  // of 8-bit or 16-bit pixels
  const uint8_t* mask[4];
  bool isOutput;  // the sums after this step are an output row
};

// How the planes go down the columns, and into which lines.
enum class MaskedColumns {
  joined,    // image and mask in the same 32 bits, into one line
  split,     // the same, into a line each
  apart,     // in 32 bits each, into a line each
  imageOnly  // the image alone, of 16-bit pixels that all count
};

// Joined sums have 20 bits of the image's and above them 12 of the mask's.
inline constexpr int32_t maskedJoin = 20;
inline constexpr int64_t maskedJoinedWeights = 4096;  // the most along the row; as a sum they come out as 0
inline constexpr int64_t maskedJoinedBox = 15;        // the highest down the columns

// How the sums along the row are kept.
enum class ImageSums {
  joined,               // in 32 bits, with the mask's
  in32,                 // in 32 bits: below 2^32
  in64FromSeconds,      // in 64 bits, the running sums before them in 32
  in64FromDifferences,  // like all running sums in 64 bits, the third differences in 32
  in64                  // in 64 bits, as everything before them
};
enum class MaskSums {
  none,  // with the image's, or every pixel counts
  in32,
  in64
};

// How sums become values. "Full" are outputs all of whose pixels are valid: unless something else is said, their sums
// are multiplied by a fixed-point number, and others divided. Kinds up to gain48 take sums in 32 bits, those from
// gain48 on sums of the image in 64.
enum class MaskedValues {
  // Scale 1: quotients in floats, of dividends below 2 to the power in the name; gains likewise, of a scale that is a
  // power of two, limited to the largest pixel. Gains divide full outputs, too.
  quotient24,
  quotient31,
  quotient32,
  gain31,
  gain32,
  gain48,
  quotient48,
  inDoubles,         // scale 1, of sums below 2^52
  scaledInDoubles,   // the scale as a fixed-point number, of products below 2^52
  scaledIn128Bits,   // the same one by one, of anything
  limitedInDoubles,  // the scale as a double, of full outputs, too; limited to the largest pixel
  product            // all outputs are full: there is no mask
};

// The numbers that they need. Products where all pixels are valid are (sum >> pre) * multiplier >> post, below 2^32 for
// kinds that are short.
struct MaskedScale {
  bool isRounded;
  uint64_t weights;     // the sum of the kernel's, as a sum of the mask shows it
  double scale;         // of divisions in doubles
  uint64_t fixedScale;  // the same times 65536
  int32_t gainBits;     // its binary logarithm, for the gains
  int32_t largest;      // the largest pixel
  int32_t pre, post;
  uint32_t multiplier;
};

// A stretch of a line: columns to skip, then outputs, a column each and `sample` apart.
struct LineStretch {
  int64_t skipped, outputs, sample, box;
};

// Lets a stretch of the image's line enter, from `column` on, and of the mask's, which lies `maskLine` elements behind
// it, and stores the values of the outputs, in 32 bits. `state`: the running sums, 0 at first.
using LineOutputs = void (*)(const MaskedScale& scale, std::byte* state, int32_t* column, int64_t maskLine,
                             const LineStretch& stretch, int32_t* values);

struct MaskedRows {
  LineRequest line;
  MaskedColumns columns;
  LineOutputs outputs;
  MaskedScale scale;

  // Working memory.
  int32_t* imageColumns;  // sumsSize elements, 0 at first
  int32_t* maskColumns;   // likewise; used where planes go apart
  int32_t* lines;         // the image's, then the mask's
  int64_t maskLine;       // elements from the one to the other: lineSize
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
  // left by gainBits. Writes `valid`, 255 or 0 each. Returns hasUncounted of the mask.
  bool (*replaceInvalid)(const uint8_t* mask, const Src* source, int32_t gainBits, Dst* out, uint8_t* valid,
                         int64_t width);
  // Outputs whose `valid` is 0 become their samples, `step` apart.
  void (*scaleInvalid)(const uint8_t* valid, const Src* samples, int64_t step, const SampleScale& scale, Dst* out,
                       int64_t width);
};

// The kernel for one vector size.
struct MaskedRowsKernel {
  LineVectors vectors;
  // Null for sums that these values do not come from.
  LineOutputs (*lineOutputs)(MaskedValues values, bool isShort, ImageSums image, MaskSums mask);
  // Whether a mask has even bytes besides 0, whose pixels are valid and do not count.
  bool (*hasUncounted)(const uint8_t* mask, int64_t width);
  MaskedPairKernel<uint8_t, uint8_t> pair8_8;
  MaskedPairKernel<uint8_t, uint16_t> pair8_16;
  MaskedPairKernel<uint16_t, uint16_t> pair16_16;
};

}  // namespace kip
