// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "frame/attention.hpp"
#include "frame/optimized.hpp"
#include "support/host_seams.hpp"

namespace {

constexpr ksys_status genericStatus = 77;

ksys_status afterOptimized(uint32_t status) {
  return kip::runOptimized(
      L"name", [&] { return static_cast<ksys_status>(status); }, [] { return genericStatus; });
}

TEST(OptimizedPath, GenericRunsAfterTheWholeUnsupportedBandOnly) {
  for (const uint32_t high : {0x0u, 0x80000000u, 0x12340000u, 0xFFFF0000u}) {
    for (uint32_t low = 0x5E0; low < 0x640; ++low) {
      const bool inBand = low >= 0x600 && low <= 0x61F;
      EXPECT_EQ(afterOptimized(high | low), inBand ? genericStatus : static_cast<ksys_status>(high | low));
    }
    EXPECT_EQ(afterOptimized(high | 0x1600), static_cast<ksys_status>(high | 0x1600));
  }
}

TEST(OptimizedPath, AnInhibitedOneIsAskedForByNameAndDoesNotRun) {
  bool ran = false;
  const auto run = [&ran](const wchar_t* name) {
    ran = false;
    return kip::runOptimized(
        name, [&ran] { return ran = true, 0; }, [] { return genericStatus; });
  };
  const kiptest::InhibitProbe probe({L"second"});
  EXPECT_EQ(run(L"first"), 0);
  EXPECT_TRUE(ran);
  EXPECT_EQ(run(L"second"), genericStatus);
  EXPECT_FALSE(ran);
  EXPECT_EQ(probe.names(), (std::vector<std::wstring>{L"first", L"second"}));
}

TEST(Attention, IsPolledAtMultiplesOfThePeriodNegativeOnesToo) {
  const kiptest::AttentionProbe probe(4);
  std::vector<int64_t> polled;
  ksys_status status = 0;
  for (int64_t row = -130; row < 200 && status == 0; ++row) {
    const int64_t before = probe.count();
    status = kip::pollAttention<64>(row);
    if (probe.count() != before) polled.push_back(row);
  }
  EXPECT_EQ(status, probe.failure());
  EXPECT_EQ(polled, (std::vector<int64_t>{-128, -64, 0, 64}));
}

}  // namespace
