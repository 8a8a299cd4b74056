// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstdint>

#include "geometry/span.hpp"
#include "kip/params.h"

namespace kip {

// The smoothing along one axis: three boxes of width k = sigma + 1, then every sample-th pixel.
struct AxisKernel {
  int32_t sample;
  int64_t box;

  // Taps reach from the sample position; the halved negative product rounds toward zero, so for an odd sigma they reach
  // one pixel further to the right.
  [[nodiscard]] constexpr Span taps() const { return {-(3 * (box - 1) / 2), 3 * (box - 1) + 1}; }
  // d(0): the source position of destination pixel 0.
  [[nodiscard]] constexpr int64_t firstPosition() const { return sample / 2 + (sample & box & 1) - 1; }
  [[nodiscard]] constexpr int64_t position(int64_t pixel) const { return pixel * sample + firstPosition(); }
  [[nodiscard]] constexpr int64_t largestWeight() const { return (3 * box * box + (box & 1)) / 4; }
  // Translation, in source pixels, that puts a destination pixel's centre onto the centre of its taps.
  [[nodiscard]] constexpr float centreShift() const { return ((sample ^ box) & 1) != 0 ? -0.5f : 0.0f; }

  // The destination pixels whose positions lie in `source`.
  [[nodiscard]] constexpr Span destinationOf(Span source) const {
    const int64_t first = -floorDivide(-(source.start - firstPosition()), sample);
    const int64_t last = floorDivide(source.start + source.size - 1 - firstPosition(), sample);
    return {first, last - first + 1};
  }
  // The positions from the first to the last pixel of `destination`.
  [[nodiscard]] constexpr Span positionsOf(Span destination) const {
    return {position(destination.start), (destination.size - 1) * sample + 1};
  }

 private:
  [[nodiscard]] static constexpr int64_t floorDivide(int64_t n, int64_t d) {
    return n / d - ((n % d != 0 && n < 0) ? 1 : 0);
  }
};

// Of either parameter record.
template <typename Params>
[[nodiscard]] constexpr AxisKernel xKernel(const Params& params) {
  return {params.xSample, int64_t{params.xSigma} + 1};
}
template <typename Params>
[[nodiscard]] constexpr AxisKernel yKernel(const Params& params) {
  return {params.ySample, int64_t{params.ySigma} + 1};
}

// What a weighted sum is divided by.
[[nodiscard]] inline double divisor(const ksGaussParams& params) {
  const AxisKernel x = xKernel(params);
  const AxisKernel y = yKernel(params);
  if (params.peakNormalize != 0) {
    return static_cast<double>(x.largestWeight()) * static_cast<double>(y.largestWeight());
  }
  return std::pow(static_cast<double>(x.box) * static_cast<double>(y.box), 3.0) / static_cast<double>(params.scale);
}

}  // namespace kip
