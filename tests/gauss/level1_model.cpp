// SPDX-License-Identifier: Apache-2.0
#include "gauss/level1_model.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <type_traits>

namespace kiptest {

namespace {

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
  const FixedPoint fixedPoint = fixedPointOf(params);
  std::vector<Pixel> result;
  for (const int64_t sum : oracle::weightedSums(source, params, destination)) {
    const uint64_t rounded = (static_cast<uint64_t>(sum) + fixedPoint.half) >> fixedPoint.shift1;
    const uint64_t product = ((rounded & 0xFFFFFFFF) >> fixedPoint.shift2) * fixedPoint.multiplier;
    result.push_back(
        stored<Pixel>(fixedPoint.finalShift < 32 ? product >> fixedPoint.finalShift : 0, params.xSample > 1));
  }
  return result;
}

template std::vector<uint8_t> vec1Smooth(const oracle::Picture&, const ksGaussParams&, const ksIRegion&);
template std::vector<uint16_t> vec1Smooth(const oracle::Picture&, const ksGaussParams&, const ksIRegion&);

}  // namespace kiptest
