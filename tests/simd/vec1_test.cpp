// SPDX-License-Identifier: Apache-2.0
#include "simd/vec1.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "oracle/gauss_case.hpp"
#include "simd/vec1_model.hpp"
#include "support/host_images.hpp"
#include "support/host_seams.hpp"

using namespace kiptest;

namespace {

constexpr ksys_status fallback = KSYS_STATUS(0x80000601);
constexpr int32_t level1 = ksys_cpuMmxSse2 | ksys_cpuSse2Integer;

// A run of destination pixels against those that the source supplies: all, more, a part, or shifted partly off.
void drawRun(Random& random, int32_t& start, int32_t& size) {
  const int32_t kind = random.between(0, 3);
  if (kind == 1) {
    start -= random.between(0, 4);
    size += random.between(0, 8);
  } else if (kind == 2) {
    const int32_t skip = random.between(0, size - 1);
    start += skip;
    size = random.between(1, random.chance(2) ? std::min(size - skip, 5) : size - skip);
  } else if (kind == 3) {
    start += random.between(-size, size);
  }
}

GaussCase drawCase(int32_t index) {
  Random random(1, static_cast<uint64_t>(index));
  GaussCase drawn;
  ksGaussParams& params = drawn.params;
  params = *ksGaussParamsNull();
  params.xSample = random.pick({1, 1, 1, 2, 3, 4, 5, 27});
  params.ySample = random.pick({1, 1, 2, 3, 4, 5});
  params.xSigma = random.between(0, random.pick({3, 8, 24}));
  params.ySigma = random.chance(2) ? params.xSigma : random.between(0, random.pick({3, 8, 24}));
  if (random.chance(12)) params.xSigma = random.pick({15, 16, 40, 63, 300});
  if (random.chance(12)) params.ySigma = random.pick({15, 16, 40, 63});
  params.scale = random.chance(2) ? 1.0f : std::ldexp(1.0f, random.between(-20, 15));
  params.extendBorder = random.between(0, 3) != 0;
  params.peakNormalize = random.chance(8);

  // around the blocks of 16 columns, and anything
  const int32_t width = random.pick({9, 15, 16, 17, 31, 32, 33, 48, random.between(9, 100)});
  drawn.source.region = {random.between(-60, 60), random.between(-60, 60),
                         std::max(9 * params.xSample + random.between(0, 2), width),
                         9 * params.ySample + random.between(0, 20)};
  drawn.pattern = static_cast<Pattern>(random.between(1, static_cast<int32_t>(Pattern::count) - 1));
  drawn.source.pixels = drawPattern(drawn.pattern, drawn.source.region, random);
  drawn.destination = oracle::destinationOf(drawn.source.region, params);
  if (drawn.destination.width == 0) {
    drawn.destination = {drawn.source.region.x, drawn.source.region.y, 3, 2};
  } else {
    drawRun(random, drawn.destination.x, drawn.destination.width);
    drawRun(random, drawn.destination.y, drawn.destination.height);
  }
  drawn.computed = oracle::destinationOf(drawn.source.region, params, &drawn.destination);
  return drawn;
}

template <typename Pixel>
void checkCase(const GaussCase& test, Placement from, Placement to, Pixel fill) {
  const ProcessorOverride processor(1, level1);
  const AttentionProbe attention;
  Canvas<uint8_t> source(test.source.region, static_cast<uint8_t>(~fill), from);
  Canvas<Pixel> destination(test.destination, fill, to);
  source.paint(test.source.pixels);
  const LegacyImage legacySource = legacyOn(source);
  const LegacyImage legacyDestination = legacyOn(destination);
  ksIRegion region = {1, 2, 3, 4};
  ksVImage* out = nullptr;

  const ksys_status status =
      kip::gauss_vec1Smooth(legacySource.get(), legacyDestination.get(), &test.params, &region, &out);
  EXPECT_EQ(attention.count(), 0);
  if (!vec1Serves(test.source.region, test.params)) {
    EXPECT_EQ(status, fallback);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(region, (ksIRegion{1, 2, 3, 4}));
    EXPECT_TRUE(destination.intactOutside({test.destination.x, test.destination.y, 0, 0}));
    return;
  }
  EXPECT_EQ(status, 0);
  EXPECT_EQ(out, legacyDestination.get());
  EXPECT_EQ(region, test.computed);
  EXPECT_TRUE(destination.intactOutside(test.computed));
  const auto expected = vec1Smooth<Pixel>(test.source, test.params, test.computed);
  EXPECT_EQ(difference(destination.crop(test.computed), expected, test.computed.width), "");
}

// A request for the whole of a flat or noisy picture, with the destination created.
struct Request {
  explicit Request(int32_t width = 40, int32_t height = 40, uint8_t level = 200)
      : pixels({-7, 5, width, height}, level), source(legacyOn(pixels)) {
    params.extendBorder = 1;
    params.xSigma = params.ySigma = 2;
    params.dstTemplate = &ksImageNull;
  }

  template <typename Pixel = uint8_t>
  std::vector<Pixel> run() {
    params.dstTemplate = Typed<Pixel>::legacyTemplate;
    ksVImage* out = nullptr;
    EXPECT_EQ(kip_gauss(source.get(), nullptr, &params, nullptr, &out), 0);
    const LegacyImage result(out);
    return pixelsOf<Pixel>(out);
  }

  Canvas<uint8_t> pixels;
  LegacyImage source;
  ksGaussParams params = *ksGaussParamsNull();
};

}  // namespace

TEST(Vec1, EqualsTheModel) {
  int32_t served = 0;
  for (int32_t index = 0; index < 4000 && !HasFailure(); ++index) {
    const GaussCase test = drawCase(index);
    SCOPED_TRACE(std::to_string(index) + ' ' + test.describe());
    served += vec1Serves(test.source.region, test.params) && test.computed.width != 0;
    checkCase<uint8_t>(test, Placement::atEnd, Placement::surrounded, 0);
    checkCase<uint8_t>(test, Placement::atStart, Placement::atEnd, 0xFF);
    checkCase<uint16_t>(test, Placement::atEnd, Placement::atEnd, 0xFFFF);
  }
  EXPECT_GT(served, 2500);
}

// With a scale up to 1 a pixel is the portable engine's or one off; flat areas are exact for boxes of 1, 2, 4, 8, ...
// and never brighter.
TEST(Vec1, IsWithinOneOfThePortableEngine) {
  Random random(2);
  Request noisy(100, 60);
  noisy.pixels.paint(drawPattern(Pattern::noise, noisy.pixels.region(), random));
  Request flat;
  for (int32_t sigma = 0; sigma <= 24; ++sigma) {
    SCOPED_TRACE(sigma);
    noisy.params.xSigma = noisy.params.ySigma = flat.params.xSigma = flat.params.ySigma = sigma;
    noisy.params.scale = sigma % 2 != 0 ? 1.0f : 0.5f;
    const auto runAt = [](Request& request, int32_t features) {
      const ProcessorOverride processor(1, features);
      return request.run();
    };
    const std::vector<uint8_t> actual = runAt(noisy, level1);
    const std::vector<uint8_t> portable = runAt(noisy, 0);
    ASSERT_EQ(actual.size(), portable.size());
    for (size_t i = 0; i < actual.size(); ++i) ASSERT_LE(std::abs(actual[i] - portable[i]), 1) << i;
    const bool exact = (sigma & (sigma + 1)) == 0;
    for (const uint8_t pixel : runAt(flat, level1)) ASSERT_TRUE(pixel == 200 || (!exact && pixel == 199));
  }
}

TEST(Vec1, LargeValuesSaturateUnsampledAndWrapSampled) {
  const ProcessorOverride processor(1, level1);
  Request request(40, 40, 255);
  request.params.xSigma = request.params.ySigma = 0;
  const auto firstPixel = [&](int32_t xSample, float scale, auto pixel) -> uint32_t {
    request.params.xSample = xSample;
    request.params.scale = scale;
    return request.run<decltype(pixel)>()[0];
  };
  EXPECT_EQ(firstPixel(1, 2.0f, uint8_t{}), 255u);
  EXPECT_EQ(firstPixel(2, 2.0f, uint8_t{}), 254u);  // 510 - 256
  EXPECT_EQ(firstPixel(1, 256.0f, uint16_t{}), 32767u);
  EXPECT_EQ(firstPixel(2, 256.0f, uint16_t{}), 65280u);
  EXPECT_EQ(firstPixel(2, 512.0f, uint16_t{}), 65024u);  // 130560 - 65536
}

// Values chosen next to a limit of the fixed-point arithmetic.
TEST(Vec1, RoundsTheMultiplierAndTheDroppedBits) {
  const ProcessorOverride processor(1, level1);
  // a sum of 2^26 - 4, where 23 bits are dropped, the first 6 of them rounded
  Request corner(88, 88, 0);
  for (int32_t y = 0; y < 26; ++y) std::fill_n(&corner.pixels.at(-7, 5 + y), 55, uint8_t{1});
  corner.params.xSigma = corner.params.ySigma = 29;
  corner.params.extendBorder = 0;
  corner.params.scale = 128.0f;
  EXPECT_EQ(corner.run<uint16_t>(), std::vector<uint16_t>{11});
  // a divisor of 2^20 + 3: the multiplier would round to 2^15; the sum without the dropped bits is 75
  Request peak(115, 103, 1);
  peak.params.peakNormalize = 1;
  peak.params.xSigma = 38;
  peak.params.ySigma = 34;
  EXPECT_EQ(peak.run<uint16_t>(), std::vector<uint16_t>{75 * 32767 >> 10});
}

// Which engine runs shows in the attention checks: the level polls none.
TEST(Vec1, ServesAndRefuses) {
  const auto polls = [](Request& request, int32_t vendor = 5, int32_t features = level1) {
    const ProcessorOverride processor(vendor, features);
    const AttentionProbe attention;
    request.run();
    return attention.count();
  };
  const auto served = [&](const auto& change, int32_t width = 40, int32_t height = 40) {
    Request request(width, height);
    change(request.params);
    return polls(request) == 0;
  };
  const auto scaled = [&](float scale) { return served([scale](ksGaussParams& p) { p.scale = scale; }); };
  const auto sized = [&](int32_t width, int32_t height) {
    const auto sample = [](ksGaussParams& p) { p.xSample = 3, p.ySample = 2; };
    return served(sample, width, height);
  };

  Request request;
  EXPECT_EQ(polls(request), 0);
  EXPECT_EQ(polls(request, 1), 0);
  EXPECT_GT(polls(request, 0), 0);
  EXPECT_GT(polls(request, 2), 0);
  EXPECT_GT(polls(request, 1, ksys_cpuSse2Integer | ksys_cpuAvx2), 0);
  {
    const InhibitProbe inhibit({L"gauss"});
    EXPECT_GT(polls(request), 0);
  }

  EXPECT_FALSE(served([](ksGaussParams& p) { p.roundResult = 1; }));
  EXPECT_TRUE(scaled(0.25f) && scaled(4.0f) && scaled(0x1p-30f));
  EXPECT_TRUE(scaled(std::nextafterf(1.0f, 2.0f)) && scaled(std::nextafterf(0.5f, 1.0f)));
  EXPECT_FALSE(scaled(0.75f) || scaled(3.0f));
  EXPECT_FALSE(scaled(std::nextafterf(1.0f, 0.0f)) || scaled(1.00001f));
  EXPECT_TRUE(sized(27, 18));
  EXPECT_FALSE(sized(26, 18) || sized(27, 17));

  // the limits of the arithmetic
  const auto unsmoothed = [](float scale) {
    return [scale](ksGaussParams& p) { p.scale = scale, p.xSigma = p.ySigma = 0; };
  };
  EXPECT_TRUE(served(unsmoothed(0x1p14f)));
  EXPECT_FALSE(served(unsmoothed(0x1p15f)));
  EXPECT_TRUE(served([](ksGaussParams& p) { p.ySigma = 63; }));
  EXPECT_FALSE(served([](ksGaussParams& p) { p.ySigma = 64; }));
  EXPECT_TRUE(served([](ksGaussParams& p) { p.xSigma = 4095, p.ySigma = 63; }));
  EXPECT_FALSE(served([](ksGaussParams& p) { p.xSigma = 4200, p.ySigma = 63; }));
}

TEST(Vec1, RefusesBeforeAnythingHappens) {
  Request request;
  const AllocationProbe allocations;
  ksIRegion region = {0, 8, 20, 20};
  const auto call = [&] {
    ksVImage* out = request.source.get();
    const ksIRegion before = region;
    const ksys_status status = kip::gauss_vec1Smooth(request.source.get(), nullptr, &request.params, &region, &out);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(region, before);
    return status;
  };
  // the parameters come before the processor, the processor before the size
  const ProcessorFailure failure(KSYS_STATUS(0x80001234));
  request.params.scale = 3.0f;
  EXPECT_EQ(call(), fallback);
  request.params.scale = 1.0f;
  request.params.xSample = 5;
  EXPECT_EQ(call(), KSYS_STATUS(0x80001234));
  ksys_cpuinfo_setFailure(0);
  EXPECT_EQ(call(), fallback);
  EXPECT_EQ(allocations.count(), 0);
}

TEST(Vec1, ProcessorFailureReachesTheCaller) {
  Request request;
  ksVImage* out = nullptr;
  const ProcessorFailure failure(KSYS_STATUS(0x80001234));
  EXPECT_EQ(kip_gauss(request.source.get(), nullptr, &request.params, nullptr, &out), KSYS_STATUS(0x80001234));
}

TEST(Vec1, ZScaleAndOwnership) {
  const ProcessorOverride processor(1, level1);
  Request request;
  request.params.scale = 4.0f;
  ksVImageSetClientZScale(request.source.get(), 0.5f);
  const LegacyImage given(ksImageMoveTo(ksImageCreate(40, 40), -7, 5));
  // a created destination is the first of four allocations; each failure frees it, never the caller's
  for (const bool create : {true, false}) {
    const int64_t count = create ? 4 : 3;
    for (int64_t failAt = 1; failAt <= count + 1; ++failAt) {
      const AllocationProbe allocations(failAt);
      ksVImageSetClientZScale(given.get(), 9.0f);
      ksVImage* out = request.source.get();
      const ksys_status status =
          kip::gauss_vec1Smooth(request.source.get(), create ? nullptr : given.get(), &request.params, nullptr, &out);
      if (failAt <= count) {
        EXPECT_EQ(status, create && failAt == 1 ? KSYS_STATUS_NO_MEMORY : allocations.failure()) << failAt;
        EXPECT_EQ(out, nullptr);
        EXPECT_EQ(ksImageClientZScale(given.get()), 9.0f);
        EXPECT_EQ(*ksImagePixAddr(given.get(), 0, 9), 0);
        continue;
      }
      EXPECT_EQ(status, 0);
      EXPECT_EQ(allocations.count(), count);
      EXPECT_EQ(ksImageClientZScale(out), 2.0f);
      if (create) ksImageFree(out);
    }
  }
  request.params.peakNormalize = 1;
  ksVImageSetClientZScale(given.get(), 9.0f);
  ksVImage* out = nullptr;
  EXPECT_EQ(kip::gauss_vec1Smooth(request.source.get(), given.get(), &request.params, nullptr, &out), 0);
  EXPECT_EQ(ksImageClientZScale(given.get()), 9.0f);
}

TEST(Vec1, NothingToComputeHandsTheDestinationOut) {
  const ProcessorOverride processor(1, level1);
  Request request;
  Canvas<uint8_t> far({500, 500, 4, 4}, 77);
  const LegacyImage destination = legacyOn(far);
  const AllocationProbe allocations;
  ksVImage* out = nullptr;
  EXPECT_EQ(kip::gauss_vec1Smooth(request.source.get(), destination.get(), &request.params, nullptr, &out), 0);
  EXPECT_EQ(out, destination.get());
  EXPECT_TRUE(far.intactOutside({500, 500, 0, 0}));
  EXPECT_EQ(allocations.count(), 0);
}
