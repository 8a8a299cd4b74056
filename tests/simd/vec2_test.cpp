// SPDX-License-Identifier: Apache-2.0
#include "simd/vec2.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "engine/generic.hpp"
#include "engine/regions.hpp"
#include "frame/processor.hpp"
#include "oracle/gauss_case.hpp"
#include "simd/vec2_model.hpp"
#include "support/host_images.hpp"
#include "support/host_seams.hpp"

using namespace kiptest;

namespace {

// What happens to a caller of an engine.
template <typename Pixel>
struct Outcome {
  ksys_status status;
  bool handedOut;
  ksIRegion region;
  int64_t attentionChecks, allocations;
  float zScale;
  std::vector<Pixel> pixels;  // of the whole destination
  bool intact;                // around the source and the destination

  friend bool operator==(const Outcome&, const Outcome&) = default;
};

using Engine = ksys_status (*)(const ksImage*, ksVImage*, const ksGaussParams*, ksIRegion*, ksVImage**);

// Guard pages follow and precede the source, then the destination. failAttention: which check fails, 0: none.
template <typename Pixel>
Outcome<Pixel> run(Engine engine, const GaussCase& test, bool asRegion = false, int64_t failAttention = 0,
                   int64_t failAllocation = 0) {
  constexpr Pixel fill = static_cast<Pixel>(0xA5C3);
  Canvas<uint8_t> source(test.source.region, 0xFF, test.destination.x % 2 != 0 ? Placement::atStart : Placement::atEnd);
  Canvas<Pixel> destination(test.destination, fill,
                            test.destination.y % 2 != 0 ? Placement::atEnd : Placement::surrounded);
  source.paint(test.source.pixels);
  const LegacyImage from = legacyOn(source);
  const LegacyImage to = legacyOn(destination);
  ksVImageSetClientZScale(from.get(), 8.0f);
  ksVImageSetClientZScale(to.get(), 3.0f);

  Outcome<Pixel> outcome = {};
  outcome.region = test.destination;
  ksVImage* out = nullptr;
  const AttentionProbe attention(failAttention);
  const AllocationProbe allocation(failAllocation);
  outcome.status = engine(from.get(), to.get(), &test.params, asRegion ? &outcome.region : nullptr, &out);
  outcome.handedOut = out == to.get();
  outcome.attentionChecks = attention.count();
  outcome.allocations = allocation.count();
  outcome.zScale = ksImageClientZScale(to.get());
  outcome.pixels = destination.crop(test.destination);
  outcome.intact = destination.intactOutside(test.destination) && source.intactOutside(test.source.region) &&
                   source.crop(test.source.region) == test.source.pixels;
  return outcome;
}

kip::RequestGeometry geometryOf(const GaussCase& test) {
  kip::RequestGeometry geometry;
  require(kip::computeRequest(test.source.region, test.params, test.destination, geometry) == 0, "geometry");
  return geometry;
}

// A request for everything, or `cut` pixels less at every side.
void finish(GaussCase& test, Random& random, const ksIRegion& cut = {}) {
  test.pattern = static_cast<Pattern>(random.between(1, static_cast<int32_t>(Pattern::count) - 1));
  test.source.pixels = drawPattern(test.pattern, test.source.region, random);
  test.destination = oracle::destinationOf(test.source.region, test.params);
  test.destination = {test.destination.x + cut.x, test.destination.y + cut.y,
                      test.destination.width - cut.x - cut.width, test.destination.height - cut.y - cut.height};
  if (test.destination.width <= 0 || test.destination.height <= 0) {
    test.destination = {test.source.region.x, test.source.region.y, 3, 2};
  }
  test.computed = oracle::destinationOf(test.source.region, test.params, &test.destination);
}

GaussCase makeCase(int32_t width, int32_t height, int32_t sigma, const ksIRegion& cut = {}) {
  Random random(7);
  GaussCase test;
  test.source.region = {-9, -4, width, height};
  test.params = *ksGaussParamsNull();
  test.params.extendBorder = 1;
  test.params.xSigma = test.params.ySigma = sigma;
  finish(test, random, cut);
  return test;
}

// ---- general path

GaussCase drawGeneralCase(int32_t index) {
  Random random(3, static_cast<uint64_t>(index));
  GaussCase test;
  ksGaussParams& params = test.params;
  params = *ksGaussParamsNull();
  params.xSample = random.pick({1, 1, 1, 2, 3, 4, 5, 27, 130});
  params.ySample = random.pick({1, 1, 1, 2, 3, 5, 70});
  params.xSigma = random.between(0, random.pick({3, 8, 20, 60}));
  params.ySigma = random.chance(2) ? params.xSigma : random.between(0, random.pick({3, 20, 70}));
  if (random.chance(8)) params.ySigma = random.pick({63, 64, 128, 202, 203, 300});
  if (random.chance(12)) params.xSigma = random.pick({200, 700, 5000});
  if (random.chance(12)) {  // long pads with integers along the row
    params.xSigma = random.between(30, 63);
    params.ySigma = 0;
  }
  params.scale = random.pick({1.0f, 1.0f, 1.0f, 0.5f, 0.75f, 2.0f, 300.0f, 1e-30f, 3e7f, 1e30f,
                              std::nextafterf(1.0f, 2.0f), std::nextafterf(1.0f, 0.0f)});
  params.roundResult = random.between(0, 1);
  params.extendBorder = !random.chance(6);
  params.peakNormalize = random.chance(8);
  // around blocks and pieces of the line, groups of rows and attention checks
  const int32_t width = random.pick({32, 33, 63, 64, 65, 96, 255, 256, 257, 289, random.between(1, 31),
                                     random.between(32, 100), random.between(100, 700)});
  const int32_t height = random.pick({1, 7, 8, 9, 16, 17, 63, 65, random.between(1, 150)});
  test.source.region = {random.between(-60, 60), random.between(-200, 60), width, height};
  const bool isCut = random.chance(2);
  const auto draw = [&](int32_t most) { return isCut ? random.between(-3, most) : 0; };
  const int32_t left = draw(width / 3);
  const int32_t top = draw(height / 3);
  finish(test, random, {left, top, draw(width / 3), draw(height / 3)});
  return test;
}

bool hasSigmaPath(const ksGaussParams& params) {
  return params.xSigma == params.ySigma && (params.xSigma == 1 || params.xSigma == 2);
}

// ---- sigma 1 and 2: their formulas

void checkSigmaCase(const GaussCase& test) {
  const kip::RequestGeometry geometry = geometryOf(test);
  const Outcome<uint8_t> portable = run<uint8_t>(kip::gauss_genericSmooth, test);
  const Outcome<uint8_t> actual = run<uint8_t>(kip::gauss_vec2Smooth, test);
  const bool isServed = test.computed.width == 0 ||
                        (geometry.source.width >= 32 && (test.params.xSigma == 1 || geometry.source.height >= 7));
  if (!isServed) {
    EXPECT_EQ(actual, portable);
    return;
  }
  EXPECT_EQ(actual.status, 0);
  EXPECT_TRUE(actual.handedOut && actual.intact);
  EXPECT_EQ(actual.zScale, 3.0f);
  const std::vector<uint8_t> smoothed = vec2SigmaSmooth(test.source, test.params, test.computed);
  std::vector<uint8_t> expected(actual.pixels.size(), 0xC3);
  for (int32_t row = 0; row < test.computed.height; ++row) {
    const int64_t to = int64_t{test.computed.y - test.destination.y + row} * test.destination.width;
    std::copy_n(smoothed.begin() + int64_t{row} * test.computed.width, test.computed.width,
                expected.begin() + to + test.computed.x - test.destination.x);
  }
  EXPECT_EQ(difference(actual.pixels, expected, test.destination.width), "");
  if (test.params.xSigma == 1 && test.params.scale == 1.0f && test.params.peakNormalize == 0) {
    EXPECT_EQ(actual.pixels, portable.pixels);
  }
}

class Vec2 : public testing::Test {
 protected:
  void SetUp() override {
    ksys_cpuinfo processor;
    ASSERT_EQ(ksys_cpuinfo_init(&processor), 0);
    if (!kip::hasFeatures(processor, ksys_cpuAvx2)) GTEST_SKIP() << "the processor has no AVX2";
  }
};

}  // namespace

TEST_F(Vec2, GeneralPathEqualsThePortableEngine) {
  for (int32_t index = 0; index < 4000 && !HasFailure(); ++index) {
    const GaussCase test = drawGeneralCase(index);
    SCOPED_TRACE(std::to_string(index) + ' ' + test.describe());
    const auto check = [&](auto pixel) {
      using Pixel = decltype(pixel);
      const bool asRegion = index % 3 == 0;
      const auto portable = run<Pixel>(kip::gauss_genericSmooth, test, asRegion);
      const auto actual = run<Pixel>(kip::gauss_vec2Smooth, test, asRegion);
      EXPECT_EQ(difference(actual.pixels, portable.pixels, test.destination.width), "");
      EXPECT_TRUE(actual == portable);
    };
    check(uint16_t{});
    if (!hasSigmaPath(test.params)) check(uint8_t{});
  }
}

// Flat areas show whether quotients are the portable engine's: a reciprocal too low makes them darker by one.
TEST_F(Vec2, GeneralPathKeepsFlatAreasAsThePortableEngineDoes) {
  for (int32_t xSigma = 0; xSigma <= 16; ++xSigma) {
    for (int32_t ySigma : {0, 1, 2, 3, 5, 8, 15, 16, xSigma}) {
      GaussCase test = makeCase(256, 20, 0);
      test.params.xSigma = xSigma;
      test.params.ySigma = ySigma;
      for (int32_t i = 0; i < 256 * 20; ++i) test.source.pixels[size_t(i)] = static_cast<uint8_t>(i / 256 * 13 + 8);
      for (const float scale : {1.0f, 0.25f, 2.0f, 257.0f}) {
        test.params.scale = scale;
        for (const int32_t round : {0, 1}) {
          test.params.roundResult = round;
          SCOPED_TRACE(test.describe());
          ASSERT_EQ(run<uint16_t>(kip::gauss_vec2Smooth, test), run<uint16_t>(kip::gauss_genericSmooth, test));
        }
      }
    }
  }
}

// Columns that make the running sums as large as they get: white, and stripes as high as the box.
TEST_F(Vec2, GeneralPathHoldsTheLargestSums) {
  for (const int32_t ySigma : {63, 64, 70, 127, 202, 203, 258}) {
    for (const int32_t xSigma : {1, 44}) {
      GaussCase test = makeCase(40, 3 * ySigma + 9, 0);
      test.params.xSigma = xSigma;
      test.params.ySigma = ySigma;
      test.params.ySample = 7;
      test.destination = oracle::destinationOf(test.source.region, test.params);
      SCOPED_TRACE(test.describe());
      for (const int32_t white : {3, 2, 1}) {  // every stripe, the even ones, the odd ones
        for (size_t i = 0; i < test.source.pixels.size(); ++i) {
          const auto stripe = static_cast<int32_t>(i / 40) / (ySigma + 1);
          test.source.pixels[i] = (white >> (stripe % 2)) % 2 != 0 ? 255 : 0;
        }
        EXPECT_EQ(run<uint8_t>(kip::gauss_vec2Smooth, test), run<uint8_t>(kip::gauss_genericSmooth, test));
      }
    }
  }
}

// Every left pad, every number of columns in the last group, in lines of one and more pieces.
TEST_F(Vec2, SigmaPathsFollowTheirFormulas) {
  Random random(5);
  for (const int32_t base : {30, 2030}) {
    for (int32_t width = base; width < base + 80 && !HasFailure(); width += base == 30 ? 1 : 7) {
      for (int32_t i = 0; i < 24; ++i) {
        GaussCase test = makeCase(width, random.between(1, base == 30 ? 30 : 9), random.between(1, 2));
        ksGaussParams& params = test.params;
        params.xSample = params.xSigma == 1 ? random.between(1, 3) : random.pick({1, 1, 2, 2, 3, 4, 5, 27, 40});
        params.ySample = random.between(1, params.xSigma == 1 ? 3 : 5);
        params.roundResult = random.between(0, 1);
        params.peakNormalize = random.chance(10);
        params.scale =
            random.pick({1.0f, 1.0f, 0.5f, 0.75f, 2.0f, 300.0f, 1.0f + 0x1p-23f, 1.0f - 0x1p-23f, 1.0f - 0x1.8p-23f});
        test.source.region.x = random.between(-50, 50);
        finish(test, random, {i % 4, random.between(0, 3), random.between(-2, 4), random.between(-2, 3)});
        SCOPED_TRACE(test.describe());
        checkSigmaCase(test);
      }
    }
  }
}

// Sigma 1 allocates twice and leaves the z-scale, sigma 2 allocates nothing, all else does as the portable engine.
TEST_F(Vec2, Selection) {
  enum Path { sigma1, sigma2, other };
  const auto pathOf = [](const auto& outcome) {
    EXPECT_EQ(outcome.status, 0);
    if (outcome.allocations == 0 && outcome.zScale == 3.0f) return sigma2;
    EXPECT_EQ(outcome.allocations, 2);
    return outcome.zScale == 3.0f ? sigma1 : other;
  };
  const struct {
    int32_t width, height;
    bool asRegion;
    int32_t xSigma, ySigma, xSample, ySample;
    Path path;
  } rows[] = {
      {40, 40, false, 1, 1, 1, 1, sigma1}, {40, 40, false, 1, 1, 3, 3, sigma1}, {40, 40, false, 1, 1, 4, 1, other},
      {40, 40, false, 1, 1, 1, 4, other},  {40, 40, false, 1, 2, 1, 1, other},  {40, 40, false, 3, 3, 1, 1, other},
      {40, 40, false, 2, 2, 1, 1, sigma2}, {40, 40, false, 2, 2, 2, 9, sigma2}, {40, 40, false, 2, 2, 9, 1, sigma2},
      {32, 1, false, 1, 1, 1, 1, sigma1},  {31, 40, false, 1, 1, 1, 1, other},  {32, 7, false, 2, 2, 1, 1, sigma2},
      {32, 6, false, 2, 2, 1, 1, other},   {31, 40, false, 2, 2, 1, 1, other},  {33, 33, true, 1, 1, 1, 1, sigma1},
      {32, 1000, true, 1, 1, 1, 1, other}, {1000, 32, true, 1, 1, 1, 1, other}, {33, 33, true, 2, 2, 1, 1, sigma2},
      {64, 100, true, 2, 2, 2, 1, other},  {100, 32, true, 2, 2, 1, 1, other},
  };
  for (const auto& row : rows) {
    GaussCase test = makeCase(row.width, row.height, 0);
    test.params.xSigma = row.xSigma;
    test.params.ySigma = row.ySigma;
    test.params.xSample = row.xSample;
    test.params.ySample = row.ySample;
    test.destination = oracle::destinationOf(test.source.region, test.params);
    SCOPED_TRACE(test.describe());
    EXPECT_EQ(pathOf(run<uint8_t>(kip::gauss_vec2Smooth, test, row.asRegion)), row.path);
    EXPECT_EQ(pathOf(run<uint16_t>(kip::gauss_vec2Smooth, test, row.asRegion)), other);
  }
}

// The destination keeps exactly the rows before the check that failed.
TEST_F(Vec2, AttentionStopsTheRows) {
  const struct {
    int32_t sigma, y, ySample, firstRow;
    std::vector<int32_t> stops;  // the row that the check precedes, counted from the first
  } rows[] = {
      {1, -1, 1, 0, {1023, 2047}}, {1, -3, 1, -2, {1, 1025, 2049}},
      {1, -3000, 2, -1500, {475}}, {2, 5, 1, 5, {255, 511, 767, 1023, 1279, 1535, 1791, 2047}},
      {2, -9, 3, -3, {255, 511}},
  };
  for (const auto& row : rows) {
    GaussCase test = makeCase(33, 2100, row.sigma);
    test.params.ySample = row.ySample;
    test.source.region.y = row.y;
    test.destination = oracle::destinationOf(test.source.region, test.params);
    ASSERT_EQ(test.destination.y, row.firstRow);
    SCOPED_TRACE(test.describe());
    const auto all = run<uint8_t>(kip::gauss_vec2Smooth, test);
    EXPECT_EQ(all.attentionChecks, int64_t(row.stops.size()));
    for (size_t i = 0; i < row.stops.size(); ++i) {
      const auto stopped = run<uint8_t>(kip::gauss_vec2Smooth, test, false, int64_t(i) + 1);
      EXPECT_EQ(stopped.status, KSYS_STATUS(0x8000BEEF));
      std::vector<uint8_t> expected = all.pixels;
      std::fill(expected.begin() + int64_t{row.stops[i]} * test.destination.width, expected.end(), uint8_t{0xC3});
      EXPECT_EQ(difference(stopped.pixels, expected, test.destination.width), "");
    }
  }

  for (const auto& [sigma, ySample] : {std::pair{3, 1}, {50, 1}, {0, 3}, {12, 5}}) {
    GaussCase test = makeCase(40, 300, sigma);
    test.params.ySample = ySample;
    test.destination = oracle::destinationOf(test.source.region, test.params);
    const int64_t checks = run<uint16_t>(kip::gauss_vec2Smooth, test).attentionChecks;
    EXPECT_EQ(checks, oracle::attentionChecks(test.source.region, test.params, test.destination));
    for (int64_t failAt = 1; failAt <= checks; ++failAt) {
      SCOPED_TRACE(test.describe() + " check " + std::to_string(failAt));
      EXPECT_EQ(run<uint16_t>(kip::gauss_vec2Smooth, test, false, failAt),
                run<uint16_t>(kip::gauss_genericSmooth, test, false, failAt));
    }
  }
}

TEST_F(Vec2, AllocationFailureLeavesTheDestination) {
  for (const int32_t sigma : {1, 4}) {
    const GaussCase test = makeCase(50, 40, sigma);
    for (const int64_t failAt : {1, 2}) {
      const auto outcome = run<uint8_t>(kip::gauss_vec2Smooth, test, false, 0, failAt);
      EXPECT_EQ(outcome.status, KSYS_STATUS(0x8000BEEF));
      EXPECT_TRUE(outcome.handedOut && outcome.intact);
      EXPECT_EQ(outcome.allocations, failAt);
      EXPECT_EQ(outcome.attentionChecks, 0);
      EXPECT_EQ(outcome.zScale, 3.0f);
      EXPECT_EQ(outcome.pixels, std::vector<uint8_t>(outcome.pixels.size(), 0xC3));
    }
  }
}

// A destination made for the call has the type of the template; a given one decides for itself.
TEST_F(Vec2, DestinationKind) {
  const GaussCase test = makeCase(40, 40, 1);
  Canvas<uint8_t> source(test.source.region, 0);
  source.paint(test.source.pixels);
  const LegacyImage from = legacyOn(source);
  for (const ksVImage* kind : {&ksImageNull, &ksUSImageNull}) {
    ksGaussParams params = test.params;
    params.dstTemplate = kind;
    ksIRegion region = test.destination;
    ksVImage* out = nullptr;
    ASSERT_EQ(kip::gauss_vec2Smooth(from.get(), nullptr, &params, &region, &out), 0);
    const LegacyImage created(out);
    EXPECT_EQ(ksVImageType(out), ksVImageType(kind));
    EXPECT_EQ(*ksVImageRegion(out), test.computed);

    const Canvas<uint16_t> given(test.destination, 0xFFFF);
    const LegacyImage to = legacyOn(given);
    ASSERT_EQ(kip::gauss_vec2Smooth(from.get(), to.get(), &params, nullptr, &out), 0);
    EXPECT_EQ(given.crop(test.destination), run<uint16_t>(kip::gauss_genericSmooth, test).pixels);
  }
  // nothing to compute
  const Canvas<uint8_t> far({500, 500, 4, 4}, 77);
  const LegacyImage to = legacyOn(far);
  ksVImage* out = nullptr;
  EXPECT_EQ(kip::gauss_vec2Smooth(from.get(), to.get(), &test.params, nullptr, &out), 0);
  EXPECT_EQ(out, to.get());
  EXPECT_TRUE(far.intactOutside({500, 500, 0, 0}));
}
