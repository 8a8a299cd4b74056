// SPDX-License-Identifier: Apache-2.0
// The vectorised row kernels, only for kernel files.
//
// A vector of pixels is read as pairs of an even and an odd column in lanes of twice the bits: multiplying and adding
// each pair gives two taps at once, and even and odd results merge into pixels in order without a shuffle.
#pragma once

#include "binomial/formulas.hpp"
#include "lanes/lanes.hpp"

// A row's kernel. All that it calls is part of it, so that vectors stay in registers.
#define KIP_ROW [[gnu::flatten]]

namespace kip {

namespace {

template <typename Pixel>
constexpr int64_t pixelsOf = int64_t{sizeof(Vec) / sizeof(Pixel)};

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
Vec add(Vec a, Vec b) {
  if constexpr (sizeof(Lane) == 2) return add16(a, b);
  if constexpr (sizeof(Lane) == 4) return add32(a, b);
}
template <typename Lane>
Vec fill(int32_t value) {
  if constexpr (sizeof(Lane) == 2) return all16(value);
  if constexpr (sizeof(Lane) == 4) return all32(value);
}
template <typename Lane, int Bits>
Vec shl(Vec r) {
  if constexpr (Bits == 0) return r;
  if constexpr (sizeof(Lane) == 2) return shiftLeft16<Bits>(r);
  if constexpr (sizeof(Lane) == 4) return shiftLeft32<Bits>(r);
}
template <typename Lane, int Bits>
Vec shr(Vec r) {
  if constexpr (sizeof(Lane) == 2) return shiftRight16<Bits>(r);
  if constexpr (sizeof(Lane) == 4) return shiftRight32<Bits>(r);
}

// As the formula weighLines.
template <typename Lane, int64_t Step, typename Term>
Vec weighLanes(Term term) {
  const Vec outer = add<Lane>(term(-2), term(2)), inner = add<Lane>(term(-1), term(1)), middle = term(0);
  if constexpr (Step == 1) {
    return add<Lane>(add<Lane>(outer, shl<Lane, 1>(middle)), shl<Lane, 2>(add<Lane>(inner, middle)));
  } else {
    return add<Lane>(add<Lane>(outer, inner), add<Lane>(shl<Lane, 1>(middle), shl<Lane, 2>(middle)));
  }
}

// ---- horizontal sums

// 16-bit pixels enter signed, that is so much lower; the rounding before the result makes up for it.
template <typename Pixel>
constexpr uint32_t bias = sizeof(Pixel) == 1 ? 0 : 32768;

// Even times the even column plus Odd times the odd one.
template <typename Pixel, int Even, int Odd>
Vec pairs(Vec pixels) {
  if constexpr (sizeof(Pixel) == 1) return weighPairs8<Even, Odd>(pixels);
  if constexpr (sizeof(Pixel) == 2) return multiplyPairs16(bitXor(pixels, all16(-32768)), all32(Even | Odd << 16));
}

// The pixels of a vector, and those two columns to the left and to the right.
struct Taps {
  Vec left, middle, right;
};

template <typename Pixel, int A, int B, int C, int D, int E, int F>
Vec sumPairs(const Taps& taps) {
  return add<Sum<Pixel>>(add<Sum<Pixel>>(pairs<Pixel, A, B>(taps.left), pairs<Pixel, C, D>(taps.middle)),
                         pairs<Pixel, E, F>(taps.right));
}

// The five taps, times Scale, around the even columns and around the odd ones.
template <typename Pixel, int Scale = 1>
Vec evenSums(const Taps& taps) {
  return sumPairs<Pixel, Scale, 4 * Scale, 6 * Scale, 4 * Scale, Scale, 0>(taps);
}
template <typename Pixel>
Vec oddSums(const Taps& taps) {
  return sumPairs<Pixel, 0, 1, 4, 6, 4, 1>(taps);
}

inline Vec fillPixels(uint8_t pixel) {
  return all8(pixel);
}
inline Vec fillPixels(uint16_t pixel) {
  return all16(pixel);
}

// Where in its row a vector of pixels is: with both columns to the right, with the two to the left as well, or
// without two to the right. The row's first and last pixel stand in for what is missing.
enum class Place { first, inner, last };

template <Place place, typename Pixel>
Taps tapsAt(const Pixel* src, int64_t x, int64_t width) {
  constexpr int bytes = 2 * sizeof(Pixel);
  const Vec middle = load(src + x);
  return {place == Place::first ? shiftIn<bytes>(fillPixels(src[0]), middle) : load(src + x - 2), middle,
          place == Place::last ? shiftOut<bytes>(middle, fillPixels(src[width - 1])) : load(src + x + 2)};
}

// The least width of a row that vectors can cover with the columns around them.
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

// Calls step.operator()<place>(x) for vectors of pixels that cover the columns below end, the row's width or one
// less; they overlap at the row's end. No columns to the right of the last vector's exist, but one at most.
template <typename Pixel, typename Step>
void alongRow(int64_t end, int64_t width, Step step) {
  constexpr int64_t size = pixelsOf<Pixel>;
  step.template operator()<Place::first>(0);
  int64_t x = size;
  for (; x + size + 2 <= width; x += size) step.template operator()<Place::inner>(x);
  for (; x < end; x += size) step.template operator()<Place::last>(x + size < end ? x : end - size);
}

// What rounds the sum of 1 << Shift pixels that entered bias<Pixel> lower.
template <typename Pixel, int Shift>
Vec rounding() {
  return fill<Sum<Pixel>>((1 << (Shift - 1)) + static_cast<int32_t>(bias<Pixel> << Shift));
}

// Pixels from such sums.
template <typename Pixel, int Shift>
Vec roundedPixels(Vec even, Vec odd) {
  using Lane = Sum<Pixel>;
  constexpr int bits = 8 * sizeof(Pixel);
  const Vec half = rounding<Pixel, Shift>();
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
    const Vec sum = evenSums<Pixel>(tapsAt<place>(src, x, width));
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
    const Vec sums[5] = {load(r0 + j), load(r1 + j), load(r2 + j), evenSums<Pixel, 4>(tapsAt<place>(odd, x, width)),
                         evenSums<Pixel>(tapsAt<place>(even, x, width))};
    store(r3 + j, sums[3]);
    store(r4 + j, sums[4]);
    const Vec sum = weighLanes<Lane, 2>([&](int k) { return sums[k + 2]; });
    const Vec rounded = shr<Lane, 8>(add<Lane>(sum, rounding<Pixel, 8>()));
    if constexpr (sizeof(Pixel) == 1) storeBytes(dst + j, rounded);
    if constexpr (sizeof(Pixel) == 2) storeWords(dst + j, rounded);
  });
}

// A line of smooth sums of a wide row: a vector of even and one of odd columns in turn as the vectors of pixels
// went. They overlap at the end of the row, the sums do not.
template <typename Pixel>
KIP_ROW void enterSmooth(const Pixel* src, int64_t width, Sum<Pixel>* line, int32_t /*shift*/) {
  constexpr int64_t half = pixelsOf<Pixel> / 2;
  if (width < leastWidth<Pixel>) return enterSmooth(WideRow<Pixel>(src, width).at, leastWidth<Pixel>, line, 0);
  alongRow<Pixel>(width, width, [=, &line]<Place place>(int64_t x) {
    const Taps taps = tapsAt<place>(src, x, width);
    store(line, evenSums<Pixel>(taps));
    store(line + half, oddSums<Pixel>(taps));
    line += 2 * half;
  });
}

template <typename Pixel>
KIP_ROW void smoothNext(const Pixel* const src[], int64_t width, Sum<Pixel>* const lines[5], Pixel* dst) {
  using Lane = Sum<Pixel>;
  constexpr int64_t half = pixelsOf<Pixel> / 2;
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
    const auto weighed = [&](int64_t block, Vec newest) {
      store(last + block, newest);
      return weighLanes<Lane, 1>([&](int k) { return k == 2 ? newest : load(from.at[k + 2] + block); });
    };
    store(dst + x,
          roundedPixels<Pixel, 8>(weighed(at, evenSums<Pixel>(taps)), weighed(at + half, oddSums<Pixel>(taps))));
    at += 2 * half;
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
          store(dst + x, fiveTaps8(pixels(0), pixels(1), pixels(2), pixels(3), pixels(4)));
        } else {
          store(dst + x, fiveTaps16(pixels(0), pixels(1), pixels(2), pixels(3), pixels(4)));
        }
      },
      [=](int64_t begin, int64_t end) { smoothDown(rows, begin, end, dst); });
}

}  // namespace

}  // namespace kip
