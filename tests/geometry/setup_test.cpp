// SPDX-License-Identifier: Apache-2.0
// What kip_gauss does around the pixels: destinations, regions, coordinates, z-scale, argument checks.
#include <gtest/gtest.h>

#include <cmath>

#include "support/host_images.hpp"
#include "support/host_seams.hpp"
#include "support/levels.hpp"
#include "support/pictures.hpp"

namespace {

using namespace kiptest;

bool operator==(const ksFXform& a, const ksFXform& b) {
  return a.tx == b.tx && a.ty == b.ty && a.m00 == b.m00 && a.m01 == b.m01 && a.m10 == b.m10 && a.m11 == b.m11;
}

// At each level that the processor has; which one runs shows in nothing here.
class Setup : public testing::TestWithParam<kip_level> {
 protected:
  Setup() : canvas({5, -7, 40, 16}, 100), source(legacyOn(canvas)), params(*ksGaussParamsNull()) {
    params.extendBorder = 1;
    params.xSigma = params.ySigma = 2;
    ksVImageSetClientZScale(source.get(), 3.0f);
  }

  // The status; the destination, given or created, in `out`.
  ksys_status run(ksVImage* destination, ksIRegion* region) {
    const ksys_status status = kip_gauss(source.get(), destination, &params, region, &out);
    if (destination == nullptr) created.reset(out);
    return status;
  }

  const ProcessorOverride processor{GetParam()};
  const Canvas<uint8_t> canvas;
  const LegacyImage source;
  ksGaussParams params;
  ksVImage* out = nullptr;
  LegacyImage created;
};

INSTANTIATE_TEST_SUITE_P(Levels, Setup, testing::ValuesIn(usableLevels()));

TEST_P(Setup, CreatesADestinationOfTheTemplatesTypeOverWhatIsComputed) {
  for (const ksVImage* const type : {&ksImageNull, &ksUSImageNull}) {
    params.dstTemplate = type;
    EXPECT_EQ(run(nullptr, nullptr), 0);
    EXPECT_EQ(ksVImageType(out), ksVImageType(type));
    EXPECT_EQ(*ksVImageRegion(out), (ksIRegion{5, -7, 40, 16}));

    ksIRegion region = {0, -6, 8, 100};
    EXPECT_EQ(run(nullptr, &region), 0);
    EXPECT_EQ(region, (ksIRegion{5, -6, 3, 15}));
    EXPECT_EQ(*ksVImageRegion(out), region);
  }
}

TEST_P(Setup, AGivenDestinationBeatsRegionAndTemplate) {
  params.dstTemplate = nullptr;
  const Canvas<uint16_t> wide({20, 0, 40, 4}, 7);
  const LegacyImage destination = legacyOn(wide);
  ksIRegion region = {0, 0, 1, 1};
  EXPECT_EQ(run(destination.get(), &region), 0);
  EXPECT_EQ(out, destination.get());
  EXPECT_EQ(region, (ksIRegion{20, 0, 25, 4}));
  EXPECT_TRUE(wide.intactOutside(region));
  for (const uint16_t pixel : wide.crop(region)) EXPECT_TRUE(pixel == 99 || pixel == 100);  // by the level
}

TEST_P(Setup, NothingToComputeIsSuccessAndSetsCoordinatesOnly) {
  const auto expectNothing = [this](ksVImage* destination, ksIRegion region) {
    params.xSample = 2;
    EXPECT_EQ(run(destination, &region), 0);
    EXPECT_EQ(region, (ksIRegion{0, 0, 0, 0}));
    EXPECT_EQ(ksVImageClientCoords(out)->m00, 0.5f);
    EXPECT_EQ(ksImageClientZScale(out), 1.0f);
  };
  const Canvas<uint8_t> beside({100, 0, 4, 4}, 7);
  const LegacyImage destination = legacyOn(beside);
  expectNothing(destination.get(), {5, -7, 1, 1});
  EXPECT_TRUE(beside.intactOutside({}));
  for (const ksIRegion& region : {ksIRegion{100, 0, 4, 4}, ksIRegion{5, 0, 0, 3}, ksIRegion{5, 0, -2, 3}}) {
    expectNothing(nullptr, region);
    EXPECT_EQ(*ksVImageRegion(out), (ksIRegion{0, 0, 0, 0}));
  }
  params.extendBorder = 0;
  params.ySigma = 6;  // taller than the source
  expectNothing(nullptr, {5, -7, 40, 16});
}

// The expected matrices are those of T^-1 composed after the source's, element by element.
TEST_P(Setup, ClientCoordinatesKeepPixelsOnTheirKernelsCentre) {
  const float third = 1.0f / 3.0f;
  const struct {
    int32_t xSample, ySample, xSigma, ySigma;
    ksFXform source, expected;
  } cases[] = {
      {1, 1, 2, 2, {0, 0, 1, 0, 0, 1}, {0, 0, 1, 0, 0, 1}},
      {1, 1, 1, 2, {0, 0, 1, 0, 0, 1}, {0.5f, 0, 1, 0, 0, 1}},
      {2, 2, 1, 1, {0, 0, 1, 0, 0, 1}, {0, 0, 0.5f, 0, 0, 0.5f}},
      {2, 2, 0, 2, {10, -6, 4, 2, 1, 8}, {5.25f, -2.75f, 2, 1, 0.5f, 4}},
      {3, 4, 2, 3, {0.1f, 0.7f, 1.5f, 0, 0, 1}, {third * 0.1f, 0.175f, 0.5f, 0, 0, 0.25f}},
  };
  for (const auto& test : cases) {
    params.xSample = test.xSample;
    params.ySample = test.ySample;
    params.xSigma = test.xSigma;
    params.ySigma = test.ySigma;
    ksImageSetClientCoords(source.get(), &test.source);
    EXPECT_EQ(run(nullptr, nullptr), 0);
    EXPECT_TRUE(*ksVImageClientCoords(out) == test.expected) << &test - cases;
    EXPECT_TRUE(*ksImageClientCoords(source.get()) == test.source);
  }
}

TEST_P(Setup, ZScaleFollowsScaleUnlessPeakNormalized) {
  params.dstTemplate = &ksUSImageNull;
  params.scale = 0.125f;
  EXPECT_EQ(run(nullptr, nullptr), 0);
  EXPECT_EQ(ksImageClientZScale(out), 3.0f * 0.125f);
  params.peakNormalize = 1;
  EXPECT_EQ(run(nullptr, nullptr), 0);
  EXPECT_EQ(ksImageClientZScale(out), 1.0f);
}

TEST_P(Setup, GeometryBeyond32BitsFailsBeforeAnythingIsWritten) {
  const auto expectRefused = [this](const ksImage* from, ksVImage* to) {
    const ksFXform before = *ksVImageClientCoords(to);
    ksIRegion region = {1, 2, 3, 4};
    out = nullptr;
    EXPECT_EQ(kip_gauss(from, to, &params, &region, &out), KIP_STATUS_BAD_SIGMA);
    EXPECT_EQ(region, (ksIRegion{1, 2, 3, 4}));
    EXPECT_EQ(out, nullptr);
    EXPECT_TRUE(*ksVImageClientCoords(to) == before);
    EXPECT_EQ(ksImageClientZScale(to), 1.0f);
  };
  const Canvas<uint8_t> canvas8({5, -7, 20, 16}, 7);
  const LegacyImage destination = legacyOn(canvas8);
  params.xSample = 2;
  for (const int32_t sigma : {INT32_MAX, 715827883}) {
    params.xSigma = sigma;
    expectRefused(source.get(), destination.get());
    std::swap(params.xSigma, params.ySigma);
    expectRefused(source.get(), destination.get());
    params.ySigma = 2;
  }
  // the taps fit, but not next to this source
  const Canvas<uint8_t> farAway({INT32_MAX - 30, 0, 20, 16}, 9);
  const LegacyImage farSource = legacyOn(farAway);
  params.xSigma = 8;
  ksImageMoveTo(destination.get(), INT32_MAX / 2 - 15, 0);
  expectRefused(farSource.get(), destination.get());
  EXPECT_TRUE(canvas8.intactOutside({}));
}

// The region, the destination handed out and its owner after each kind of failure.
TEST_P(Setup, WhatAFailureLeaves) {
  const bool isLevel1 = GetParam().name == std::string("1");
  const ksIRegion asked = {0, -6, 8, 100}, computed = {5, -6, 3, 15};
  ksVImage mark{};
  ksIRegion region;
  const auto smooth = [&](ksVImage* destination) {
    region = asked;
    out = &mark;
    return kip_gauss(source.get(), destination, &params, &region, &out);
  };
  {
    const ProcessorFailure failure(KSYS_STATUS(0x80004321));
    EXPECT_EQ(smooth(nullptr), KSYS_STATUS(0x80004321));
    EXPECT_TRUE(region == asked && out == &mark);
  }
  params.xSigma = 715827883;
  EXPECT_EQ(smooth(nullptr), KIP_STATUS_BAD_SIGMA);
  EXPECT_TRUE(region == asked && out == (isLevel1 ? nullptr : &mark));
  params.xSigma = 2;
  {
    const AllocationProbe creation(1);
    EXPECT_EQ(smooth(nullptr), KSYS_STATUS_NO_MEMORY);
    EXPECT_TRUE(region == computed && out == (isLevel1 ? nullptr : &mark));
  }
  {
    const AllocationProbe later(2);
    EXPECT_EQ(smooth(nullptr), later.failure());
    EXPECT_EQ(region, computed);
    EXPECT_EQ(out == nullptr, isLevel1);  // freed, or the sanitizer sees a leak
    EXPECT_TRUE(isLevel1 || pixelsOf<uint8_t>(out) == std::vector<uint8_t>(45, 0));
    created.reset(out);
  }
  const LegacyImage given = legacyOn(canvas);
  const AllocationProbe memory(1);
  EXPECT_EQ(smooth(given.get()), memory.failure());
  EXPECT_TRUE(out == (isLevel1 ? nullptr : given.get()));
}

TEST_P(Setup, ProgrammingErrorsFailTheArgumentCheck) {
  void (*const changes[])(ksGaussParams&) = {
      [](auto& p) { p.xSample = 0; },  [](auto& p) { p.ySample = -1; },          [](auto& p) { p.xSigma = -1; },
      [](auto& p) { p.scale = 0.0f; }, [](auto& p) { p.scale = NAN; },           [](auto& p) { p.ySigma = INT32_MIN; },
      [](auto& p) { p.scale = -1; },   [](auto& p) { p.dstTemplate = nullptr; },
  };
  for (const auto change : changes) {
    ksGaussParams wrong = params;
    change(wrong);
    EXPECT_TRUE(failsCheck([&] { kip_gauss(source.get(), nullptr, &wrong, nullptr, &out); })) << &change - changes;
  }
  if (GetParam().name == std::string("2")) {  // the kernels for sigma 2 take a scale of infinity
    params.scale = INFINITY;
    EXPECT_EQ(run(nullptr, nullptr), 0);
    EXPECT_EQ(pixelsOf<uint8_t>(out), std::vector<uint8_t>(40 * 16, 255));
  }
  EXPECT_TRUE(failsCheck([&] { kip_gauss(nullptr, nullptr, &params, nullptr, &out); }));
  EXPECT_TRUE(failsCheck([&] { kip_gauss(source.get(), nullptr, nullptr, nullptr, &out); }));
  EXPECT_TRUE(failsCheck([&] { kip_gauss(source.get(), nullptr, &params, nullptr, nullptr); }));
  const LegacyImage other = legacyOn(canvas);
  other->type = 3;
  EXPECT_TRUE(failsCheck([&] { kip_gauss(source.get(), other.get(), &params, nullptr, &out); }));
}

}  // namespace
