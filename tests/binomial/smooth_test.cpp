// SPDX-License-Identifier: Apache-2.0
// The functions without sampling: radii, geometry, masks.
#include <gtest/gtest.h>

#include "binomial/kernel_rows.hpp"
#include "binomial/scene.hpp"
#include "support/host_seams.hpp"

namespace {

using namespace kiptest;

// The passes of a pair of radii, in their order.
std::vector<Plan> passesOf(int32_t xRadius, int32_t yRadius) {
  std::vector<Plan> passes;
  for (; xRadius > 0 || yRadius > 0; xRadius -= 2, yRadius -= 2) passes.push_back({xRadius > 0, yRadius > 0});
  return passes;
}

template <typename Pixel>
const KernelRow<Pixel>& rowOf(const Plan& plan, bool masked) {
  for (const KernelRow<Pixel>& row : kernelRows<Pixel>()) {
    if (row.masked == masked && row.plan.alongX == plan.alongX && row.plan.alongY == plan.alongY && !row.reduces()) {
      return row;
    }
  }
  throw std::logic_error("no such pass");
}

template <typename Pixel>
class Smooth : public testing::Test {};
using Depths = testing::Types<uint8_t, uint16_t>;
TYPED_TEST_SUITE(Smooth, Depths);

// All radii up to 6, on the common part of windows in larger images, masks at coordinates of their own, at each level.
TYPED_TEST(Smooth, Windows) {
  Random random(20);
  const std::vector<Level> levels = usableProcessors();
  for (int n = 0; n < 600; ++n) {
    const int32_t xRadius = 2 * random.between(0, 3), yRadius = 2 * random.between(0, 3);
    const Level& level = levels[static_cast<size_t>(n) % levels.size()];
    const ProcessorOverride processor(level.vendor, level.features);
    const kstd_rect32 srcPart = {random.between(-9, 9), random.between(-9, 9), random.between(1, 60),
                                 random.between(1, 20)};
    const kstd_rect32 dstPart = random.chance(2)
                                    ? srcPart
                                    : kstd_rect32{srcPart.x + random.between(-9, 9), srcPart.y + random.between(-9, 9),
                                                  random.between(1, 60), random.between(1, 20)};
    const int32_t xMask = random.between(-5, 5), yMask = random.between(-5, 5);
    const Sheet<TypeParam> src(grown(srcPart, 1), srcPart, random), dst(grown(dstPart, 1), dstPart, TypeParam{0xA5});
    const Sheet<uint8_t> mask(moved(grown(srcPart, 1), xMask, yMask), moved(srcPart, xMask, yMask), random);
    const Sheet<uint8_t> dstMask(moved(grown(dstPart, 1), yMask, 7), moved(dstPart, yMask, 7), uint8_t{0xA5});
    const kstd_rect32 part = common(srcPart, dstPart);
    SCOPED_TRACE(testing::Message() << regionOf(srcPart) << " into " << regionOf(dstPart) << ", radii " << xRadius
                                    << ", " << yRadius << ", " << level.name);
    if (random.chance(2)) {
      ASSERT_EQ(Family<TypeParam>::smoothWindow(src.constWindow(), dst.window(), xRadius, yRadius), 0);
      EXPECT_TRUE(dst.canvas().intactOutside(isNull(part) ? ksIRegion{} : regionOf(part)));
      if (isNull(part)) continue;
      Picture<TypeParam> expected = src.picture(part);
      for (const Plan& plan : passesOf(xRadius, yRadius)) expected = filtered(expected, plan);
      EXPECT_EQ(difference(dst.picture(part).pixels, expected.pixels, part.width), "");
      continue;
    }
    const bool wantsMask = !random.chance(3);
    ASSERT_EQ(Family<TypeParam>::smoothMaskedWindow(src.constWindow(), mask.constWindow(), dst.window(),
                                                    wantsMask ? dstMask.window() : nullptr, xRadius, yRadius),
              0);
    const kstd_rect32 maskPart = moved(part, yMask, 7);
    EXPECT_TRUE(dst.canvas().intactOutside(isNull(part) ? ksIRegion{} : regionOf(part)));
    EXPECT_TRUE(dstMask.canvas().intactOutside(isNull(part) || !wantsMask ? ksIRegion{} : regionOf(maskPart)));
    if (isNull(part)) continue;
    MaskedPicture<TypeParam> expected = {src.picture(part), mask.picture(moved(part, xMask, yMask))};
    for (const Plan& plan : passesOf(xRadius, yRadius)) {
      const KernelRow<TypeParam>& row = rowOf<TypeParam>(plan, true);
      const bool served = serves(row, level, part.width, part.height, true);
      expected = filteredMasked(expected.image, expected.mask, plan,
                                [&](int32_t x, int32_t width) { return served && isQuotient(row, x, width); });
    }
    EXPECT_EQ(difference(dst.picture(part).pixels, expected.image.pixels, part.width), "");
    if (wantsMask) {
      EXPECT_EQ(difference(dstMask.picture(maskPart).pixels, expected.mask.pixels, part.width), "");
    }
  }
}

TYPED_TEST(Smooth, Images) {
  Random random(21);
  const kstd_rect32 rect = {-3, 5, 30, 9}, part = {0, 7, 9, 30}, both = {0, 7, 9, 7}, far = {90, 90, 2, 2};
  Sheet<TypeParam> src(rect, rect, random), bound(part, part, TypeParam{0x77}), missed(far, far, TypeParam{0x77});
  Sheet<uint8_t> mask(rect, rect, random);
  const kmath_xformLinear xform = {1, 2, 3, 4, 5, 6};
  src.host().setLinear(xform);
  Image dst, maskedDst, dstMask, unboundMask, unboundSrc, nothing;
  ASSERT_EQ(Family<TypeParam>::smoothImage(src.image(), dst.get(), 2, 2), 0);
  EXPECT_EQ(dst.region(), regionOf(rect));
  EXPECT_EQ(dst.template pixels<TypeParam>(), filtered(src.picture(rect), {true, true}).pixels);
  ASSERT_EQ(Family<TypeParam>::smoothMaskedImage(src.image(), mask.image(), maskedDst.get(), dstMask.get(), 0, 0), 0);
  EXPECT_EQ(maskedDst.template pixels<TypeParam>(), src.picture(rect).pixels);
  EXPECT_EQ(dstMask.template pixels<uint8_t>(), mask.picture(rect).pixels);
  ASSERT_EQ(Family<TypeParam>::smoothImage(src.image(), bound.image(), 0, 2), 0);
  EXPECT_EQ(bound.picture(both).pixels, filtered(src.picture(both), {false, true}).pixels);
  for (const Image* image : {&dst, &maskedDst, &dstMask, &bound.host()}) {
    EXPECT_EQ(image->map(10, 20), (std::pair{3.0 * 10 + 4 * 20 + 1, 5.0 * 10 + 6 * 20 + 2}));
  }
  const auto masked = [&](Sheet<TypeParam>& to, Image& toMask) {
    return Family<TypeParam>::smoothMaskedImage(src.image(), mask.image(), to.image(), toMask.get(), 2, 2);
  };
  const std::vector<TypeParam> before = bound.picture(part).pixels;
  EXPECT_EQ(masked(bound, unboundMask), KSYS_STATUS_NOT_BOUND);
  EXPECT_EQ(bound.picture(part).pixels, before);
  EXPECT_EQ(masked(missed, unboundMask), 0);
  EXPECT_TRUE(missed.canvas().intactOutside({}));
  EXPECT_EQ(Family<TypeParam>::smoothImage(unboundSrc.get(), nothing.get(), 2, 2), 0);
  EXPECT_EQ(nothing.region(), ksIRegion{});
}

TYPED_TEST(Smooth, InhibitedNames) {
  Random random(22);
  const kstd_rect32 rect = {0, 0, 40, 10};
  Sheet<TypeParam> src(rect, rect, random);
  Sheet<uint8_t> mask(rect, rect, random);
  for (const auto& [xRadius, yRadius, single] : {std::tuple{6, 2, L"5x1"}, {2, 6, L"1x5"}}) {
    for (const bool masked : {false, true}) {
      std::vector<std::wstring> names;
      for (const wchar_t* const pass : {L"5x5", single, single}) {
        names.push_back(std::wstring(L"gauss2NoSample") + pass + (masked ? L"Mask" : L"") + Family<TypeParam>::suffix);
      }
      const InhibitProbe probe;
      Image dst;
      const ksys_status status =
          masked ? Family<TypeParam>::smoothMaskedImage(src.image(), mask.image(), dst.get(), nullptr, xRadius, yRadius)
                 : Family<TypeParam>::smoothImage(src.image(), dst.get(), xRadius, yRadius);
      ASSERT_EQ(status, 0);
      EXPECT_EQ(probe.names(), names);
    }
  }
}

TEST(Smooth, ArgumentChecks) {
  const kstd_rect32 rect = {0, 0, 8, 8}, far = {9, 9, 1, 1};
  const Sheet<uint8_t> src(rect, rect, uint8_t{1}), dst(rect, rect, uint8_t{0}), missed(far, far, uint8_t{0});
  const auto fails = [&](const kimg_windowConst* from, const kimg_window* to, int32_t xRadius, int32_t yRadius) {
    return failsCheck([&] { kip_gauss2_smoothNoSampleWindow8_8(from, to, xRadius, yRadius); });
  };
  EXPECT_TRUE(fails(src.constWindow(), dst.window(), 1, 2) && fails(src.constWindow(), dst.window(), 2, 3));
  EXPECT_TRUE(fails(src.constWindow(), dst.window(), -2, 2) && fails(src.constWindow(), dst.window(), 0, -2));
  EXPECT_TRUE(fails(nullptr, dst.window(), 2, 2) && fails(src.constWindow(), nullptr, 2, 2));
  EXPECT_FALSE(fails(src.constWindow(), missed.window(), 1, -1));
  EXPECT_TRUE(failsCheck(
      [&] { kip_gauss2_smoothNoSampleMaskedWindow8_8(src.constWindow(), nullptr, dst.window(), nullptr, 2, 2); }));
}

}  // namespace
