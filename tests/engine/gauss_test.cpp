// SPDX-License-Identifier: Apache-2.0
// The values that kip_gauss computes, and which engine does it.
#include <gtest/gtest.h>

#include <cmath>

#include "engine/kernel.hpp"
#include "oracle/gauss_oracle.hpp"
#include "support/host_images.hpp"
#include "support/host_seams.hpp"
#include "support/pictures.hpp"

namespace {

using namespace kiptest;

ksGaussParams paramsOf(int32_t xSigma, int32_t ySigma, bool round = false, float scale = 1.0f) {
  ksGaussParams params = *ksGaussParamsNull();
  params.xSigma = xSigma;
  params.ySigma = ySigma;
  params.extendBorder = 1;
  params.roundResult = round;
  params.scale = scale;
  return params;
}

ksys_status smooth(const ksImage* source, const ksGaussParams& params, LegacyImage& result) {
  ksVImage* out = nullptr;
  const ksys_status status = kip_gauss(source, nullptr, &params, nullptr, &out);
  result.reset(out);
  return status;
}

template <typename Pixel>
std::vector<Pixel> smoothed(const Canvas<uint8_t>& canvas, ksGaussParams params) {
  const ProcessorOverride portable(0, 0);
  params.dstTemplate = Typed<Pixel>::legacyTemplate;
  LegacyImage result;
  EXPECT_EQ(smooth(legacyOn(canvas).get(), params, result), 0);
  return pixelsOf<Pixel>(result.get());
}

TEST(Gauss, GreyLevelsOfFlatAreas) {
  const struct {
    uint8_t level;
    int32_t xSigma, ySigma;
    bool round;
    float scale;
    uint16_t expected;
  } cases[] = {
      {100, 2, 2, false, 1.0f, 99},     {100, 2, 2, true, 1.0f, 100},     {100, 0, 2, false, 1.0f, 100},
      {100, 0, 8, false, 1.0f, 100},    {100, 0, 0, false, 1.0f, 100},    {255, 2, 2, false, 256.0f, 65279},
      {255, 2, 2, true, 256.0f, 65280}, {200, 0, 0, false, 2.0f, 400},    {255, 0, 0, false, 1e30f, 0},
      {255, 3, 3, true, 1e30f, 0},      {255, 0, 0, false, 3e16f, 64512}, {255, 1, 0, true, 1e-30f, 0},
  };
  for (const auto& test : cases) {
    const Canvas<uint8_t> flat({0, 0, 16, 16}, test.level);
    const ksGaussParams params = paramsOf(test.xSigma, test.ySigma, test.round, test.scale);
    const size_t pixels = 256;
    EXPECT_EQ(smoothed<uint16_t>(flat, params), std::vector<uint16_t>(pixels, test.expected)) << &test - cases;
    EXPECT_EQ(smoothed<uint8_t>(flat, params), std::vector<uint8_t>(pixels, static_cast<uint8_t>(test.expected)))
        << &test - cases;
  }
}

TEST(Gauss, PeakNormalizationKeepsALonePixel) {
  Canvas<uint8_t> canvas({0, 0, 13, 13}, 0);
  canvas.at(6, 6) = 100;
  ksGaussParams params = paramsOf(2, 2, true);
  params.peakNormalize = 1;
  const std::vector<uint8_t> result = smoothed<uint8_t>(canvas, params);
  ASSERT_EQ(result.size(), 49u);
  EXPECT_EQ(result[24], 100);
  EXPECT_EQ(result[0], 2);  // 100 / 49, rounded
}

TEST(Gauss, OneRowIsMirroredOnceAndZeroBeyond) {
  Canvas<uint8_t> row({0, 0, 1, 1}, 0);
  row.at(0, 0) = 210;
  EXPECT_EQ(smoothed<uint8_t>(row, paramsOf(0, 2, true)), std::vector<uint8_t>{148});  // 210 (6 + 7 + 6) / 27
}

// Sums of weights beyond 2^53 would no longer be exact.
TEST(Gauss, DivisorIsExactWhileItsCubeIs) {
  for (int32_t n = 1; n <= 208063; ++n) {
    const int64_t cube = int64_t{n} * n * n;
    ASSERT_EQ(kip::divisor(paramsOf(n - 1, 0)), static_cast<double>(cube)) << n;
  }
  EXPECT_EQ(kip::divisor(paramsOf(455, 455)), 207936.0 * 207936.0 * 207936.0);
  ksGaussParams peak = paramsOf(9999, 4);
  peak.peakNormalize = 1;
  EXPECT_EQ(kip::divisor(peak), 75000000.0 * 19.0);
}

TEST(Gauss, InhibitedOrWithoutAVectorLevelThePortableEngineRuns) {
  const Canvas<uint8_t> canvas({0, 0, 70, 70}, 90);
  const LegacyImage source = legacyOn(canvas);
  const ksGaussParams params = paramsOf(3, 3);
  const auto expectPortable = [&](std::vector<std::wstring> forbidden) {
    const InhibitProbe inhibit(std::move(forbidden));
    const AttentionProbe attention;
    LegacyImage result;
    EXPECT_EQ(smooth(source.get(), params, result), 0);
    EXPECT_EQ(inhibit.names(), std::vector<std::wstring>{L"gauss"});
    EXPECT_EQ(attention.count(), oracle::attentionChecks(canvas.region(), params, *ksVImageRegion(result.get())));
  };
  expectPortable({L"gauss"});
  constexpr struct { int32_t vendor, features; } withoutLevel[] = {{0, -1}, {2, -1}, {1, 0x800}, {5, ~1}, {1, 0}};
  for (const auto& processor : withoutLevel) {
    const ProcessorOverride override(processor.vendor, processor.features);
    expectPortable({});
  }
}

TEST(Gauss, AFailingProcessorQueryIsReturnedUnlessItsStatusMeansFallback) {
  const Canvas<uint8_t> canvas({0, 0, 9, 9}, 90);
  const LegacyImage source = legacyOn(canvas);
  for (const uint32_t code : {0x80000010u, 0x800005FFu, 0x80000620u, 0x80000600u, 0x8000061Fu}) {
    const auto status = static_cast<ksys_status>(code);
    const bool fallback = code == 0x80000600u || code == 0x8000061Fu;
    const ProcessorFailure failing(status);
    LegacyImage result;
    EXPECT_EQ(smooth(source.get(), paramsOf(1, 1), result), fallback ? 0 : status);
    EXPECT_EQ(result != nullptr, fallback);
    const InhibitProbe inhibit({L"gauss"});  // then the processor is not asked
    EXPECT_EQ(smooth(source.get(), paramsOf(1, 1), result), 0);
  }
}

}  // namespace
