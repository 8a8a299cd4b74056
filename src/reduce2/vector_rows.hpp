// SPDX-License-Identifier: Apache-2.0
// The vectorised row kernels, written once on 256 bits of lanes: include the lanes of an instruction set first.
//
// A register of pixels is read as pairs of an even and an odd column in lanes of twice the bits: multiplying and adding
// each pair gives two taps at once, and even and odd results merge into pixels in order without a shuffle.
#pragma once

#include "reduce2/formulas.hpp"

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

template <typename Pixel, int A, int B, int C, int D, int E, int F>
Reg sumPairs(const Pixel* src) {
  using Lane = Sum<Pixel>;
  return add<Lane>(add<Lane>(pairs<Pixel, A, B>(load(src - 2)), pairs<Pixel, C, D>(load(src))),
                   pairs<Pixel, E, F>(load(src + 2)));
}

// The five taps, times Scale, around the columns src, src + 2, ... and around the columns between. Reads two pixels in
// front of a register of pixels and two behind it.
template <int Scale = 1, typename Pixel>
Reg evenSums(const Pixel* src) {
  return sumPairs<Pixel, Scale, 4 * Scale, 6 * Scale, 4 * Scale, Scale, 0>(src);
}
template <typename Pixel>
Reg oddSums(const Pixel* src) {
  return sumPairs<Pixel, 0, 1, 4, 6, 4, 1>(src);
}

// What rounds the sum of 1 << Shift pixels that entered Level lower.
template <typename Pixel, int Shift, uint32_t Level>
Reg rounding() {
  return fill<Sum<Pixel>>((1 << (Shift - 1)) + static_cast<int32_t>(Level << Shift));
}

// Pixels from such sums.
template <typename Pixel, int Shift, uint32_t Level = level<Pixel>>
Reg roundedPixels(Reg even, Reg odd) {
  using Lane = Sum<Pixel>;
  constexpr int bits = 8 * sizeof(Pixel);
  const Reg half = rounding<Pixel, Shift, Level>();
  return bitOr(shr<Lane, Shift>(add<Lane>(even, half)),
               bitAnd(shl<Lane, bits - Shift>(add<Lane>(odd, half)), fill<Lane>(-1 << bits)));
}

// ---- rows

template <int Shift, typename Pixel>
void reduceRowTimes(const Pixel* src, int64_t width, Sum<Pixel>* line) {
  const int64_t count = width / 2;
  cover<pixelsOf<Pixel> / 2>(
      1, count - 1, count, [=](int64_t j) { store(line + j, evenSums<1 << Shift>(src + 2 * j)); },
      [=](int64_t from, int64_t to) { sumRow<2, level<Pixel>>(src, width, from, to, line, Shift); });
}

template <typename Pixel>
void reduceRow(const Pixel* src, int64_t width, Sum<Pixel>* line, int32_t shift) {
  shift == 0 ? reduceRowTimes<0>(src, width, line) : reduceRowTimes<2>(src, width, line);
}

template <typename Pixel>
void reduceColumn(Sum<Pixel>* const lines[5], int64_t count, Pixel* dst) {
  using Lane = Sum<Pixel>;
  constexpr int64_t lanes = pixelsOf<Pixel> / 2;
  const Five<Lane> from([=](int k) { return lines[k]; });
  const auto rounded = [=](int64_t j) {
    const Reg sum = weighLanes<Lane, 2>([=](int k) { return load(from.at[k + 2] + j); });
    return shr<Lane, 8>(add<Lane>(sum, rounding<Pixel, 8, level<Pixel>>()));
  };
  cover<2 * lanes>(
      0, count, count,
      [=](int64_t j) {
        if constexpr (sizeof(Pixel) == 1) store(dst + j, narrow16(rounded(j), rounded(j + lanes)));
        if constexpr (sizeof(Pixel) == 2) store(dst + j, narrow32(rounded(j), rounded(j + lanes)));
      },
      [=](int64_t begin, int64_t end) { sumColumn<2, level<Pixel>>(lines, begin, end, dst); });
}

// A line of smooth sums: the first columns in order, then from firstBlock on a register of even and one of odd columns
// in turn as the steps went, at last the last columns, lastColumns further than in order.
constexpr int64_t firstBlock = 16;
constexpr int64_t lastColumns = 48;
static_assert(firstBlock + 31 - 4 <= lastColumns - 2 && lastColumns <= smoothLineSpare);

template <typename Pixel>
void smoothRow(const Pixel* src, int64_t width, Sum<Pixel>* line, int32_t /*shift*/) {
  constexpr int64_t lanes = pixelsOf<Pixel> / 2;
  Sum<Pixel>* block = line + firstBlock;
  cover<2 * lanes>(
      2, width - 2, width,
      [src, &block](int64_t x) {
        store(block, evenSums(src + x));
        store(block + lanes, oddSums(src + x));
        block += 2 * lanes;
      },
      [=](int64_t from, int64_t to) {
        sumRow<1, level<Pixel>>(src, width, from, to, from == 0 ? line : line + lastColumns, 0);
      });
}

template <typename Pixel>
void smoothColumn(Sum<Pixel>* const lines[5], int64_t width, Pixel* dst) {
  using Lane = Sum<Pixel>;
  constexpr int64_t lanes = pixelsOf<Pixel> / 2;
  const Five<Lane> from([=](int k) { return lines[k]; });
  int64_t block = firstBlock;
  cover<2 * lanes>(
      2, width - 2, width,
      [=, &block](int64_t x) {
        const int64_t at = block;
        const Reg even = weighLanes<Lane, 1>([=](int k) { return load(from.at[k + 2] + at); });
        const Reg odd = weighLanes<Lane, 1>([=](int k) { return load(from.at[k + 2] + at + lanes); });
        store(dst + x, roundedPixels<Pixel, 8>(even, odd));
        block += 2 * lanes;
      },
      [=](int64_t begin, int64_t end) {
        const int64_t further = begin == 0 ? 0 : lastColumns;
        Lane* const moved[5] = {lines[0] + further, lines[1] + further, lines[2] + further, lines[3] + further,
                                lines[4] + further};
        sumColumn<1, level<Pixel>>(moved, begin, end, dst);
      });
}

template <typename Pixel>
void pass5x1(const Pixel* src, int64_t width, Pixel* dst) {
  cover<pixelsOf<Pixel>>(
      2, width - 2, width,
      [=](int64_t x) { store(dst + x, roundedPixels<Pixel, 4>(evenSums(src + x), oddSums(src + x))); },
      [=](int64_t from, int64_t to) { smoothAlong(src, width, from, to, dst); });
}

template <typename Pixel>
void pass1x5(const Pixel* const rows[5], int64_t width, Pixel* dst) {
  using Lane = Sum<Pixel>;
  constexpr int bits = 8 * sizeof(Pixel);
  const Five<Pixel> from([=](int k) { return rows[k]; });
  cover<pixelsOf<Pixel>>(
      0, width, width,
      [=](int64_t x) {
        const auto pixels = [=](int k) { return load(from.at[k + 2] + x); };
        const Reg even = weighLanes<Lane, 1>([=](int k) { return bitAnd(pixels(k), fill<Lane>((1 << bits) - 1)); });
        const Reg odd = weighLanes<Lane, 1>([=](int k) { return shr<Lane, bits>(pixels(k)); });
        store(dst + x, roundedPixels<Pixel, 4, 0>(even, odd));
      },
      [=](int64_t begin, int64_t end) { smoothDown(rows, begin, end, dst); });
}

// ---- rows with a mask: sixteen outputs a step, in 32-bit lanes

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

// As without a mask.
template <int Scale = 1, typename Pixel>
WeightedRegs evenSums(const Pixel* src, const uint8_t* mask) {
  return sumMaskedPairs<Pixel, Scale, 4 * Scale, 6 * Scale, 4 * Scale, Scale, 0>(src, mask);
}
template <typename Pixel>
WeightedRegs oddSums(const Pixel* src, const uint8_t* mask) {
  return sumMaskedPairs<Pixel, 0, 1, 4, 6, 4, 1>(src, mask);
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

template <int Shift, typename Pixel>
void reduceMaskedRowTimes(const Pixel* src, const uint8_t* mask, int64_t width, MaskedLine line) {
  const int64_t count = width / 2;
  cover<16>(
      1, count - 1, count,
      [=](int64_t j) {
        const WeightedRegs first = evenSums<1 << Shift>(src + 2 * j, mask + 2 * j);
        const WeightedRegs last = evenSums<1 << Shift>(src + 2 * j + 16, mask + 2 * j + 16);
        store(line.values + j, first.value);
        store(line.values + j + 8, last.value);
        store(line.weights + j, narrow32(first.weight, last.weight));
      },
      [=](int64_t from, int64_t to) { sumMaskedRow<2>(src, mask, width, from, to, line, Shift); });
}

template <typename Pixel>
void reduceMaskedRow(const Pixel* src, const uint8_t* mask, int64_t width, const MaskedLine& line, int32_t shift) {
  shift == 0 ? reduceMaskedRowTimes<0>(src, mask, width, line) : reduceMaskedRowTimes<2>(src, mask, width, line);
}

template <typename Pixel>
void smoothMaskedRow(const Pixel* src, const uint8_t* mask, int64_t width, const MaskedLine& line, int32_t /*shift*/) {
  cover<16>(
      2, width - 2, width,
      [=](int64_t x) {
        const WeightedRegs even = evenSums(src + x, mask + x), odd = oddSums(src + x, mask + x);
        store(line.values + x, interleaveFirst(even.value, odd.value));
        store(line.values + x + 8, interleaveLast(even.value, odd.value));
        store(line.weights + x, mergeWords(even.weight, odd.weight));
      },
      [=](int64_t from, int64_t to) { sumMaskedRow<1>(src, mask, width, from, to, line, 0); });
}

template <int64_t Step>
void totalColumn(const MaskedLine lines[5], int64_t count, uint16_t* totals, uint8_t* dstMask) {
  const Five<uint16_t> from([=](int k) { return lines[k].weights; });
  const auto total = [=](int64_t x) {
    const Reg sum = weighLanes<uint16_t, Step>([=](int k) { return load(from.at[k + 2] + x); });
    store(totals + x, sum);
    return shr16<8>(add16(sum, fill16(128)));
  };
  cover<32>(
      0, count, count,
      [=](int64_t x) {
        const Reg first = total(x), last = total(x + 16);
        if (dstMask != nullptr) store(dstMask + x, narrow16(first, last));
      },
      [=](int64_t begin, int64_t end) { sumWeights<Step>(lines, begin, end, totals, dstMask); });
}

// The first outputs, eight by eight, by the quotient; the rest by the integer formula.
template <int64_t Step, typename Pixel>
void maskedColumn(const MaskedLine lines[5], int64_t count, uint16_t* totals, Pixel* dst, uint8_t* dstMask) {
  totalColumn<Step>(lines, count, totals, dstMask);
  const Five<uint32_t> from([=](int k) { return lines[k].values; });
  const auto means = [=](int64_t x) {
    const Reg sum = weighLanes<uint32_t, Step>([=](int k) { return load(from.at[k + 2] + x); });
    return quotient<Pixel>(sum, widen16(totals + x));
  };
  const int64_t eights = count / 8 * 8;
  cover<16>(
      0, eights, eights, [=](int64_t x) { storePixels(dst + x, narrow32(means(x), means(x + 8))); },
      [=](int64_t begin, int64_t end) {
        for (int64_t x = begin; x < end; ++x) dst[x] = quotient<Pixel>(sumValues<Step>(lines, x), totals[x]);
      });
  divideSums<Step>(lines, eights, count, totals, dst);
}

// The same between the two outermost outputs at either end.
template <typename Pixel>
void maskedPass5x1(const Pixel* src, const uint8_t* mask, int64_t width, Pixel* dst, uint8_t* dstMask) {
  const int64_t eights = width < 4 ? 0 : (width - 4) / 8 * 8;
  cover<16>(
      0, eights, eights,
      [=](int64_t at) {
        const int64_t x = at + 2;
        const WeightedRegs even = evenSums(src + x, mask + x), odd = oddSums(src + x, mask + x);
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
void maskedPass1x5(const Pixel* const rows[5], const uint8_t* const masks[5], int64_t width, Pixel* dst,
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
    .reduce = {.row = reduceRow<Pixel>, .column = reduceColumn<Pixel>},
    .smooth = {.row = smoothRow<Pixel>, .column = smoothColumn<Pixel>},
    .pass5x1 = pass5x1<Pixel>,
    .pass1x5 = pass1x5<Pixel>,
    .maskedReduce = {.row = reduceMaskedRow<Pixel>, .column = maskedColumn<2, Pixel>},
    .maskedSmooth = {.row = smoothMaskedRow<Pixel>, .column = maskedColumn<1, Pixel>},
    .maskedPass5x1 = maskedPass5x1<Pixel>,
    .maskedPass1x5 = maskedPass1x5<Pixel>,
};

}  // namespace

}  // namespace kip
