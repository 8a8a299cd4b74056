// SPDX-License-Identifier: Apache-2.0
// What holds of smoothing without knowing a single value.
#include <gtest/gtest.h>

#include <algorithm>

#include "oracle/gauss_oracle.hpp"
#include "support/host_images.hpp"
#include "support/pictures.hpp"

namespace {

using namespace kiptest;

kip_gaussParams paramsOf(int32_t sample, int32_t xSigma, int32_t ySigma) {
  kip_gaussParams params;
  EXPECT_EQ(kip_gaussParams_init(&params), 0);
  params.xSample = params.ySample = sample;
  params.xSigma = xSigma;
  params.ySigma = ySigma;
  params.roundResult = 1;
  return params;
}

// Smoothed over exactly that destination.
std::vector<uint16_t> smoothed(const Canvas<uint8_t>& source, const kip_gaussParams& params, const ksIRegion& region) {
  const Canvas<uint16_t> destination(region, 0xABCD);
  const kimg_windowConst from = sourceWindowOn(source);
  const kimg_window to = windowOn(destination);
  EXPECT_EQ(kip_gauss_smoothWindow8_16(&from, &to, &params), 0);
  return destination.crop(region);
}

ksIRegion allOf(const Canvas<uint8_t>& source, const kip_gaussParams& params) {
  return oracle::destinationOf(source.region(), oracle::legacyOf(params));
}

TEST(Property, ConstantInConstantOut) {
  for (const int32_t sigma : {0, 1, 2, 5, 12}) {
    for (int32_t level = 0; level <= 255; level += 51) {
      const Canvas<uint8_t> source({-3, 4, 40, 39}, static_cast<uint8_t>(level));
      kip_gaussParams params = paramsOf(3, sigma, sigma);
      params.scale = 4;
      const ksIRegion all = allOf(source, params);
      const std::vector<uint16_t> result = smoothed(source, params, all);
      EXPECT_EQ(result, std::vector<uint16_t>(result.size(), static_cast<uint16_t>(4 * level)));
    }
  }
}

// Away from the border the response to a lone pixel is the kernel: the same forward and backward.
TEST(Property, ImpulseResponseIsSymmetricAndFadesFromItsCentre) {
  const int32_t sigmas[][2] = {{1, 2}, {4, 3}, {6, 6}};
  for (const auto& sigma : sigmas) {
    Canvas<uint8_t> source({0, 0, 60, 60}, 0);
    source.at(30, 30) = 255;
    kip_gaussParams params = paramsOf(1, sigma[0], sigma[1]);
    params.scale = 200;
    // every pixel with a tap on the lone one
    const ksIRegion around = {30 - (3 * sigma[0] + 1) / 2 + (sigma[0] & 1),
                              30 - (3 * sigma[1] + 1) / 2 + (sigma[1] & 1), 3 * sigma[0] + 1, 3 * sigma[1] + 1};
    const std::vector<uint16_t> response = smoothed(source, params, around);
    EXPECT_TRUE(std::equal(response.begin(), response.end(), response.rbegin()));
    const size_t width = static_cast<size_t>(around.width);
    const auto middleRow = response.begin() + around.height / 2 * around.width;
    EXPECT_TRUE(std::is_sorted(middleRow, middleRow + around.width / 2 + 1));
    EXPECT_GT(response[response.size() / 2], response[width]);
  }
}

TEST(Property, ShiftingTheSourceBySampleFactorsShiftsTheResult) {
  Random random(4);
  for (int32_t sample = 1; sample <= 4; ++sample) {
    const ksIRegion region = {-7, 2, 31, 27};
    const ksIRegion moved = {region.x - 2 * sample, region.y + sample, region.width, region.height};
    Canvas<uint8_t> a(region, 0);
    Canvas<uint8_t> b(moved, 0);
    a.paint(drawPattern(Pattern::noise, region, random));
    b.paint(a.crop(region));
    const kip_gaussParams params = paramsOf(sample, 3, 2);
    const ksIRegion all = allOf(a, params);
    EXPECT_EQ(smoothed(a, params, all), smoothed(b, params, {all.x - 2, all.y + 1, all.width, all.height}));
  }
}

TEST(Property, APartOfTheDestinationEqualsTheCropOfTheWhole) {
  Random random(5);
  const ksIRegion region = {-20, 11, 47, 39};
  Canvas<uint8_t> source(region, 0);
  source.paint(drawPattern(Pattern::noise, region, random));
  for (int32_t i = 0; i < 100; ++i) {
    const kip_gaussParams params = paramsOf(random.between(1, 3), random.between(0, 6), random.between(0, 6));
    const ksIRegion all = allOf(source, params);
    Canvas<uint16_t> whole(all, 0);
    whole.paint(smoothed(source, params, all));
    ksIRegion part = {all.x + random.between(0, all.width - 1), all.y + random.between(0, all.height - 1), 0, 0};
    part.width = random.between(1, all.x + all.width - part.x);
    part.height = random.between(1, all.y + all.height - part.y);
    ASSERT_EQ(smoothed(source, params, part), whole.crop(part)) << part;
  }
}

}  // namespace
