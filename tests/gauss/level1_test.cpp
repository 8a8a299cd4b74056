// SPDX-License-Identifier: Apache-2.0
// Values and requests at the limits of the first level's fixed-point arithmetic; tests/kernelcheck does the rest.
#include <gtest/gtest.h>

#include <cmath>

#include "support/host_images.hpp"
#include "support/host_seams.hpp"

using namespace kiptest;

namespace {

// A request for the whole of a flat picture, with the destination created.
struct Request {
  explicit Request(int32_t width = 40, int32_t height = 40, uint8_t level = 200)
      : pixels({-7, 5, width, height}, level), source(legacyOn(pixels)) {
    params.extendBorder = 1;
    params.xSigma = params.ySigma = 2;
  }

  template <typename Pixel = uint8_t>
  std::vector<Pixel> run() {
    const ProcessorOverride processor(kip_levels[1]);
    const AttentionProbe attention;
    params.dstTemplate = Typed<Pixel>::legacyTemplate;
    ksVImage* out = nullptr;
    EXPECT_EQ(kip_gauss(source.get(), nullptr, &params, nullptr, &out), 0);
    isServed = attention.count() == 0;  // the level polls none
    const LegacyImage result(out);
    return pixelsOf<Pixel>(out);
  }

  Canvas<uint8_t> pixels;
  LegacyImage source;
  ksGaussParams params = *ksGaussParamsNull();
  bool isServed = false;
};

}  // namespace

TEST(Level1, LargeValuesSaturateUnsampledAndWrapSampled) {
  Request request(40, 40, 255);
  request.params.xSigma = request.params.ySigma = 0;
  const auto firstPixel = [&](int32_t xSample, float scale, auto pixel) -> uint32_t {
    request.params.xSample = xSample;
    request.params.scale = scale;
    return request.run<decltype(pixel)>()[0];
  };
  EXPECT_EQ(firstPixel(1, 2.0f, uint8_t{}), 255u);
  EXPECT_EQ(firstPixel(2, 2.0f, uint8_t{}), 254u);  // 510 - 256
  EXPECT_EQ(firstPixel(1, 256.0f, uint16_t{}), 32767u);
  EXPECT_EQ(firstPixel(2, 512.0f, uint16_t{}), 65024u);  // 130560 - 65536
}

TEST(Level1, RoundsTheMultiplierAndTheDroppedBits) {
  // a sum of 2^26 - 4, where 23 bits are dropped, the first 6 of them rounded
  Request corner(88, 88, 0);
  for (int32_t y = 0; y < 26; ++y) std::fill_n(&corner.pixels.at(-7, 5 + y), 55, uint8_t{1});
  corner.params.xSigma = corner.params.ySigma = 29;
  corner.params.extendBorder = 0;
  corner.params.scale = 128.0f;
  EXPECT_EQ(corner.run<uint16_t>(), std::vector<uint16_t>{11});
  // a divisor of 2^20 + 3: the multiplier would round to 2^15; the sum without the dropped bits is 75
  Request peak(115, 103, 1);
  peak.params.peakNormalize = 1;
  peak.params.xSigma = 38;
  peak.params.ySigma = 34;
  EXPECT_EQ(peak.run<uint16_t>(), std::vector<uint16_t>{75 * 32767 >> 10});
}

TEST(Level1, ServesUpToItsLimits) {
  constexpr struct {
    int32_t width, height, xSample, ySample, xSigma, ySigma;
    float scale;
    bool served;
  } rows[] = {
      {27, 18, 3, 2, 2, 2, 1.0f, true},    {26, 18, 3, 2, 2, 2, 1.0f, false},     {27, 17, 3, 2, 2, 2, 1.0f, false},
      {40, 40, 1, 1, 0, 0, 0x1p14f, true}, {40, 40, 1, 1, 0, 0, 0x1p15f, false},  {40, 40, 1, 1, 2, 2, 0x1p-30f, true},
      {40, 40, 1, 1, 2, 63, 1.0f, true},   {40, 40, 1, 1, 2, 64, 1.0f, false},    {40, 40, 1, 1, 4095, 63, 1.0f, true},
      {40, 40, 1, 1, 2, 2, 0.75f, false},  {40, 40, 1, 1, 4200, 63, 1.0f, false}, {40, 40, 1, 1, 2, 2, 3.0f, false},
  };
  for (const auto& row : rows) {
    Request request(row.width, row.height);
    request.params.xSample = row.xSample;
    request.params.ySample = row.ySample;
    request.params.xSigma = row.xSigma;
    request.params.ySigma = row.ySigma;
    request.params.scale = row.scale;
    request.run();
    EXPECT_EQ(request.isServed, row.served) << &row - rows;
  }
  for (const auto& [scale, served] : {std::pair{std::nextafterf(1.0f, 2.0f), true},
                                      {std::nextafterf(0.5f, 1.0f), true},
                                      {std::nextafterf(1.0f, 0.0f), false},
                                      {1.00001f, false}}) {
    Request request;
    request.params.scale = scale;
    request.run();
    EXPECT_EQ(request.isServed, served) << scale;
  }
}
