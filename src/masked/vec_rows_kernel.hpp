// SPDX-License-Identifier: Apache-2.0
// The text of the masked row kernel, for the files that compile it for a vector size.
#pragma once

#include <limits>
#include <type_traits>

#include "lanes/line_kernel.hpp"
#include "masked/vec_rows.hpp"

namespace kip {

namespace {

// ---- down the columns

// A row of 8-bit pixels and of the mask, as the mask lets them through.
KIP_INLINE Vec imageRow(const MaskedStep& step, int64_t i, int64_t column) {
  return bitAnd(load(step.image[i] + column), load(step.mask[i] + column));
}
KIP_INLINE Vec maskRow(const MaskedStep& step, int64_t i, int64_t column) {
  return bitAnd(load(step.mask[i] + column), KIP_MM(set1_epi8)(1));
}

struct ImageBytes : ByteSums {
  using ByteSums::ByteSums;
  KIP_INLINE void add(const MaskedStep& step, int64_t column) {
    ByteSums::add(differenceOf([&](int64_t i) { return imageRow(step, i, column); }));
    prefetch(step.image[0] + column);
  }
  KIP_INLINE void spread(Vec (&sums)[4]) const { widenSigned16(words(), sums); }
};

struct MaskBytes : ImageBytes {
  using ImageBytes::ImageBytes;
  KIP_INLINE void add(const MaskedStep& step, int64_t column) {
    ByteSums::add(differenceOf([&](int64_t i) { return maskRow(step, i, column); }));
    prefetch(step.mask[0] + column);
  }
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
  KIP_INLINE static Vec upper(Vec image, Vec mask) {
    return KIP_MM(add_epi16)(KIP_MM(slli_epi16)(mask, maskedJoin - 16), KIP_MM(srai_epi16)(image, 15));
  }

  ImageBytes image_;
  MaskBytes mask_;
};

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
        const Vec inner = KIP_MM(sub_epi32)(tap[2][i], tap[1][i]);
        const Vec outer = KIP_MM(sub_epi32)(tap[0][i], tap[3][i]);
        third[2 * half + i] = KIP_MM(add_epi32)(KIP_MM(add_epi32)(outer, inner), KIP_MM(add_epi32)(inner, inner));
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
    const Vec bytes = KIP_MM(cmpeq_epi8)(maskRow(step, i, column), KIP_MM(set1_epi8)(1));
    return half == 0 ? KIP_MM(unpacklo_epi8)(bytes, bytes) : KIP_MM(unpackhi_epi8)(bytes, bytes);
  }
};

// ---- along the row

KIP_INLINE Vec allBitsIf(bool condition) {
  return KIP_MM(set1_epi32)(condition ? -1 : 0);
}

// ---- values

// What an output's sum becomes when all its pixels are valid: a product for sums below 2^32 whose product is below
// 2^32, too, and one for others.

class Product32 {
 public:
  KIP_INLINE explicit Product32(const MaskedRows& rows)
      : multiplier_(KIP_MM(set1_epi32)(static_cast<int32_t>(rows.multiplier))),
        half_(KIP_MM(set1_epi32)(rows.isRounded ? 1 << (rows.post - 1) : 0)),
        pre_(shift32By(rows.pre)),
        post_(shift32By(rows.post)) {}

  [[nodiscard]] KIP_INLINE Vec operator()(Vec image) const {
    return shiftRight32(KIP_MM(add_epi32)(multiply32(shiftRight32(image, pre_), multiplier_), half_), post_);
  }

 private:
  Vec multiplier_, half_;
  Shift pre_, post_;
};

class Product64 {
 public:
  KIP_INLINE explicit Product64(const MaskedRows& rows)
      : multiplier_(KIP_MM(set1_epi64x)(int64_t{rows.multiplier})),
        isRounded_(KIP_MM(set1_epi64x)(rows.isRounded ? 1 : 0)),
        pre_(shift64By(rows.pre)),
        post_(shift64By(rows.post)),
        lastPost_(shift64By(rows.post - 1)) {}

  [[nodiscard]] KIP_INLINE Vec operator()(Vec image) const { return (*this)(widenUnsigned(image)); }
  [[nodiscard]] KIP_INLINE Vec operator()(Wide image) const {
    const Wide product = (image >> pre_) * multiplier_;
    return narrow((product >> post_) + ((product >> lastPost_) & isRounded_));
  }

 private:
  Vec multiplier_, isRounded_;
  Shift pre_, post_, lastPost_;
};

// The exact quotient, which is at most 2^20, from one in floats and the dividend's low 32 bits. The divisor is below
// 2^31.
KIP_INLINE Vec exactQuotient(VecFloat quotient, Vec dividend, Vec divisor) {
  // at most one too large, and the rest then negative
  const Vec most = KIP_MM(cvttps_epi32)(KIP_MM(mul_ps)(quotient, KIP_MM(set1_ps)(1.0f + 0x1p-21f)));
  const Vec rest = KIP_MM(sub_epi32)(dividend, multiply32(most, divisor));
  return KIP_MM(add_epi32)(most, KIP_MM(srai_epi32)(rest, 31));
}
// The parts of a number that each fit a float, together.
KIP_INLINE VecFloat joinFloats(Vec high, float unit, Vec low) {
  return KIP_MM(add_ps)(KIP_MM(mul_ps)(KIP_MM(cvtepi32_ps)(high), KIP_MM(set1_ps)(unit)), KIP_MM(cvtepi32_ps)(low));
}

// (image + half) / mask for dividends of so many bits. limit(quotient): of the quotient in floats.

struct AsIs {
  KIP_INLINE VecFloat operator()(VecFloat quotient) const { return quotient; }
};

struct Divide24 {
  template <typename Limit = AsIs>
  KIP_INLINE static Vec divide(Vec image, Vec half, Vec mask, Limit&& limit = {}) {
    const Vec dividend = KIP_MM(add_epi32)(image, half);
    return KIP_MM(cvttps_epi32)(limit(KIP_MM(div_ps)(KIP_MM(cvtepi32_ps)(dividend), KIP_MM(cvtepi32_ps)(mask))));
  }
};

struct Divide31 {
  template <typename Limit = AsIs>
  KIP_INLINE static Vec divide(Vec image, Vec half, Vec mask, Limit&& limit = {}) {
    const Vec dividend = KIP_MM(add_epi32)(image, half);
    const VecFloat quotient = KIP_MM(div_ps)(KIP_MM(cvtepi32_ps)(dividend), KIP_MM(cvtepi32_ps)(mask));
    return exactQuotient(limit(quotient), dividend, mask);
  }
};

struct Divide32 {
  template <typename Limit = AsIs>
  KIP_INLINE static Vec divide(Vec image, Vec half, Vec mask, Limit&& limit = {}) {
    const Vec dividend = KIP_MM(add_epi32)(image, half);
    const VecFloat whole =
        joinFloats(KIP_MM(srli_epi32)(dividend, 16), 65536.0f, bitAnd(dividend, KIP_MM(set1_epi32)(0xFFFF)));
    return exactQuotient(limit(KIP_MM(div_ps)(whole, KIP_MM(cvtepi32_ps)(mask))), dividend, mask);
  }
};

struct Divide48 {
  template <typename Limit = AsIs>
  KIP_INLINE static Vec divide(Wide image, Vec half, Vec mask, Limit&& limit = {}) {
    const Vec lowBits = narrow(image);
    const Vec low = KIP_MM(add_epi32)(bitAnd(lowBits, KIP_MM(set1_epi32)((1 << 24) - 1)), half);
    const Vec high = narrow({KIP_MM(srli_epi64)(image.low, 24), KIP_MM(srli_epi64)(image.high, 24)});
    return exactQuotient(limit(KIP_MM(div_ps)(joinFloats(high, 0x1p24f, low), KIP_MM(cvtepi32_ps)(mask))),
                         KIP_MM(add_epi32)(lowBits, half), mask);
  }
};

// Values at scale 1 from sums of masks below 2^31.
template <typename Product, typename Division>
class PlainValues {
 public:
  KIP_INLINE PlainValues(const MaskedRows& rows, uint64_t weights, double)
      : full_(KIP_MM(set1_epi32)(static_cast<int32_t>(weights))),
        toHalf_(shift32By(rows.isRounded ? 1 : 32)),
        product_(rows),
        differs_(weights != rows.weights || (rows.weights & (rows.weights - 1)) != 0 ? allBits : 0) {}

  template <typename ImageSum>
  [[nodiscard]] KIP_INLINE Vec operator()(ImageSum image, Vec mask) const {
    const Vec isFull = KIP_MM(cmpeq_epi32)(mask, full_);
    const int bits = bitsOf(isFull);
    if (bits == allBits) return product_(image);
    const Vec divided = Division::divide(image, shiftRight32(mask, toHalf_), mask);
    return (bits & differs_) == 0 ? divided : select(isFull, product_(image), divided);
  }
  [[nodiscard]] KIP_INLINE Vec joined(Vec image, Vec mask) const { return (*this)(image, mask); }

 private:
  Vec full_;
  Shift toHalf_;
  Product product_;
  int differs_;  // 0 when a product is the same as the quotient: by a power of two that `full_` still holds
};

// Values at a scale of a power of two above 1 from sums of masks below 2^31: quotients whether all pixels are valid or
// not, and nothing above the largest pixel.
template <typename Division>
class GainValues {
 public:
  KIP_INLINE GainValues(const MaskedRows& rows, uint64_t weights, double largest)
      : gain32_(shift32By(rows.gainBits)),
        gain64_(shift64By(rows.gainBits)),
        toHalf_(shift32By(rows.isRounded ? 1 : 32)),
        overflown_(KIP_MM(set1_epi32)(weights == 0 ? static_cast<int32_t>(rows.weights) : 0)),
        largest_(KIP_MM(set1_epi32)(static_cast<int32_t>(largest))) {}

  [[nodiscard]] KIP_INLINE Vec operator()(Vec image, Vec mask) const {
    if constexpr (std::is_same_v<Division, Divide48>) {
      return (*this)(widenUnsigned(image), mask);
    } else {
      return quotientOf(shiftLeft32(image, gain32_), mask);
    }
  }
  [[nodiscard]] KIP_INLINE Vec operator()(Wide image, Vec mask) const {
    return quotientOf(Wide{shiftLeft64(image.low, gain64_), shiftLeft64(image.high, gain64_)}, mask);
  }
  // For sums of masks that are 0 when they are the kernel's weights.
  [[nodiscard]] KIP_INLINE Vec joined(Vec image, Vec mask) const {
    const Vec isZero = KIP_MM(cmpeq_epi32)(mask, zeros());
    return (*this)(image, bitOr(mask, bitAnd(isZero, overflown_)));
  }

 private:
  template <typename ImageSum>
  [[nodiscard]] KIP_INLINE Vec quotientOf(ImageSum product, Vec mask) const {
    // whatever lies above the limit stays above the largest pixel
    const auto limit = [](VecFloat quotient) { return KIP_MM(min_ps)(quotient, KIP_MM(set1_ps)(70000.0f)); };
    const Vec quotient = Division::divide(product, shiftRight32(mask, toHalf_), mask, limit);
    return select(KIP_MM(cmpgt_epi32)(quotient, largest_), largest_, quotient);
  }

  Shift gain32_, gain64_, toHalf_;
  Vec overflown_, largest_;
};

class ImageValues {
 public:
  KIP_INLINE ImageValues(const MaskedRows& rows, uint64_t, double) : product_(rows) {}
  [[nodiscard]] KIP_INLINE Vec operator()(Wide image) const { return product_(image); }

 private:
  Product64 product_;
};

__extension__ using Uint128 = unsigned __int128;

// Values from sums below 2^52 at any scale. `largest`: the largest pixel.
class Values64 {
 public:
  KIP_INLINE Values64(const MaskedRows& rows, uint64_t weights, double largest)
      : division_(rows.division),
        weights_(static_cast<double>(weights)),
        scale_(rows.scale),
        half_(rows.isRounded ? 0.5 : 0.0),
        largest_(largest),
        fixedScale_(rows.fixedScale),
        vectorScale_(KIP_MM(set1_epi64x)(static_cast<int64_t>(rows.fixedScale))),
        isRounded_(allBitsIf(rows.isRounded)),
        product_(rows) {}

  [[nodiscard]] KIP_INLINE Vec operator()(Wide image, Vec mask) const { return (*this)(image, widenUnsigned(mask)); }
  [[nodiscard]] KIP_INLINE Vec operator()(Wide image, Wide mask) const {
    const Doubles divisor = toDoubles(mask);
    if (division_ == MaskedDivision::inDoubles) {
      return truncate(limited(toDoubles(image) * all(scale_) / divisor + all(half_), largest_));
    }
    const Vec isFull = equal(divisor, all(weights_));
    const int bits = bitsOf(isFull);
    if (bits == allBits) return product_(image);
    const Wide half = Wide{KIP_MM(srli_epi64)(mask.low, 1), KIP_MM(srli_epi64)(mask.high, 1)} & isRounded_;
    Vec quotient;
    if (division_ == MaskedDivision::plain) {
      quotient = truncate(toDoubles(image + half) / divisor);
    } else if (division_ == MaskedDivision::scaled) {
      const Wide lowProduct = (image & KIP_MM(set1_epi64x)(0xFFFF)) * vectorScale_;
      const Wide scaled = (image >> shift64By(16)) * vectorScale_ + (lowProduct >> shift64By(16));
      quotient = truncate(toDoubles(scaled + half) / divisor);
    } else {
      quotient = divideExactly(image, mask);
    }
    return bits == 0 ? quotient : select(isFull, product_(image), quotient);
  }

 private:
  [[nodiscard]] Vec divideExactly(Wide image, Wide mask) const {
    uint64_t images[lanes];
    uint64_t masks[lanes];
    store(images, image.low);
    store(images + lanes / 2, image.high);
    store(masks, mask.low);
    store(masks + lanes / 2, mask.high);
    for (int64_t i = 0; i < lanes; ++i) {
      const uint64_t half = bitsOf(isRounded_) != 0 ? masks[i] >> 1 : 0;
      const auto scaled = static_cast<Uint128>(images[i]) * fixedScale_ >> 16;
      images[i] = masks[i] == 0 ? 0 : static_cast<uint64_t>((scaled + half) / masks[i]);
    }
    return narrow({load(images), load(images + lanes / 2)});
  }

  MaskedDivision division_;
  double weights_, scale_, half_, largest_;
  uint64_t fixedScale_;
  Vec vectorScale_, isRounded_;
  Product64 product_;
};

// What the lines become along the row, column by column: running sums, and the values that outputs make of them.

template <typename Values>
struct Constants {
  Values values;
  int64_t maskLine, box;
};

template <typename RowValues>
struct JoinedRow {
  using Values = RowValues;
  static constexpr int32_t weightBits = 32 - maskedJoin;

  Sums32 sums;

  KIP_INLINE void add(int32_t* column, const Constants<Values>& constants) { sums.add(column, constants.box); }
  [[nodiscard]] KIP_INLINE Vec value(const Constants<Values>& constants) const {
    return constants.values.joined(bitAnd(sums.sum, KIP_MM(set1_epi32)((1 << maskedJoin) - 1)),
                                   KIP_MM(srli_epi32)(sums.sum, maskedJoin));
  }
};

template <typename ImageSums, typename MaskSums, typename RowValues>
struct SplitRow {
  using Values = RowValues;
  static constexpr int32_t weightBits = 64;

  ImageSums image;
  MaskSums mask;

  KIP_INLINE void add(int32_t* column, const Constants<Values>& constants) {
    image.add(column, constants.box);
    mask.add(column + constants.maskLine, constants.box);
  }
  [[nodiscard]] KIP_INLINE Vec value(const Constants<Values>& constants) const {
    return constants.values(image.sum, mask.sum);
  }
};

template <typename Src, typename Division>
using NarrowRow =
    SplitRow<Sums32, Sums32, PlainValues<std::conditional_t<sizeof(Src) == 1, Product32, Product64>, Division>>;
template <Reach R>
using PlainRow = SplitRow<Sums64<R>, Sums32, PlainValues<Product64, Divide48>>;
template <typename Division>
using NarrowGainRow = SplitRow<Sums32, Sums32, GainValues<Division>>;
template <Reach R>
using GainRow = SplitRow<Sums64<R>, Sums32, GainValues<Divide48>>;
template <Reach R>
using WideRow = SplitRow<Sums64<R>, Sums32, Values64>;
template <Reach R>
using WidestRow = SplitRow<Sums64<R>, Sums64<Reach::difference>, Values64>;

template <Reach R>
struct ImageRow {
  using Values = ImageValues;
  static constexpr int32_t weightBits = 64;

  Sums64<R> sums;

  KIP_INLINE void add(int32_t* column, const Constants<Values>& constants) { sums.add(column, constants.box); }
  [[nodiscard]] KIP_INLINE Vec value(const Constants<Values>& constants) const { return constants.values(sums.sum); }
};

// ---- a group of output rows

// A piece of the planes to the line, or to the two lines.
template <typename Src>
KIP_INLINE void addPiece(const MaskedRows& rows, const MaskedStep* steps, int64_t count, int64_t first, int64_t columns,
                         FinishedRows& finished, int32_t* start) {
  const auto whole = [](int32_t* to, Vec column) { store(to, column); };
  const int64_t readable = rows.readable;
  if constexpr (sizeof(Src) == 2) {
    int32_t* const state = rows.imageColumns;
    if (rows.sums == MaskedSums::imageOnly) {
      addColumns<ImageWords<true>>(steps, count, readable, first, columns, state, finished, start, whole);
    } else {
      addColumns<ImageWords<false>>(steps, count, readable, first, columns, state, finished, start, whole);
    }
  } else if (rows.sums == MaskedSums::joined) {
    return addColumns<JoinedBytes>(steps, count, readable, first, columns, rows.imageColumns, finished, start, whole);
  } else if (rows.isJoinedDown) {
    const int64_t maskLine = rows.maskLine;
    return addColumns<JoinedBytes>(steps, count, readable, first, columns, rows.imageColumns, finished, start,
                                   [maskLine](int32_t* to, Vec column) {
                                     store(to, bitAnd(column, KIP_MM(set1_epi32)((1 << maskedJoin) - 1)));
                                     store(to + maskLine, KIP_MM(srli_epi32)(column, maskedJoin));
                                   });
  } else {
    addColumns<ImageBytes>(steps, count, readable, first, columns, rows.imageColumns, finished, start, whole);
  }
  if (rows.sums == MaskedSums::imageOnly) return;
  int32_t* const maskStart = start != nullptr ? start + rows.maskLine : nullptr;
  addColumns<MaskBytes>(steps, count, readable, first, columns, rows.maskColumns, finished, maskStart, whole);
}

template <typename Row, typename Src, typename Dst>
void smoothGroup(const MaskedRows& rows, const MaskedStep* steps, int64_t count, Dst* const* out) {
  int64_t outputs = 0;
  for (int64_t i = 0; i < count; ++i) outputs += steps[i].isOutput ? 1 : 0;
  FinishedRows finished;
  if (outputs == 0) return addPiece<Src>(rows, steps, count, 0, rows.width, finished, nullptr);

  using Values = typename Row::Values;
  const uint64_t weights = rows.weights & (~uint64_t{0} >> (64 - Row::weightBits));
  const Constants<Values> constants = {Values(rows, weights, sizeof(Dst) == 1 ? 255.0 : 65535.0), rows.maskLine,
                                       rows.box * lanes};
  RowWriter<Row, Constants<Values>, Dst> writer(Row{}, constants, 3 * rows.box - 2, rows.sample, rows.outputs, out,
                                                outputs);
  const bool isOneLine = rows.sums == MaskedSums::joined || rows.sums == MaskedSums::imageOnly;
  const LineMemory line = {.width = rows.width,
                           .leftPad = rows.leftPad,
                           .rightPad = rows.rightPad,
                           .leftMirror = rows.leftMirror,
                           .rightMirror = rows.rightMirror,
                           .history = rows.history,
                           .piece = rows.piece,
                           .memory = rows.line,
                           .lines = isOneLine ? 1 : 2,
                           .distance = rows.maskLine};
  forEachPiece(
      line,
      [&](int64_t first, int64_t columns, int32_t* start) {
        addPiece<Src>(rows, steps, count, first, columns, finished, start);
      },
      [&](int32_t* column, int64_t columns) { writer.take(column, columns); });
  writer.flush();
}

template <typename Src, typename Dst>
using SmoothGroup = void (*)(const MaskedRows& rows, const MaskedStep* steps, int64_t count, Dst* const* out);

// For sums of images in 64 bits, of what kind beside.
template <template <Reach> typename Row, typename Src, typename Dst>
SmoothGroup<Src, Dst> byReach(Reach reach) {
  if (reach == Reach::second) return smoothGroup<Row<Reach::second>, Src, Dst>;
  if constexpr (sizeof(Src) == 2) {
    if (reach == Reach::nothing) return smoothGroup<Row<Reach::nothing>, Src, Dst>;
  }
  return smoothGroup<Row<Reach::difference>, Src, Dst>;
}

template <typename Src, typename Dst>
SmoothGroup<Src, Dst> smoothGroupFor(const MaskedRows& rows) {
  constexpr uint64_t white = std::numeric_limits<Src>::max();
  const uint64_t largestDividend = (rows.weights * white << rows.gainBits) + rows.weights / 2;
  if (rows.division == MaskedDivision::gain && rows.sums != MaskedSums::imageOnly) {
    const bool fits31 = largestDividend < uint64_t{1} << 31;
    if constexpr (sizeof(Src) == 1) {
      if (rows.sums == MaskedSums::joined) {
        return fits31 ? smoothGroup<JoinedRow<GainValues<Divide31>>, Src, Dst>
                      : smoothGroup<JoinedRow<GainValues<Divide32>>, Src, Dst>;
      }
    }
    if (rows.sums == MaskedSums::narrow) {
      return fits31                                ? smoothGroup<NarrowGainRow<Divide31>, Src, Dst>
             : largestDividend < uint64_t{1} << 32 ? smoothGroup<NarrowGainRow<Divide32>, Src, Dst>
                                                   : smoothGroup<NarrowGainRow<Divide48>, Src, Dst>;
    }
    return byReach<GainRow, Src, Dst>(rows.reach);
  }
  if constexpr (sizeof(Src) == sizeof(Dst)) {
    if (rows.sums == MaskedSums::narrow) {
      return largestDividend < uint64_t{1} << 24   ? smoothGroup<NarrowRow<Src, Divide24>, Src, Dst>
             : largestDividend < uint64_t{1} << 31 ? smoothGroup<NarrowRow<Src, Divide31>, Src, Dst>
                                                   : smoothGroup<NarrowRow<Src, Divide32>, Src, Dst>;
    }
  }
  if constexpr (sizeof(Dst) == 1) {
    if (rows.sums == MaskedSums::joined) return smoothGroup<JoinedRow<PlainValues<Product32, Divide24>>, Src, Dst>;
  }
  if constexpr (sizeof(Src) == 2) {
    if (rows.sums == MaskedSums::imageOnly) return byReach<ImageRow, Src, Dst>(rows.reach);
  } else {
    if (rows.sums == MaskedSums::widest) return byReach<WidestRow, Src, Dst>(rows.reach);
  }
  const bool isPlain = rows.division == MaskedDivision::plain && rows.weights < uint64_t{1} << 31;
  return isPlain ? byReach<PlainRow, Src, Dst>(rows.reach) : byReach<WideRow, Src, Dst>(rows.reach);
}

template <typename Src, typename Dst>
void smoothRows(const MaskedRows& rows, const MaskedStep* steps, int64_t count, Dst* const* out) {
  smoothGroupFor<Src, Dst>(rows)(rows, steps, count, out);
}

// The byte, or 0 when it is odd.
KIP_INLINE uint8_t ifEven(uint8_t byte) {
  return static_cast<uint8_t>(byte & ((byte & 1) - 1));
}
bool hasEvenBytes(const uint8_t* mask, int64_t width) {
  uint8_t even = 0;
  for (int64_t x = 0; x < width; ++x) even |= ifEven(mask[x]);
  return even != 0;
}

template <typename Src, typename Dst>
bool keepValid(const uint8_t* __restrict mask, const Src* __restrict source, int32_t gainBits, Dst* __restrict out,
               uint8_t* __restrict valid, int64_t width) {
  uint8_t even = 0;
  for (int64_t x = 0; x < width; ++x) {
    const Dst value = out[x];
    Dst pixel = source[x];
    if constexpr (sizeof(Src) < sizeof(Dst)) pixel = static_cast<Dst>(pixel << gainBits);
    out[x] = mask[x] != 0 ? value : pixel;
    valid[x] = mask[x] != 0 ? 255 : 0;
    even |= ifEven(mask[x]);
  }
  return even != 0;
}

template <typename Word, typename Src, typename Dst, typename Step>
KIP_INLINE void scaleInvalidIn(const uint8_t* __restrict valid, const Src* __restrict samples, Step step,
                               const SampleScale& scale, Dst* __restrict out, int64_t width) {
  const auto factor = static_cast<Word>(scale.factor);
  const auto half = static_cast<Word>(scale.half);
  const auto limit = static_cast<Word>(scale.limit);
  for (int64_t x = 0; x < width; ++x) {
    const Word scaled = (factor * samples[x * step] + half) >> 16;
    const Dst sample = static_cast<Dst>(scaled < limit ? scaled : limit);
    const Dst kept = out[x];
    out[x] = valid[x] != 0 ? kept : sample;
  }
}

template <typename Src, typename Dst>
void scaleInvalid(const uint8_t* valid, const Src* samples, int64_t step, const SampleScale& scale, Dst* out,
                  int64_t width) {
  constexpr uint64_t white = std::numeric_limits<Src>::max();
  constexpr uint64_t most = std::numeric_limits<uint32_t>::max();
  if (step != 1) return scaleInvalidIn<uint64_t>(valid, samples, step, scale, out, width);
  constexpr std::integral_constant<int64_t, 1> one;
  scale.factor <= (most - scale.half) / white ? scaleInvalidIn<uint32_t>(valid, samples, one, scale, out, width)
                                              : scaleInvalidIn<uint64_t>(valid, samples, one, scale, out, width);
}

template <typename Src, typename Dst>
constexpr MaskedPairKernel<Src, Dst> pairKernel = {smoothRows<Src, Dst>, keepValid<Src, Dst>, scaleInvalid<Src, Dst>};

constexpr MaskedRowsKernel kernel = {lanes,
                                     block,
                                     hasEvenBytes,
                                     pairKernel<uint8_t, uint8_t>,
                                     pairKernel<uint8_t, uint16_t>,
                                     pairKernel<uint16_t, uint16_t>};

}  // namespace

}  // namespace kip
