// SPDX-License-Identifier: Apache-2.0
// Smoothing by any number of boxes.
#include <gtest/gtest.h>

#include "oracle/legacy_oracle.hpp"
#include "support/host_images.hpp"
#include "support/host_seams.hpp"
#include "support/pictures.hpp"

namespace {

using namespace kiptest;

constexpr ksFXform turned = {10, -6, 4, 2, 1, 8};  // exact in float, with the shifts

struct Request : oracle::Passes {
  ksImage* operator()(ksImage* source, ksImage* destination, ksIRegion* region) const {
    return kfGauss(source, destination, n, xSigma, ySigma, peakNormalize, region);
  }
  friend std::ostream& operator<<(std::ostream& out, const Request& r) {
    return out << "n " << r.n << " sigma " << r.xSigma << ' ' << r.ySigma << (r.peakNormalize != 0 ? " peak" : "");
  }
};

bool same(const ksFXform& a, const ksFXform& b) {
  return a.tx == b.tx && a.ty == b.ty && a.m00 == b.m00 && a.m01 == b.m01 && a.m10 == b.m10 && a.m11 == b.m11;
}

// The client point of a source position is now that of the same kernel centre: pixel u's, u + 1/2 in the destination,
// is u - E / 2 + (E + 1) / 2 in the source.
void expectOnKernelCentres(const ksImage* destination, const Request& request) {
  ksFXform expected = turned;
  if (request.xExtent() % 2 != 0) expected.tx -= 0.5f;
  if (request.yExtent() % 2 != 0) expected.ty -= 0.5f;
  EXPECT_TRUE(same(*ksImageClientCoords(destination), expected)) << request;
}

// New, given and in place, from a picture with `more` pixels beyond the kernel.
void expectSmoothed(const Request& request, int32_t moreColumns, int32_t moreRows, Random& random) {
  const ksIRegion region = {random.between(-40, 40), random.between(-40, 40), request.xExtent() + moreColumns,
                            request.yExtent() + moreRows};
  const Pattern pattern =
      random.pick({Pattern::noise, Pattern::noise, Pattern::white, Pattern::checker, Pattern::ramp});
  const std::vector<uint8_t> picture = drawPattern(pattern, region, random);
  Canvas<uint8_t> canvas(region, 201, random.pick({Placement::atStart, Placement::atEnd}));
  canvas.paint(picture);
  const LegacyImage source = legacyOn(canvas);
  ksImageSetClientCoords(source.get(), &turned);
  ksVImageSetClientZScale(source.get(), 3.0f);
  const ksIRegion valid = {region.x + request.xExtent() / 2, region.y + request.yExtent() / 2, moreColumns, moreRows};

  const auto check = [&](const char* how, const ksImage* result, const ksIRegion& computed, const ksIRegion& expected) {
    ASSERT_EQ(computed, expected) << request << ' ' << how;
    expectOnKernelCentres(result, request);
  };
  const auto expectPixels = [&](const char* how, const std::vector<uint8_t>& pixels, const ksIRegion& part) {
    const std::string text = difference(pixels, oracle::smoothPasses({region, picture}, request, part), part.width);
    ASSERT_TRUE(text.empty()) << request << ' ' << how << ' ' << region << ' ' << nameOf(pattern) << ": " << text;
  };

  // a region limits a new image
  ksIRegion limit = {valid.x + 1, valid.y - 7, valid.width + 5, 8 + moreRows / 2};
  const ksIRegion limited = {valid.x + 1, valid.y, valid.width - 1, std::min(valid.height, 1 + moreRows / 2)};
  const LegacyImage created(request(source.get(), nullptr, &limit));
  ASSERT_NE(created, nullptr);
  check("new", created.get(), limit, limited);
  EXPECT_EQ(*ksImageRegion(created.get()), limited);
  EXPECT_EQ(ksImageClientZScale(created.get()), 1.0f);
  expectPixels("new", pixelsOf<uint8_t>(created.get()), limited);

  // but not a given one, which does so itself
  const Canvas<uint8_t> target({valid.x - 2, valid.y, valid.width + 1, valid.height + 3}, 77, Placement::atEnd);
  const LegacyImage given = legacyOn(target);
  ksIRegion ignored = {0, 0, 1, 1};
  ASSERT_EQ(request(source.get(), given.get(), &ignored), given.get());
  const ksIRegion covered = {valid.x, valid.y, valid.width - 1, valid.height};
  check("given", given.get(), ignored, covered);
  expectPixels("given", target.crop(covered), covered);
  EXPECT_TRUE(target.intactOutside(covered)) << request;
  EXPECT_TRUE(same(*ksImageClientCoords(source.get()), turned));
  EXPECT_EQ(canvas.crop(region), picture);

  // in place; what has no full kernel stays
  Canvas<uint8_t> own(region, 201, Placement::atEnd);
  own.paint(picture);
  const LegacyImage both = legacyOn(own);
  ksImageSetClientCoords(both.get(), &turned);
  ignored = {0, 0, 1, 1};
  ASSERT_EQ(request(both.get(), both.get(), &ignored), both.get());
  check("in place", both.get(), ignored, valid);
  expectPixels("in place", own.crop(valid), valid);
  EXPECT_TRUE(own.intactOutside(region)) << request;
  for (const ksIRegion& edge :
       {ksIRegion{region.x, region.y, region.width, request.yExtent() / 2},
        ksIRegion{region.x, valid.y + valid.height, region.width, (request.yExtent() + 1) / 2},
        ksIRegion{region.x, region.y, request.xExtent() / 2, region.height},
        ksIRegion{valid.x + valid.width, region.y, (request.xExtent() + 1) / 2, region.height}}) {
    EXPECT_EQ(own.crop(edge), canvas.crop(edge)) << request << " in place beside the kernel";
  }
}

TEST(KfGauss, EveryNumberOfPassesAndParityNewGivenAndInPlace) {
  Random random(11);
  for (const int32_t n : {0, 1, 2, 3, 4, 5, 6, 7, 8, 12}) {
    for (int32_t sigmas = 1; sigmas < 16; ++sigmas) {
      const Request request = {n, sigmas % 4, sigmas / 4, random.between(0, 1)};
      // rows below, at and beyond those that wait in place
      const int32_t waiting = n + 1 + request.yExtent() / 2;
      const int32_t rows = random.pick({1, waiting - 1, waiting, waiting + 1, 2 * waiting + 1});
      expectSmoothed(request, random.between(2, 40), std::max(rows, 1), random);
    }
  }
  expectSmoothed({5, 15, 14, 0}, 33, 2, random);  // sums just below 2^53
  // no kernel along the row or down the columns, and larger sums on the way than in the end; quotients beyond 64 bits
  for (const int32_t n : {20, 25, 40, 70}) {
    for (const auto& [xSigma, ySigma] : {std::pair{0, 2}, {0, 1}, {1, 0}, {2, 2}}) {
      expectSmoothed({n, xSigma, ySigma, random.between(0, 1)}, 45, 30, random);
    }
  }
  expectSmoothed({2, 5, 40, 1}, 18, 65, random);
}

// One pass over a whole white picture and no gain against it: the sum itself, which is beyond 31 bits.
TEST(KfGauss, ValuesBeyondAByteKeepTheirLowBits) {
  const int32_t side = 2903;
  const Canvas<uint8_t> white({0, 0, side, side}, 255);
  const LegacyImage result(kfGauss(legacyOn(white).get(), nullptr, 0, side - 1, side - 1, 1, nullptr));
  EXPECT_EQ(pixelsOf<uint8_t>(result.get()), std::vector<uint8_t>{static_cast<uint8_t>(255 * int64_t{side} * side)});
}

TEST(KfGauss, SumsThatAreNotFiniteGiveZero) {
  const Canvas<uint8_t> row({0, 0, 1200, 1}, 255);
  const LegacyImage result(kfGauss(legacyOn(row).get(), nullptr, 1100, 1, 0, 0, nullptr));
  EXPECT_EQ(pixelsOf<uint8_t>(result.get()), std::vector<uint8_t>(99, 0));
}

class KfGaussAround : public testing::Test {
 protected:
  KfGaussAround()
      : canvas({5, -7, 20, 16}, 100), source(legacyOn(canvas)), target({3, 0, 9, 30}, 7), given(legacyOn(target)) {
    ksImageSetClientCoords(source.get(), &turned);
    ksVImageSetClientZScale(source.get(), 3.0f);
    ksVImageSetClientZScale(given.get(), 5.0f);
  }
  void expectGivenUntouched() const {
    EXPECT_TRUE(target.intactOutside({}));
    EXPECT_TRUE(same(*ksImageClientCoords(given.get()), ksFXform{0, 0, 1, 0, 0, 1}));
    EXPECT_EQ(ksImageClientZScale(given.get()), 5.0f);
  }

  const Canvas<uint8_t> canvas;
  const LegacyImage source;
  const Canvas<uint8_t> target;
  const LegacyImage given;
  ksIRegion region = {1, 2, 3, 4};
};

TEST_F(KfGaussAround, WithoutAPixelToComputeNothingIsTouched) {
  const auto expectNothing = [this](const Request& request, const ksIRegion& limit) {
    region = limit;
    const LegacyImage created(request(source.get(), nullptr, &region));
    EXPECT_EQ(region, (ksIRegion{0, 0, 0, 0})) << request;
    ASSERT_NE(created, nullptr);
    EXPECT_EQ(*ksImageRegion(created.get()), (ksIRegion{0, 0, 0, 0})) << request;
  };
  constexpr ksIRegion all = {5, -7, 20, 16};
  constexpr int32_t most = INT32_MAX;
  for (const Request& request : {Request{0, 20, 0, 0}, Request{2, 0, 6, 1}, Request{most, 1, 0, 0},
                                 Request{most, most, most, 1}, Request{0, most, 0, 1}}) {
    expectNothing(request, all);
    region = all;
    EXPECT_EQ(request(source.get(), given.get(), &region), given.get());
    EXPECT_EQ(region, (ksIRegion{0, 0, 0, 0}));
    expectGivenUntouched();
    EXPECT_EQ(request(source.get(), source.get(), nullptr), source.get());
    EXPECT_TRUE(same(*ksImageClientCoords(source.get()), turned));
  }
  expectNothing({2, 1, 1, 0}, {5, -7, 1, 20});  // left of the first pixel that has its taps
  expectNothing({2, 0, 0, 0}, {25, 0, 5, 5});
  expectNothing({2, 0, 0, 0}, {INT32_MIN, INT32_MIN, most, most});
  expectNothing({2, 0, 0, 0}, {8, 0, 5, -1});
  ksImageMoveTo(given.get(), 25, 0);
  EXPECT_EQ(kfGauss(source.get(), given.get(), 2, 0, 0, 0, nullptr), given.get());
  expectGivenUntouched();
}

TEST_F(KfGaussAround, NothingToSmoothCopies) {
  for (const Request& request : {Request{2, 0, 0, 0}, Request{INT32_MAX, 0, 0, 1}, Request{-1, 6, INT32_MAX, 0}}) {
    const Canvas<uint8_t> other({3, 0, 9, 30}, 7);
    const LegacyImage destination = legacyOn(other);
    EXPECT_EQ(request(source.get(), destination.get(), &region), destination.get());
    EXPECT_EQ(region, (ksIRegion{5, 0, 7, 9}));
    EXPECT_EQ(other.crop(region), canvas.crop(region));
    EXPECT_TRUE(other.intactOutside(region));
    region = {0, -8, 7, 3};
    const LegacyImage created(request(source.get(), nullptr, &region));
    EXPECT_EQ(region, (ksIRegion{5, -7, 2, 2}));
    EXPECT_EQ(*ksImageRegion(created.get()), region);
    EXPECT_EQ(pixelsOf<uint8_t>(created.get()), canvas.crop(region));
    EXPECT_EQ(request(source.get(), source.get(), nullptr), source.get());
    for (const ksImage* const image : {source.get(), destination.get(), created.get()}) {
      EXPECT_TRUE(same(*ksImageClientCoords(image), turned)) << request;
      EXPECT_EQ(ksImageClientZScale(image), 3.0f) << request;
    }
  }
}

TEST_F(KfGaussAround, ShortOfMemoryTheDestinationComesBackUnwritten) {
  const Request request = {2, 3, 2, 0};
  const std::vector<uint8_t> before = canvas.crop(canvas.region());
  const auto failAtEach = [&](ksImage* destination, auto expectUnwritten) {
    for (int64_t number = 1;; ++number) {
      const AllocationProbe failing(number);
      region = {-100, -100, 200, 200};
      ksImage* const result = request(source.get(), destination, &region);
      if (failing.count() < number) {
        EXPECT_FALSE(ksIRegionIsNull(&region));
        if (destination == nullptr) ksImageFree(result);
        return number - 1;
      }
      EXPECT_EQ(region, (ksIRegion{0, 0, 0, 0}));
      expectUnwritten(result, number);
    }
  };
  const int64_t blocks = failAtEach(given.get(), [&](const ksImage* result, int64_t) {
    EXPECT_EQ(result, given.get());
    expectGivenUntouched();
  });
  EXPECT_GT(blocks, 0);
  const int64_t forCreated = failAtEach(nullptr, [](ksImage* result, int64_t number) {
    const LegacyImage created(result);
    ASSERT_EQ(created == nullptr, number == 1);
    if (number == 1) return;
    EXPECT_EQ(pixelsOf<uint8_t>(created.get()), std::vector<uint8_t>(11 * 10, 0));
  });
  EXPECT_EQ(forCreated, blocks + 1);
  const int64_t inPlace = failAtEach(source.get(), [&](const ksImage* result, int64_t) {
    EXPECT_EQ(result, source.get());
    EXPECT_EQ(canvas.crop(canvas.region()), before);
    EXPECT_TRUE(same(*ksImageClientCoords(source.get()), turned));
  });
  EXPECT_EQ(inPlace, blocks + 1);
}

TEST_F(KfGaussAround, ProgrammingErrorsFailTheArgumentCheck) {
  const auto fails = [&](ksImage* from, ksImage* to, const Request& request) {
    return failsCheck([&] { request(from, to, nullptr); });
  };
  EXPECT_TRUE(fails(nullptr, given.get(), {2, 1, 1, 0}));
  for (const Request& request :
       {Request{-2, 1, 1, 0}, Request{INT32_MIN, 0, 0, 0}, Request{2, -1, 1, 0}, Request{-1, 1, INT32_MIN, 0}}) {
    EXPECT_TRUE(fails(source.get(), given.get(), request)) << request;
  }
  const LegacyImage wide(ksUSImageCreate(20, 20));
  EXPECT_TRUE(fails(wide.get(), given.get(), {2, 1, 1, 0}));
  EXPECT_TRUE(fails(source.get(), wide.get(), {2, 1, 1, 0}));
  ksImageMoveTo(source.get(), INT32_MAX - 10, 0);
  EXPECT_TRUE(fails(source.get(), nullptr, {0, 1, 0, 0}));
}

}  // namespace
