// SPDX-License-Identifier: Apache-2.0
#include "oracle/gauss_case.hpp"

#include <algorithm>
#include <sstream>

#include "support/draws.hpp"

namespace kiptest {

namespace {

// Every small size, and primes.
constexpr int32_t sizes[] = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15, 16,  17,
                             18, 19, 20, 21, 22, 23, 24, 29, 31, 37, 41, 53, 61, 67, 97, 101, 127};
constexpr int32_t sizeCount = static_cast<int32_t>(std::size(sizes));

// A run of destination pixels against those that the source supplies: all, more, a part, or shifted partly off.
void drawRun(Random& random, int32_t& start, int32_t& size) {
  switch (random.between(0, 3)) {
    case 1: {
      const int32_t before = random.between(0, 5);
      start -= before;
      size += before + random.between(0, 5);
      break;
    }
    case 2: {
      const int32_t skip = random.between(0, size - 1);
      start += skip;
      size = random.between(1, size - skip);
      break;
    }
    case 3:
      start += random.between(-size - 1, size + 1);
      break;
    default:
      break;
  }
}

}  // namespace

std::string GaussCase::describe() const {
  std::ostringstream text;
  text << source.region << '>' << destination << "_s" << params.xSample << ',' << params.ySample << "_g"
       << params.xSigma << ',' << params.ySigma << "_c" << params.scale << (params.roundResult != 0 ? "_round" : "")
       << (params.extendBorder != 0 ? "_extend" : "") << (params.peakNormalize != 0 ? "_peak" : "") << '_'
       << nameOf(pattern);
  return text.str();
}

void finishGaussCase(GaussCase& test, Random& random) {
  test.destination = oracle::destinationOf(test.source.region, test.params);
  if (test.destination.width == 0) {
    test.destination = {test.source.region.x, test.source.region.y, 3, 2};
  } else {
    drawRun(random, test.destination.x, test.destination.width);
    drawRun(random, test.destination.y, test.destination.height);
  }
  test.computed = oracle::destinationOf(test.source.region, test.params, &test.destination);
  test.pattern = static_cast<Pattern>(random.between(0, static_cast<int32_t>(Pattern::count) - 1));
  test.source.pixels = drawPattern(test.pattern, test.source.region, random);
}

GaussCase drawGaussCase(uint64_t seed, int32_t index, bool mirrored) {
  Random random(seed, static_cast<uint64_t>(index));
  GaussCase drawn;
  drawn.source.region = {random.between(-60, 60), random.between(-60, 60), sizes[index % sizeCount],
                         sizes[(index / sizeCount + 5 * index) % sizeCount]};
  if (index % 41 == 40) drawn.source.region.width = random.between(128, 400);
  if (index % 43 == 42) drawn.source.region.height = random.between(128, 400);

  ksGaussParams& params = drawn.params;
  params = *ksGaussParamsNull();
  params.xSample = random.pick({1, 1, 2, 3, 4, 5});
  params.ySample = random.pick({1, 1, 2, 3, 4, 5});
  params.xSigma = random.between(0, 7);
  params.ySigma = random.between(0, 7);
  if (index % 23 == 11) params.xSigma = random.pick({24, 63, 100});
  if (index % 29 == 13) params.ySigma = random.pick({24, 63, 100});
  params.scale = random.chance(4) ? drawFloatScale(random)
                                  : random.pick({1.0f, 1.0f, 0.5f, 0.75f, 2.0f, 256.0f, 1e-30f, 3e16f, 1e30f});
  params.roundResult = random.between(0, 1);
  params.extendBorder = mirrored || !random.chance(4);
  params.peakNormalize = !mirrored && random.chance(8);

  finishGaussCase(drawn, random);
  return drawn;
}

}  // namespace kiptest
