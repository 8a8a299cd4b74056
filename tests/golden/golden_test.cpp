// SPDX-License-Identifier: Apache-2.0
// Hashes of the destinations, by level. When pixels change on purpose: golden_test --print > tests/golden/hashes.inc
#include <gtest/gtest.h>

#include <cinttypes>
#include <cstring>

#include "cases.hpp"
#include "judge.hpp"
#include "support/host_seams.hpp"

namespace {

using namespace kiptest;

struct Hashes {
  const char* name;
  uint64_t levels[3];  // 0: as without vectors
};

constexpr Hashes table[] = {
#include "hashes.inc"
};

// FNV-1a over status, region, pixels and mask.
uint64_t hashOf(const Outcome& outcome) {
  uint64_t hash = 0xCBF29CE484222325u;
  const auto add = [&hash](int32_t value) {
    for (uint32_t bits = static_cast<uint32_t>(value), i = 0; i < 4; ++i, bits >>= 8) {
      hash = (hash ^ (bits & 0xFF)) * 0x100000001B3u;
    }
  };
  const ksIRegion& region = outcome.region;
  for (const int32_t value : {outcome.status, region.x, region.y, region.width, region.height}) add(value);
  for (const int32_t pixel : outcome.pixels) add(pixel);
  for (const int32_t pixel : outcome.mask) add(pixel);
  return hash;
}

uint64_t hashAt(size_t level, const golden::Case& golden) {
  const ProcessorOverride processor(levels()[level]);
  const Outcome outcome = run(golden.request);
  EXPECT_TRUE(outcome.status == 0 && outcome.fault.empty()) << golden.name << ' ' << outcome.fault;
  EXPECT_FALSE(outcome.pixels.empty()) << golden.name;
  return hashOf(outcome);
}

TEST(Golden, PixelsAreThoseOfTheTable) {
  ASSERT_EQ(std::size(table), golden::cases().size());
  for (size_t i = 0; i < std::size(table); ++i) {
    const golden::Case& golden = golden::cases()[i];
    ASSERT_STREQ(table[i].name, golden.name);
    for (size_t level = 0; level < levels().size(); ++level) {
      const uint64_t own = table[i].levels[level];
      EXPECT_EQ(hashAt(level, golden), own != 0 ? own : table[i].levels[0])
          << golden.name << " (" << golden.reason << "), " << levels()[level].title;
    }
  }
}

int print() {
  if (levels().size() < std::size(table[0].levels)) {
    std::fprintf(stderr, "this machine lacks a level\n");
    return 1;
  }
  for (const golden::Case& golden : golden::cases()) {
    uint64_t hashes[3];
    for (size_t level = 0; level < 3; ++level) hashes[level] = hashAt(level, golden);
    std::printf("{\"%s\", {0x%016" PRIX64, golden.name, hashes[0]);
    for (size_t level = 1; level < 3; ++level) {
      if (hashes[level] == hashes[0]) {
        std::printf(", 0");
      } else {
        std::printf(", 0x%016" PRIX64, hashes[level]);
      }
    }
    std::printf("}},\n");
  }
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  testing::InitGoogleTest(&count, arguments);
  return count == 2 && std::strcmp(arguments[1], "--print") == 0 ? print() : RUN_ALL_TESTS();
}
