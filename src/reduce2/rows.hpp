// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kip {

// Sums of five by five taps, unrounded: 256 times a pixel.
template <typename Pixel>
struct SumOf;

template <>
struct SumOf<uint8_t> {
  using Type = uint16_t;
};

template <>
struct SumOf<uint16_t> {
  using Type = uint32_t;
};

template <typename Pixel>
using Sum = typename SumOf<Pixel>::Type;

// Elements behind the row's width that a line of `smooth` sums has for its kernels to arrange as they like.
inline constexpr int64_t smoothLineSpare = 64;

// How a ring of five lines of horizontal sums is filled and read: below another, so that each source row is filtered
// once. `row` filters a source row and multiplies by 1 << shift; `column` turns five lines into a destination row.
template <typename Pixel>
struct RingRows {
  void (*row)(const Pixel* src, int64_t width, Sum<Pixel>* line, int32_t shift);
  void (*column)(Sum<Pixel>* const lines[5], int64_t count, Pixel* dst);
};

// With a mask: the sums of mask times pixel and those of the mask.
struct MaskedLine {
  uint32_t* values;
  uint16_t* weights;
};

template <typename Pixel>
struct MaskedRingRows {
  void (*row)(const Pixel* src, const uint8_t* mask, int64_t width, const MaskedLine& line, int32_t shift);
  // `totals` is a scratch line; dstMask may be null
  void (*column)(const MaskedLine lines[5], int64_t count, uint16_t* totals, Pixel* dst, uint8_t* dstMask);
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
extern const RowKernels<uint8_t> sse2Rows8;
extern const RowKernels<uint16_t> sse2Rows16;
extern const RowKernels<uint8_t> avx2Rows8;
extern const RowKernels<uint16_t> avx2Rows16;

}  // namespace kip
