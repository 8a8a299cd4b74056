// SPDX-License-Identifier: Apache-2.0
#include "kernelcheck/gauss_levels.hpp"

#include <cmath>

#include "gauss/level1_model.hpp"
#include "gauss/level2_model.hpp"
#include "geometry/regions.hpp"
#include "kip/levels.h"
#include "support/draws.hpp"

namespace kernelcheck {

namespace {

using namespace kiptest;

// Larger than what the second level leaves to the portable engine, and tails of every length.
GaussCase drawLarge(Random& random) {
  GaussCase drawn;
  drawn.source.region = {random.between(-60, 60), random.between(-60, 60), random.between(33, 200),
                         random.between(33, random.pick({80, 200}))};
  // where the paths for sigma 1 and 2 ask for attention
  if (random.chance(12)) drawn.source.region.height = random.between(260, 600);
  if (random.chance(12)) drawn.source.region.y = random.between(900, 1000);
  ksGaussParams& params = drawn.params;
  params = *ksGaussParamsNull();
  params.xSample = random.pick({1, 1, 1, 2, 2, 3, 3, 4, 5, random.between(27, 40)});
  params.ySample = random.pick({1, 1, 1, 2, 2, 3, 3, 4, 5});
  params.xSigma = random.between(0, random.pick({3, 8, 24}));
  params.ySigma = random.chance(2) ? params.xSigma : random.between(0, random.pick({3, 8, 24}));
  if (random.chance(16)) {
    const LongRow row = drawLongRow(random);
    params.xSigma = row.sigma;
    drawn.source.region.width = row.width;
    drawn.source.region.height = random.between(33, 48);
  }
  params.extendBorder = !random.chance(4);
  params.peakNormalize = random.chance(8);
  return drawn;
}

// Requests at the limits of what the first level serves, on both sides.
GaussCase drawForLevel1(uint64_t seed, int32_t index) {
  Random random(seed, static_cast<uint64_t>(index));
  GaussCase drawn = drawLarge(random);
  ksGaussParams& params = drawn.params;
  const float exponent = std::ldexp(1.0f, random.between(-20, 15));
  params.scale = random.pick({1.0f, 0.5f, 2.0f, std::nextafterf(1.0f, 2.0f), exponent});
  if (random.chance(16)) params.scale = random.pick({0.75f, 3.0f, std::nextafterf(1.0f, 0.0f), 1.00001f, 0x1p-30f});
  if (random.chance(16)) params.scale = drawFloatScale(random);
  params.roundResult = random.chance(30);
  if (random.chance(8)) drawn.source.region.width = 9 * params.xSample + random.between(-1, 40);
  if (random.chance(8)) drawn.source.region.height = 9 * params.ySample + random.between(-1, 40);
  if (random.chance(8)) params.ySigma = random.pick({15, 16, 40, 63, 64});
  if (random.chance(16)) params.xSigma = random.pick({15, 16, 40, 63, 127});
  finishGaussCase(drawn, random);
  return drawn;
}

GaussCase drawForLevel2(uint64_t seed, int32_t index) {
  Random random(seed, static_cast<uint64_t>(index));
  GaussCase drawn = drawLarge(random);
  ksGaussParams& params = drawn.params;
  ksIRegion& region = drawn.source.region;
  params.scale = random.pick({1.0f, 1.0f, 0.5f, 0.75f, std::nextafterf(1.0f, 2.0f), std::nextafterf(1.0f, 0.0f),
                              1.0f - 0x1.8p-23f, 2.0f, 300.0f, 1e-30f, 3e7f, 1e30f});
  if (random.chance(8)) params.scale = drawFloatScale(random);
  params.roundResult = random.between(0, 1);
  if (index % 2 == 0) {
    params.xSigma = params.ySigma = random.between(1, 2);
    // every left pad and number of columns in the last group, in lines of one piece and more
    region.width = random.chance(12) ? random.between(1900, 2300) : random.between(28, 140);
    if (random.chance(4)) region.height = random.between(1, 9);
  } else {
    if (random.chance(8)) params.ySigma = random.pick({63, 64, 128, 202, 203, 300});
    if (random.chance(4)) region.width = random.pick({1, 31, 32, 63, 64, 96, 255, 256, 257, 289, 600});
    if (random.chance(4)) region.height = random.pick({1, 7, 8, 9, 16, 17, 63, 65});
    if (random.chance(25)) params.xSigma = random.pick({60, 100, 200}), region.height = random.between(1, 30);
    if (random.chance(12)) params.xSigma = random.between(30, 63), params.ySigma = 0;  // integers along the row
  }
  finishGaussCase(drawn, random);
  return drawn;
}

Engine level2Engine(const GaussCase& test, bool is8, bool asRegion) {
  const ksGaussParams& params = test.params;
  const int32_t sigma = params.xSigma;
  if (!is8 || test.computed.width == 0 || sigma != params.ySigma || sigma < 1 || sigma > 2) return Engine::portable;
  if (asRegion && (test.computed.width <= 32 || test.computed.height <= 32)) return Engine::portable;
  kip::RequestGeometry geometry;
  static_cast<void>(kip::computeRequest(test.source.region, params, &test.destination, geometry));
  if (geometry.source.width < 32) return Engine::portable;
  if (sigma == 1) return params.xSample < 4 && params.ySample < 4 ? Engine::vec2Sigma1 : Engine::portable;
  return geometry.source.height < 7 ? Engine::portable : Engine::vec2Sigma2;
}

}  // namespace

const GaussLevel portable = {"portable", 0, 0,
                             [](uint64_t seed, int32_t index) { return drawGaussCase(seed, index, false); },
                             [](const GaussCase&, bool, bool) { return Engine::portable; }};
const GaussLevel level1 = {"level1", 5, kip_levels[1].features, drawForLevel1, [](const GaussCase& test, bool, bool) {
                             return vec1Serves(test.source.region, test.params) ? Engine::vec1 : Engine::portable;
                           }};
const GaussLevel level2 = {"level2", 1, kip_levels[2].features, drawForLevel2, level2Engine};

template <typename Pixel>
std::vector<Pixel> smoothBy(Engine engine, const GaussCase& test) {
  if (engine == Engine::vec1) return vec1Smooth<Pixel>(test.source, test.params, test.computed);
  if constexpr (sizeof(Pixel) == 1) {
    if (engine != Engine::portable) return vec2SigmaSmooth(test.source, test.params, test.computed);
  }
  return oracle::smooth<Pixel>(test.source, test.params, test.computed);
}

template std::vector<uint8_t> smoothBy(Engine engine, const GaussCase& test);
template std::vector<uint16_t> smoothBy(Engine engine, const GaussCase& test);

int64_t attentionChecks(Engine engine, const GaussCase& test) {
  if (engine == Engine::vec1) return 0;
  if (engine == Engine::portable) return oracle::attentionChecks(test.source.region, test.params, test.computed);
  int64_t checks = 0;
  for (int32_t row = 0; row < test.computed.height; ++row) {
    checks += engine == Engine::vec2Sigma1 ? ((test.computed.y + row) & 1023) == 1023 : row % 256 == 255;
  }
  return checks;
}

}  // namespace kernelcheck
