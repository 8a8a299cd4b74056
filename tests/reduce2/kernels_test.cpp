// SPDX-License-Identifier: Apache-2.0
#include "reduce2/kernel_rows.hpp"

#include <gtest/gtest.h>

#include "support/canvas.hpp"
#include "support/host_seams.hpp"
#include "support/pictures.hpp"

namespace {

using namespace kiptest;

constexpr ksys_status fallback = KSYS_STATUS(0x80000601);

// One size: sources at the edges of guarded pages, destinations in the middle of a fill.
template <typename Pixel>
class Case {
 public:
  Case(int32_t width, int32_t height, uint64_t seed)
      : random_(seed, static_cast<uint64_t>(width) << 32 | static_cast<uint32_t>(height)),
        src_(drawPicture<Pixel>(width, height, random_)),
        mask_(drawPicture<uint8_t>(width, height, random_)),
        srcCanvas_({0, 0, width, height}, 0x55, random_.chance(2) ? Placement::atStart : Placement::atEnd),
        maskCanvas_({0, 0, width, height}, 0x55, random_.chance(2) ? Placement::atStart : Placement::atEnd) {
    srcCanvas_.paint(src_.pixels);
    maskCanvas_.paint(mask_.pixels);
  }

  // Every kernel, portable, and every hook at every level.
  void run(const std::vector<Level>& levels) {
    for (const KernelRow<Pixel>& row : kernelRows<Pixel>()) {
      check(row, row.generic, nullptr);
      if (row.hook == nullptr) continue;
      for (const Level& level : levels) {
        const ProcessorOverride processor(level.vendor, level.features);
        check(row, row.hook, &level);
      }
    }
  }

 private:
  void check(const KernelRow<Pixel>& row, Kernel<Pixel>* kernel, const Level* level) {
    const bool wantsMask = row.masked && !random_.chance(4);
    SCOPED_TRACE(testing::Message() << row.name << ' ' << 8 * sizeof(Pixel) << " bits, "
                                    << (level == nullptr ? "generic" : level->name) << ", " << src_.width << 'x'
                                    << src_.height << (wantsMask ? ", result mask" : ""));
    const ksIRegion region = {0, 0, src_.width / row.plan.xStep, src_.height / row.plan.yStep};
    const Pixel fill = static_cast<Pixel>(random_.pick({0x00, 0xAAAA, 0xFFFF}));
    const Canvas<Pixel> dst(region, fill);
    const Canvas<uint8_t> dstMask(region, 0xAA);
    KernelCall<Pixel> call = {.width = src_.width,
                              .height = src_.height,
                              .src = srcCanvas_.pixels(),
                              .srcPitch = srcCanvas_.stride(),
                              .dst = dst.pixels(),
                              .dstPitch = dst.stride()};
    if (row.masked) {
      call.srcMask = maskCanvas_.pixels();
      call.srcMaskPitch = maskCanvas_.stride();
    }
    if (wantsMask) {
      call.dstMask = dstMask.pixels();
      call.dstMaskPitch = dstMask.stride();
    }
    const ksys_status status = kernel(call);
    const ksIRegion nothing = {0, 0, 0, 0};
    if (level != nullptr && !serves(row, *level, src_.width, src_.height, wantsMask)) {
      EXPECT_EQ(status, fallback);
      EXPECT_TRUE(dst.intactOutside(nothing) && dstMask.intactOutside(nothing));
      return;
    }
    ASSERT_EQ(status, 0);
    EXPECT_TRUE(dst.intactOutside(region) && dstMask.intactOutside(wantsMask ? region : nothing));
    if (!row.masked) {
      EXPECT_EQ(difference(dst.crop(region), filtered(src_, row.plan).pixels, region.width), "");
      return;
    }
    const auto expected = filteredMasked(src_, mask_, row.plan, [&](int32_t column, int32_t columns) {
      return level != nullptr && isQuotient(row, column, columns);
    });
    EXPECT_EQ(difference(dst.crop(region), expected.image.pixels, region.width), "");
    if (wantsMask) {
      EXPECT_EQ(difference(dstMask.crop(region), expected.mask.pixels, region.width), "");
    }
  }

  Random random_;
  Picture<Pixel> src_;
  Picture<uint8_t> mask_;
  Canvas<Pixel> srcCanvas_;
  Canvas<uint8_t> maskCanvas_;
};

template <typename Pixel>
class Kernels : public testing::Test {};
using Depths = testing::Types<uint8_t, uint16_t>;
TYPED_TEST_SUITE(Kernels, Depths);

TYPED_TEST(Kernels, EverySmallSize) {
  const std::vector<Level> levels = usableLevels();
  for (int32_t height = 1; height <= 24; ++height) {
    for (int32_t width = 1; width <= 24; ++width) Case<TypeParam>(width, height, 1).run(levels);
  }
}

// Every remainder of every step.
TYPED_TEST(Kernels, EveryWidth) {
  const std::vector<Level> levels = usableLevels();
  for (int32_t width = 25; width <= 140; ++width) Case<TypeParam>(width, width % 7 + 2, 2).run(levels);
}

TYPED_TEST(Kernels, LargeSizes) {
  const std::vector<Level> levels = usableLevels();
  Random random(3);
  for (uint64_t n = 0; n < 4; ++n) Case<TypeParam>(random.between(141, 400), random.between(60, 160), n).run(levels);
}

TEST(Kernels, SumsReachTheirLargestValue) {
  const Picture<uint16_t> white(70, 6, 0xFFFF);
  const Picture<uint8_t> full(70, 6, 0xFF);
  for (const Level& level : usableLevels()) {
    const ProcessorOverride processor(level.vendor, level.features);
    for (const KernelRow<uint16_t>& row : kernelRows<uint16_t>()) {
      std::vector<uint16_t> dst(70 * 6);
      std::vector<uint8_t> dstMask(70 * 6);
      const int32_t width = 70 / row.plan.xStep;
      const KernelCall<uint16_t> call = {
          70, 6, white.pixels.data(), 70, dst.data(), width, full.pixels.data(), 70, dstMask.data(), width};
      const bool served = serves(row, level, 70, 6, true);
      ASSERT_EQ((served ? row.hook : row.generic)(call), 0);
      const size_t count = static_cast<size_t>(width * 6 / row.plan.yStep);
      EXPECT_EQ(std::count(dst.begin(), dst.begin() + static_cast<ptrdiff_t>(count), 0xFFFF),
                static_cast<ptrdiff_t>(count))
          << row.name << ' ' << level.name;
      if (row.masked) {
        EXPECT_EQ(dstMask[count - 1], 0xFF);
      }
    }
  }
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
    if (row.is5x1()) return perRows(height);
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
        Kernel<TypeParam>* const kernel = serves(row, level, 40, height, true) ? row.hook : row.generic;
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
