// SPDX-License-Identifier: Apache-2.0
#include "kip/host/kpel.h"

#include <gtest/gtest.h>

#include <bitset>
#include <random>
#include <vector>

namespace {

alignas(2) uint8_t memory[256];

std::bitset<256> bytesOf(const kimg_windowConst& window) {
  std::bitset<256> bytes;
  for (int32_t y = 0; y < window.height; ++y) {
    const auto* row = static_cast<const uint8_t*>(window.pixels) + y * window.stride * window.pixelBytes;
    for (int32_t x = 0; x < window.width * window.pixelBytes; ++x) bytes.set(static_cast<size_t>(row + x - memory));
  }
  return bytes;
}

TEST(Overlap, EqualsTheByteSets) {
  std::mt19937 random(2);
  const auto below = [&random](uint32_t n) { return static_cast<int32_t>(random() % n); };
  const auto randomWindow = [&below] {
    kimg_windowConst window;
    const kstd_rect32 rect{below(9) - 4, below(9) - 4, below(7), below(6)};
    const int32_t stride = rect.width + below(9);
    uint8_t* const pixels = memory + below(20) * 2;
    EXPECT_EQ(below(2) ? kimg_window8Const_initFromMemory(&window, &rect, pixels + below(2), stride)
                       : kimg_window16Const_initFromMemory(&window, &rect, reinterpret_cast<uint16_t*>(pixels), stride),
              0);
    return window;
  };
  int32_t overlaps = 0;
  for (int32_t i = 0; i < 20000; ++i) {
    const kimg_windowConst a = randomWindow(), b = randomWindow();
    const bool expected = (bytesOf(a) & bytesOf(b)).any();
    ASSERT_EQ(kip_pelfunc_checkMemoryOverlap(&a, &b), expected ? KSYS_STATUS_MEMORY_OVERLAP : 0) << i;
    overlaps += expected;
  }
  EXPECT_GT(overlaps, 4000);
  EXPECT_LT(overlaps, 16000);
}

TEST(Copy, OnlyCommonPixelsAtEqualCoordinates) {
  std::vector<uint16_t> source(24), target(24, 7), expected(24, 7);
  for (size_t i = 0; i < source.size(); ++i) source[i] = static_cast<uint16_t>(1000 + i);
  kimg_windowConst src;
  kimg_window dst;
  const kstd_rect32 from{0, 0, 5, 4}, to{3, -2, 4, 4};
  ASSERT_EQ(kimg_window16Const_initFromMemory(&src, &from, source.data(), 6), 0);
  ASSERT_EQ(kimg_window16_initFromMemory(&dst, &to, target.data(), 6), 0);
  EXPECT_EQ(kip_pelCopyWindow8(&src, &dst), KSYS_STATUS_BAD_ARGUMENT);
  ASSERT_EQ(kip_pelCopyWindow16(&src, &dst), 0);
  std::copy_n(&source[3], 2, &expected[12]);
  std::copy_n(&source[9], 2, &expected[18]);
  EXPECT_EQ(target, expected);
}

}  // namespace
