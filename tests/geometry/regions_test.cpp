// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "kip/gauss.h"
#include "oracle/gauss_oracle.hpp"
#include "support/host_seams.hpp"
#include "support/pictures.hpp"

namespace {

constexpr int32_t low = INT32_MIN, high = INT32_MAX;

// In place.
template <auto Rule>
ksIRegion by(ksIRegion region, int32_t xSample, int32_t ySample, int32_t kx, int32_t ky) {
  EXPECT_EQ(Rule(&region, &region, xSample, ySample, kx, ky), &region);
  return region;
}
constexpr auto dstReg = by<kfGaussGetDstReg>, dummyReg = by<kfGaussGetDummyReg>;

ksGaussParams paramsOf(int32_t xSample, int32_t ySample, int32_t xSigma, int32_t ySigma) {
  return {xSample, ySample, xSigma, ySigma, 0, 1, 0, 1.0f, nullptr, nullptr};
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
          ASSERT_EQ(result, oracle::destinationOf(source, paramsOf(sample, ySample, k - 1, ky - 1)))
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
            oracle::destinationOf({low, high - 9, 10, 10}, paramsOf(3, 7, 2, 2)));
  EXPECT_EQ(dstReg({low, low, high, high}, high, 1, 1, 1), (ksIRegion{-1, low, 1, high}));
  EXPECT_EQ(dummyReg({high, low, 1, 2}, 5, 5, 1, 1), (ksIRegion{high, low, 1, 6}));
  EXPECT_EQ(dummyReg({0, 0, high, high}, high, 1, 2, 1), (ksIRegion{1073741822, 0, high, high}));
  // no pixels give no pixels, nothing is normalised
  EXPECT_EQ(dstReg({4, 5, 0, -3}, 1, 1, 1, 1), (ksIRegion{4, 5, 0, -3}));
}

TEST(Regions, NullPointersAndSampleFactorsBelowOneFailTheArgumentCheck) {
  ksIRegion some = {0, 0, 1, 1};
  for (const auto rule : {kfGaussGetDstReg, kfGaussGetDummyReg}) {
    EXPECT_TRUE(kiptest::failsCheck([&] { rule(nullptr, &some, 1, 1, 1, 1); }));
    EXPECT_TRUE(kiptest::failsCheck([&] { rule(&some, nullptr, 1, 1, 1, 1); }));
    EXPECT_TRUE(kiptest::failsCheck([&] { rule(&some, &some, 0, 1, 1, 1); }));
    EXPECT_TRUE(kiptest::failsCheck([&] { rule(&some, &some, 1, -1, 1, 1); }));
  }
}

}  // namespace
