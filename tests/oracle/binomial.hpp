// SPDX-License-Identifier: Apache-2.0
// Smoothing with the binomial kernel by its definition: sums over all taps, with the nearest pixel beyond the border.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "support/random.hpp"

namespace kiptest {

template <typename Pixel>
struct Picture {
  int32_t width, height;
  std::vector<Pixel> pixels;

  Picture(int32_t columns, int32_t rows, Pixel value = 0)
      : width(columns), height(rows), pixels(static_cast<size_t>(columns) * static_cast<size_t>(rows), value) {}
  [[nodiscard]] Pixel& at(int32_t x, int32_t y) {
    return pixels[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
  }
  [[nodiscard]] uint64_t nearest(int32_t x, int32_t y) const {
    const int32_t column = std::clamp(x, 0, width - 1), row = std::clamp(y, 0, height - 1);
    return pixels[static_cast<size_t>(row) * static_cast<size_t>(width) + static_cast<size_t>(column)];
  }
};

// Which axes are smoothed, and by how much they are sampled.
struct Plan {
  bool alongX, alongY;
  int32_t xStep = 1, yStep = 1;

  [[nodiscard]] uint64_t weightSum() const { return (alongX ? 16u : 1u) * (alongY ? 16u : 1u); }
};

// The reductions.
inline constexpr Plan bothAxes = {true, true, 2, 2}, xAxis = {true, false, 2, 1}, yAxis = {false, true, 1, 2};

// The sum of weight(dx, dy) * term(x + dx, y + dy) around a source pixel.
template <typename Term>
uint64_t weightedSum(const Plan& plan, int32_t x, int32_t y, Term term) {
  static constexpr uint64_t binomial[] = {1, 4, 6, 4, 1}, none[] = {0, 0, 1, 0, 0};
  uint64_t sum = 0;
  for (int32_t dy = -2; dy <= 2; ++dy) {
    for (int32_t dx = -2; dx <= 2; ++dx) {
      sum += (plan.alongX ? binomial : none)[dx + 2] * (plan.alongY ? binomial : none)[dy + 2] * term(x + dx, y + dy);
    }
  }
  return sum;
}

template <typename Pixel>
Picture<Pixel> filtered(const Picture<Pixel>& src, const Plan& plan) {
  Picture<Pixel> dst(src.width / plan.xStep, src.height / plan.yStep);
  for (int32_t y = 0; y < dst.height; ++y) {
    for (int32_t x = 0; x < dst.width; ++x) {
      const uint64_t sum = weightedSum(plan, x * plan.xStep, y * plan.yStep,
                                       [&](int32_t column, int32_t row) { return src.nearest(column, row); });
      dst.at(x, y) = static_cast<Pixel>((sum + plan.weightSum() / 2) / plan.weightSum());
    }
  }
  return dst;
}

template <typename Pixel>
Pixel integerMean(uint64_t value, uint64_t weight) {
  return static_cast<Pixel>(weight == 0 ? 0 : (value + weight / 2) / weight);
}

// What a processor's single-precision vectors make of it.
template <typename Pixel>
Pixel quotientMean(uint64_t value, uint64_t weight) {
  const uint64_t half = sizeof(Pixel) == 2 ? value / 2 : 0;
  const float dividend = static_cast<float>(value - half) + static_cast<float>(half);
  const float quotient = dividend / std::max(static_cast<float>(weight), 1.0f);
  return static_cast<Pixel>(std::clamp(std::nearbyint(quotient), 0.0f, static_cast<float>(Pixel(-1))));
}

template <typename Pixel>
struct MaskedPicture {
  Picture<Pixel> image;
  Picture<uint8_t> mask;
};

// isQuotient(x, width): whether the output around column x of a source of that width is a single-precision quotient.
template <typename Pixel, typename IsQuotient>
MaskedPicture<Pixel> filteredMasked(const Picture<Pixel>& src, const Picture<uint8_t>& mask, const Plan& plan,
                                    IsQuotient isQuotient) {
  MaskedPicture<Pixel> dst = {{src.width / plan.xStep, src.height / plan.yStep},
                              {src.width / plan.xStep, src.height / plan.yStep}};
  for (int32_t y = 0; y < dst.image.height; ++y) {
    for (int32_t x = 0; x < dst.image.width; ++x) {
      const auto sum = [&](auto term) { return weightedSum(plan, x * plan.xStep, y * plan.yStep, term); };
      const uint64_t weight = sum([&](int32_t column, int32_t row) { return mask.nearest(column, row); });
      const uint64_t value =
          sum([&](int32_t column, int32_t row) { return mask.nearest(column, row) * src.nearest(column, row); });
      dst.image.at(x, y) = isQuotient(x * plan.xStep, src.width) ? quotientMean<Pixel>(value, weight)
                                                                 : integerMean<Pixel>(value, weight);
      dst.mask.at(x, y) = static_cast<uint8_t>((weight + plan.weightSum() / 2) / plan.weightSum());
    }
  }
  return dst;
}

inline bool never(int32_t /*x*/, int32_t /*width*/) {
  return false;
}

// Noise, extremes, their mixture, or small steps.
template <typename Pixel>
Picture<Pixel> drawPicture(int32_t width, int32_t height, Random& random) {
  constexpr int32_t white = Pixel(-1);
  Picture<Pixel> picture(width, height);
  const int32_t kind = random.between(0, 5);
  for (Pixel& pixel : picture.pixels) {
    const int32_t noise = random.between(0, white);
    const int32_t values[] = {noise, white, 0, noise % 2 * white, white - noise % 3, noise % 4};
    pixel = static_cast<Pixel>(values[kind]);
  }
  return picture;
}

}  // namespace kiptest
