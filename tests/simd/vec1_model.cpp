// SPDX-License-Identifier: Apache-2.0
#include "simd/vec1_model.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <type_traits>

namespace kiptest {

namespace {

// One axis of a request: the weights, the first destination pixel's first tap and the source's extent.
struct Axis {
  std::vector<uint64_t> weights;
  int64_t firstTap, start, size, sample;

  Axis(int64_t sampleFactor, int64_t sigma, int64_t destinationStart, int64_t sourceStart, int64_t sourceSize)
      : firstTap(destinationStart * sampleFactor + sampleFactor / 2 + (sampleFactor & (sigma + 1) & 1) - 1 -
                 3 * sigma / 2),
        start(sourceStart),
        size(sourceSize),
        sample(sampleFactor) {
    for (int64_t a = 0; a <= 3 * sigma; ++a) {  // three boxes: the ways to write a as a sum of three
      uint64_t ways = 0;
      for (int64_t i = std::max<int64_t>(0, a - 2 * sigma); i <= std::min(a, sigma); ++i) {
        const int64_t rest = a - i;
        ways += static_cast<uint64_t>(std::min(rest, sigma) - std::max<int64_t>(0, rest - sigma) + 1);
      }
      weights.push_back(ways);
    }
  }
  // The source element under a tap of a destination pixel, mirrored once; -1: none.
  [[nodiscard]] int64_t element(int64_t pixel, size_t tap) const {
    const int64_t at = firstTap + pixel * sample + static_cast<int64_t>(tap) - start;
    const int64_t mirrored = at < 0 ? -at - 1 : at >= size ? 2 * size - 1 - at : at;
    return mirrored < 0 || mirrored >= size ? -1 : mirrored;
  }
};

struct FixedPoint {
  int sumBits, shift1, shift2, finalShift;
  uint64_t half, multiplier;
};

FixedPoint fixedPointOf(const ksGaussParams& params) {
  const auto kx = static_cast<uint64_t>(params.xSigma) + 1;
  const auto ky = static_cast<uint64_t>(params.ySigma) + 1;
  const uint64_t weights = kx * ky * kx * ky * kx * ky;
  const uint64_t peak = (3 * kx * kx + kx % 2) / 4 * ((3 * ky * ky + ky % 2) / 4);
  const double divisor =
      params.peakNormalize != 0 ? static_cast<double>(peak) : static_cast<double>(weights) / double{params.scale};
  int exponent = 0;
  const double mantissa = std::frexp(1.0 / divisor, &exponent);
  FixedPoint result;
  result.sumBits = static_cast<int>(std::bit_width(255 * weights));
  result.shift1 = std::max(result.sumBits - 32, 0);
  result.shift2 = std::max(result.sumBits - result.shift1 - 15, 0);
  result.finalShift = 15 - exponent - result.shift2 - result.shift1;
  result.half = (uint64_t{1} << result.shift1) / 2;
  result.multiplier = static_cast<uint64_t>(std::min(mantissa * 32768 + 0.5, 32767.0));
  return result;
}

// Unsampled values saturate to a signed 16-bit number, then to the pixel.
template <typename Pixel>
Pixel stored(uint64_t value, bool sampled) {
  constexpr uint64_t limit = std::is_same_v<Pixel, uint8_t> ? 255 : 32767;
  return static_cast<Pixel>(sampled ? value : std::min(value, limit));
}

}  // namespace

bool vec1Serves(const ksIRegion& source, const ksGaussParams& params) {
  int exponent = 0;
  const double scale = double{params.scale};
  const bool powerOfTwo = std::frexp(scale, &exponent) == 0.5 ||
                          (scale >= 1 && std::fabs(scale - std::ldexp(1.0, exponent - 1)) <= 1e-6) ||
                          (scale < 1 && std::fabs(1 / scale - std::ldexp(1.0, 1 - exponent)) <= 1e-6);
  if (params.roundResult != 0 || !powerOfTwo || source.width < 9 * params.xSample ||
      source.height < 9 * params.ySample || params.ySigma > 63) {
    return false;
  }
  const FixedPoint fixedPoint = fixedPointOf(params);
  return fixedPoint.sumBits <= 62 && fixedPoint.finalShift >= 0;
}

template <typename Pixel>
std::vector<Pixel> vec1Smooth(const oracle::Picture& source, const ksGaussParams& params,
                              const ksIRegion& destination) {
  const ksIRegion& region = source.region;
  const Axis x(params.xSample, params.xSigma, destination.x, region.x, region.width);
  const Axis y(params.ySample, params.ySigma, destination.y, region.y, region.height);
  const FixedPoint fixedPoint = fixedPointOf(params);
  std::vector<Pixel> result;
  std::vector<uint64_t> columns(static_cast<size_t>(region.width));
  for (int32_t v = 0; v < destination.height; ++v) {
    std::fill(columns.begin(), columns.end(), 0);
    for (size_t tap = 0; tap < y.weights.size(); ++tap) {
      const int64_t row = y.element(v, tap);
      if (row < 0) continue;
      const uint8_t* const pixels = source.pixels.data() + row * region.width;
      for (size_t i = 0; i < columns.size(); ++i) columns[i] += y.weights[tap] * pixels[i];
    }
    for (int32_t u = 0; u < destination.width; ++u) {
      uint64_t sum = 0;
      for (size_t tap = 0; tap < x.weights.size(); ++tap) {
        const int64_t column = x.element(u, tap);
        if (column >= 0) sum += x.weights[tap] * columns[static_cast<size_t>(column)];
      }
      const uint64_t coarse = (((sum + fixedPoint.half) >> fixedPoint.shift1) & 0xFFFFFFFF) >> fixedPoint.shift2;
      const uint64_t product = coarse * fixedPoint.multiplier;
      const uint64_t value = fixedPoint.finalShift < 32 ? product >> fixedPoint.finalShift : 0;
      result.push_back(stored<Pixel>(value, params.xSample > 1));
    }
  }
  return result;
}

template std::vector<uint8_t> vec1Smooth(const oracle::Picture&, const ksGaussParams&, const ksIRegion&);
template std::vector<uint16_t> vec1Smooth(const oracle::Picture&, const ksGaussParams&, const ksIRegion&);

}  // namespace kiptest
