// SPDX-License-Identifier: Apache-2.0
// The image and window functions: pixels against the oracle, then statuses, destinations and transforms.
#include <gtest/gtest.h>

#include <limits>

#include "oracle/gauss_case.hpp"
#include "support/host_images.hpp"
#include "support/host_seams.hpp"

namespace {

using namespace kiptest;

kip_gaussParams defaults() {
  kip_gaussParams params;
  EXPECT_EQ(kip_gaussParams_init(&params), 0);
  return params;
}

template <typename Pixel>
class Smoothing : public testing::Test {
 protected:
  static ksys_status smooth(Image& source, Image& destination, const kip_gaussParams& params) {
    return Typed<Pixel>::smoothImage(source.get(), destination.get(), &params);
  }
  const ProcessorOverride portable_{0, 0};
  const Canvas<uint8_t> nine_{{0, 0, 9, 9}, 50};
};
using Pixels = testing::Types<uint8_t, uint16_t>;
TYPED_TEST_SUITE(Smoothing, Pixels);

TYPED_TEST(Smoothing, EqualsTheOracle) {
  using Pixel = TypeParam;
  for (int32_t index = 0; index < 2000; ++index) {
    const GaussCase test = drawGaussCase(2, index, true);
    const ksIRegion& region = test.source.region;
    SCOPED_TRACE(std::to_string(index) + ' ' + test.describe());
    kip_gaussParams params = {
        test.params.xSample, test.params.ySample, test.params.xSigma, test.params.ySigma, 1.0, 0, {}};
    params.scale = double{test.params.scale};
    params.roundResult = test.params.roundResult;
    // a window ends where it does, although its image goes on
    const Canvas<uint8_t> larger({region.x - 2, region.y - 1, region.width + 3, region.height + 5}, 0xA7);
    auto from = test.source.pixels.begin();
    for (int32_t y = 0; y < region.height; ++y, from += region.width) {
      std::copy_n(from, region.width, &larger.at(region.x, region.y + y));
    }
    const Canvas<Pixel> first(test.destination, 0), second(test.destination, static_cast<Pixel>(0xFFFF));
    const kstd_rect32 rect = rectOf(region);
    kimg_windowConst part = sourceWindowOn(larger);
    ASSERT_EQ(kimg_windowConst_windowRect(&part, &rect, nullptr), 0);
    const kimg_window to = windowOn(first);
    ASSERT_EQ(Typed<Pixel>::smoothWindow(&part, &to, &params), 0);
    Canvas<uint8_t> canvas(region, 0xC3, Placement::atStart);
    canvas.paint(test.source.pixels);
    Image source(canvas), destination(second), all;
    ASSERT_EQ(this->smooth(source, destination, params), 0);
    const auto expected = oracle::smooth<Pixel>(test.source, test.params, test.computed);
    for (const Canvas<Pixel>* const result : {&first, &second}) {
      ASSERT_EQ(difference(result->crop(test.computed), expected, test.computed.width), "");
      ASSERT_TRUE(result->intactOutside(test.computed));
    }
    ASSERT_TRUE(canvas.intactOutside(region));
    // an unbound destination receives all that the source supplies
    ASSERT_EQ(this->smooth(source, all, params), 0);
    ASSERT_EQ(all.region(), oracle::destinationOf(region, test.params));
    ASSERT_EQ(difference(all.template pixels<Pixel>(), oracle::smooth<Pixel>(test.source, test.params, all.region()),
                         all.region().width),
              "");
  }
}

// Everything is wrong at first and put right step by step; until the end nothing is written.
TYPED_TEST(Smoothing, ReportTheFirstFault) {
  using Call = Typed<TypeParam>;
  const Canvas<TypeParam> canvas({0, 0, 12, 12}, 7);
  Image unbound, source(this->nine_), destination(canvas), empty;
  const kimg_windowConst goodFrom = sourceWindowOn(this->nine_);
  const kimg_window goodTo = windowOn(canvas);
  kimg_windowConst from = {};
  kimg_window to = {};
  kip_gaussParams params = defaults();
  const auto expectBoth = [&](ksys_status status) {
    EXPECT_EQ(this->smooth(unbound, destination, params), status);
    EXPECT_EQ(Call::smoothWindow(&from, &to, &params), status);
  };
  params.xSample = 0;
  expectBoth(KIP_STATUS_BAD_SAMPLE);
  params.xSample = 1;
  // valid as a double, but not as a float
  for (const double scale : {1e-46, 7e-46, 3.5e38, std::numeric_limits<double>::infinity()}) {
    params.scale = scale;
    expectBoth(KIP_STATUS_BAD_SCALE);
  }
  params.scale = 1;
  params.ySigma = 715827883;
  expectBoth(KIP_STATUS_NOT_BOUND);
  // each of these alone is refused
  for (int32_t* const field : {&from.bound, &from.width, &from.height, &to.bound, &to.width, &to.height}) {
    for (const int32_t value : {0, -1}) {
      from = goodFrom;
      to = goodTo;
      if (value == -1 && (field == &from.bound || field == &to.bound)) continue;
      *field = value;
      EXPECT_EQ(Call::smoothWindow(&from, &to, &params), KIP_STATUS_NOT_BOUND);
    }
  }
  EXPECT_EQ(this->smooth(source, destination, params), KIP_STATUS_BAD_SIGMA);
  EXPECT_EQ(this->smooth(source, empty, params), KIP_STATUS_BAD_SIGMA);
  EXPECT_EQ(Call::smoothWindow(&goodFrom, &goodTo, &params), KIP_STATUS_BAD_SIGMA);
  EXPECT_TRUE(canvas.intactOutside({}) && empty.get()->bound == 0);
  params.ySigma = 1;
  EXPECT_TRUE(failsCheck([&] { Call::smoothImage(nullptr, destination.get(), &params); }));
  EXPECT_TRUE(failsCheck([&] { Call::smoothImage(source.get(), nullptr, &params); }));
  EXPECT_TRUE(failsCheck([&] { Call::smoothImage(source.get(), destination.get(), nullptr); }));
  EXPECT_TRUE(failsCheck([&] { Call::smoothWindow(nullptr, &goodTo, &params); }));
  EXPECT_TRUE(failsCheck([&] { Call::smoothWindow(&goodFrom, nullptr, &params); }));
  EXPECT_TRUE(failsCheck([&] { Call::smoothWindow(&goodFrom, &goodTo, nullptr); }));
}

TYPED_TEST(Smoothing, BindsAnUnboundDestinationAndKeepsItOnALaterFailure) {
  const DirtyHeap heap(0x5A);
  const Canvas<uint8_t> canvas({0, 0, 640, 480}, 50);
  Image source(canvas), destination;
  kip_gaussParams params = defaults();
  params.xSample = params.ySample = 2;
  {
    const AttentionProbe probe(4);
    EXPECT_EQ(this->smooth(source, destination, params), probe.failure());
  }
  EXPECT_EQ(destination.region(), (ksIRegion{0, 0, 320, 240}));
  const void* const memory = destination.get()->pixels;
  EXPECT_EQ(destination.map(8, 6), std::make_pair(8.0, 6.0));  // not updated by the failure
  const std::vector<TypeParam> stopped = destination.template pixels<TypeParam>();
  EXPECT_EQ(this->smooth(source, destination, params), 0);
  EXPECT_EQ(destination.get()->pixels, memory);
  // the rows before the failure are done, the others 0
  std::vector<TypeParam> expected = destination.template pixels<TypeParam>();
  const auto rows = std::find(stopped.begin(), stopped.end(), TypeParam{0}) - stopped.begin();
  EXPECT_EQ(rows % 320, 0);
  EXPECT_TRUE(0 < rows && rows < 320 * 240) << rows;
  std::fill(expected.begin() + rows, expected.end(), TypeParam{0});
  EXPECT_EQ(stopped, expected);
  EXPECT_EQ(destination.map(8, 6), std::make_pair(4.0, 3.0));
}

TYPED_TEST(Smoothing, NothingToCompute) {
  const Canvas<uint8_t> one({4, 3, 1, 1}, 50), none({0, 0, 0, 0}, 50);
  const Canvas<TypeParam> beside({50, 0, 9, 9}, 7);
  Image single(one), withoutPixels(none), source(this->nine_), unbound, destination(beside);
  unbound.setLinear({1, 2, 3, 0, 0, 4});
  kip_gaussParams params = defaults();
  EXPECT_EQ(this->smooth(withoutPixels, unbound, params), 0);
  params.xSample = 9;  // d(u) = 9 u + 3
  EXPECT_EQ(this->smooth(single, unbound, params), 0);
  EXPECT_EQ(unbound.get()->bound, 0);
  EXPECT_EQ(unbound.map(1, 1), std::make_pair(4.0, 6.0));
  // a destination out of reach receives the transform
  source.setLinear({2, 4, 1, 0, 0, 1});
  params.xSample = params.ySample = 2;
  EXPECT_EQ(this->smooth(source, destination, params), 0);
  EXPECT_EQ(destination.map(10, 20), std::make_pair(6.0, 12.0));
  const kimg_windowConst from = sourceWindowOn(one);
  const kimg_window to = windowOn(beside);
  EXPECT_EQ(Typed<TypeParam>::smoothWindow(&from, &to, &params), 0);
  EXPECT_TRUE(beside.intactOutside({}));
}

// A pixel's client point is that of its kernel's centre: in single precision for a linear source, else composed.
TYPED_TEST(Smoothing, Transforms) {
  Image source(this->nine_), destination, other;
  source.setLinear({0.1, -3, 1.5, 0.25, -0.5, 2});
  kip_gaussParams params = defaults();
  params.xSample = 3;
  params.ySigma = 2;
  EXPECT_EQ(this->smooth(source, destination, params), 0);
  kmath_xformLinear linear;
  const double origin[2] = {0, 0};
  ASSERT_EQ(kmath_xformPtrhConst_getLinear(&destination.get()->imageFromClient, origin, &linear), 0);
  const float third = 1.0f / 3.0f;  // x: sample 3 with boxes of 2, half a source pixel off
  EXPECT_EQ(linear.tx, static_cast<float>(double{third} * double{0.1f} + double{0.5f * third}));
  EXPECT_EQ(std::pair(linear.m00, linear.m01), std::pair(double{third * 1.5f}, double{third * 0.25f}));
  EXPECT_TRUE(linear.ty == -3.0 && linear.m10 == -0.5 && linear.m11 == 2.0);

  int releases = 0;
  kmath_xformPtrhConst bent;  // image = (client x + client y^2, client y)
  const auto bend = [](void*, const double in[2], double out[2]) { out[0] = in[0] + in[1] * in[1], out[1] = in[1]; };
  const auto unbend = [](void*, const double in[2], double out[2]) { out[0] = in[0] - in[1] * in[1], out[1] = in[1]; };
  const auto release = [](void* count) { ++*static_cast<int*>(count); };
  ASSERT_EQ(kmath_xformPtrhConst_constructFunction(&bent, bend, unbend, &releases, release), 0);
  {
    Image bentSource(this->nine_);
    ASSERT_EQ(kimg_image_setImageFromClientXform(bentSource.get(), &bent), 0);
    kmath_xformPtrhConst_destruct(&bent);
    params = {2, 4, 1, 2, 1.0, 0, {}};
    EXPECT_EQ(this->smooth(bentSource, destination, params), 0);
    EXPECT_EQ(destination.map(6, 3), std::make_pair((6 + 9) / 2.0, (3 + 0.5) / 4.0));
    EXPECT_EQ(bentSource.map(6, 3), std::make_pair(15.0, 3.0));
    EXPECT_EQ(this->smooth(source, destination, params), 0);
  }
  EXPECT_EQ(releases, 1);
}

TEST(Overlap, PixelsSharedWithTheDestinationAreRefused) {
  const Canvas<uint8_t> canvas({0, 0, 20, 9}, 50);
  const kip_gaussParams params = defaults();
  kimg_windowConst source = sourceWindowOn(canvas);
  kimg_window destination = windowOn(canvas);
  const kstd_rect32 left = {0, 0, 10, 9}, middle = {9, 8, 10, 1}, right = {10, 0, 10, 9};
  EXPECT_EQ(kip_gauss_smoothWindow8_8(&source, &destination, &params), KSYS_STATUS_MEMORY_OVERLAP);
  ASSERT_EQ(kimg_windowConst_windowRect(&source, &left, nullptr), 0);
  ASSERT_EQ(kimg_window_windowRect(&destination, &middle, nullptr), 0);
  EXPECT_EQ(kip_gauss_smoothWindow8_8(&source, &destination, &params), KSYS_STATUS_MEMORY_OVERLAP);
  Image image(canvas);
  EXPECT_EQ(kip_gauss_smooth8_8(image.get(), image.get(), &params), KSYS_STATUS_MEMORY_OVERLAP);
  EXPECT_TRUE(canvas.intactOutside({}));
  ASSERT_EQ(kimg_window_windowRect(&destination, &right, nullptr), 0);
  EXPECT_EQ(kip_gauss_smoothWindow8_8(&source, &destination, &params), 0);  // side by side
}

// What holds without knowing a single value: a flat area stays flat, the response to a lone pixel is the same forward
// and backward and fades from its centre, and the pixels of the whole are those of a part.
TEST(Property, ResponseIsSymmetricAndOneWithItsParts) {
  for (const auto& [xSigma, ySigma] : {std::pair{0, 0}, {1, 2}, {4, 3}, {6, 6}}) {
    Canvas<uint8_t> flat({-3, 4, 60, 60}, 51), lone({0, 0, 60, 60}, 0);
    lone.at(30, 30) = 255;
    kip_gaussParams params = {1, 1, xSigma, ySigma, 200.0, 1, {}};
    const auto smoothed = [&params](const Canvas<uint8_t>& source, const ksIRegion& region) {
      const Canvas<uint16_t> destination(region, 0xABCD);
      const kimg_windowConst from = sourceWindowOn(source);
      const kimg_window to = windowOn(destination);
      EXPECT_EQ(kip_gauss_smoothWindow8_16(&from, &to, &params), 0);
      return destination.crop(region);
    };
    EXPECT_EQ(smoothed(flat, {3, 9, 20, 30}), std::vector<uint16_t>(600, 200 * 51));
    const ksIRegion around = {30 - (3 * xSigma + 1) / 2 + (xSigma & 1), 30 - (3 * ySigma + 1) / 2 + (ySigma & 1),
                              3 * xSigma + 1, 3 * ySigma + 1};
    const std::vector<uint16_t> response = smoothed(lone, around);
    EXPECT_TRUE(std::equal(response.begin(), response.end(), response.rbegin()));
    const auto middle = response.begin() + around.height / 2 * around.width;
    EXPECT_TRUE(std::is_sorted(middle, middle + around.width / 2 + 1));
    EXPECT_GT(response[response.size() / 2], 0);
    EXPECT_EQ(smoothed(lone, {around.x, around.y + around.height / 2, around.width, 1}),
              std::vector<uint16_t>(middle, middle + around.width));
  }
}

}  // namespace
