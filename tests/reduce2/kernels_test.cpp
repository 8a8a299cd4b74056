// SPDX-License-Identifier: Apache-2.0
#include "reduce2/kernel_rows.hpp"

#include <gtest/gtest.h>

#include "support/host_seams.hpp"
#include "support/pictures.hpp"

namespace {

using namespace kiptest;

constexpr ksys_status fallback = KSYS_STATUS(0x80000601);

template <typename Pixel>
class Kernels : public testing::Test {};
using Depths = testing::Types<uint8_t, uint16_t>;
TYPED_TEST_SUITE(Kernels, Depths);

// What a hook does not serve it refuses before anything is written; 8-bit pixels without masks it serves everywhere.
TYPED_TEST(Kernels, HooksServeAndRefuse) {
  constexpr auto fill = static_cast<TypeParam>(0xA5A5);
  Random random(1);
  for (const Level& level : usableLevels()) {
    const ProcessorOverride processor(level.vendor, level.features);
    for (const KernelRow<TypeParam>& row : kernelRows<TypeParam>()) {
      if (row.hook == nullptr) continue;
      for (const int32_t width : {1, 2, 3, 4, 5, 40}) {
        for (const int32_t height : {1, 2, 3, 4, 5, 9}) {
          const bool wantsMask = row.masked && !random.chance(3);
          SCOPED_TRACE(testing::Message() << row.name << ' ' << level.name << ", " << width << 'x' << height
                                          << (wantsMask ? ", result mask" : ""));
          const auto src = drawPicture<TypeParam>(width, height, random);
          const Picture<uint8_t> mask(width, height, 200);
          Picture<TypeParam> dst(width / row.plan.xStep, height / row.plan.yStep, fill);
          std::vector<uint8_t> dstMask(src.pixels.size(), 0xA5);
          const KernelCall<TypeParam> call = {width,
                                              height,
                                              src.pixels.data(),
                                              width,
                                              dst.pixels.data(),
                                              dst.width,
                                              mask.pixels.data(),
                                              width,
                                              wantsMask ? dstMask.data() : nullptr,
                                              dst.width};
          const bool served = serves(row, level, width, height, wantsMask);
          ASSERT_EQ(row.hook(call), served ? 0 : fallback);
          if (!served) {
            EXPECT_EQ(std::count(dst.pixels.begin(), dst.pixels.end(), fill), std::ssize(dst.pixels));
            EXPECT_EQ(std::count(dstMask.begin(), dstMask.end(), 0xA5), std::ssize(dstMask));
          } else if (!row.masked) {
            EXPECT_EQ(difference(dst.pixels, filtered(src, row.plan).pixels, dst.width), "");
          }
        }
      }
    }
  }
}

// The wider registers are used where the processor has them: no pixel shows it.
TYPED_TEST(Kernels, LevelsSelectTheirRows) {
  const auto select = [](int32_t features) {
    const ProcessorOverride processor(1, features);
    const kip::RowKernels<TypeParam>*plain = nullptr, *masked = nullptr;
    const ksys_status status = kip::selectMaskedRows(masked);
    EXPECT_EQ(status, kip::hasVectorRows() ? 0 : fallback);
    EXPECT_EQ(kip::selectRows(plain), status);
    EXPECT_EQ(plain, masked);
    return masked;
  };
  constexpr int32_t narrow = ksys_cpuSse2Integer | ksys_cpuSse41;
  if (!kip::hasVectorRows()) {
    EXPECT_EQ(select(narrow), nullptr);
    return;
  }
  EXPECT_NE(select(narrow), select(narrow | ksys_cpuAvx2));
  EXPECT_NE(select(narrow), &kip::portableRows<TypeParam>());
}

// A hook's quotients round ties to even where the integers round up.
TEST(Kernels, QuotientsRoundTiesToEven) {
  std::vector<Level> levels = usableLevels();
  for (const Level& level : levels) {
    if (!kip::hasVectorRows() || !level.has(ksys_cpuSse2Integer)) continue;
    const ProcessorOverride processor(level.vendor, level.features);
    const uint8_t src[12] = {0, 0, 0, 2};
    uint8_t mask[12], dst[12], dstMask[12];
    std::fill(mask, mask + 12, uint8_t{255});
    const KernelCall<uint8_t> call = {12, 1, src, 12, dst, 12, mask, 12, dstMask, 12};
    ASSERT_EQ(kip::gauss2_smoothMasked5x1Vec8(call), 0);
    EXPECT_EQ(dst[2], 0) << level.name;
    ASSERT_EQ(kip::gauss2_smoothMasked5x1_8(call), 0);
    EXPECT_EQ(dst[2], 1);
  }
}

TEST(Kernels, NothingToReduce) {
  uint8_t pixel = 7, mask = 9;
  for (const auto& [width, height] : {std::pair{1, 1}, {1, 9}, {9, 1}}) {
    const KernelCall<uint8_t> call = {width, height, &pixel, 1, nullptr, 1, &mask, 1, nullptr, 0};
    EXPECT_EQ(kip::gauss2_reduceXY8(call), 0);
    EXPECT_EQ(kip::gauss2_reduceMaskedXY8(call), 0);
    if (width == 1) {
      EXPECT_EQ(kip::gauss2_reduceXOrY8(call, true, false), 0);
    }
    if (height == 1) {
      EXPECT_EQ(kip::gauss2_reduceMaskedXOrY8(call, false, true), 0);
    }
    const ProcessorOverride processor(1, ksys_cpuSse2Integer);
    const bool serving = kip::hasVectorRows() && width > 2;
    EXPECT_EQ(kip::gauss2_reduceXYVec8(call), serving ? 0 : fallback);
  }
  EXPECT_TRUE(failsCheck([] { static_cast<void>(kip::gauss2_reduceXOrY8({.width = 4, .height = 4}, true, true)); }));
}

// How often the attention check is asked, and that a failing answer ends the kernel before the next rows.
TYPED_TEST(Kernels, AttentionCadence) {
  const auto asked = [](const KernelRow<TypeParam>& row, int32_t height) {
    const auto perRows = [](int32_t rows) { return rows <= 0 ? 0 : (rows + 63) / 64; };
    if (row.alongXOnly()) return perRows(height);
    if (row.plan.alongX && row.reduces()) return perRows(height - 1);
    return height < 5 ? 0 : perRows(height - (row.plan.alongX ? 2 : 4));
  };
  std::vector<Level> levels = usableLevels();
  for (const int32_t height : {2, 4, 5, 6, 65, 66, 67, 68, 69, 130, 133}) {
    const Picture<TypeParam> src(40, height, 50);
    const Picture<uint8_t> mask(40, height, 200);
    for (const KernelRow<TypeParam>& row : kernelRows<TypeParam>()) {
      for (const Level& level : levels) {
        const ProcessorOverride processor(level.vendor, level.features);
        Kernel<TypeParam>* const kernel = row.kernel(serves(row, level, 40, height, true));
        std::vector<TypeParam> dst(src.pixels.size());
        std::vector<uint8_t> dstMask(src.pixels.size());
        const KernelCall<TypeParam> call = {
            40, height, src.pixels.data(), 40, dst.data(), 40, mask.pixels.data(), 40, dstMask.data(), 40};
        SCOPED_TRACE(testing::Message() << row.name << ' ' << level.name << ", " << height << " rows");
        const int32_t expected = asked(row, height);
        {
          const AttentionProbe probe;
          ASSERT_EQ(kernel(call), 0);
          EXPECT_EQ(probe.count(), expected);
        }
        if (expected == 0) continue;
        std::fill(dst.begin(), dst.end(), TypeParam{0});
        const AttentionProbe probe(1);
        EXPECT_EQ(kernel(call), probe.failure());
        EXPECT_EQ(probe.count(), 1);
        const bool down = !row.plan.alongX && !row.reduces();
        EXPECT_EQ(std::count(dst.begin(), dst.end(), TypeParam{0}),
                  static_cast<ptrdiff_t>(dst.size()) - (down ? 80 : 0));
      }
    }
  }
}

// The n-th allocation failing, and the processor information: the status comes back and nothing is written.
TYPED_TEST(Kernels, HostFailures) {
  const Picture<TypeParam> src(40, 9, 50);
  const Picture<uint8_t> mask(40, 9, 200);
  ksys_cpuinfo info;
  ASSERT_EQ(ksys_cpuinfo_init(&info), 0);
  const ProcessorOverride processor(1, ksys_cpuSse2Integer | ksys_cpuSse41);
  for (const KernelRow<TypeParam>& row : kernelRows<TypeParam>()) {
    std::vector<TypeParam> dst(src.pixels.size());
    std::vector<uint8_t> dstMask(src.pixels.size());
    const KernelCall<TypeParam> call = {
        40, 9, src.pixels.data(), 40, dst.data(), 40, mask.pixels.data(), 40, dstMask.data(), 40};
    for (Kernel<TypeParam>* const kernel : {row.generic, row.hook}) {
      SCOPED_TRACE(row.name);
      if (kernel == nullptr || (kernel == row.hook && !kip::hasVectorRows())) continue;
      for (int64_t n = 1;; ++n) {
        const AllocationProbe probe(n);
        const ksys_status status = kernel(call);
        if (probe.count() < n) {
          EXPECT_EQ(status, 0);
          break;
        }
        EXPECT_EQ(status, probe.failure());
        EXPECT_EQ(probe.count(), n);
        EXPECT_EQ(std::count(dst.begin(), dst.end(), TypeParam{0}), static_cast<ptrdiff_t>(dst.size()));
      }
      std::fill(dst.begin(), dst.end(), TypeParam{0});
    }
    if (row.hook == nullptr || !kip::hasVectorRows()) continue;
    const ProcessorFailure failure(KSYS_STATUS(0x80001234));
    EXPECT_EQ(row.hook(call), KSYS_STATUS(0x80001234)) << row.name;
  }
}

}  // namespace
