// SPDX-License-Identifier: Apache-2.0
// The vectorised row kernels with masks; see vector_rows.hpp.
#pragma once

#include "binomial/vector_rows.hpp"

namespace kip {

namespace {

// ---- sums and quotients with a mask, in 32-bit lanes

// Outputs are quotients in floats in whole steps of so many, whatever the vectors; the others of a row are exact.
constexpr int64_t quotients = 8;

struct WeightedVecs {
  Vec value, weight;
};

// A vector's 16-bit lanes of pixels as signed words: 16-bit pixels 32768 lower.
template <typename Pixel>
Vec signedWords(const Pixel* src) {
  if constexpr (sizeof(Pixel) == 1) return loadBytes(src);
  if constexpr (sizeof(Pixel) == 2) return bitXor(load(src), all16(-32768));
}
template <typename Pixel>
Vec unsignedSum(Vec value, Vec weight) {
  return sizeof(Pixel) == 1 ? value : add32(value, shiftLeft32<15>(weight));
}

template <typename Pixel, int A, int B, int C, int D, int E, int F>
WeightedVecs sumMaskedPairs(const Pixel* src, const uint8_t* mask) {
  WeightedVecs sum = {all32(0), all32(0)};
  const auto addPairs = [&](int64_t at, int32_t even, int32_t odd) {
    const Vec weights = loadBytes(mask + at), taps = all32(even | odd << 16);
    sum.value = add32(sum.value, multiplyPairs16(multiply16(weights, taps), signedWords(src + at)));
    sum.weight = add32(sum.weight, multiplyPairs16(weights, taps));
  };
  addPairs(-2, A, B);
  addPairs(0, C, D);
  addPairs(2, E, F);
  return {unsignedSum<Pixel>(sum.value, sum.weight), sum.weight};
}

inline Vec mergeWords(Vec even, Vec odd) {
  return bitOr(even, shiftLeft32<16>(odd));
}

// The quotient in single precision. A sum of 16-bit pixels can pass the largest signed lane: it enters in halves.
template <typename Pixel>
Vec quotient(Vec value, Vec weight) {
  const VecFloat divisor = atLeast1(toFloats(weight));
  if constexpr (sizeof(Pixel) == 1) return nearest(toFloats(value) / divisor);
  const Vec half = shiftRight32<1>(value);
  return nearest((toFloats(sub32(value, half)) + toFloats(half)) / divisor);
}

// The same for one output.
template <typename Pixel>
Pixel quotient(uint32_t value, uint32_t weight) {
  const auto toFloat1 = [](uint32_t number) { return static_cast<float>(static_cast<int32_t>(number)); };
  const float divisor = toFloat1(weight == 0 ? 1 : weight);
  const uint32_t half = sizeof(Pixel) == 1 ? 0 : value >> 1;
  const float dividend = toFloat1(value - half) + toFloat1(half);
  return static_cast<Pixel>(nearest(dividend / divisor));
}

// Words that hold pixels.
template <typename Pixel>
void storePixels(Pixel* dst, Vec words) {
  if constexpr (sizeof(Pixel) == 1) storeBytes(dst, words);
  if constexpr (sizeof(Pixel) == 2) store(dst, words);
}

inline Vec roundedWeights(Vec words) {
  return shiftRight16<4>(add16(words, all16(8)));
}

// ---- a ring with a mask: one of the mask's rows as of 8-bit pixels, and one of values

// A row's signed words that make its values: of 8-bit pixels the products with the mask, 32768 lower; of 16-bit pixels
// the mask and the pixels, 32768 lower. The nearest ones stand in for the two on either side.
template <typename Pixel>
class MaskedWords {
 public:
  MaskedWords(const Pixel* src, const uint8_t* mask, int64_t width, uint16_t* scratch)
      : words_(scratch + maskedMargin), weights_(sizeof(Pixel) == 1 ? nullptr : words_ + maskedPitch(width)) {
    cover<2 * lanes>(
        0, width, width,
        [=, this](int64_t x) {
          const Vec weights = loadBytes(mask + x);
          if constexpr (sizeof(Pixel) == 1) {
            store(words_ + x, bitXor(multiply16(weights, loadBytes(src + x)), all16(-32768)));
          } else {
            store(words_ + x, signedWords(src + x));
            store(weights_ + x, weights);
          }
        },
        [](int64_t, int64_t) {});
    continueBothWays(words_, width);
    if constexpr (sizeof(Pixel) == 2) continueBothWays(weights_, width);
  }

  // The even columns' taps A, C, E and the odd ones' B, D, F on a vector of words and the two on either side.
  template <int A, int B, int C, int D, int E, int F>
  [[nodiscard]] Vec sums(int64_t x) const {
    return add32(add32(pairs<A, B>(x - 2), pairs<C, D>(x)), pairs<E, F>(x + 2));
  }
  template <int Scale = 1>
  [[nodiscard]] Vec evenSums(int64_t x) const {
    return sums<Scale, 4 * Scale, 6 * Scale, 4 * Scale, Scale, 0>(x);
  }
  [[nodiscard]] Vec oddSums(int64_t x) const { return sums<0, 1, 4, 6, 4, 1>(x); }

 private:
  static void continueBothWays(uint16_t* words, int64_t width) {
    words[-2] = words[-1] = words[0];
    words[width] = words[width + 1] = words[width - 1];
  }
  template <int Even, int Odd>
  [[nodiscard]] Vec pairs(int64_t x) const {
    const Vec taps = all32(Even | Odd << 16);
    return multiplyPairs16(sizeof(Pixel) == 1 ? taps : multiply16(load(weights_ + x), taps), load(words_ + x));
  }

  uint16_t *words_, *weights_;
};

// The sum of five lines of such values with what they entered lower.
template <typename Pixel>
Vec wholeSum(Vec sum, Vec weight) {
  return add32(sum, sizeof(Pixel) == 1 ? all32(256 * 32768) : shiftLeft32<15>(weight));
}
template <typename Pixel>
uint32_t wholeSum(uint32_t sum, uint32_t weight) {
  return sum + (sizeof(Pixel) == 1 ? 256 * 32768 : weight << 15);
}

// A row too narrow for vectors, with its mask, and room for its outputs.
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
  cover<lanes>(
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
    const Vec newest = evenSums<uint8_t>(tapsAt<place>(mask, x, width));
    store(last.weights + j, newest);
    const Vec weight = weighLanes<uint16_t, 2>([=](int k) { return k == 2 ? newest : load(weights.at[k + 2] + j); });
    const Vec rounded = shiftRight16<8>(add16(weight, all16(128)));
    storeBytes(dstMask + j, rounded);
    const auto means = [=](int64_t at, Vec total) {
      const Vec newestValue = words.evenSums(2 * at);
      store(last.values + at, newestValue);
      const Vec sum =
          weighLanes<uint32_t, 2>([=](int k) { return k == 2 ? newestValue : load(values.at[k + 2] + at); });
      return quotient<Pixel>(wholeSum<Pixel>(sum, total), total);
    };
    storePixels(dst + j, joinWords(means(j, firstWords(weight)), means(j + lanes, lastWords(weight))));
  });
  for (int64_t j = count / quotients * quotients; j < count; ++j) {
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

// Lines of smooth sums of a wide row: as without a mask; for each vector of 8-bit pixels one of even and one of odd
// weights and two of even and odd values each, the first half of the columns' and the last.
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
      store(values, words.evenSums(x + 2 * lanes * half));
      store(values + lanes, words.oddSums(x + 2 * lanes * half));
      values += 2 * lanes;
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
    const auto weight = [=](int64_t at, Vec newest) {
      store(last.weights + at, newest);
      return weighLanes<uint16_t, 1>([=](int k) { return k == 2 ? newest : load(weights.at[k + 2] + at); });
    };
    const Vec even = weight(block, evenSums<uint8_t>(taps)), odd = weight(block + 2 * lanes, oddSums<uint8_t>(taps));
    if (dstMask != nullptr) store(dstMask + x, roundedPixels<uint8_t, 8>(even, odd));
    const auto means = [=](int64_t at, Vec newest, Vec total) {
      store(last.values + at, newest);
      const Vec sum = weighLanes<uint32_t, 1>([=](int k) { return k == 2 ? newest : load(values.at[k + 2] + at); });
      return quotient<Pixel>(wholeSum<Pixel>(sum, total), total);
    };
    const Vec first = mergeWords(means(block, words.evenSums(x), firstWords(even)),
                                 means(block + lanes, words.oddSums(x), firstWords(odd)));
    const Vec second = mergeWords(means(block + 2 * lanes, words.evenSums(x + 2 * lanes), lastWords(even)),
                                  means(block + 3 * lanes, words.oddSums(x + 2 * lanes), lastWords(odd)));
    if constexpr (sizeof(Pixel) == 1) {
      store(dst + x, joinBytes(first, second));
    } else {
      store(dst + x, first);
      store(dst + x + 2 * lanes, second);
    }
    block += 4 * lanes;
  });
  for (int64_t x = count / quotients * quotients; x < count; ++x) {
    // where the vector keeps this column, which is in the row's first vector or in its last
    const bool isInFirst = x < 4 * lanes;
    const int64_t at = isInFirst ? 0 : block - 4 * lanes, column = isInFirst ? x : x - (width - 4 * lanes);
    const int64_t pair = column / 2, isOdd = column % 2;
    const uint32_t weight = weighLines<1>([&](int64_t k) { return weights(k, at + 2 * lanes * isOdd + pair); });
    const uint32_t value = weighLines<1>(
        [&](int64_t k) { return values(k, at + pair / lanes * 2 * lanes + lanes * isOdd + pair % lanes); });
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
  const int64_t eights = width < 4 ? 0 : (width - 4) / quotients * quotients;
  cover<2 * lanes>(
      0, eights, eights,
      [=](int64_t at) {
        const int64_t x = at + 2;
        const WeightedVecs even = sumMaskedPairs<Pixel, 1, 4, 6, 4, 1, 0>(src + x, mask + x);
        const WeightedVecs odd = sumMaskedPairs<Pixel, 0, 1, 4, 6, 4, 1>(src + x, mask + x);
        storePixels(dst + x,
                    mergeWords(quotient<Pixel>(even.value, even.weight), quotient<Pixel>(odd.value, odd.weight)));
        const Vec weights = roundedWeights(mergeWords(even.weight, odd.weight));
        storeBytes(dstMask + x, weights);
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
  const int64_t eights = width / quotients * quotients;
  const Five<Pixel> pixels([=](int k) { return rows[k]; });
  const Five<uint8_t> weights([=](int k) { return masks[k]; });
  cover<2 * lanes>(
      0, eights, eights,
      [=](int64_t x) {
        Vec even = all32(0), both = all32(0), weight = all32(0);
        const auto addRow = [&](int k, int16_t tap) {
          const Vec weighted = multiply16(loadBytes(weights.at[k] + x), all16(tap)),
                    words = signedWords(pixels.at[k] + x);
          weight = add16(weight, weighted);
          even = add32(even, multiplyPairs16(bitAnd(weighted, all32(0xFFFF)), words));
          both = add32(both, multiplyPairs16(weighted, words));
        };
        addRow(0, 1);
        addRow(1, 4);
        addRow(2, 6);
        addRow(3, 4);
        addRow(4, 1);
        const Vec evenWeight = bitAnd(weight, all32(0xFFFF)), oddWeight = shiftRight32<16>(weight);
        storePixels(dst + x, mergeWords(quotient<Pixel>(unsignedSum<Pixel>(even, evenWeight), evenWeight),
                                        quotient<Pixel>(unsignedSum<Pixel>(sub32(both, even), oddWeight), oddWeight)));
        storeBytes(dstMask + x, roundedWeights(weight));
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

}  // namespace

}  // namespace kip
