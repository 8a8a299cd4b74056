// SPDX-License-Identifier: Apache-2.0
// The masked row kernel down the columns: the first running sums of a block of columns, of the kinds of planes.
#pragma once

#include "lanes/lanes.hpp"
#include "lanes/line_kernel.hpp"
#include "masked/row_kernel.hpp"

namespace kip {

namespace {

// A block of 8-bit pixels and of the mask, as the mask lets them through.
KIP_INLINE Vec imageRow(const MaskedStep& step, int64_t i, int64_t column) {
  return bitAnd(load(step.image[i] + column), load(step.mask[i] + column));
}
KIP_INLINE Vec maskRow(const MaskedStep& step, int64_t i, int64_t column) {
  return bitAnd(load(step.mask[i] + column), all8(1));
}

struct ImageBytes : ByteSums {
  using ByteSums::ByteSums;
  KIP_INLINE void add(const MaskedStep& step, int64_t column) {
    ByteSums::add(differenceOf([&](int64_t i) { return imageRow(step, i, column); }));
    prefetch(step.image[0] + column);
  }
  KIP_INLINE void spread(Vec (&sums)[4]) const { widenSigned16(words(), sums); }
};

struct MaskBytes : ByteSums {
  using ByteSums::ByteSums;
  KIP_INLINE void add(const MaskedStep& step, int64_t column) {
    ByteSums::add(differenceOf([&](int64_t i) { return maskRow(step, i, column); }));
    prefetch(step.mask[0] + column);
  }
  KIP_INLINE void spread(Vec (&sums)[4]) const { widenSigned16(words(), sums); }
};

// Of both planes: image + mask * 2^20.
class JoinedBytes {
 public:
  KIP_INLINE explicit JoinedBytes(const int32_t* state) : image_(state), mask_(state + 2 * lanes) {}
  KIP_INLINE void save(int32_t* state) const {
    image_.save(state);
    mask_.save(state + 2 * lanes);
  }
  KIP_INLINE void add(const MaskedStep& step, int64_t column) {
    image_.add(step, column);
    mask_.add(step, column);
  }
  KIP_INLINE void spread(Vec (&sums)[4]) const {
    widen16(image_.words().low, upper(image_.words().low, mask_.words().low), sums);
    widen16(image_.words().high, upper(image_.words().high, mask_.words().high), sums + 2);
  }

 private:
  KIP_INLINE static Vec upper(Vec image, Vec mask) { return add16(shiftLeft16<maskedJoin - 16>(mask), signs16(image)); }

  ImageBytes image_;
  MaskBytes mask_;
};

KIP_INLINE Vec imagePart(Vec joined) {
  return bitAnd(joined, all32((1 << maskedJoin) - 1));
}
KIP_INLINE Vec maskPart(Vec joined) {
  return shiftRight32<maskedJoin>(joined);
}

// Of a plane of 16-bit pixels. `All`: every one counts.
template <bool All>
class ImageWords : public WideColumnSums {
 public:
  using WideColumnSums::WideColumnSums;
  KIP_INLINE void add(const MaskedStep& step, int64_t column) {
    Vec third[4];
    for (int64_t half = 0; half < 2; ++half) {
      Vec tap[4][2];
      for (int64_t i = 0; i < 4; ++i) {
        const uint8_t* const pixels = step.image[i] + 2 * column + 16 * half;
        Vec words = loadHalves(pixels, pixels + 32);
        if constexpr (!All) words = bitAnd(words, keep(step, i, column, half));
        widen16(words, zeros(), tap[i]);
      }
      for (int64_t i = 0; i < 2; ++i) {
        const Vec inner = sub32(tap[2][i], tap[1][i]);
        const Vec outer = sub32(tap[0][i], tap[3][i]);
        third[2 * half + i] = add32(add32(outer, inner), add32(inner, inner));
      }
    }
    WideColumnSums::add(third);
  }
  KIP_INLINE void spread(Vec (&sums)[4]) const {
    for (int64_t i = 0; i < 4; ++i) sums[i] = (*this)[i];
  }

 private:
  // All bits of the pixels that count.
  KIP_INLINE static Vec keep(const MaskedStep& step, int64_t i, int64_t column, int64_t half) {
    const Vec bytes = equal8(maskRow(step, i, column), all8(1));
    return half == 0 ? interleaveLow8(bytes, bytes) : interleaveHigh8(bytes, bytes);
  }
};

KIP_INLINE int64_t linesOf(MaskedColumns columns) {
  return columns == MaskedColumns::joined || columns == MaskedColumns::imageOnly ? 1 : 2;
}

// The steps for some columns of the planes, whose sums go to the line, or to the two lines, from `start` on, or
// nowhere.
template <typename Src>
[[gnu::noinline]] void addPiece(const MaskedRows& rows, const MaskedStep* steps, int64_t count, int64_t first,
                                int64_t columns, FinishedRows& finished, int32_t* start) {
  const int64_t readable = rows.line.readable;
  const int64_t maskLine = rows.maskLine;
  const auto whole = [](int32_t* to, Vec column) { store(to, column); };
  const auto split = [maskLine](int32_t* to, Vec column) {
    store(to, imagePart(column));
    store(to + maskLine, maskPart(column));
  };
  int32_t* const maskStart = start != nullptr ? start + maskLine : nullptr;
  if constexpr (sizeof(Src) == 2) {
    if (rows.columns == MaskedColumns::imageOnly)
      return addColumns<ImageWords<true>>(steps, count, readable, first, columns, rows.imageColumns, finished, start,
                                          whole);
    addColumns<ImageWords<false>>(steps, count, readable, first, columns, rows.imageColumns, finished, start, whole);
  } else {
    if (rows.columns == MaskedColumns::joined)
      return addColumns<JoinedBytes>(steps, count, readable, first, columns, rows.imageColumns, finished, start, whole);
    if (rows.columns == MaskedColumns::split)
      return addColumns<JoinedBytes>(steps, count, readable, first, columns, rows.imageColumns, finished, start, split);
    addColumns<ImageBytes>(steps, count, readable, first, columns, rows.imageColumns, finished, start, whole);
  }
  addColumns<MaskBytes>(steps, count, readable, first, columns, rows.maskColumns, finished, maskStart, whole);
}

}  // namespace

}  // namespace kip
