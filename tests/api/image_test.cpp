// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

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
class ImageSmoothing : public testing::Test {
 protected:
  static ksys_status smooth(Image& source, Image& destination, const kip_gaussParams& params) {
    return Typed<Pixel>::smoothImage(source.get(), destination.get(), &params);
  }
  const ProcessorOverride portable_{0, 0};
};
using Pixels = testing::Types<uint8_t, uint16_t>;
TYPED_TEST_SUITE(ImageSmoothing, Pixels);

// Everything is wrong at first and put right step by step; until the end nothing is written.
TYPED_TEST(ImageSmoothing, ReportsTheFirstFault) {
  const Canvas<uint8_t> sourceCanvas({0, 0, 9, 9}, 50);
  const Canvas<TypeParam> canvas({0, 0, 12, 12}, 7);
  Image unbound, source(sourceCanvas), destination(canvas);
  kip_gaussParams params = defaults();
  params.xSample = 0;
  EXPECT_EQ(this->smooth(unbound, destination, params), KIP_STATUS_BAD_SAMPLE);
  params.xSample = 1;
  // valid as a double, but not as a float
  for (const double scale : {1e-46, 7e-46, 3.5e38, std::numeric_limits<double>::infinity()}) {
    params.scale = scale;
    EXPECT_EQ(this->smooth(unbound, destination, params), KIP_STATUS_BAD_SCALE) << scale;
  }
  params.scale = 1;
  params.ySigma = 715827883;
  EXPECT_EQ(this->smooth(unbound, destination, params), KIP_STATUS_NOT_BOUND);
  EXPECT_EQ(this->smooth(source, destination, params), KIP_STATUS_BAD_SIGMA);
  EXPECT_TRUE(canvas.intactOutside({}));
  Image empty;
  EXPECT_EQ(this->smooth(source, empty, params), KIP_STATUS_BAD_SIGMA);
  EXPECT_EQ(empty.get()->bound, 0);
  params.ySigma = 1;
  EXPECT_EQ(this->smooth(source, destination, params), 0);
  EXPECT_TRUE(canvas.intactOutside({1, 1, 9, 9}));
  EXPECT_FALSE(canvas.intactOutside({}));
  EXPECT_TRUE(failsCheck([&] { Typed<TypeParam>::smoothImage(nullptr, destination.get(), &params); }));
  EXPECT_TRUE(failsCheck([&] { Typed<TypeParam>::smoothImage(source.get(), nullptr, &params); }));
  EXPECT_TRUE(failsCheck([&] { Typed<TypeParam>::smoothImage(source.get(), destination.get(), nullptr); }));
}

TYPED_TEST(ImageSmoothing, BindsAnUnboundDestinationAndKeepsItOnALaterFailure) {
  const Canvas<uint8_t> canvas({0, 0, 640, 480}, 50);
  Image source(canvas), destination;
  kip_gaussParams params = defaults();
  params.xSample = params.ySample = 2;
  {
    const AttentionProbe probe(2);
    EXPECT_EQ(this->smooth(source, destination, params), probe.failure());
  }
  EXPECT_EQ(destination.region(), (ksIRegion{0, 0, 320, 240}));
  const void* const pixels = destination.get()->pixels;
  EXPECT_EQ(destination.map(8, 6), std::make_pair(8.0, 6.0));  // not updated by the failure
  EXPECT_EQ(this->smooth(source, destination, params), 0);
  EXPECT_EQ(destination.get()->pixels, pixels);
  EXPECT_EQ(destination.map(8, 6), std::make_pair(4.0, 3.0));
}

TYPED_TEST(ImageSmoothing, NothingToComputeLeavesTheDestinationAlone) {
  const Canvas<uint8_t> canvas({4, 3, 1, 1}, 50);
  Image source(canvas), unbound;
  unbound.setLinear({1, 2, 3, 0, 0, 4});
  kip_gaussParams params = defaults();
  params.xSample = 9;  // d(u) = 9 u + 3
  EXPECT_EQ(this->smooth(source, unbound, params), 0);
  EXPECT_EQ(unbound.get()->bound, 0);
  EXPECT_EQ(unbound.map(1, 1), std::make_pair(4.0, 6.0));

  const Canvas<uint8_t> none({0, 0, 0, 0}, 50);
  Image withoutPixels(none);
  EXPECT_EQ(this->smooth(withoutPixels, unbound, defaults()), 0);
  EXPECT_EQ(unbound.get()->bound, 0);
}

TYPED_TEST(ImageSmoothing, ADestinationOutOfReachReceivesTheTransformOnly) {
  const Canvas<uint8_t> sourceCanvas({0, 0, 9, 9}, 50);
  const Canvas<TypeParam> canvas({50, 0, 9, 9}, 7);
  Image source(sourceCanvas), destination(canvas);
  source.setLinear({2, 4, 1, 0, 0, 1});
  kip_gaussParams params = defaults();
  params.xSample = params.ySample = 2;
  EXPECT_EQ(this->smooth(source, destination, params), 0);
  EXPECT_TRUE(canvas.intactOutside({}));
  EXPECT_EQ(destination.map(10, 20), std::make_pair(6.0, 12.0));
}

// A pixel's client point is that of its kernel's centre, in single precision for a linear source.
TYPED_TEST(ImageSmoothing, TransformOfALinearSource) {
  const Canvas<uint8_t> canvas({0, 0, 30, 30}, 50);
  Image source(canvas), destination;
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
  EXPECT_EQ(linear.m00, double{third * 1.5f});
  EXPECT_EQ(linear.m01, double{third * 0.25f});
  EXPECT_EQ(linear.ty, -3.0);
  EXPECT_EQ(linear.m10, -0.5);
  EXPECT_EQ(linear.m11, 2.0);
}

struct Bend {
  int released = 0;
};

// image = (client x + client y^2, client y) and back.
kmath_xformPtrhConst bentTransform(Bend& bend) {
  kmath_xformPtrhConst handle;
  const auto map = [](void*, const double in[2], double out[2]) {
    const double y = in[1];
    out[0] = in[0] + y * y;
    out[1] = y;
  };
  const auto unmap = [](void*, const double in[2], double out[2]) {
    const double y = in[1];
    out[0] = in[0] - y * y;
    out[1] = y;
  };
  const auto release = [](void* context) { ++static_cast<Bend*>(context)->released; };
  require(kmath_xformPtrhConst_constructFunction(&handle, map, unmap, &bend, release) == 0, "bent transform");
  return handle;
}

TYPED_TEST(ImageSmoothing, TransformOfANonLinearSourceIsComposed) {
  Bend bend;
  {
    const Canvas<uint8_t> canvas({0, 0, 30, 30}, 50);
    Image source(canvas), destination;
    kmath_xformPtrhConst handle = bentTransform(bend);
    ASSERT_EQ(kimg_image_setImageFromClientXform(source.get(), &handle), 0);
    kmath_xformPtrhConst_destruct(&handle);
    kip_gaussParams params = defaults();
    params.xSample = 2;
    params.ySample = 4;
    params.ySigma = 2;
    EXPECT_EQ(this->smooth(source, destination, params), 0);
    EXPECT_EQ(destination.map(6, 3), std::make_pair((6 + 9) / 2.0, (3 + 0.5) / 4.0));
    EXPECT_EQ(source.map(6, 3), std::make_pair(15.0, 3.0));
  }
  EXPECT_EQ(bend.released, 1);
}

TEST(ImageOverlap, PixelsSharedWithTheDestinationAreRefused) {
  const Canvas<uint8_t> canvas({0, 0, 20, 9}, 50);
  Image source(canvas);
  const kip_gaussParams params = defaults();
  EXPECT_EQ(kip_gauss_smooth8_8(source.get(), source.get(), &params), KSYS_STATUS_MEMORY_OVERLAP);
  const auto part = [&canvas](int32_t x, kimg_image& image) {
    const kstd_rect32 rect = {x, 0, 10, 9};
    require(kimg_image8_constructFromMemory(&image, &rect, canvas.pixels() + x, canvas.stride()) == 0, "part");
  };
  kimg_image left, middle, right;
  part(0, left);
  part(9, middle);
  part(10, right);
  EXPECT_EQ(kip_gauss_smooth8_8(&left, &middle, &params), KSYS_STATUS_MEMORY_OVERLAP);
  EXPECT_TRUE(canvas.intactOutside({}));
  EXPECT_EQ(kip_gauss_smooth8_8(&left, &right, &params), 0);  // side by side
  for (kimg_image* const image : {&left, &middle, &right}) kimg_image_destruct(image);
}

}  // namespace
