// SPDX-License-Identifier: Apache-2.0
// The divisor of the sums, and which engine is asked; tests/kernelcheck compares the pixels.
#include <gtest/gtest.h>

#include <cmath>

#include "geometry/kernel.hpp"
#include "oracle/gauss_oracle.hpp"
#include "support/host_images.hpp"
#include "support/host_seams.hpp"
#include "support/pictures.hpp"

namespace {

using namespace kiptest;

ksGaussParams paramsOf(int32_t xSigma, int32_t ySigma) {
  ksGaussParams params = *ksGaussParamsNull();
  params.xSigma = xSigma;
  params.ySigma = ySigma;
  params.extendBorder = 1;
  return params;
}

ksys_status smooth(const ksImage* source, const ksGaussParams& params, LegacyImage& result) {
  ksVImage* out = nullptr;
  const ksys_status status = kip_gauss(source, nullptr, &params, nullptr, &out);
  result.reset(out);
  return status;
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

}  // namespace
