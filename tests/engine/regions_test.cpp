// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "engine/regions.hpp"
#include "kip/gauss.h"
#include "oracle/gauss_oracle.hpp"
#include "support/host_seams.hpp"
#include "support/pictures.hpp"

namespace {

constexpr int32_t low = INT32_MIN;
constexpr int32_t high = INT32_MAX;

ksIRegion dstReg(ksIRegion region, int32_t xSample, int32_t ySample, int32_t kx, int32_t ky) {
  EXPECT_EQ(kfGaussGetDstReg(&region, &region, xSample, ySample, kx, ky), &region);  // in place
  return region;
}

ksIRegion dummyReg(ksIRegion region, int32_t xSample, int32_t ySample, int32_t kx, int32_t ky) {
  EXPECT_EQ(kfGaussGetDummyReg(&region, &region, xSample, ySample, kx, ky), &region);
  return region;
}

ksGaussParams paramsOf(int32_t xSample, int32_t ySample, int32_t xSigma, int32_t ySigma, bool extend) {
  ksGaussParams params = *ksGaussParamsNull();
  params.xSample = xSample;
  params.ySample = ySample;
  params.xSigma = xSigma;
  params.ySigma = ySigma;
  params.extendBorder = extend;
  return params;
}

TEST(Regions, EveryDestinationPixelWhosePositionLiesInside) {
  for (int32_t sample = 1; sample <= 5; ++sample) {
    for (int32_t k = 1; k <= 4; ++k) {
      for (int32_t start = -11; start <= 11; ++start) {
        for (int32_t size = 5; size <= 9; ++size) {
          // the axes differ in everything
          const ksIRegion source = {start, 3 - start, size, 14 - size};
          const int32_t ySample = 6 - sample, ky = 5 - k;
          const ksIRegion result = dstReg(source, sample, ySample, k, ky);
          ASSERT_EQ(result, oracle::destinationOf(source, paramsOf(sample, ySample, k - 1, ky - 1, true)))
              << source << ' ' << sample << ' ' << k;
          const ksIRegion positions = dummyReg(result, sample, ySample, k, ky);
          ASSERT_EQ(dstReg(positions, sample, ySample, k, ky), result);
          ASSERT_EQ(positions.width, (result.width - 1) * sample + 1);
          ASSERT_TRUE(positions.x >= start && positions.x < start + sample);
          ASSERT_TRUE(positions.y >= source.y && positions.y + positions.height <= source.y + source.height);
        }
      }
    }
  }
}

TEST(Regions, ExtremesStayExactOrSaturate) {
  EXPECT_EQ(dstReg({low, high - 9, 10, 10}, 3, 7, 3, 3),
            oracle::destinationOf({low, high - 9, 10, 10}, paramsOf(3, 7, 2, 2, true)));
  EXPECT_EQ(dstReg({low, low, high, high}, high, 1, 1, 1), (ksIRegion{-1, low, 1, high}));
  EXPECT_EQ(dummyReg({high, low, 1, 2}, 5, 5, 1, 1), (ksIRegion{high, low, 1, 6}));
  EXPECT_EQ(dummyReg({0, 0, high, high}, high, 1, 2, 1), (ksIRegion{1073741822, 0, high, high}));
  // no pixels give no pixels, nothing is normalised
  EXPECT_EQ(dstReg({4, 5, 0, -3}, 1, 1, 1, 1), (ksIRegion{4, 5, 0, -3}));
}

TEST(Regions, NullPointersAndSampleFactorsBelowOneFailTheArgumentCheck) {
  ksIRegion region = {0, 0, 1, 1};
  for (const auto function : {kfGaussGetDstReg, kfGaussGetDummyReg}) {
    EXPECT_TRUE(kiptest::failsCheck([&] { function(nullptr, &region, 1, 1, 1, 1); }));
    EXPECT_TRUE(kiptest::failsCheck([&] { function(&region, nullptr, 1, 1, 1, 1); }));
    EXPECT_TRUE(kiptest::failsCheck([&] { function(&region, &region, 0, 1, 1, 1); }));
    EXPECT_TRUE(kiptest::failsCheck([&] { function(&region, &region, 1, -1, 1, 1); }));
  }
}

TEST(Regions, DestinationOfARequestWithAndWithoutBorderExtension) {
  kiptest::Random random(7);
  int32_t nulls = 0;
  for (int32_t i = 0; i < 3000; ++i) {
    const ksGaussParams params = paramsOf(random.between(1, 5), random.between(1, 5), random.between(0, 7),
                                          random.between(0, 7), random.chance(2));
    const ksIRegion source = {random.between(-50, 50), random.between(-50, 50), random.between(0, 30),
                              random.between(0, 30)};
    ksIRegion result = {1, 1, 1, 1};
    ASSERT_EQ(kip::gauss_computeDstRegion(source, params, result), 0);
    ASSERT_EQ(result, oracle::destinationOf(source, params)) << source;
    nulls += result.width == 0;
  }
  EXPECT_GT(nulls, 300);
  EXPECT_LT(nulls, 2700);
}

// The source rectangle and padding of a request, against the taps of its first and last pixel.
TEST(Regions, SourceAndPaddingCoverEveryTap) {
  const ksIRegion source = {10, -20, 10, 8};
  kip::RequestGeometry geometry;
  ASSERT_EQ(kip::computeRequest(source, paramsOf(1, 2, 2, 3, true), std::nullopt, geometry), 0);
  EXPECT_EQ(geometry.kernel, (ksIRegion{-3, -4, 7, 10}));
  EXPECT_EQ(geometry.destination, (ksIRegion{10, -10, 10, 4}));
  EXPECT_EQ(geometry.positions, (ksIRegion{10, -20, 10, 7}));
  EXPECT_EQ(geometry.source, source);
  EXPECT_EQ(geometry.padding, (ksIRegion{-3, -4, 7, 9}));

  ASSERT_EQ(kip::computeRequest(source, paramsOf(1, 2, 2, 3, true), ksIRegion{14, -8, 1, 1}, geometry), 0);
  EXPECT_EQ(geometry.source, (ksIRegion{11, -20, 7, 8}));
  EXPECT_EQ(geometry.padding, (ksIRegion{0, 0, 1, 3}));

  ASSERT_EQ(kip::computeRequest(source, paramsOf(1, 2, 2, 3, true), ksIRegion{14, 0, 1, 1}, geometry), 0);
  for (const ksIRegion& region : {geometry.destination, geometry.positions, geometry.source, geometry.padding}) {
    EXPECT_EQ(region, (ksIRegion{0, 0, 0, 0}));
  }
}

}  // namespace
