// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <type_traits>

namespace kip {

// Sums of five by five taps, unrounded: 256 times a pixel.
template <typename Pixel>
using Sum = std::conditional_t<sizeof(Pixel) == 1, uint16_t, uint32_t>;

// The least length of a line: the kernels continue a narrow row until it fills their registers.
inline constexpr int64_t leastLine = 64;

// How a ring of five lines of horizontal sums is filled and read: below another, so that each source row is filtered
// once. `enter` filters a source row, the lines' first, and multiplies by 1 << shift; `next` filters as many rows as
// the ring steps down into the last lines and turns all five into a destination row. With two rows the first enters
// times 4.
template <typename Pixel>
struct RingRows {
  void (*enter)(const Pixel* src, int64_t width, Sum<Pixel>* line, int32_t shift);
  void (*next)(const Pixel* const src[], int64_t width, Sum<Pixel>* const lines[5], Pixel* dst);
};

// With a mask: the sums of mask times pixel and those of the mask.
struct MaskedLine {
  uint32_t* values;
  uint16_t* weights;
};

// The masked kernels' scratch: for each byte of a pixel the row's width in words, with a margin on either side.
inline constexpr int64_t maskedMargin = 16;
[[nodiscard]] static constexpr int64_t maskedPitch(int64_t width) {
  return (width < leastLine ? leastLine : (width + 15) & ~int64_t{15}) + 2 * maskedMargin;
}
template <typename Pixel>
[[nodiscard]] static constexpr int64_t maskedScratch(int64_t width) {
  return int64_t{sizeof(Pixel)} * maskedPitch(width);
}

template <typename Pixel>
struct MaskedRingRows {
  void (*enter)(const Pixel* src, const uint8_t* mask, int64_t width, const MaskedLine& line, uint16_t* scratch,
                int32_t shift);
  // dstMask may be null, but for the vectorised reduction
  void (*next)(const Pixel* const src[], const uint8_t* const masks[], int64_t width, const MaskedLine lines[5],
               uint16_t* scratch, Pixel* dst, uint8_t* dstMask);
};

// One row's work of every kernel, for one instruction set. Nothing outside the given rows is read or written.
template <typename Pixel>
struct RowKernels {
  RingRows<Pixel> reduce;  // every second column; odd source rows enter the ring times 4
  RingRows<Pixel> smooth;  // every column, shift 0
  void (*pass5x1)(const Pixel* src, int64_t width, Pixel* dst);
  void (*pass1x5)(const Pixel* const rows[5], int64_t width, Pixel* dst);
  MaskedRingRows<Pixel> maskedReduce;
  MaskedRingRows<Pixel> maskedSmooth;
  // dstMask may be null in the portable kernels only
  void (*maskedPass5x1)(const Pixel* src, const uint8_t* mask, int64_t width, Pixel* dst, uint8_t* dstMask);
  void (*maskedPass1x5)(const Pixel* const rows[5], const uint8_t* const masks[5], int64_t width, Pixel* dst,
                        uint8_t* dstMask);
};

extern const RowKernels<uint8_t> portableRows8;
extern const RowKernels<uint16_t> portableRows16;

}  // namespace kip
