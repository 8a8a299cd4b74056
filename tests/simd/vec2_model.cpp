// SPDX-License-Identifier: Apache-2.0
#include "simd/vec2_model.hpp"

#include <algorithm>
#include <cmath>

namespace kiptest {

namespace {

uint8_t sigmaResult(int64_t sum, const ksGaussParams& params) {
  const bool isOne = params.xSigma == 1;
  const bool isRounded = params.roundResult != 0;
  const int64_t quotient = isOne ? (sum + (isRounded ? 32 : 0)) >> 6 : ((sum + (isRounded ? 364 : 0)) * 11507) >> 23;
  if (std::fabs(params.scale - 1.0f) <= 0x1p-23f) return static_cast<uint8_t>(quotient);
  const float scaled = std::min(static_cast<float>(quotient) * params.scale, 255.0f);
  return static_cast<uint8_t>(isOne || isRounded ? std::nearbyint(scaled) : std::trunc(scaled));
}

}  // namespace

std::vector<uint8_t> vec2SigmaSmooth(const oracle::Picture& source, const ksGaussParams& params,
                                     const ksIRegion& destination) {
  static constexpr int64_t weights[2][7] = {{1, 3, 3, 1}, {1, 3, 6, 7, 6, 3, 1}};
  const ksIRegion& region = source.region;
  const int64_t sigma = params.xSigma, taps = 3 * sigma + 1;
  const auto& weight = weights[sigma - 1];
  const auto firstTap = [sigma](int64_t pixel, int64_t sample) {
    return pixel * sample + sample / 2 + (sample & (sigma + 1) & 1) - 1 - 3 * sigma / 2;
  };
  // the source element under a tap, mirrored once; -1: none
  const auto element = [](int64_t at, int64_t size) {
    const int64_t mirrored = at < 0 ? -at - 1 : at < size ? at : 2 * size - 1 - at;
    return mirrored >= 0 && mirrored < size ? mirrored : -1;
  };
  std::vector<uint8_t> pixels;
  for (int64_t v = destination.y; v < int64_t{destination.y} + destination.height; ++v) {
    for (int64_t u = destination.x; u < int64_t{destination.x} + destination.width; ++u) {
      int64_t sum = 0;
      for (int64_t i = 0; i < taps; ++i) {
        const int64_t row = element(firstTap(v, params.ySample) + i - region.y, region.height);
        for (int64_t j = 0; row >= 0 && j < taps; ++j) {
          const int64_t column = element(firstTap(u, params.xSample) + j - region.x, region.width);
          if (column < 0) continue;
          sum += weight[i] * weight[j] * source.pixels[static_cast<size_t>(row * region.width + column)];
        }
      }
      pixels.push_back(sigmaResult(sum, params));
    }
  }
  return pixels;
}

}  // namespace kiptest
