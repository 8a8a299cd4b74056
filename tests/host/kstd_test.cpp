// SPDX-License-Identifier: Apache-2.0
#include "kip/host/kstd.h"

#include <gtest/gtest.h>

#include <csetjmp>

#include "host/records.hpp"

namespace {

using kiptest::same;

constexpr ksIRegion kNull{}, kBox{-2, 5, 10, 20}, kPlacedNull{4, 6, 0, 3};

TEST(Region, ArithmeticIntoAnOperand) {
  const ksIRegion kernel{-3, -1, 7, 2}, corner{7, 24, 5, 5}, beside{8, 5, 4, 4}, wide{0, 0, 11, 1};
  ksIRegion out = kBox;
  ksIRegionDilate(&out, &kernel, &out);
  EXPECT_TRUE(same(out, {-5, 4, 16, 21}));
  ksIRegionErode(&out, &kernel, &out);
  EXPECT_TRUE(same(out, kBox));
  out = kernel;
  ksIRegionErode(&kBox, &out, &out);
  EXPECT_TRUE(same(out, {1, 6, 4, 19}));
  ksIRegionErode(&kBox, &wide, &out);
  EXPECT_TRUE(same(out, kNull));
  out = kBox;
  ksIRegionIntersect(&out, &corner, &out);
  EXPECT_TRUE(same(out, {7, 24, 1, 1}));
  EXPECT_TRUE(ksIRegionContains(&kBox, &out));
  EXPECT_FALSE(ksIRegionContains(&kBox, &corner));
  ksIRegionIntersect(&kBox, &beside, &out);
  EXPECT_TRUE(same(out, kNull));
}

TEST(Region, NullOperandsAndTheEndsOfTheRange) {
  ksIRegion out;
  for (const auto operation : {ksIRegionIntersect, ksIRegionDilate, ksIRegionErode}) {
    operation(&kBox, &kPlacedNull, &out);
    EXPECT_TRUE(same(out, kNull));
    out = {1, 2, 3, -4};
    operation(&out, &kBox, &out);
    EXPECT_TRUE(same(out, kNull));
  }
  EXPECT_TRUE(ksIRegionContains(&kBox, &kPlacedNull));
  EXPECT_FALSE(ksIRegionContains(&kPlacedNull, &kBox));

  const ksIRegion far{INT32_MAX - 1, INT32_MIN + 1, INT32_MAX, INT32_MAX}, near{5, -5, 9, 9}, low{INT32_MIN, 0, 1, 1};
  ksIRegionDilate(&far, &near, &out);
  EXPECT_TRUE(same(out, {INT32_MAX, INT32_MIN, INT32_MAX, INT32_MAX}));
  ksIRegionErode(&far, &low, &out);
  EXPECT_TRUE(same(out, {INT32_MAX, INT32_MIN + 1, INT32_MAX, INT32_MAX}));
  ksIRegionIntersect(&far, &far, &out);
  EXPECT_TRUE(same(out, far));
}

std::jmp_buf leave;

TEST(AssertDeathTest, NothingGoesOnBehindAFailedCheck) {
  // an emulator adds a line of its own
  EXPECT_DEATH(kstd_assert_(1234), "^argument check failed \\(line 1234\\)\n(qemu|$)");
  kstd_assert_setHandler([](int32_t) {});
  EXPECT_EXIT(kstd_assert_(1), testing::KilledBySignal(SIGABRT), "^(qemu|$)");
  kstd_assert_setHandler([](int32_t line) { std::longjmp(leave, line); });
  const int line = setjmp(leave);
  if (line == 0) kstd_assert_(77);
  kstd_assert_setHandler(nullptr);
  EXPECT_EQ(line, 77);
}

}  // namespace
