// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "oracle/gauss_oracle.hpp"
#include "support/host_images.hpp"
#include "support/host_seams.hpp"
#include "support/pictures.hpp"

namespace {

using namespace kiptest;

kip_gaussParams defaults() {
  kip_gaussParams params;
  EXPECT_EQ(kip_gaussParams_init(&params), 0);
  return params;
}

template <typename Pixel>
class WindowSmoothing : public testing::Test {
 protected:
  static constexpr auto call = Typed<Pixel>::smoothWindow;
  const ProcessorOverride portable_{0, 0};
};
using Pixels = testing::Types<uint8_t, uint16_t>;
TYPED_TEST_SUITE(WindowSmoothing, Pixels);

// Everything is wrong at first and put right step by step; until the end nothing is written.
TYPED_TEST(WindowSmoothing, ReportsTheFirstFault) {
  const auto smooth = TestFixture::call;
  const Canvas<uint8_t> sourceCanvas({0, 0, 9, 9}, 50);
  const Canvas<TypeParam> canvas({0, 0, 12, 12}, 7);
  const kimg_windowConst good = sourceWindowOn(sourceCanvas);
  const kimg_window goodDestination = windowOn(canvas);
  kimg_windowConst source = good;
  kimg_window destination = goodDestination;
  source.bound = source.width = source.height = destination.bound = destination.width = destination.height = 0;
  kip_gaussParams params = defaults();
  params.xSigma = -1;
  EXPECT_EQ(smooth(&source, &destination, &params), KIP_STATUS_BAD_SIGMA);
  params.xSigma = 1;
  for (const double scale : {1e-46, 3.5e38}) {
    params.scale = scale;
    EXPECT_EQ(smooth(&source, &destination, &params), KIP_STATUS_BAD_SCALE) << scale;
  }
  params.scale = 1;
  params.xSigma = INT32_MAX;
  // each of these alone is refused
  const auto refused = [&](auto change) {
    source = good;
    destination = goodDestination;
    change();
    EXPECT_EQ(smooth(&source, &destination, &params), KIP_STATUS_NOT_BOUND);
  };
  refused([&] { source.bound = 0; });
  refused([&] { destination.bound = 0; });
  refused([&] { source.width = 0; });
  refused([&] { source.height = -1; });
  refused([&] { destination.width = -1; });
  refused([&] { destination.height = 0; });
  refused([&] { source = {}; });
  EXPECT_EQ(smooth(&good, &goodDestination, &params), KIP_STATUS_BAD_SIGMA);
  EXPECT_TRUE(canvas.intactOutside({}));
  params.xSigma = 2;
  EXPECT_EQ(smooth(&good, &goodDestination, &params), 0);
  EXPECT_FALSE(canvas.intactOutside({}));
  EXPECT_TRUE(canvas.intactOutside({0, 1, 9, 9}));
  EXPECT_TRUE(failsCheck([&] { smooth(nullptr, &goodDestination, &params); }));
  EXPECT_TRUE(failsCheck([&] { smooth(&good, nullptr, &params); }));
  EXPECT_TRUE(failsCheck([&] { smooth(&good, &goodDestination, nullptr); }));
}

// The source ends at the window's border although its image goes on.
TYPED_TEST(WindowSmoothing, SeesNothingBeyondTheWindow) {
  Random random(6);
  const ksIRegion whole = {-5, -6, 40, 30};
  const ksIRegion part = {3, -1, 17, 12};
  Canvas<uint8_t> canvas(whole, 0);
  canvas.paint(drawPattern(Pattern::noise, whole, random));
  Image image(canvas);
  kimg_windowConst source;
  const kstd_rect32 rect = rectOf(part);
  ASSERT_EQ(kimg_windowConst_init(&source, image.get()), 0);
  ASSERT_EQ(kimg_windowConst_windowRect(&source, &rect, nullptr), 0);
  const Canvas<TypeParam> destination(whole, 9);
  const kimg_window to = windowOn(destination);
  kip_gaussParams params = defaults();
  params.xSigma = 4;
  EXPECT_EQ(TestFixture::call(&source, &to, &params), 0);
  const ksGaussParams legacy = oracle::legacyOf(params);
  const ksIRegion computed = oracle::destinationOf(part, legacy, &whole);
  EXPECT_EQ(destination.crop(computed), oracle::smooth<TypeParam>({part, canvas.crop(part)}, legacy, computed));
  EXPECT_TRUE(destination.intactOutside(computed));
}

TYPED_TEST(WindowSmoothing, ADestinationOutOfReachIsSuccess) {
  const Canvas<uint8_t> sourceCanvas({0, 0, 1, 9}, 50);
  const Canvas<TypeParam> canvas({40, 0, 5, 5}, 7);
  const kimg_windowConst source = sourceWindowOn(sourceCanvas);
  const kimg_window destination = windowOn(canvas);
  kip_gaussParams params = defaults();
  for (const int32_t xSample : {1, 9}) {
    params.xSample = xSample;
    EXPECT_EQ(TestFixture::call(&source, &destination, &params), 0);
  }
  EXPECT_TRUE(canvas.intactOutside({}));
}

TEST(WindowOverlap, PixelsSharedWithTheDestinationAreRefused) {
  const Canvas<uint8_t> canvas({0, 0, 20, 9}, 50);
  const kip_gaussParams params = defaults();
  const kimg_windowConst source = sourceWindowOn(canvas);
  kimg_window destination = windowOn(canvas);
  EXPECT_EQ(kip_gauss_smoothWindow8_8(&source, &destination, &params), KSYS_STATUS_MEMORY_OVERLAP);
  const kstd_rect32 corner = {19, 8, 1, 1};
  ASSERT_EQ(kimg_window_windowRect(&destination, &corner, nullptr), 0);
  EXPECT_EQ(kip_gauss_smoothWindow8_8(&source, &destination, &params), KSYS_STATUS_MEMORY_OVERLAP);
  EXPECT_TRUE(canvas.intactOutside({}));
}

}  // namespace
