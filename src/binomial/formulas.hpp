// SPDX-License-Identifier: Apache-2.0
// The binomial formulas, an output at a time, over a range of a row's outputs. In an unnamed namespace, so that each
// kernel file has code of its own for its instruction set: no other header is included here for the same reason.
#pragma once

#include "binomial/rows.hpp"

namespace kip {

namespace {

// Five pointers as a value, so that no store in a loop is taken for a change of them.
template <typename T>
struct Five {
  const T* at[5];
  template <typename Source>
  explicit Five(const Source& source) : at{source(0), source(1), source(2), source(3), source(4)} {}
  // k from -2 to 2
  uint32_t operator()(int64_t k, int64_t x) const { return at[k + 2][x]; }
};

// Weights 1 4 6 4 1 on term(-2) ... term(2).
template <typename Term>
uint32_t weigh(Term term) {
  return term(-2) + 4 * (term(-1) + term(1)) + 6 * term(0) + term(2);
}

// Five lines; with Step 2 those next to the middle hold four times their sums already.
template <int64_t Step, typename Term>
uint32_t weighLines(Term term) {
  if constexpr (Step == 1) return weigh(term);
  return term(-2) + term(-1) + 6 * term(0) + term(1) + term(2);
}

// Calls output(j, column) for every j in [begin, end) with the columns around Step j: column(k) is the nearest one of
// the row's to Step j + k.
template <int64_t Step, typename Output>
void forOutputs(int64_t width, int64_t begin, int64_t end, Output output) {
  const auto nearest = [width](int64_t x) { return x < 0 ? 0 : x < width ? x : width - 1; };
  const int64_t first = 2 / Step;  // the first output whose columns all exist
  const int64_t last = width < 3 ? 0 : (width - 3) / Step + 1;
  int64_t j = begin;
  for (; j < end && j < first; ++j) output(j, [&](int64_t k) { return nearest(Step * j + k); });
  for (; j < end && j < last; ++j) output(j, [&](int64_t k) { return Step * j + k; });
  for (; j < end; ++j) output(j, [&](int64_t k) { return nearest(Step * j + k); });
}

// The mean of the pixels weighted by the mask, rounded half up.
template <typename Pixel>
Pixel maskedMean(uint32_t value, uint32_t weight) {
  return weight == 0 ? Pixel{0} : static_cast<Pixel>((value + weight / 2) / weight);
}

template <int64_t Step, typename Pixel>
void sumRow(const Pixel* src, int64_t width, int64_t begin, int64_t end, Sum<Pixel>* line, int32_t shift) {
  forOutputs<Step>(width, begin, end, [=](int64_t j, auto column) {
    line[j] = static_cast<Sum<Pixel>>(weigh([&](int64_t k) -> uint32_t { return src[column(k)]; }) << shift);
  });
}

template <int64_t Step, typename Pixel>
void sumColumn(Sum<Pixel>* const lines[5], int64_t begin, int64_t end, Pixel* dst) {
  const Five<Sum<Pixel>> from([=](int k) { return lines[k]; });
  for (int64_t x = begin; x < end; ++x) {
    dst[x] = static_cast<Pixel>((weighLines<Step>([=](int64_t k) { return from(k, x); }) + 128) >> 8);
  }
}

template <typename Pixel>
void smoothAlong(const Pixel* src, int64_t width, int64_t begin, int64_t end, Pixel* dst) {
  forOutputs<1>(width, begin, end, [=](int64_t x, auto column) {
    dst[x] = static_cast<Pixel>((weigh([&](int64_t k) -> uint32_t { return src[column(k)]; }) + 8) >> 4);
  });
}

template <typename Pixel>
void smoothDown(const Pixel* const rows[5], int64_t begin, int64_t end, Pixel* dst) {
  const Five<Pixel> from([=](int k) { return rows[k]; });
  for (int64_t x = begin; x < end; ++x) {
    dst[x] = static_cast<Pixel>((weigh([=](int64_t k) { return from(k, x); }) + 8) >> 4);
  }
}

template <int64_t Step, typename Pixel>
void sumMaskedRow(const Pixel* src, const uint8_t* mask, int64_t width, int64_t begin, int64_t end, MaskedLine line,
                  int32_t shift) {
  forOutputs<Step>(width, begin, end, [=](int64_t j, auto column) {
    const auto weight = [&](int64_t k) -> uint32_t { return mask[column(k)]; };
    line.values[j] = weigh([&](int64_t k) { return weight(k) * src[column(k)]; }) << shift;
    line.weights[j] = static_cast<uint16_t>(weigh(weight) << shift);
  });
}

template <int64_t Step>
void sumWeights(const MaskedLine lines[5], int64_t begin, int64_t end, uint16_t* totals, uint8_t* dstMask) {
  for (int64_t x = begin; x < end; ++x) {
    totals[x] = static_cast<uint16_t>(weighLines<Step>([&](int64_t k) -> uint32_t { return lines[k + 2].weights[x]; }));
  }
  if (dstMask == nullptr) return;
  for (int64_t x = begin; x < end; ++x) dstMask[x] = static_cast<uint8_t>((totals[x] + 128) >> 8);
}

template <int64_t Step>
uint32_t sumValues(const MaskedLine lines[5], int64_t x) {
  return weighLines<Step>([&](int64_t k) { return lines[k + 2].values[x]; });
}

template <int64_t Step, typename Pixel>
void divideSums(const MaskedLine lines[5], int64_t begin, int64_t end, const uint16_t* totals, Pixel* dst) {
  for (int64_t x = begin; x < end; ++x) dst[x] = maskedMean<Pixel>(sumValues<Step>(lines, x), totals[x]);
}

struct Weighted {
  uint32_t value, weight;
};

// pixel(k) and mask(k): the five taps.
template <typename PixelAt, typename MaskAt>
Weighted weighMasked(PixelAt pixel, MaskAt mask) {
  return {weigh([&](int64_t k) -> uint32_t { return uint32_t{mask(k)} * pixel(k); }),
          weigh([&](int64_t k) -> uint32_t { return mask(k); })};
}

inline uint8_t roundedWeight(uint32_t weight) {
  return static_cast<uint8_t>((weight + 8) >> 4);
}

template <typename Pixel>
Weighted weighAlong(const Pixel* src, const uint8_t* mask, auto column) {
  return weighMasked([&](int64_t k) { return src[column(k)]; }, [&](int64_t k) { return mask[column(k)]; });
}

template <typename Pixel>
Weighted weighDown(const Pixel* const rows[5], const uint8_t* const masks[5], int64_t x) {
  return weighMasked([&](int64_t k) { return rows[k + 2][x]; }, [&](int64_t k) { return masks[k + 2][x]; });
}

template <typename Pixel>
void smoothMaskedAlong(const Pixel* src, const uint8_t* mask, int64_t width, int64_t begin, int64_t end, Pixel* dst,
                       uint8_t* dstMask) {
  forOutputs<1>(width, begin, end, [=](int64_t x, auto column) {
    const Weighted sum = weighAlong(src, mask, column);
    dst[x] = maskedMean<Pixel>(sum.value, sum.weight);
    if (dstMask != nullptr) dstMask[x] = roundedWeight(sum.weight);
  });
}

template <typename Pixel>
void smoothMaskedDown(const Pixel* const rows[5], const uint8_t* const masks[5], int64_t begin, int64_t end, Pixel* dst,
                      uint8_t* dstMask) {
  for (int64_t x = begin; x < end; ++x) {
    const Weighted sum = weighDown(rows, masks, x);
    dst[x] = maskedMean<Pixel>(sum.value, sum.weight);
    if (dstMask != nullptr) dstMask[x] = roundedWeight(sum.weight);
  }
}

}  // namespace

}  // namespace kip
