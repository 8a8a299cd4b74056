// SPDX-License-Identifier: Apache-2.0
// Where level 2 may overflow, and what a failing attention check leaves; tests/kernelcheck does the rest.
#include <gtest/gtest.h>

#include "gauss/portable.hpp"
#include "oracle/gauss_case.hpp"
#include "support/host_images.hpp"
#include "support/host_seams.hpp"
#include "support/levels.hpp"

using namespace kiptest;

namespace {

// What happens to a caller of an engine.
template <typename Pixel>
struct Outcome {
  ksys_status status;
  int64_t attentionChecks, finished;
  std::vector<Pixel> pixels;

  friend bool operator==(const Outcome&, const Outcome&) = default;
};

template <typename Pixel>
Outcome<Pixel> run(kip::Engine& engine, const GaussCase& test, int64_t failAttention = 0) {
  Canvas<uint8_t> source(test.source.region, 0xFF, Placement::atEnd);
  const Canvas<Pixel> destination(test.destination, 0xC3);
  source.paint(test.source.pixels);
  const LegacyImage from = legacyOn(source), to = legacyOn(destination);
  ksVImage* out = nullptr;
  const AttentionProbe attention(failAttention);
  int64_t finished = 0;
  const ksys_status status = engine(from.get(), to.get(), &test.params, nullptr, &out, finished);
  EXPECT_EQ(out, to.get());
  EXPECT_TRUE(destination.intactOutside(test.destination));
  return {status, attention.count(), finished, destination.crop(test.destination)};
}

// Noise, all of whose destination is computed.
GaussCase makeCase(int32_t y, int32_t width, int32_t height, int32_t xSigma, int32_t ySigma, int32_t ySample) {
  Random random(7);
  GaussCase test;
  test.source.region = {-9, y, width, height};
  test.pattern = Pattern::noise;
  test.source.pixels = drawPattern(test.pattern, test.source.region, random);
  test.params = *ksGaussParamsNull();
  test.params.extendBorder = 1;
  test.params.xSigma = xSigma;
  test.params.ySigma = ySigma;
  test.params.ySample = ySample;
  test.destination = test.computed = oracle::destinationOf(test.source.region, test.params);
  return test;
}

class Level2 : public testing::Test {
 protected:
  void SetUp() override {
    if (usableLevels().size() <= 2) GTEST_SKIP() << "the processor has no AVX2";
  }
};

}  // namespace

// Columns that make the running sums as large as they get: white, and stripes as high as the box.
TEST_F(Level2, GeneralPathHoldsTheLargestSums) {
  for (const int32_t ySigma : {63, 64, 70, 127, 202, 203, 258}) {
    for (const int32_t xSigma : {1, 44, 5000}) {
      GaussCase test = makeCase(-4, 40, 3 * ySigma + 9, xSigma, ySigma, 7);
      SCOPED_TRACE(test.describe());
      for (const int32_t white : {3, 2, 1}) {  // every stripe, the even ones, the odd ones
        for (size_t i = 0; i < test.source.pixels.size(); ++i) {
          const auto stripe = static_cast<int32_t>(i / 40) / (ySigma + 1);
          test.source.pixels[i] = (white >> (stripe % 2)) % 2 != 0 ? 255 : 0;
        }
        EXPECT_EQ(run<uint8_t>(kip::dispatch, test), run<uint8_t>(kip::gauss_genericSmooth, test));
      }
    }
  }
}

// The destination keeps exactly the rows before the check that failed.
TEST_F(Level2, AttentionStopsTheRows) {
  const struct {
    int32_t sigma, y, ySample;
    std::vector<int32_t> stops;  // the row that the check precedes, counted from the first
  } rows[] = {
      {1, -1, 1, {1023, 2047}}, {1, -3, 1, {1, 1025, 2049}},
      {1, -3000, 2, {475}},     {2, 5, 1, {255, 511, 767, 1023, 1279, 1535, 1791, 2047}},
      {2, -9, 3, {255, 511}},
  };
  for (const auto& row : rows) {
    const GaussCase test = makeCase(row.y, 33, 2100, row.sigma, row.sigma, row.ySample);
    SCOPED_TRACE(test.describe());
    const auto all = run<uint8_t>(kip::dispatch, test);
    EXPECT_EQ(all.attentionChecks, int64_t(row.stops.size()));
    for (size_t i = 0; i < row.stops.size(); ++i) {
      const auto stopped = run<uint8_t>(kip::dispatch, test, int64_t(i) + 1);
      EXPECT_EQ(stopped.status, KSYS_STATUS(0x8000BEEF));
      EXPECT_EQ(stopped.finished, row.stops[i]);
      std::vector<uint8_t> expected = all.pixels;
      std::fill(expected.begin() + int64_t{row.stops[i]} * test.destination.width, expected.end(), uint8_t{0xC3});
      EXPECT_EQ(difference(stopped.pixels, expected, test.destination.width), "");
    }
  }
  for (const auto& [sigma, ySample] : {std::pair{3, 1}, {50, 1}, {0, 3}, {12, 5}}) {
    const GaussCase test = makeCase(-4, 40, 300, sigma, sigma, ySample);
    const int64_t checks = run<uint16_t>(kip::dispatch, test).attentionChecks;
    for (int64_t failAt = 1; failAt <= checks; ++failAt) {
      EXPECT_EQ(run<uint16_t>(kip::dispatch, test, failAt), run<uint16_t>(kip::gauss_genericSmooth, test, failAt))
          << test.describe() << " check " << failAt;
    }
  }
}
