// SPDX-License-Identifier: Apache-2.0
// The exported window geometry against counting pixel by pixel.
#include "geometry/windows.hpp"

#include <gtest/gtest.h>

#include "oracle/gauss_case.hpp"
#include "support/host_images.hpp"
#include "support/host_seams.hpp"

namespace {

using namespace kiptest;

ksIRegion regionOf(const kstd_rect32& rect) {
  return {rect.x, rect.y, rect.width, rect.height};
}

kip_gaussParams paramsOf(const ksGaussParams& legacy) {
  return {legacy.xSample, legacy.ySample, legacy.xSigma, legacy.ySigma, 1.0, 0, {0, 0, 0.0}};
}

struct Rects {
  kstd_rect32 src, dst, mirror, padding, needed;
  ksys_status status;

  Rects(const ksIRegion& source, const ksIRegion& requested, const kip_gaussParams& params) {
    const kstd_rect32 from = rectOf(source), to = rectOf(requested);
    status = gauss_setup(&from, &to, &params, &src, &dst, &mirror, &padding, &needed);
  }
};

// One axis: where the taps of the destination pixels lie against the source.
struct Reach {
  int32_t first, last, before = 0, after = 0, mirroredBefore = 0, mirroredAfter = 0, start = 0, size = 0;

  Reach(int32_t sample, int32_t sigma, int32_t dst, int32_t count, int32_t origin, int32_t length) {
    const auto tap = [=](int32_t u) {
      return u * sample + sample / 2 + (sample & (sigma + 1) & 1) - 1 - 3 * sigma / 2;
    };
    first = tap(dst);
    last = tap(dst + count - 1) + 3 * sigma;
    for (int32_t position = first; position <= last; ++position) {
      before += position < origin;
      mirroredBefore += position < origin && position >= origin - length;
      after += position >= origin + length;
      mirroredAfter += position >= origin + length && position < origin + 2 * length;
      if (position < origin || position >= origin + length) continue;
      if (size++ == 0) start = position;
    }
  }
};

TEST(Geometry, SetupCountsPixels) {
  for (int32_t i = 0; i < 3000 && !HasFailure(); ++i) {
    const GaussCase drawn = drawGaussCase(11, i, true);
    const kip_gaussParams params = paramsOf(drawn.params);
    const Rects rects(drawn.source.region, drawn.destination, params);
    const ksIRegion& source = drawn.source.region;
    const ksIRegion& dst = drawn.computed;
    ASSERT_EQ(rects.status, 0);
    EXPECT_EQ(regionOf(rects.dst), dst) << drawn.describe();
    if (dst.width == 0) {
      for (const kstd_rect32& rect : {rects.src, rects.mirror, rects.padding, rects.needed}) {
        EXPECT_EQ(regionOf(rect), ksIRegionNull) << drawn.describe();
      }
      continue;
    }
    const Reach x(params.xSample, params.xSigma, dst.x, dst.width, source.x, source.width);
    const Reach y(params.ySample, params.ySigma, dst.y, dst.height, source.y, source.height);
    EXPECT_EQ(regionOf(rects.needed), (ksIRegion{x.first, y.first, x.last - x.first + 1, y.last - y.first + 1}));
    EXPECT_EQ(regionOf(rects.src), (ksIRegion{x.start, y.start, x.size, y.size})) << drawn.describe();
    EXPECT_EQ(regionOf(rects.padding),
              (ksIRegion{-x.before, -y.before, x.before + x.after + 1, y.before + y.after + 1}));
    EXPECT_EQ(regionOf(rects.mirror),
              (ksIRegion{-x.mirroredBefore, -y.mirroredBefore, x.mirroredBefore + x.mirroredAfter + 1,
                         y.mirroredBefore + y.mirroredAfter + 1}));
    // bands: each takes the rows that its own taps touch, of the source and of the planes
    const int32_t rows = 1 + i % 7;
    for (int32_t start = 0; start < dst.height; start += rows) {
      const int32_t height = std::min(rows, dst.height - start);
      const kstd_rect32 band = {dst.x, dst.y + start, dst.width, height};
      kstd_rect32 src, plane;
      ASSERT_EQ(gauss_computeSrcRectsFromDstRect(&params, &rects.src, &rects.padding, &band, start * params.ySample,
                                                 &src, &plane),
                0);
      const Reach r(params.ySample, params.ySigma, band.y, height, source.y, source.height);
      EXPECT_EQ(regionOf(plane), (ksIRegion{rects.src.x, r.first, rects.src.width, r.last - r.first + 1}));
      EXPECT_EQ(src.y, rects.src.y + start * params.ySample);
      EXPECT_GT(src.height, (height - 1) * params.ySample) << drawn.describe();  // every sample lies in it
      EXPECT_EQ(src.height, plane.height - (rects.padding.height - 1));
      EXPECT_LE(src.y + src.height, rects.src.y + rects.src.height);
    }
  }
}

TEST(Geometry, CoordinatesBeyond32Bits) {
  const kip_gaussParams params = {1, 1, 2, 2, 1.0, 0, {0, 0, 0.0}};
  const ksIRegion far = {INT32_MAX - 4, 0, 4, 4};
  EXPECT_EQ(Rects(far, far, params).status, KIP_STATUS_BAD_SIGMA);
  const ksIRegion missed = {INT32_MIN, 0, 4, 4};
  EXPECT_EQ(Rects(far, missed, params).status, 0);
  // nothing can be computed from this source, but the kernel's size counts first, for everyone
  const Canvas<uint8_t> canvas({4, 3, 1, 1}, 7);
  Image image(canvas), unbound;
  const kimg_windowConst from = sourceWindowOn(canvas);
  const kimg_window to = windowOn(canvas);
  const ksIRegion one = canvas.region();
  for (const auto& [xSigma, ySigma, expected] :
       {std::tuple{1, 1, 0}, {715827883, 1, KIP_STATUS_BAD_SIGMA}, {1, 715827883, KIP_STATUS_BAD_SIGMA}}) {
    const kip_gaussParams sampled = {9, 9, xSigma, ySigma, 1.0, 0, {0, 0, 0.0}};
    kstd_rect32 all = {0, 0, 1, 1};
    EXPECT_EQ(Rects(one, one, sampled).status, expected);
    EXPECT_EQ(kip::gauss_computeDstRect(rectOf(one), sampled, all), expected);
    EXPECT_EQ(kip_gauss_smooth8_8(image.get(), unbound.get(), &sampled), expected);
    EXPECT_EQ(kip_gauss_smoothWindow8_16(&from, &to, &sampled), expected);
    EXPECT_EQ(all.width, expected == 0 ? 0 : 1);
  }
  const kip_gaussParams wide = {5, 1, 2, 2, 1.0, 0, {0, 0, 0.0}};
  EXPECT_EQ(regionOf(Rects({0, 0, 9, 9}, {INT32_MIN, 0, INT32_MAX, 9}, wide).dst), ksIRegionNull);
  for (const kip_gaussParams& bad :
       {kip_gaussParams{0, 1, 1, 1, 1.0, 0, {}}, kip_gaussParams{1, 1, 1, -1, 1.0, 0, {}}}) {
    EXPECT_TRUE(failsCheck([&] { Rects({0, 0, 9, 9}, {0, 0, 9, 9}, bad); }));
  }
}

TEST(Geometry, BandCount) {
  const auto count = [](int32_t ySigma, int32_t ySample, kstd_rect32 source, int32_t padding, int32_t height,
                        int32_t maximum) {
    const kip_gaussParams params = {1, ySample, 1, ySigma, 1.0, 0, {}};
    return kip::gauss_computeBandCount(params, source, {0, 0, 1, padding + 1}, {0, 0, 1, height}, maximum);
  };
  EXPECT_EQ(count(0, 1, {0, 0, 1310, 100}, 0, 100, 4), 4);
  EXPECT_EQ(count(0, 1, {0, 0, 1310, 100}, 0, 100, 9), 8);       // by area
  EXPECT_EQ(count(0, 1, {0, 0, 128, 128}, 0, 128, 9), 1);        // one area's worth
  EXPECT_EQ(count(0, 1, {0, 0, 9999, 59}, 0, 59, 9), 5);         // 10 rows each
  EXPECT_EQ(count(2, 1, {0, 0, 9999, 250}, 6, 250, 99), 10);     // 30 - 7 + 2 = 25 rows each
  EXPECT_EQ(count(2, 2, {0, 0, 9999, 500}, 6, 250, 99), 19);     // 23 / 2 + 2 = 13 rows each
  EXPECT_LT(count(0, 1, {0, 0, 50000, 50000}, 0, 50000, 9), 2);  // the area wraps around
  EXPECT_EQ(count(0, 1, {0, 0, 65536, 65536}, 0, 65536, 9), 0);
}

// Each of the four numbers counts; what refers to no pixels matches anything.
TEST(Geometry, WindowsMatch) {
  const Canvas<uint8_t> canvas({1, 2, 8, 6}, 0);
  const kimg_windowConst window = sourceWindowOn(canvas), none = {};
  Image image(canvas), other(canvas), unbound;
  int32_t match = 7, bound = 7;
  EXPECT_EQ(gauss_checkWindowMatch(&window, &none, &match, &bound), 0);
  EXPECT_EQ(std::pair(match, bound), std::pair(1, 0));
  EXPECT_EQ(gauss_checkImageWindowMatch(image.get(), unbound.get(), &match, &bound), 0);
  EXPECT_EQ(std::pair(match, bound), std::pair(1, 0));
  for (int32_t* const field :
       {&unbound.get()->x, &other.get()->x, &other.get()->y, &other.get()->width, &other.get()->height}) {
    *field -= 1;
    kimg_windowConst changed;
    ASSERT_EQ(kimg_windowConst_init(&changed, other.get()), 0);
    const int32_t same = field == &unbound.get()->x;  // one that changes nothing here
    EXPECT_EQ(gauss_checkWindowMatch(&window, &changed, &match, &bound), 0);
    EXPECT_EQ(std::pair(match, bound), std::pair(same, 1));
    EXPECT_EQ(gauss_checkImageWindowMatch(image.get(), other.get(), &match, &bound), 0);
    EXPECT_EQ(std::pair(match, bound), std::pair(same, 1));
    *field += 1;
  }
}

TEST(Geometry, CopiesSamples) {
  const Canvas<uint8_t> src({5, 5, 10, 8}, 0), dst({-1, -1, 5, 3}, 0x77);
  for (int32_t i = 0; i < 80; ++i) src.at(5 + i % 10, 5 + i / 10) = static_cast<uint8_t>(i);
  const kimg_windowConst from = sourceWindowOn(src);
  const kimg_window to = windowOn(dst);
  int32_t offset[2] = {7, 7};
  gauss_computeSampleStartOffset(nullptr, offset);
  EXPECT_EQ(std::pair(offset[0], offset[1]), std::pair(0, 0));
  offset[0] = 1;
  const int32_t sample[2] = {2, 3};
  EXPECT_EQ(gauss_pelCopySampledWindow8(&from, sample, offset, &to), 0);
  EXPECT_EQ(dst.crop(dst.region()), (std::vector<uint8_t>{1, 3, 5, 7, 9, 31, 33, 35, 37, 39, 61, 63, 65, 67, 69}));
  EXPECT_TRUE(dst.intactOutside(dst.region()));
  for (const auto& [x, y] : {std::pair(2, 0), std::pair(1, 2), std::pair(-1, 0)}) {
    const int32_t outside[2] = {x, y};
    EXPECT_TRUE(failsCheck([&] { (void)gauss_pelCopySampledWindow8(&from, sample, outside, &to); }));
  }
}

// Kernel centres and destination pixels share their client point, through linear and other transforms.
TEST(Geometry, Transforms) {
  const Canvas<uint8_t> pixels({0, 0, 4, 4}, 0);
  const auto square = [](void*, const double in[2], double out[2]) {
    const double x = in[0];
    out[0] = x * x;
    out[1] = in[1];
  };
  for (const int32_t sample : {1, 2, 3}) {
    for (const int32_t sigma : {0, 1, 4}) {
      for (const bool linear : {true, false}) {
        const kip_gaussParams params = {sample, 1, sigma, sigma, 1.0, 0, {}};
        Image src(pixels), first, second;
        src.setLinear({0.25, 3.0, 1.5, 0.5, -1.0, 2.0});
        if (!linear) {
          kmath_xformPtrhConst handle;
          ASSERT_EQ(kmath_xformPtrhConst_constructFunction(&handle, square, square, nullptr, nullptr), 0);
          ASSERT_EQ(kimg_image_setImageFromClientXform(src.get(), &handle), 0);
          kmath_xformPtrhConst_destruct(&handle);
        }
        ASSERT_EQ(gauss_udpateDstXform(src.get(), &params, first.get(), nullptr), 0);
        ASSERT_EQ(gauss_udpateDstXform(src.get(), &params, first.get(), second.get()), 0);
        const auto [x, y] = src.map(5.0, 7.0);
        const double shiftX = (sample ^ (sigma + 1)) & 1 ? 0.5 : 0.0, shiftY = sigma % 2 == 1 ? 0.5 : 0.0;
        for (const Image* image : {&first, &second}) {
          const auto [u, v] = image->map(5.0, 7.0);
          EXPECT_DOUBLE_EQ(u, (x + shiftX) / sample);
          EXPECT_DOUBLE_EQ(v, y + shiftY);
        }
      }
    }
  }
}

}  // namespace
