// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "kip/params.h"
#include "support/host_seams.hpp"

namespace {

using kiptest::failsCheck;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

kip_gaussParams initialised() {
  kip_gaussParams params;
  EXPECT_EQ(kip_gaussParams_init(&params), 0);
  return params;
}

// Everything is wrong at first and put right step by step.
TEST(GaussParams, ValidateReportsTheFirstFault) {
  kip_gaussParams p = {0, 0, -1, -1, nan, 0, {2, 2, nan}};
  const auto expectFor = [&p](auto& field, auto... values) {
    return [&p, &field, values...](ksys_status status) {
      for (const auto value : {values...}) {
        field = value;
        EXPECT_EQ(kip_gaussParams_validate(&p), status) << value;
      }
    };
  };
  expectFor(p.xSample, INT32_MIN, -1, 0, 1)(KIP_STATUS_BAD_SAMPLE);
  expectFor(p.ySample, INT32_MIN, 0)(KIP_STATUS_BAD_SAMPLE);
  expectFor(p.ySample, 1, INT32_MAX)(KIP_STATUS_BAD_SIGMA);
  expectFor(p.xSigma, INT32_MIN, -1, 0)(KIP_STATUS_BAD_SIGMA);
  expectFor(p.ySigma, 0, 100, INT32_MAX)(KIP_STATUS_BAD_SCALE);
  expectFor(p.scale, 0.0, -0.0, -1.0, -infinity, nan)(KIP_STATUS_BAD_SCALE);
  expectFor(p.scale, infinity, 1e-300, 0.5)(KIP_STATUS_BAD_ALLOW_MASKED);
  expectFor(p.filterMask.allowMaskedSample, -1, 2)(KIP_STATUS_BAD_ALLOW_MASKED);
  expectFor(p.filterMask.allowMaskedSample, 0, 1)(KIP_STATUS_BAD_USE_COVERAGE);
  expectFor(p.filterMask.useCoverage, -1, 2)(KIP_STATUS_BAD_USE_COVERAGE);
  expectFor(p.filterMask.useCoverage, 0, 1)(KIP_STATUS_BAD_MIN_COVERAGE);
  expectFor(p.filterMask.minCoverage, -0.0000001, 1.0000001, nan)(KIP_STATUS_BAD_MIN_COVERAGE);
  expectFor(p.filterMask.minCoverage, 0.0, 0.3, 1.0)(0);
  expectFor(p.roundResult, -7, INT32_MIN)(0);
}

TEST(GaussParams, EqualOnlyWhenEveryFieldIs) {
  const auto equal = [](const kip_gaussParams& a, const kip_gaussParams& b) {
    int32_t result = -1;
    EXPECT_EQ(kip_gaussParams_compareEqual(&a, &b, &result), 0);
    return result;
  };
  const kip_gaussParams a = initialised();
  EXPECT_EQ(equal(a, {1, 1, 1, 1, 1.0, 0, {0, 0, 0.0}}), 1);
  void (*const changes[])(kip_gaussParams&) = {
      [](auto& p) { p.xSample = 2; },
      [](auto& p) { p.ySample = 2; },
      [](auto& p) { p.xSigma = 2; },
      [](auto& p) { p.ySigma = 2; },
      [](auto& p) { p.scale = std::nextafter(p.scale, 2.0); },
      [](auto& p) { p.roundResult = 1; },
      [](auto& p) { p.filterMask.allowMaskedSample = 1; },
      [](auto& p) { p.filterMask.useCoverage = 1; },
      [](auto& p) { p.filterMask.minCoverage = 0.25; },
  };
  for (const auto change : changes) {
    kip_gaussParams b = a;
    change(b);
    EXPECT_EQ(equal(a, b), 0);
    EXPECT_EQ(equal(b, a), 0);
    EXPECT_EQ(equal(b, b), 1);
  }
  EXPECT_EQ(kip_gaussParams_validate(&a), 0);
  kip_gaussParams unordered = a;
  unordered.scale = unordered.filterMask.minCoverage = nan;
  EXPECT_EQ(equal(a, unordered), 1);
  unordered.xSigma = 9;
  EXPECT_EQ(equal(a, unordered), 0);
}

TEST(GaussParams, MaxSigmaFollowsTheProcessorRecord) {
  constexpr struct {
    int32_t vendor, features, expected;
  } processors[] = {{0, -1, 24}, {2, -1, 24}, {1, ~8, 24}, {5, 0, 24}, {1, 8, 63}, {5, 8, 63}, {5, -1, 63}};
  for (const auto& processor : processors) {
    const kiptest::ProcessorOverride override(processor.vendor, processor.features);
    int32_t maxSigma = 0;
    EXPECT_EQ(kip_gaussParamsGetMaxSigma(&maxSigma), 0);
    EXPECT_EQ(maxSigma, processor.expected) << processor.vendor << ' ' << processor.features;
    EXPECT_EQ(kip_gaussParamsGetMaxSigma16(&maxSigma), 0);
    EXPECT_EQ(maxSigma, 39);
  }
}

TEST(GaussParams, AFailingProcessorQueryComesFirst) {
  const ksys_status failure = KSYS_STATUS(0x80001111);
  const kiptest::ProcessorFailure failing(failure);
  int32_t maxSigma = 0;
  EXPECT_EQ(kip_gaussParamsGetMaxSigma(&maxSigma), failure);
  EXPECT_EQ(maxSigma, 24);
  const kip_gaussParams bad = {0, 0, -1, -1, nan, 0, {2, 2, nan}};
  EXPECT_EQ(kip_gaussParams_validate(&bad), failure);
  EXPECT_EQ(kip_filterMaskParams_validate(&bad.filterMask), KIP_STATUS_BAD_ALLOW_MASKED);
  EXPECT_EQ(kip_gaussParamsGetMaxSigma16(&maxSigma), 0);
}

TEST(GaussParams, NullPointersFailTheArgumentCheck) {
  kip_gaussParams p = initialised();
  int32_t out = 0;
  EXPECT_TRUE(failsCheck([] { kip_gaussParams_init(nullptr); }));
  EXPECT_TRUE(failsCheck([] { kip_gaussParams_validate(nullptr); }));
  EXPECT_TRUE(failsCheck([&] { kip_gaussParams_compareEqual(nullptr, &p, &out); }));
  EXPECT_TRUE(failsCheck([&] { kip_gaussParams_compareEqual(&p, nullptr, &out); }));
  EXPECT_TRUE(failsCheck([&] { kip_gaussParams_compareEqual(&p, &p, nullptr); }));
  EXPECT_TRUE(failsCheck([] { kip_gaussParamsGetMaxSigma(nullptr); }));
  EXPECT_TRUE(failsCheck([] { kip_gaussParamsGetMaxSigma16(nullptr); }));
  EXPECT_TRUE(failsCheck([] { kip_filterMaskParams_init(nullptr); }));
  EXPECT_TRUE(failsCheck([] { kip_filterMaskParams_validate(nullptr); }));
  EXPECT_TRUE(failsCheck([&] { kip_filterMaskParams_compareEqual(nullptr, &p.filterMask, &out); }));
  EXPECT_TRUE(failsCheck([&] { kip_filterMaskParams_compareEqual(&p.filterMask, nullptr, &out); }));
}

}  // namespace
