// SPDX-License-Identifier: Apache-2.0
#include "gauss/level2_model.hpp"

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
  std::vector<uint8_t> pixels;
  for (const int64_t sum : oracle::weightedSums(source, params, destination))
    pixels.push_back(sigmaResult(sum, params));
  return pixels;
}

}  // namespace kiptest
