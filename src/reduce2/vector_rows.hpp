// SPDX-License-Identifier: Apache-2.0
// The vectorised row kernels, written once on 256 bits of lanes: include the lanes of an instruction set first.
//
// A register of pixels is read as pairs of an even and an odd column in lanes of twice the bits: multiplying and adding
// each pair gives two taps at once, and even and odd results merge into pixels in order without a shuffle.
#pragma once

#include "reduce2/formulas.hpp"

// A row's kernel. All that it calls is part of it: a register of 256 bits that is two of 128 would go through memory.
#define KIP_ROW [[gnu::flatten]]

namespace kip {

namespace {

template <typename Pixel>
constexpr int64_t pixelsOf = 32 / int64_t{sizeof(Pixel)};

// Calls step(at) for steps of Size outputs over [begin, end), the last one moved back to end there, and
// formula(from, to) for a row's other outputs; for all of them when there is no room for a step.
template <int64_t Size, typename Step, typename Formula>
void cover(int64_t begin, int64_t end, int64_t count, Step step, Formula formula) {
  if (end - begin < Size) return formula(0, count);
  int64_t at = begin;
  for (; at + Size <= end; at += Size) step(at);
  if (at < end) step(end - Size);
  formula(0, begin);
  formula(end, count);
}

// ---- lanes of 16 or 32 bits

template <typename Lane>
Reg add(Reg a, Reg b) {
  if constexpr (sizeof(Lane) == 2) return add16(a, b);
  if constexpr (sizeof(Lane) == 4) return add32(a, b);
}
template <typename Lane>
Reg fill(int32_t value) {
  if constexpr (sizeof(Lane) == 2) return fill16(static_cast<int16_t>(value));
  if constexpr (sizeof(Lane) == 4) return fill32(value);
}
template <typename Lane, int Bits>
Reg shl(Reg r) {
  if constexpr (Bits == 0) return r;
  if constexpr (sizeof(Lane) == 2) return shl16<Bits>(r);
  if constexpr (sizeof(Lane) == 4) return shl32<Bits>(r);
}
template <typename Lane, int Bits>
Reg shr(Reg r) {
  if constexpr (sizeof(Lane) == 2) return shr16<Bits>(r);
  if constexpr (sizeof(Lane) == 4) return shr32<Bits>(r);
}

// As the formula weighLines.
template <typename Lane, int64_t Step, typename Term>
Reg weighLanes(Term term) {
  const Reg outer = add<Lane>(term(-2), term(2)), inner = add<Lane>(term(-1), term(1)), middle = term(0);
  if constexpr (Step == 1) {
    return add<Lane>(add<Lane>(outer, shl<Lane, 1>(middle)), shl<Lane, 2>(add<Lane>(inner, middle)));
  } else {
    return add<Lane>(add<Lane>(outer, inner), add<Lane>(shl<Lane, 1>(middle), shl<Lane, 2>(middle)));
  }
}

// ---- horizontal sums

// 16-bit pixels enter signed, that is so much lower; the rounding before the result makes up for it.
template <typename Pixel>
constexpr uint32_t level = sizeof(Pixel) == 1 ? 0 : 32768;

// Even times the even column plus Odd times the odd one.
template <typename Pixel, int Even, int Odd>
Reg pairs(Reg pixels) {
  if constexpr (sizeof(Pixel) == 1) return pairs8<Even, Odd>(pixels);
  if constexpr (sizeof(Pixel) == 2) return madd16(bitXor(pixels, fill16(-32768)), fill32(Even | Odd << 16));
}

// The pixels of a register, and those two columns to the left and to the right.
struct Taps {
  Reg left, middle, right;
};

template <typename Pixel, int A, int B, int C, int D, int E, int F>
Reg sumPairs(const Taps& taps) {
  return add<Sum<Pixel>>(add<Sum<Pixel>>(pairs<Pixel, A, B>(taps.left), pairs<Pixel, C, D>(taps.middle)),
                         pairs<Pixel, E, F>(taps.right));
}

// The five taps, times Scale, around the even columns and around the odd ones.
template <typename Pixel, int Scale = 1>
Reg evenSums(const Taps& taps) {
  return sumPairs<Pixel, Scale, 4 * Scale, 6 * Scale, 4 * Scale, Scale, 0>(taps);
}
template <typename Pixel>
Reg oddSums(const Taps& taps) {
  return sumPairs<Pixel, 0, 1, 4, 6, 4, 1>(taps);
}

inline Reg fillPixels(uint8_t pixel) {
  return fill8(pixel);
}
inline Reg fillPixels(uint16_t pixel) {
  return fill16(static_cast<int16_t>(pixel));
}

// Where in its row a register of pixels is: with both columns to the right, with the two to the left as well, or
// without two to the right. The row's first and last pixel stand in for what is missing.
enum class Place { first, inner, last };

template <Place place, typename Pixel>
Taps tapsAt(const Pixel* src, int64_t x, int64_t width) {
  constexpr int bytes = 2 * sizeof(Pixel);
  const Reg middle = load(src + x);
  return {place == Place::first ? shiftIn<bytes>(fillPixels(src[0]), middle) : load(src + x - 2), middle,
          place == Place::last ? shiftOut<bytes>(middle, fillPixels(src[width - 1])) : load(src + x + 2)};
}

// The least width of a row that registers can cover with the columns around them.
template <typename Pixel>
constexpr int64_t leastWidth = pixelsOf<Pixel> + 2;
static_assert(leastWidth<uint8_t> <= leastLine && leastWidth<uint16_t> <= leastLine);

// A narrower row made as wide by its last pixel, which leaves its outputs as they are.
template <typename Pixel, int64_t Width = leastWidth<Pixel>>
struct WideRow {
  Pixel at[size_t{Width}];

  WideRow(const Pixel* src, int64_t width) {
    for (Pixel& pixel : at) pixel = src[width - 1];
    copy(src, width, at);
  }
  static void copy(const Pixel* from, int64_t count, Pixel* to) {
    for (int64_t x = 0; x < count; ++x) to[x] = from[x];
  }
};

// Calls step.operator()<place>(x) for registers of pixels that cover the columns below end, the row's width or one
// less; they overlap at the row's end. No columns to the right of the last register's exist, but one at most.
template <typename Pixel, typename Step>
void alongRow(int64_t end, int64_t width, Step step) {
  constexpr int64_t size = pixelsOf<Pixel>;
  step.template operator()<Place::first>(0);
  int64_t x = size;
  for (; x + size + 2 <= width; x += size) step.template operator()<Place::inner>(x);
  for (; x < end; x += size) step.template operator()<Place::last>(x + size < end ? x : end - size);
}

// What rounds the sum of 1 << Shift pixels that entered level<Pixel> lower.
template <typename Pixel, int Shift>
Reg rounding() {
  return fill<Sum<Pixel>>((1 << (Shift - 1)) + static_cast<int32_t>(level<Pixel> << Shift));
}

// Pixels from such sums.
template <typename Pixel, int Shift>
Reg roundedPixels(Reg even, Reg odd) {
  using Lane = Sum<Pixel>;
  constexpr int bits = 8 * sizeof(Pixel);
  const Reg half = rounding<Pixel, Shift>();
  return bitOr(shr<Lane, Shift>(add<Lane>(even, half)),
               bitAnd(shl<Lane, bits - Shift>(add<Lane>(odd, half)), fill<Lane>(-1 << bits)));
}

// ---- rows

template <typename Pixel>
KIP_ROW void enterReduced(const Pixel* src, int64_t width, Sum<Pixel>* line, int32_t shift) {
  if (width < leastWidth<Pixel>) {
    return enterReduced(WideRow<Pixel>(src, width).at, leastWidth<Pixel>, line, shift);
  }
  alongRow<Pixel>(width / 2 * 2, width, [=]<Place place>(int64_t x) {
    const Reg sum = evenSums<Pixel>(tapsAt<place>(src, x, width));
    store(line + x / 2, shift == 0 ? sum : shl<Sum<Pixel>, 2>(sum));
  });
}

template <typename Pixel>
KIP_ROW void reduceNext(const Pixel* const src[], int64_t width, Sum<Pixel>* const lines[5], Pixel* dst) {
  using Lane = Sum<Pixel>;
  const Pixel *const odd = src[0], *const even = src[1];
  if (width < leastWidth<Pixel>) {
    const WideRow<Pixel> wideOdd(odd, width), wideEven(even, width);
    const Pixel* const wide[] = {wideOdd.at, wideEven.at};
    Pixel out[leastWidth<Pixel>];
    reduceNext(wide, leastWidth<Pixel>, lines, out);
    return WideRow<Pixel>::copy(out, width / 2, dst);
  }
  Lane *const r0 = lines[0], *const r1 = lines[1], *const r2 = lines[2], *const r3 = lines[3], *const r4 = lines[4];
  alongRow<Pixel>(width / 2 * 2, width, [=]<Place place>(int64_t x) {
    const int64_t j = x / 2;
    const Reg sums[5] = {load(r0 + j), load(r1 + j), load(r2 + j), evenSums<Pixel, 4>(tapsAt<place>(odd, x, width)),
                         evenSums<Pixel>(tapsAt<place>(even, x, width))};
    store(r3 + j, sums[3]);
    store(r4 + j, sums[4]);
    const Reg sum = weighLanes<Lane, 2>([&](int k) { return sums[k + 2]; });
    const Reg rounded = shr<Lane, 8>(add<Lane>(sum, rounding<Pixel, 8>()));
    storeLow(dst + j, sizeof(Pixel) == 1 ? narrow16(rounded, rounded) : narrow32(rounded, rounded));
  });
}

// A line of smooth sums of a wide row: a register of even and one of odd columns in turn as the registers of pixels
// went. They overlap at the end of the row, the sums do not.
template <typename Pixel>
KIP_ROW void enterSmooth(const Pixel* src, int64_t width, Sum<Pixel>* line, int32_t /*shift*/) {
  constexpr int64_t lanes = pixelsOf<Pixel> / 2;
  if (width < leastWidth<Pixel>) return enterSmooth(WideRow<Pixel>(src, width).at, leastWidth<Pixel>, line, 0);
  alongRow<Pixel>(width, width, [=, &line]<Place place>(int64_t x) {
    const Taps taps = tapsAt<place>(src, x, width);
    store(line, evenSums<Pixel>(taps));
    store(line + lanes, oddSums<Pixel>(taps));
    line += 2 * lanes;
  });
}

template <typename Pixel>
KIP_ROW void smoothNext(const Pixel* const src[], int64_t width, Sum<Pixel>* const lines[5], Pixel* dst) {
  using Lane = Sum<Pixel>;
  constexpr int64_t lanes = pixelsOf<Pixel> / 2;
  const Pixel* const row = src[0];
  if (width < leastWidth<Pixel>) {
    const WideRow<Pixel> wideRow(row, width);
    const Pixel* const wide[] = {wideRow.at};
    Pixel out[leastWidth<Pixel>];
    smoothNext(wide, leastWidth<Pixel>, lines, out);
    return WideRow<Pixel>::copy(out, width, dst);
  }
  const Five<Lane> from([=](int k) { return lines[k]; });
  Lane* const last = lines[4];
  int64_t at = 0;
  alongRow<Pixel>(width, width, [=, &at]<Place place>(int64_t x) {
    const Taps taps = tapsAt<place>(row, x, width);
    const auto weighed = [&](int64_t block, Reg newest) {
      store(last + block, newest);
      return weighLanes<Lane, 1>([&](int k) { return k == 2 ? newest : load(from.at[k + 2] + block); });
    };
    store(dst + x,
          roundedPixels<Pixel, 8>(weighed(at, evenSums<Pixel>(taps)), weighed(at + lanes, oddSums<Pixel>(taps))));
    at += 2 * lanes;
  });
}

template <typename Pixel>
KIP_ROW void pass5x1(const Pixel* src, int64_t width, Pixel* dst) {
  if (width < leastWidth<Pixel>) {
    Pixel out[leastWidth<Pixel>];
    pass5x1(WideRow<Pixel>(src, width).at, leastWidth<Pixel>, out);
    return WideRow<Pixel>::copy(out, width, dst);
  }
  alongRow<Pixel>(width, width, [=]<Place place>(int64_t x) {
    const Taps taps = tapsAt<place>(src, x, width);
    store(dst + x, roundedPixels<Pixel, 4>(evenSums<Pixel>(taps), oddSums<Pixel>(taps)));
  });
}

template <typename Pixel>
KIP_ROW void pass1x5(const Pixel* const rows[5], int64_t width, Pixel* dst) {
  const Five<Pixel> from([=](int k) { return rows[k]; });
  cover<pixelsOf<Pixel>>(
      0, width, width,
      [=](int64_t x) {
        const auto pixels = [=](int k) { return load(from.at[k] + x); };
        if constexpr (sizeof(Pixel) == 1) {
          const auto sum = [](auto first, auto second, auto third) { return add16(add16(first, second), third); };
          const Reg a = pixels(0), b = pixels(1), c = pixels(2), d = pixels(3), e = pixels(4), half = fill8(8);
          store(dst + x, joinSums8<4>(sum(firstSums8<1, 4>(a, b), firstSums8<6, 4>(c, d), firstSums8<1, 1>(e, half)),
                                      sum(lastSums8<1, 4>(a, b), lastSums8<6, 4>(c, d), lastSums8<1, 1>(e, half))));
        } else {
          const Reg sign = fill16(-32768);
          const auto words = [=](int k) { return bitXor(pixels(k), sign); };
          const auto sum = [](auto first, auto second, auto third) { return add32(add32(first, second), third); };
          const Reg a = words(0), b = words(1), c = words(2), d = words(3), e = words(4), half = fill16(8);
          store(dst + x,
                bitXor(sign,
                       joinSums16<4>(sum(firstSums16<1, 4>(a, b), firstSums16<6, 4>(c, d), firstSums16<1, 1>(e, half)),
                                     sum(lastSums16<1, 4>(a, b), lastSums16<6, 4>(c, d), lastSums16<1, 1>(e, half)))));
        }
      },
      [=](int64_t begin, int64_t end) { smoothDown(rows, begin, end, dst); });
}

// ---- sums and quotients with a mask, in 32-bit lanes

struct WeightedRegs {
  Reg value, weight;
};

// Sixteen pixels as signed words: 16-bit ones 32768 lower.
template <typename Pixel>
Reg signedWords(const Pixel* src) {
  if constexpr (sizeof(Pixel) == 1) return widen8(src);
  if constexpr (sizeof(Pixel) == 2) return bitXor(load(src), fill16(-32768));
}
template <typename Pixel>
Reg unsignedSum(Reg value, Reg weight) {
  return sizeof(Pixel) == 1 ? value : add32(value, shl32<15>(weight));
}

template <typename Pixel, int A, int B, int C, int D, int E, int F>
WeightedRegs sumMaskedPairs(const Pixel* src, const uint8_t* mask) {
  WeightedRegs sum = {fill32(0), fill32(0)};
  const auto addPairs = [&](int64_t at, int32_t even, int32_t odd) {
    const Reg weights = widen8(mask + at), taps = fill32(even | odd << 16);
    sum.value = add32(sum.value, madd16(mul16(weights, taps), signedWords(src + at)));
    sum.weight = add32(sum.weight, madd16(weights, taps));
  };
  addPairs(-2, A, B);
  addPairs(0, C, D);
  addPairs(2, E, F);
  return {unsignedSum<Pixel>(sum.value, sum.weight), sum.weight};
}

inline Reg mergeWords(Reg even, Reg odd) {
  return bitOr(even, shl32<16>(odd));
}

// The quotient in single precision. A sum of 16-bit pixels can pass the largest signed lane: it enters in halves.
template <typename Pixel>
Reg quotient(Reg value, Reg weight) {
  const FloatReg divisor = atLeast1(toFloat(weight));
  if constexpr (sizeof(Pixel) == 1) return toInteger(divide(toFloat(value), divisor));
  const Reg half = shr32<1>(value);
  return toInteger(divide(addFloat(toFloat(sub32(value, half)), toFloat(half)), divisor));
}

// The same for one output.
template <typename Pixel>
Pixel quotient(uint32_t value, uint32_t weight) {
  const auto toFloat1 = [](uint32_t number) { return static_cast<float>(static_cast<int32_t>(number)); };
  const float divisor = toFloat1(weight == 0 ? 1 : weight);
  const uint32_t half = sizeof(Pixel) == 1 ? 0 : value >> 1;
  const float dividend = toFloat1(value - half) + toFloat1(half);
  return static_cast<Pixel>(_mm_cvtss_si32(_mm_set_ss(dividend / divisor)));
}

// Words that hold pixels.
template <typename Pixel>
void storePixels(Pixel* dst, Reg words) {
  if constexpr (sizeof(Pixel) == 1) storeLow(dst, narrow16(words, words));
  if constexpr (sizeof(Pixel) == 2) store(dst, words);
}

inline Reg roundedWeights(Reg words) {
  return shr16<4>(add16(words, fill16(8)));
}

// ---- a ring with a mask: one of the mask's rows as of 8-bit pixels, and one of values

// A row's signed words that make its values: of 8-bit pixels the products with the mask, 32768 lower; of 16-bit pixels
// the mask and the pixels, 32768 lower. The nearest ones stand in for the two on either side.
template <typename Pixel>
class MaskedWords {
 public:
  MaskedWords(const Pixel* src, const uint8_t* mask, int64_t width, uint16_t* scratch)
      : words_(scratch + maskedMargin), weights_(sizeof(Pixel) == 1 ? nullptr : words_ + maskedPitch(width)) {
    cover<16>(
        0, width, width,
        [=, this](int64_t x) {
          const Reg weights = widen8(mask + x);
          if constexpr (sizeof(Pixel) == 1) {
            store(words_ + x, bitXor(mul16(weights, widen8(src + x)), fill16(-32768)));
          } else {
            store(words_ + x, signedWords(src + x));
            store(weights_ + x, weights);
          }
        },
        [](int64_t, int64_t) {});
    continueBothWays(words_, width);
    if constexpr (sizeof(Pixel) == 2) continueBothWays(weights_, width);
  }

  // The even columns' taps A, C, E and the odd ones' B, D, F on sixteen words and the two on either side.
  template <int A, int B, int C, int D, int E, int F>
  [[nodiscard]] Reg sums(int64_t x) const {
    return add32(add32(pairs<A, B>(x - 2), pairs<C, D>(x)), pairs<E, F>(x + 2));
  }
  template <int Scale = 1>
  [[nodiscard]] Reg evenSums(int64_t x) const {
    return sums<Scale, 4 * Scale, 6 * Scale, 4 * Scale, Scale, 0>(x);
  }
  [[nodiscard]] Reg oddSums(int64_t x) const { return sums<0, 1, 4, 6, 4, 1>(x); }

 private:
  static void continueBothWays(uint16_t* words, int64_t width) {
    words[-2] = words[-1] = words[0];
    words[width] = words[width + 1] = words[width - 1];
  }
  template <int Even, int Odd>
  [[nodiscard]] Reg pairs(int64_t x) const {
    const Reg taps = fill32(Even | Odd << 16);
    return madd16(sizeof(Pixel) == 1 ? taps : mul16(load(weights_ + x), taps), load(words_ + x));
  }

  uint16_t *words_, *weights_;
};

// The sum of five lines of such values with what they entered lower.
template <typename Pixel>
Reg wholeSum(Reg sum, Reg weight) {
  return add32(sum, sizeof(Pixel) == 1 ? fill32(256 * 32768) : shl32<15>(weight));
}
template <typename Pixel>
uint32_t wholeSum(uint32_t sum, uint32_t weight) {
  return sum + (sizeof(Pixel) == 1 ? 256 * 32768 : weight << 15);
}

// A row too narrow for registers, with its mask, and room for its outputs.
template <typename Pixel>
struct WideMaskedRow {
  static constexpr int64_t width = leastWidth<uint8_t>;

  WideMaskedRow(const Pixel* row, const uint8_t* rowMask, int64_t rowWidth)
      : src(row, rowWidth), mask(rowMask, rowWidth) {}
  void copyOutputs(int64_t count, Pixel* to, uint8_t* toMask) const {
    WideRow<Pixel>::copy(dst, count, to);
    if (toMask != nullptr) WideRow<uint8_t>::copy(dstMask, count, toMask);
  }

  WideRow<Pixel, width> src;
  WideRow<uint8_t> mask;
  Pixel dst[size_t{width}];
  uint8_t dstMask[size_t{width}];
};

template <typename Pixel>
KIP_ROW void enterMaskedReduced(const Pixel* src, const uint8_t* mask, int64_t width, const MaskedLine& line,
                                uint16_t* scratch, int32_t shift) {
  if (width < leastWidth<uint8_t>) {
    const WideMaskedRow<Pixel> wide(src, mask, width);
    return enterMaskedReduced(wide.src.at, wide.mask.at, wide.width, line, scratch, shift);
  }
  const MaskedWords<Pixel> words(src, mask, width, scratch);
  enterReduced(mask, width, line.weights, shift);
  cover<8>(
      0, width / 2, width / 2,
      [=, values = line.values](int64_t j) {
        store(values + j, shift == 0 ? words.evenSums(2 * j) : words.template evenSums<4>(2 * j));
      },
      [](int64_t, int64_t) {});
}

// The even row and the outputs, of which `count` are wanted.
template <typename Pixel>
KIP_ROW void reduceMaskedRow(const Pixel* src, const uint8_t* mask, int64_t width, int64_t count,
                             const MaskedLine lines[5], uint16_t* scratch, Pixel* dst, uint8_t* dstMask) {
  const MaskedWords<Pixel> words(src, mask, width, scratch);
  const Five<uint32_t> values([=](int k) { return lines[k].values; });
  const Five<uint16_t> weights([=](int k) { return lines[k].weights; });
  const MaskedLine last = lines[4];
  alongRow<uint8_t>(width / 2 * 2, width, [=]<Place place>(int64_t x) {
    const int64_t j = x / 2;
    const Reg newest = evenSums<uint8_t>(tapsAt<place>(mask, x, width));
    store(last.weights + j, newest);
    const Reg weight = weighLanes<uint16_t, 2>([=](int k) { return k == 2 ? newest : load(weights.at[k + 2] + j); });
    const Reg rounded = shr16<8>(add16(weight, fill16(128)));
    storeLow(dstMask + j, narrow16(rounded, rounded));
    const auto means = [=](int64_t at, Reg total) {
      const Reg newestValue = words.evenSums(2 * at);
      store(last.values + at, newestValue);
      const Reg sum =
          weighLanes<uint32_t, 2>([=](int k) { return k == 2 ? newestValue : load(values.at[k + 2] + at); });
      return quotient<Pixel>(wholeSum<Pixel>(sum, total), total);
    };
    storePixels(dst + j, narrow32(means(j, widenFirst16(weight)), means(j + 8, widenLast16(weight))));
  });
  for (int64_t j = count / 8 * 8; j < count; ++j) {
    const uint32_t weight = weighLines<2>([&](int64_t k) { return weights(k, j); });
    dst[j] = maskedMean<Pixel>(wholeSum<Pixel>(weighLines<2>([&](int64_t k) { return values(k, j); }), weight), weight);
  }
}

// The odd row on its own: with both at once there are too many lines for the nearest cache.
template <typename Pixel>
void reduceMaskedNext(const Pixel* const src[], const uint8_t* const masks[], int64_t width, const MaskedLine lines[5],
                      uint16_t* scratch, Pixel* dst, uint8_t* dstMask) {
  const int64_t count = width / 2;
  enterMaskedReduced(src[0], masks[0], width, lines[3], scratch, 2);
  if (width >= leastWidth<uint8_t>) {
    return reduceMaskedRow(src[1], masks[1], width, count, lines, scratch, dst, dstMask);
  }
  WideMaskedRow<Pixel> wide(src[1], masks[1], width);
  reduceMaskedRow(wide.src.at, wide.mask.at, wide.width, count, lines, scratch, wide.dst, wide.dstMask);
  wide.copyOutputs(count, dst, dstMask);
}

// Lines of smooth sums of a wide row: as without a mask; for each register of 8-bit pixels one of even and one of odd
// weights and two of even and odd values each, the first sixteen columns' and the last.
template <typename Pixel>
KIP_ROW void enterMaskedSmooth(const Pixel* src, const uint8_t* mask, int64_t width, const MaskedLine& line,
                               uint16_t* scratch, int32_t /*shift*/) {
  if (width < leastWidth<uint8_t>) {
    const WideMaskedRow<Pixel> wide(src, mask, width);
    return enterMaskedSmooth(wide.src.at, wide.mask.at, wide.width, line, scratch, 0);
  }
  const MaskedWords<Pixel> words(src, mask, width, scratch);
  enterSmooth(mask, width, line.weights, 0);
  alongRow<uint8_t>(width, width, [=, values = line.values]<Place>(int64_t x) mutable {
    for (int64_t half = 0; half < 2; ++half) {
      store(values, words.evenSums(x + 16 * half));
      store(values + 8, words.oddSums(x + 16 * half));
      values += 16;
    }
  });
}

template <typename Pixel>
KIP_ROW void smoothMaskedRow(const Pixel* src, const uint8_t* mask, int64_t width, int64_t count,
                             const MaskedLine lines[5], uint16_t* scratch, Pixel* dst, uint8_t* dstMask) {
  const MaskedWords<Pixel> words(src, mask, width, scratch);
  const Five<uint32_t> values([=](int k) { return lines[k].values; });
  const Five<uint16_t> weights([=](int k) { return lines[k].weights; });
  const MaskedLine last = lines[4];
  int64_t block = 0;
  alongRow<uint8_t>(width, width, [=, &block]<Place place>(int64_t x) {
    const Taps taps = tapsAt<place>(mask, x, width);
    const auto weight = [=](int64_t at, Reg newest) {
      store(last.weights + at, newest);
      return weighLanes<uint16_t, 1>([=](int k) { return k == 2 ? newest : load(weights.at[k + 2] + at); });
    };
    const Reg even = weight(block, evenSums<uint8_t>(taps)), odd = weight(block + 16, oddSums<uint8_t>(taps));
    if (dstMask != nullptr) store(dstMask + x, roundedPixels<uint8_t, 8>(even, odd));
    const auto means = [=](int64_t at, Reg newest, Reg total) {
      store(last.values + at, newest);
      const Reg sum = weighLanes<uint32_t, 1>([=](int k) { return k == 2 ? newest : load(values.at[k + 2] + at); });
      return quotient<Pixel>(wholeSum<Pixel>(sum, total), total);
    };
    const Reg first = mergeWords(means(block, words.evenSums(x), widenFirst16(even)),
                                 means(block + 8, words.oddSums(x), widenFirst16(odd)));
    const Reg second = mergeWords(means(block + 16, words.evenSums(x + 16), widenLast16(even)),
                                  means(block + 24, words.oddSums(x + 16), widenLast16(odd)));
    if constexpr (sizeof(Pixel) == 1) {
      store(dst + x, narrow16(first, second));
    } else {
      store(dst + x, first);
      store(dst + x + 16, second);
    }
    block += 32;
  });
  for (int64_t x = count / 8 * 8; x < count; ++x) {
    const bool inFirst = x < 32;  // register; else in the last one
    const int64_t at = inFirst ? 0 : block - 32, lane = inFirst ? x : x - (width - 32), odd = lane % 2;
    const uint32_t weight = weighLines<1>([&](int64_t k) { return weights(k, at + 16 * odd + lane / 2); });
    const uint32_t value =
        weighLines<1>([&](int64_t k) { return values(k, at + lane / 16 * 16 + 8 * odd + lane % 16 / 2); });
    dst[x] = maskedMean<Pixel>(wholeSum<Pixel>(value, weight), weight);
  }
}

template <typename Pixel>
void smoothMaskedNext(const Pixel* const src[], const uint8_t* const masks[], int64_t width, const MaskedLine lines[5],
                      uint16_t* scratch, Pixel* dst, uint8_t* dstMask) {
  if (width >= leastWidth<uint8_t>) {
    return smoothMaskedRow(src[0], masks[0], width, width, lines, scratch, dst, dstMask);
  }
  WideMaskedRow<Pixel> wide(src[0], masks[0], width);
  smoothMaskedRow(wide.src.at, wide.mask.at, wide.width, width, lines, scratch, wide.dst, wide.dstMask);
  wide.copyOutputs(width, dst, dstMask);
}

// ---- passes with a mask: quotients between the two outermost outputs at either end, and everywhere
template <typename Pixel>
KIP_ROW void maskedPass5x1(const Pixel* src, const uint8_t* mask, int64_t width, Pixel* dst, uint8_t* dstMask) {
  const int64_t eights = width < 4 ? 0 : (width - 4) / 8 * 8;
  cover<16>(
      0, eights, eights,
      [=](int64_t at) {
        const int64_t x = at + 2;
        const WeightedRegs even = sumMaskedPairs<Pixel, 1, 4, 6, 4, 1, 0>(src + x, mask + x);
        const WeightedRegs odd = sumMaskedPairs<Pixel, 0, 1, 4, 6, 4, 1>(src + x, mask + x);
        storePixels(dst + x,
                    mergeWords(quotient<Pixel>(even.value, even.weight), quotient<Pixel>(odd.value, odd.weight)));
        const Reg weights = roundedWeights(mergeWords(even.weight, odd.weight));
        storeLow(dstMask + x, narrow16(weights, weights));
      },
      [=](int64_t begin, int64_t end) {
        for (int64_t x = begin + 2; x < end + 2; ++x) {
          const Weighted sum = weighAlong(src, mask, [x](int64_t k) { return x + k; });
          dst[x] = quotient<Pixel>(sum.value, sum.weight);
          dstMask[x] = roundedWeight(sum.weight);
        }
      });
  smoothMaskedAlong(src, mask, width, 0, 2, dst, dstMask);
  smoothMaskedAlong(src, mask, width, eights + 2, width, dst, dstMask);
}

template <typename Pixel>
KIP_ROW void maskedPass1x5(const Pixel* const rows[5], const uint8_t* const masks[5], int64_t width, Pixel* dst,
                           uint8_t* dstMask) {
  const int64_t eights = width / 8 * 8;
  const Five<Pixel> pixels([=](int k) { return rows[k]; });
  const Five<uint8_t> weights([=](int k) { return masks[k]; });
  cover<16>(
      0, eights, eights,
      [=](int64_t x) {
        Reg even = fill32(0), odd = fill32(0), weight = fill32(0);
        const auto addRow = [&](int k, int16_t tap) {
          const Reg weighted = mul16(widen8(weights.at[k] + x), fill16(tap)), words = signedWords(pixels.at[k] + x);
          weight = add16(weight, weighted);
          even = add32(even, madd16(bitAnd(weighted, fill32(0xFFFF)), words));
          odd = add32(odd, madd16(bitAnd(weighted, fill32(-0x10000)), words));
        };
        addRow(0, 1);
        addRow(1, 4);
        addRow(2, 6);
        addRow(3, 4);
        addRow(4, 1);
        const Reg evenWeight = bitAnd(weight, fill32(0xFFFF)), oddWeight = shr32<16>(weight);
        storePixels(dst + x, mergeWords(quotient<Pixel>(unsignedSum<Pixel>(even, evenWeight), evenWeight),
                                        quotient<Pixel>(unsignedSum<Pixel>(odd, oddWeight), oddWeight)));
        storeLow(dstMask + x, narrow16(roundedWeights(weight), roundedWeights(weight)));
      },
      [=](int64_t begin, int64_t end) {
        for (int64_t x = begin; x < end; ++x) {
          const Weighted sum = weighDown(rows, masks, x);
          dst[x] = quotient<Pixel>(sum.value, sum.weight);
          dstMask[x] = roundedWeight(sum.weight);
        }
      });
  smoothMaskedDown(rows, masks, eights, width, dst, dstMask);
}

template <typename Pixel>
constexpr RowKernels<Pixel> vectorRows{
    .reduce = {.enter = enterReduced<Pixel>, .next = reduceNext<Pixel>},
    .smooth = {.enter = enterSmooth<Pixel>, .next = smoothNext<Pixel>},
    .pass5x1 = pass5x1<Pixel>,
    .pass1x5 = pass1x5<Pixel>,
    .maskedReduce = {.enter = enterMaskedReduced<Pixel>, .next = reduceMaskedNext<Pixel>},
    .maskedSmooth = {.enter = enterMaskedSmooth<Pixel>, .next = smoothMaskedNext<Pixel>},
    .maskedPass5x1 = maskedPass5x1<Pixel>,
    .maskedPass1x5 = maskedPass1x5<Pixel>,
};

}  // namespace

}  // namespace kip
