// SPDX-License-Identifier: Apache-2.0
// The reducing functions: rectangles, phases, transforms, narrowing, masks.
#include <gtest/gtest.h>

#include "binomial/kernel_rows.hpp"
#include "binomial/reduce.hpp"
#include "binomial/scene.hpp"
#include "support/host_seams.hpp"

namespace {

using namespace kiptest;

constexpr kmath_xformLinear clientXform = {3.5, -2, 0.5, 0.25, -1, 2};

kstd_rect32 drawRect(Random& random, int32_t largest) {
  return {random.between(-9, 9), random.between(-9, 9), random.between(1, largest), random.between(1, largest)};
}

// From a destination's pixels to its source's, for a first source pixel.
struct SamplingMap {
  Plan plan;
  int32_t xPhase, yPhase;
  SamplingMap(const Plan& p, const kstd_rect32& src, const kstd_rect32& dst)
      : plan(p), xPhase(src.x - p.xStep * dst.x), yPhase(src.y - p.yStep * dst.y) {}
  [[nodiscard]] std::pair<double, double> operator()(double x, double y) const {
    return {plan.xStep * x + (plan.xStep == 2 ? xPhase - 0.5 : 0),
            plan.yStep * y + (plan.yStep == 2 ? yPhase - 0.5 : 0)};
  }
};

// Both images see a client point, the source where the destination's map says.
void expectMap(const Image& src, const Image& dst, const SamplingMap& map) {
  for (const auto& [x, y] : {std::pair{0.0, 0.0}, {8.0, -3.0}}) {
    const auto [srcX, srcY] = src.map(x, y);
    const auto [dstX, dstY] = dst.map(x, y);
    EXPECT_NEAR(map(dstX, dstY).first, srcX, 1e-9);
    EXPECT_NEAR(map(dstX, dstY).second, srcY, 1e-9);
  }
}

template <typename Pixel>
class Reduce : public testing::Test {};
using Depths = testing::Types<uint8_t, uint16_t>;
TYPED_TEST_SUITE(Reduce, Depths);

TEST(Reduce, Rectangles) {
  const auto rect = [](auto rule, kstd_rect32 src) {
    kstd_rect32 dst;
    EXPECT_EQ(rule(&src, &dst), 0);
    return regionOf(dst);
  };
  EXPECT_EQ(rect(kip_gauss2GetDestRect, {5, 7, 11, 3}), (ksIRegion{2, 3, 5, 1}));
  EXPECT_EQ(rect(kip_gauss2XGetDestRect, {-3, -3, 4, 4}), (ksIRegion{-2, -3, 2, 4}));
  EXPECT_EQ(rect(kip_gauss2YGetDestRect, {-3, -3, 4, 5}), (ksIRegion{-3, -2, 4, 2}));
  EXPECT_EQ(rect(kip_gauss2GetDestRect, {0, INT32_MIN, -3, INT32_MAX}),
            (ksIRegion{0, INT32_MIN / 2, 0, INT32_MAX / 2}));
  EXPECT_EQ(rect(kip_gauss2YGetDestRect, {1, 1, -3, -5}), (ksIRegion{1, 0, -3, 0}));
  EXPECT_EQ(rect(kip_gauss2NoSampleGetDestRect, {1, 2, -3, 4}), (ksIRegion{1, 2, -3, 4}));
  kstd_rect32 some = {};
  for (auto* const rule :
       {kip_gauss2GetDestRect, kip_gauss2XGetDestRect, kip_gauss2YGetDestRect, kip_gauss2NoSampleGetDestRect}) {
    EXPECT_TRUE(failsCheck([&] { rule(nullptr, &some); }) && failsCheck([&] { rule(&some, nullptr); }));
  }
}

TYPED_TEST(Reduce, UnboundDestination) {
  const ProcessorOverride processor(0, 0);
  Random random(4);
  for (int n = 0; n < 30; ++n) {
    const kstd_rect32 rect = n == 0 ? kstd_rect32{5, 4, 10, 10} : drawRect(random, 40);
    Sheet<TypeParam> src(rect, rect, random);
    Sheet<uint8_t> mask(rect, rect, random);
    src.host().setLinear(clientXform);
    for (const Reduction& reduction : Family<TypeParam>::reductions) {
      SCOPED_TRACE(testing::Message() << regionOf(rect) << " by " << reduction.plan.xStep << ", "
                                      << reduction.plan.yStep);
      kstd_rect32 reduced;
      reduction.destRect(&rect, &reduced);
      Image dst;
      ASSERT_EQ(reduction.image(src.image(), dst.get()), 0);
      EXPECT_EQ(dst.region(), regionOf(reduced));
      EXPECT_EQ(dst.template pixels<TypeParam>(), filtered(src.picture(rect), reduction.plan).pixels);
      // without a pixel the phase is 0
      const bool null = isNull(reduced);
      const SamplingMap map(
          reduction.plan,
          null ? kstd_rect32{reduction.plan.xStep * reduced.x, reduction.plan.yStep * reduced.y, 0, 0} : rect, reduced);
      expectMap(src.host(), dst, map);

      Image maskedDst, dstMask;
      ASSERT_EQ(reduction.maskedImage(src.image(), mask.image(), maskedDst.get(), dstMask.get()), 0);
      EXPECT_EQ(dstMask.region(), regionOf(reduced));
      const auto expected = filteredMasked(src.picture(rect), mask.picture(rect), reduction.plan, never);
      EXPECT_EQ(maskedDst.template pixels<TypeParam>(), expected.image.pixels);
      EXPECT_EQ(dstMask.template pixels<uint8_t>(), expected.mask.pixels);
      expectMap(src.host(), maskedDst, map);
      expectMap(src.host(), dstMask, map);
    }
  }
}

// Source windows in larger images, destination windows anywhere, masks at coordinates of their own: the source is
// narrowed to twice the common part, from the image's pixels, and fails where the image has none.
TYPED_TEST(Reduce, Windows) {
  const ProcessorOverride processor(0, 0);
  Random random(5);
  int32_t counts[4] = {};  // null, whole, narrowed, outside
  for (int n = 0; n < 400; ++n) {
    const kstd_rect32 part = drawRect(random, 20);
    const int32_t xMask = random.between(-5, 5), yMask = random.between(-5, 5);
    const kstd_rect32 all = grown(part, random.between(0, 1));
    const Sheet<TypeParam> src(all, part, random);
    const Sheet<uint8_t> mask(moved(all, xMask, yMask), moved(part, xMask, yMask), random);
    for (const Reduction& reduction : Family<TypeParam>::reductions) {
      if (reduction.window == nullptr) continue;
      const Plan& plan = reduction.plan;
      kstd_rect32 reduced;
      reduction.destRect(&part, &reduced);
      const kstd_rect32 dstPart =
          random.chance(3) ? grown(reduced, 1)
                           : kstd_rect32{reduced.x + random.between(-3, 6), reduced.y + random.between(-3, 6),
                                         random.between(1, 9), random.between(1, 9)};
      const kstd_rect32 dstAll = grown(dstPart, 2);
      const kstd_rect32 target = common(dstPart, reduced);
      const bool null = isNull(target), whole = regionOf(target) == regionOf(reduced);
      const kstd_rect32 used = whole ? part
                                     : kstd_rect32{plan.xStep * target.x, plan.yStep * target.y,
                                                   plan.xStep * target.width, plan.yStep * target.height};
      const bool outside = !null && !contains(all, used);
      ++counts[null ? 0 : outside ? 3 : whole ? 1 : 2];
      SCOPED_TRACE(testing::Message() << regionOf(part) << " into " << regionOf(dstPart) << " by " << plan.xStep << ", "
                                      << plan.yStep);

      for (const bool masked : {false, true}) {
        const Sheet<TypeParam> dst(dstAll, dstPart, TypeParam{0xA5});
        const Sheet<uint8_t> dstMask(dstAll, dstPart, uint8_t{0xA5});
        const bool wantsMask = masked && !random.chance(3);
        kmath_xformLinear xform = clientXform;  // source's and destination's
        const ksys_status status =
            masked ? reduction.maskedWindow(src.constWindow(), mask.constWindow(), &xform, dst.window(),
                                            wantsMask ? dstMask.window() : nullptr, &xform)
                   : reduction.window(src.constWindow(), &xform, dst.window(), &xform);
        const ksIRegion written = null || outside ? ksIRegion{} : regionOf(target);
        EXPECT_TRUE(dst.canvas().intactOutside(written));
        EXPECT_TRUE(dstMask.canvas().intactOutside(wantsMask ? written : ksIRegion{}));
        if (outside) {
          EXPECT_EQ(status, KSYS_STATUS_OUTSIDE_IMAGE);
          EXPECT_EQ(xform.tx, clientXform.tx);
          continue;
        }
        ASSERT_EQ(status, 0);
        const SamplingMap map(plan, null ? kstd_rect32{} : used, null ? kstd_rect32{} : target);
        const auto [x, y] = map(0, 0);
        EXPECT_EQ(xform.tx, clientXform.m00 * x + clientXform.m01 * y + clientXform.tx);
        EXPECT_EQ(xform.ty, clientXform.m10 * x + clientXform.m11 * y + clientXform.ty);
        EXPECT_EQ(xform.m01, clientXform.m01 * plan.yStep);
        EXPECT_EQ(xform.m10, clientXform.m10 * plan.xStep);
        if (null) continue;
        if (!masked) {
          EXPECT_EQ(dst.picture(target).pixels, filtered(src.picture(used), plan).pixels);
          continue;
        }
        const auto expected = filteredMasked(src.picture(used), mask.picture(moved(used, xMask, yMask)), plan, never);
        EXPECT_EQ(dst.picture(target).pixels, expected.image.pixels);
        if (wantsMask) {
          EXPECT_EQ(dstMask.picture(target).pixels, expected.mask.pixels);
        }
      }
    }
  }
  for (const int32_t count : counts) EXPECT_GT(count, 9);
}

TYPED_TEST(Reduce, BoundDestination) {
  Random random(6);
  const kstd_rect32 rect = {4, 6, 20, 12}, far = {30, 30, 5, 5}, near = {3, 4, 6, 20};
  Sheet<TypeParam> src(rect, rect, random);
  Sheet<TypeParam> missed(far, far, TypeParam{0x77}), met(near, near, TypeParam{0x77});
  src.host().setLinear(clientXform);
  const Reduction& reduction = Family<TypeParam>::reductions[0];
  ASSERT_EQ(reduction.image(src.image(), missed.image()), 0);
  EXPECT_TRUE(missed.canvas().intactOutside({}));
  EXPECT_EQ(missed.host().map(5, 7), std::pair(5.0, 7.0));

  const kstd_rect32 target = {3, 4, 6, 5}, used = {6, 8, 12, 10};
  ASSERT_EQ(reduction.image(src.image(), met.image()), 0);
  EXPECT_TRUE(met.canvas().intactOutside(regionOf(target)));
  EXPECT_EQ(met.picture(target).pixels, filtered(src.picture(used), bothAxes).pixels);
  expectMap(src.host(), met.host(), SamplingMap(bothAxes, used, target));
}

// Masks that are missing or too small fail before anything is written.
TYPED_TEST(Reduce, MasksThatDoNotFit) {
  Random random(7);
  const kstd_rect32 rect = {0, 0, 20, 12}, half = {0, 0, 10, 6}, less = {0, 0, 10, 5};
  Sheet<TypeParam> src(rect, rect, random), dst(half, half, TypeParam{0x77});
  Sheet<uint8_t> mask(rect, rect, random), smallMask(less, less, random), dstMask(half, half, uint8_t{0x77});
  Image unbound;
  const Reduction& reduction = Family<TypeParam>::reductions[0];
  const auto run = [&](kimg_image* srcMask, kimg_image* resultMask) {
    return reduction.maskedImage(src.image(), srcMask, dst.image(), resultMask);
  };
  EXPECT_EQ(run(mask.image(), unbound.get()), KSYS_STATUS_NOT_BOUND);
  EXPECT_EQ(run(unbound.get(), dstMask.image()), KSYS_STATUS_NOT_BOUND);
  EXPECT_EQ(run(mask.image(), smallMask.image()), KSYS_STATUS_OUTSIDE_IMAGE);
  EXPECT_EQ(run(smallMask.image(), dstMask.image()), KSYS_STATUS_OUTSIDE_IMAGE);
  EXPECT_TRUE(dst.canvas().intactOutside({}) && dstMask.canvas().intactOutside({}));
  EXPECT_EQ(run(mask.image(), dstMask.image()), 0);
  // a bound result mask serves an unbound destination that it covers
  EXPECT_EQ(reduction.maskedImage(src.image(), mask.image(), unbound.get(), dstMask.image()), 0);
  EXPECT_EQ(unbound.template pixels<TypeParam>(), dst.picture(half).pixels);
}

TYPED_TEST(Reduce, UnboundSource) {
  const kstd_rect32 rect = {0, 0, 4, 4};
  Image src, dst;
  Sheet<TypeParam> bound(rect, rect, TypeParam{0x77});
  for (const Reduction& reduction : Family<TypeParam>::reductions) {
    EXPECT_EQ(reduction.image(src.get(), bound.image()), 0);
    EXPECT_EQ(reduction.image(src.get(), dst.get()), 0);
    EXPECT_EQ(dst.region(), ksIRegion{});
  }
  EXPECT_TRUE(bound.canvas().intactOutside({}));
}

// A source whose transform is not linear keeps it, after the map between the pixels.
TEST(Reduce, GeneralTransform) {
  Random random(8);
  const kstd_rect32 rect = {3, 2, 8, 8};
  Sheet<uint8_t> src(rect, rect, random);
  const auto square = [](void*, const double in[2], double out[2]) { out[0] = in[0] * in[0], out[1] = in[1]; };
  const auto root = [](void*, const double in[2], double out[2]) { out[0] = std::sqrt(in[0]), out[1] = in[1]; };
  kmath_xformPtrhConst handle;
  ASSERT_EQ(kmath_xformPtrhConst_constructFunction(&handle, square, root, nullptr, nullptr), 0);
  ASSERT_EQ(kimg_image_setImageFromClientXform(src.image(), &handle), 0);
  kmath_xformPtrhConst_destruct(&handle);
  Image dst;
  ASSERT_EQ(kip_gauss2_smooth8_8(src.image(), dst.get()), 0);
  for (const double x : {1.0, 2.0, 5.0}) {
    EXPECT_NEAR(dst.map(x, 7).first, (x * x - 0.5) / 2, 1e-9);
    EXPECT_NEAR(dst.map(x, 7).second, (7 + 0.5) / 2, 1e-9);
  }
}

// Each path is asked for by its name, and one that is forbidden leaves the integers.
TYPED_TEST(Reduce, InhibitedNames) {
  Random random(9);
  const kstd_rect32 rect = {0, 0, 40, 10};
  Sheet<TypeParam> src(rect, rect, random);
  Sheet<uint8_t> mask(rect, rect, random);
  const ProcessorOverride processor(1, sse41Level);
  for (const Reduction& reduction : Family<TypeParam>::reductions) {
    std::vector<std::wstring> names = {reduction.name, reduction.maskedName};
    if (reduction.passName != nullptr) {
      names = {reduction.name, reduction.passName, reduction.maskedName, reduction.maskedPassName};
    }
    const InhibitProbe probe(names);
    Image dst, maskedDst;
    ASSERT_EQ(reduction.image(src.image(), dst.get()), 0);
    ASSERT_EQ(reduction.maskedImage(src.image(), mask.image(), maskedDst.get(), nullptr), 0);
    EXPECT_EQ(probe.names(), names);
    EXPECT_EQ(dst.template pixels<TypeParam>(), filtered(src.picture(rect), reduction.plan).pixels);
    const auto expected = filteredMasked(src.picture(rect), mask.picture(rect), reduction.plan, never);
    EXPECT_EQ(maskedDst.template pixels<TypeParam>(), expected.image.pixels);
  }
}

// The wider registers are used where the processor has them: no pixel shows it.
TYPED_TEST(Reduce, LevelsSelectTheirRows) {
  const auto select = [](int32_t features) {
    const ProcessorOverride processor(1, features);
    const kip::RowKernels<TypeParam>*plain = nullptr, *masked = nullptr;
    EXPECT_EQ(kip::selectMaskedRows(masked), kip::selectRows(plain));
    EXPECT_EQ(plain, masked);
    return masked;
  };
  if (!hasVectors) GTEST_SKIP() << "no vector rows";
  EXPECT_NE(select(sse41Level), select(kip_levels[2].features));
  EXPECT_NE(select(sse41Level), &kip::portableRows<TypeParam>());
}

TEST(Reduce, ArgumentChecks) {
  Random random(11);
  const kstd_rect32 rect = {0, 0, 8, 8};
  Sheet<uint8_t> src(rect, rect, random), dst(rect, rect, uint8_t{0});
  Sheet<uint16_t> wide(rect, rect, uint16_t{0});
  kmath_xformLinear xform = clientXform;
  const struct {
    const kimg_windowConst* from;
    kmath_xformLinear* fromXform;
    const kimg_window* to;
    kmath_xformLinear* toXform;
    bool fails;
  } rows[] = {
      {nullptr, nullptr, dst.window(), nullptr, true},
      {src.constWindow(), nullptr, nullptr, nullptr, true},
      {src.constWindow(), &xform, dst.window(), nullptr, true},
      {src.constWindow(), nullptr, dst.window(), &xform, true},
      {src.constWindow(), nullptr, dst.window(), nullptr, false},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(failsCheck([&] { kip_gauss2_smoothWindow8_8(row.from, row.fromXform, row.to, row.toXform); }), row.fails);
  }
  // the host knows pixels of another size
  EXPECT_EQ(kip_gauss2_smoothWindow8_8(wide.constWindow(), nullptr, dst.window(), nullptr), KSYS_STATUS_BAD_ARGUMENT);
  EXPECT_EQ(kip_gauss2_smoothWindow16_16(wide.constWindow(), nullptr, dst.window(), nullptr), KSYS_STATUS_BAD_ARGUMENT);
  EXPECT_EQ(kip_gauss2_smooth16_16(wide.image(), dst.image()), KSYS_STATUS_BAD_ARGUMENT);
  EXPECT_TRUE(failsCheck([&] { kip_gauss2_smooth8_8(nullptr, dst.image()); }));
  EXPECT_TRUE(failsCheck([&] { kip_gauss2_smooth8_8(src.image(), nullptr); }));
  EXPECT_TRUE(failsCheck([&] { kip_gauss2_smoothMasked8_8(src.image(), nullptr, dst.image(), nullptr); }));
  const kstd_rect32 odd = {3, 3, 4, 4};  // the source begins where twice the target does not
  const kip::Reduction core = {
      .src = src.constWindow(), .dst = dst.window(), .axes = kip::Axes::both, .reduced = odd, .target = odd};
  EXPECT_TRUE(failsCheck([&] { static_cast<void>(kip::reduceWindows<uint8_t, false>(core)); }));
}

}  // namespace
