// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstring>

#include "kip/params.h"
#include "support/host_seams.hpp"

namespace {

TEST(LegacyParams, TheDefaultRecordIsSharedAndChangesNothing) {
  const ksGaussParams* const params = ksGaussParamsNull();
  EXPECT_EQ(params, ksGaussParamsNull());
  const ksGaussParams expected = {1, 1, 0, 0, 0, 0, 0, 1.0f, &ksImageNull, nullptr};
  EXPECT_EQ(std::memcmp(params, &expected, sizeof expected), 0);
}

TEST(LegacyParams, NullParamsLookAtWhatChangesPixels) {
  constexpr struct {
    int32_t isNull;
    void (*change)(ksGaussParams&);
  } cases[] = {
      {1, [](auto&) {}},
      {1, [](auto& p) { p.peakNormalize = p.extendBorder = p.roundResult = 1; }},
      {0, [](auto& p) { p.xSample = 2; }},
      {0, [](auto& p) { p.ySample = 2; }},
      {0, [](auto& p) { p.xSigma = 1; }},
      {0, [](auto& p) { p.ySigma = 1; }},
      {0, [](auto& p) { p.scale = 0.5f; }},
      {0, [](auto& p) { p.dstTemplate = &ksUSImageNull; }},
      {1, [](auto& p) { p.dstTemplate = nullptr; }},
  };
  for (const auto& test : cases) {
    ksGaussParams params = *ksGaussParamsNull();
    test.change(params);
    EXPECT_EQ(kfGaussNullParams(&params), test.isNull) << &test - cases;
  }
  EXPECT_TRUE(kiptest::failsCheck([] { kfGaussNullParams(nullptr); }));
}

}  // namespace
