// SPDX-License-Identifier: Apache-2.0
// The C++ functions give what the C functions give, in new images and in the caller's memory, whole and in pieces.
#include <gtest/gtest.h>

#include <cmath>

#include "cpp/drawn.hpp"
#include "support/host_images.hpp"
#include "support/host_seams.hpp"
#include "support/pictures.hpp"

namespace {

using namespace kiptest;

kip::smooth_params drawParams(Random& random) {
  return {.x_sigma = random.between(0, 6),
          .y_sigma = random.between(0, 6),
          .x_sample = random.between(1, 3),
          .y_sample = random.between(1, 3),
          .scale = random.pick({1.0, 1.0, 0.5, 0.3}),
          .truncate = random.chance(2)};
}

kip_gaussParams toC(const kip::smooth_params& params, const kip::mask_rule& rule = {}) {
  kip_gaussParams c;
  require(kip_gaussParams_init(&c) == 0, "parameters");
  c.xSigma = params.x_sigma, c.ySigma = params.y_sigma;
  c.xSample = params.x_sample, c.ySample = params.y_sample;
  c.scale = params.scale, c.roundResult = !params.truncate;
  c.filterMask.allowMaskedSample = rule.allow_masked_sample;
  c.filterMask.useCoverage = rule.min_coverage.has_value();
  c.filterMask.minCoverage = rule.min_coverage.value_or(0);
  return c;
}

// A part of a rectangle, mostly with pixels.
kip::rect drawPart(const ksIRegion& whole, Random& random) {
  const int32_t x = random.between(0, whole.width - 1), y = random.between(0, whole.height - 1);
  return {whole.x + x, whole.y + y, random.between(1, whole.width - x), random.between(1, whole.height - y)};
}

template <typename In, typename Out>
struct Pair {
  using Source = In;
  using Dest = Out;
  static ksys_status smooth(Image& src, const kip_gaussParams& params, Image& dst) {
    if constexpr (sizeof(In) == 2) {
      return kip_gauss_smoothMasked16_16(src.get(), nullptr, nullptr, &params, dst.get(), nullptr);
    } else {
      return Typed<Out>::smoothImage(src.get(), dst.get(), &params);
    }
  }
  static constexpr auto smoothMasked = sizeof(In) == 2    ? kip_gauss_smoothMasked16_16
                                       : sizeof(Out) == 2 ? kip_gauss_smoothMasked8_16
                                                          : kip_gauss_smoothMasked8_8;
};

template <typename Types>
class Smoothing : public testing::Test {};
using Pairs = testing::Types<Pair<uint8_t, uint8_t>, Pair<uint8_t, uint16_t>, Pair<uint16_t, uint16_t>>;
TYPED_TEST_SUITE(Smoothing, Pairs);

TYPED_TEST(Smoothing, EqualsTheCFunction) {
  using In = typename TypeParam::Source;
  using Out = typename TypeParam::Dest;
  for (uint64_t index = 0; index < 400; ++index) {
    SCOPED_TRACE(index);
    Random random(61, index);
    const ksIRegion region = {0, 0, random.between(1, 50), random.between(1, 40)};
    const Painted<In> picture = drawPicture<In>(region, random);
    const kip::smooth_params params = drawParams(random);
    Image source(picture), expected;
    ASSERT_EQ(TypeParam::smooth(source, toC(params), expected), 0);
    const auto pixels = expected.template pixels<Out>();

    const kip::image<Out> result = kip::smooth<Out>(viewOf(picture), params);
    ASSERT_EQ(regionOf(result).width, expected.region().width);
    ASSERT_EQ(difference(pixelsOf(result), pixels, result.width()), "");
    if (result.width() == 0) continue;
    ASSERT_EQ(regionOf(result), expected.region());
    const Canvas<Out> memory(expected.region(), 0xA7);
    ASSERT_EQ(kip::try_smooth(viewOf(picture), viewOf(memory), params), 0);
    ASSERT_EQ(difference(memory.crop(memory.region()), pixels, result.width()), "");
    ASSERT_TRUE(memory.intactOutside(memory.region()));
  }
}

TYPED_TEST(Smoothing, WithMasksEqualsTheCFunction) {
  using In = typename TypeParam::Source;
  using Out = typename TypeParam::Dest;
  for (uint64_t index = 0; index < 400; ++index) {
    SCOPED_TRACE(index);
    Random random(62, index);
    const ksIRegion region = {0, 0, random.between(1, 50), random.between(1, 40)};
    const Painted<In> picture = drawPicture<In>(region, random);
    const Painted<uint8_t> mask = drawMask(region, random), samples = drawMask(region, random);
    const Painted<uint8_t> validMask = madeValid(mask), validSamples = madeValid(samples);
    const kip::smooth_params params = drawParams(random);
    kip::mask_rule rule = {.allow_masked_sample = random.chance(2)};
    if (random.chance(2)) rule.min_coverage = random.between(0, 10) * 0.1;
    const bool hasSamples = random.chance(3);
    if (hasSamples) rule.sample_mask = viewOf(samples);
    Image source(picture), sourceMask(validMask), sampleMask(validSamples), expected, expectedMask;
    const kip_gaussParams c = toC(params, rule);
    ASSERT_EQ(TypeParam::smoothMasked(source.get(), sourceMask.get(), hasSamples ? sampleMask.get() : nullptr, &c,
                                      expected.get(), expectedMask.get()),
              0);
    const auto pixels = expected.template pixels<Out>();

    const auto result = kip::smooth_masked<Out>(viewOf(picture), viewOf(mask), params, rule);
    ASSERT_EQ(difference(pixelsOf(result.pixels), pixels, result.pixels.width()), "");
    ASSERT_EQ(difference(pixelsOf(result.mask), expectedMask.pixels<uint8_t>(), result.mask.width()), "");
    if (result.pixels.width() == 0) continue;
    ASSERT_EQ(regionOf(result.pixels), expected.region());
    ASSERT_EQ(regionOf(result.mask), expected.region());
    const Canvas<Out> memory(expected.region(), 0xA7);
    ASSERT_EQ(kip::try_smooth_masked(viewOf(picture), viewOf(mask), viewOf(memory), {}, params, rule), 0);
    ASSERT_EQ(difference(memory.crop(memory.region()), pixels, result.pixels.width()), "");
    ASSERT_TRUE(memory.intactOutside(memory.region()));
  }
}

// Any part of the result from the piece of the picture that it needs, with and without masks.
TYPED_TEST(Smoothing, OfPiecesEqualsTheWhole) {
  using In = typename TypeParam::Source;
  using Out = typename TypeParam::Dest;
  const ProcessorOverride portable(0, 0);
  for (uint64_t index = 0; index < 600; ++index) {
    SCOPED_TRACE(index);
    Random random(63, index);
    const kip::rect region = {0, 0, random.between(1, 70), random.between(1, 60)};
    const Painted<In> picture = drawPicture<In>({0, 0, region.width, region.height}, random);
    const Painted<uint8_t> mask = drawMask(picture.region(), random), samples = drawMask(picture.region(), random);
    const kip::smooth_params params = drawParams(random);
    kip::mask_rule rule = {.min_coverage = 0.1, .allow_masked_sample = random.chance(2)};
    if (random.chance(2)) rule.min_coverage.reset();
    const bool hasSamples = random.chance(3);
    if (hasSamples) rule.sample_mask = viewOf(samples);
    const kip::rect supplied = kip::smoothed_rect(region, params);
    if (supplied.width < 1 || supplied.height < 1) continue;
    const ksIRegion whole = {supplied.x, supplied.y, supplied.width, supplied.height};
    const kip::rect part = drawPart(whole, random);
    const ksIRegion partRegion = {part.x, part.y, part.width, part.height};
    const kip::rect needed = kip::needed_rect(part, region, params);
    const kip::placement at = {{needed.x, needed.y}, {part.x, part.y}};
    const kip::view<In> piece = viewOf(picture).crop(needed);
    const kip::rect cut = {part.x - whole.x, part.y - whole.y, part.width, part.height};

    const Canvas<Out> memory(partRegion, 0xA7);
    ASSERT_EQ(kip::try_smooth(piece, viewOf(memory), params, at), 0);
    const kip::image<Out> all = kip::smooth<Out>(viewOf(picture), params);
    ASSERT_EQ(difference(pixelsOf(viewOf(memory)), pixelsOf(all.view().crop(cut)), part.width), "");
    ASSERT_TRUE(memory.intactOutside(partRegion));

    const auto allMasked = kip::smooth_masked<Out>(viewOf(picture), viewOf(mask), params, rule);
    if (hasSamples) rule.sample_mask = viewOf(samples).crop(needed);
    const Canvas<Out> masked(partRegion, 0xA7);
    const Canvas<uint8_t> maskMemory(partRegion, 0xA7);
    ASSERT_EQ(
        kip::try_smooth_masked(piece, viewOf(mask).crop(needed), viewOf(masked), viewOf(maskMemory), params, rule, at),
        0);
    ASSERT_EQ(difference(pixelsOf(viewOf(masked)), pixelsOf(allMasked.pixels.view().crop(cut)), part.width), "");
    ASSERT_EQ(difference(pixelsOf(viewOf(maskMemory)), pixelsOf(allMasked.mask.view().crop(cut)), part.width), "");
    ASSERT_TRUE(masked.intactOutside(partRegion) && maskMemory.intactOutside(partRegion));
  }
}

// The kernel is what becomes of one bright pixel.
TEST(Stddev, IsThatOfTheKernelAndFindsTheNearestSigma) {
  double before = -1;
  for (int32_t sigma = 0; sigma <= 24; ++sigma) {
    kip::image<uint8_t> impulse(129, 1);
    for (int32_t x = 0; x < 129; ++x) impulse.row(0)[x] = x == 64 ? 1 : 0;
    const double weights = std::pow(sigma + 1, 3);
    const auto kernel = kip::smooth<uint16_t>(impulse, {.x_sigma = sigma, .y_sigma = 0, .scale = weights});
    double mean = 0, square = 0;
    for (int32_t x = 0; x < kernel.width(); ++x) {
      mean += kernel.row(0)[x] / weights * x;
      square += kernel.row(0)[x] / weights * x * x;
    }
    const double deviation = kip::stddev_of(sigma), middle = (before + deviation) / 2;
    EXPECT_NEAR(deviation, std::sqrt(square - mean * mean), 1e-6) << sigma;
    EXPECT_EQ(kip::stddev(deviation), sigma);
    if (sigma > 0) {
      EXPECT_EQ(kip::stddev(std::nextafter(middle, 0) - 1e-12), sigma - 1);
      EXPECT_EQ(kip::stddev(std::nextafter(middle, 99) + 1e-12), sigma);
    }
    before = deviation;
  }
  constexpr double largest = 0x3FFFFFFF;
  EXPECT_NEAR(kip::stddev_of(kip::stddev(largest)), largest, 0.25);
  for (const double wrong : {-1e-300, -1.0, largest + 1, HUGE_VAL, std::nan("")}) {
    int32_t sigma = -7;
    EXPECT_EQ(kip::try_stddev(wrong, sigma), KIP_STATUS_BAD_SIGMA);
    EXPECT_EQ(sigma, -7);
    EXPECT_THROW((void)kip::stddev(wrong), kip::error);
  }
}

TEST(ResultMask, EqualsTheCFunction) {
  for (uint64_t index = 0; index < 300; ++index) {
    SCOPED_TRACE(index);
    Random random(64, index);
    const ksIRegion region = {0, 0, random.between(1, 40), random.between(1, 30)};
    const Painted<uint8_t> mask = drawMask(region, random), samples = drawMask(region, random);
    const Painted<uint8_t> validMask = madeValid(mask);
    const kip::smooth_params params = drawParams(random);
    const int32_t sigma[] = {params.x_sigma, params.y_sigma}, sample[] = {params.x_sample, params.y_sample};
    const double coverage = random.between(0, 10) * 0.1;
    const bool hasSamples = random.chance(2);
    Image source(validMask), sampleMask(samples), expected;
    ASSERT_EQ(kip_filterMask_computeResultMask_(source.get(), hasSamples ? sampleMask.get() : nullptr, sigma, sample,
                                                coverage, expected.get()),
              0);
    const kip::view<uint8_t> samplesView = hasSamples ? viewOf(samples) : kip::view<uint8_t>();
    const auto result = kip::result_mask(viewOf(mask), params, coverage, samplesView);
    ASSERT_EQ(difference(pixelsOf(result), expected.pixels<uint8_t>(), result.width()), "");
  }
}

template <typename Pixel>
struct Binomial : testing::Test {
  static constexpr bool is8 = sizeof(Pixel) == 1;
  using Plain = ksys_status (*)(const kimg_imageConst*, kimg_image*);
  using Masked = ksys_status (*)(const kimg_imageConst*, const kimg_image8*, kimg_image*, kimg_image8*);
  struct Reduction {
    kip::axes along;
    Plain plain;
    Masked masked;
  };
  static constexpr Reduction reductions[3] = {{kip::axes::both, is8 ? kip_gauss2_smooth8_8 : kip_gauss2_smooth16_16,
                                               is8 ? kip_gauss2_smoothMasked8_8 : kip_gauss2_smoothMasked16_16},
                                              {kip::axes::x, is8 ? kip_gauss2X_smooth8_8 : kip_gauss2X_smooth16_16,
                                               is8 ? kip_gauss2X_smoothMasked8_8 : kip_gauss2X_smoothMasked16_16},
                                              {kip::axes::y, is8 ? kip_gauss2Y_smooth8_8 : kip_gauss2Y_smooth16_16,
                                               is8 ? kip_gauss2Y_smoothMasked8_8 : kip_gauss2Y_smoothMasked16_16}};
  static constexpr auto smooth = is8 ? kip_gauss2_smoothNoSample8_8 : kip_gauss2_smoothNoSample16_16;
  static constexpr auto smoothMasked = is8 ? kip_gauss2_smoothNoSampleMasked8_8 : kip_gauss2_smoothNoSampleMasked16_16;
};
using Depths = testing::Types<uint8_t, uint16_t>;
TYPED_TEST_SUITE(Binomial, Depths);

TYPED_TEST(Binomial, EqualsTheCFunctions) {
  for (uint64_t index = 0; index < 200; ++index) {
    SCOPED_TRACE(index);
    Random random(65, index);
    const ksIRegion region = {0, 0, random.between(1, 50), random.between(1, 40)};
    const Painted<TypeParam> picture = drawPicture<TypeParam>(region, random);
    const Painted<uint8_t> mask = drawMask(region, random), validMask = madeValid(mask);
    const bool isWeighted = random.chance(2);
    const auto meaning = isWeighted ? kip::mask_meaning::weight : kip::mask_meaning::validity;
    Image source(picture), sourceMask(isWeighted ? mask : validMask);
    const auto from = viewOf(picture);
    const auto expectEqual = [](const kip::image<TypeParam>& result, const Image& expected) {
      EXPECT_EQ(regionOf(result), expected.region());
      EXPECT_EQ(difference(pixelsOf(result), expected.template pixels<TypeParam>(), result.width()), "");
    };
    const auto expectMask = [](const kip::image<uint8_t>& result, const Image& expected) {
      EXPECT_EQ(difference(pixelsOf(result), expected.template pixels<uint8_t>(), result.width()), "");
    };
    for (const auto& [along, plain, masked] : this->reductions) {
      Image expected, expectedMasked, expectedMask;
      ASSERT_EQ(plain(source.get(), expected.get()), 0);
      ASSERT_EQ(masked(source.get(), sourceMask.get(), expectedMasked.get(), expectedMask.get()), 0);
      expectEqual(kip::reduce(from, along), expected);
      const auto result = kip::reduce(from, viewOf(mask), along, meaning);
      expectEqual(result.pixels, expectedMasked);
      expectMask(result.mask, expectedMask);
      const Canvas<TypeParam> memory(expected.region(), 0xA7);
      ASSERT_EQ(kip::try_reduce(from, viewOf(memory), along), 0);
      EXPECT_EQ(memory.crop(memory.region()), expected.template pixels<TypeParam>());
      EXPECT_TRUE(memory.intactOutside(memory.region()));
    }
    const kip::binomial_params radii = {2 * random.between(0, 3), 2 * random.between(0, 3)};
    Image expected, expectedMasked, expectedMask;
    ASSERT_EQ(this->smooth(source.get(), expected.get(), radii.x_radius, radii.y_radius), 0);
    ASSERT_EQ(this->smoothMasked(source.get(), sourceMask.get(), expectedMasked.get(), expectedMask.get(),
                                 radii.x_radius, radii.y_radius),
              0);
    expectEqual(kip::binomial(from, radii), expected);
    const auto result = kip::binomial(from, viewOf(mask), radii, meaning);
    expectEqual(result.pixels, expectedMasked);
    expectMask(result.mask, expectedMask);
  }
}

// Level by level, the masks as weights; the caller's memory gets the same.
TYPED_TEST(Binomial, PyramidsChainReductions) {
  Random random(66);
  const ksIRegion region = {0, 0, 45, 38};
  const Painted<TypeParam> picture = drawPicture<TypeParam>(region, random);
  const Painted<uint8_t> mask = drawMask(region, random);
  const auto levels = kip::pyramid(viewOf(picture), 4);
  const auto masked = kip::pyramid(viewOf(picture), viewOf(mask), 4);
  ASSERT_EQ(levels.size(), 4u);
  ASSERT_EQ(masked.size(), 4u);
  std::vector<kip::image<TypeParam>> memory;
  std::vector<kip::view<TypeParam>> views;
  std::vector<kip::image<uint8_t>> maskMemory;
  std::vector<kip::view<uint8_t>> maskViews;
  for (const auto& level : levels) {
    views.push_back(memory.emplace_back(level.width(), level.height()).view());
    maskViews.push_back(maskMemory.emplace_back(level.width(), level.height()).view());
  }
  ASSERT_EQ(kip::try_pyramid(viewOf(picture), views), 0);
  for (size_t i = 0; i < 4; ++i) {
    const auto plain = i == 0 ? kip::reduce(viewOf(picture)) : kip::reduce(levels[i - 1]);
    EXPECT_EQ(pixelsOf(levels[i]), pixelsOf(plain));
    EXPECT_EQ(pixelsOf(memory[i]), pixelsOf(plain));
  }
  ASSERT_EQ(kip::try_pyramid(viewOf(picture), viewOf(mask), views, maskViews), 0);
  for (size_t i = 0; i < 4; ++i) {
    const auto one =
        i == 0 ? kip::reduce(viewOf(picture), viewOf(mask))
               : kip::reduce(masked[i - 1].pixels, masked[i - 1].mask, kip::axes::both, kip::mask_meaning::weight);
    EXPECT_EQ(pixelsOf(masked[i].pixels), pixelsOf(one.pixels));
    EXPECT_EQ(pixelsOf(masked[i].mask), pixelsOf(one.mask));
    EXPECT_EQ(pixelsOf(memory[i]), pixelsOf(one.pixels));
    EXPECT_EQ(pixelsOf(maskMemory[i]), pixelsOf(one.mask));
  }
}

}  // namespace
