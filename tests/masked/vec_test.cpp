// SPDX-License-Identifier: Apache-2.0
// The vectorised masked engine against the definition in its integers, with both vector sizes.
#include <gtest/gtest.h>

#include "kip/geometry.h"
#include "levels/levels.hpp"
#include "masked/masked_case.hpp"
#include "support/levels.hpp"

namespace {

using namespace kiptest;

// Those with vectors.
std::vector<kip_level> vectorLevels() {
  std::vector<kip_level> levels = usableLevels();
  levels.erase(levels.begin());
  return levels;
}

template <typename Pair>
class MaskedVec : public testing::Test {
 protected:
  // As the engine sees the request after the set-mask step by bit 0.
  static void prepare(oracle::MaskedRequest& request) {
    request.byLowestBit = true;
    request.seenThrough = sizeof(typename Pair::Src) == 1;
    request.largestSource = std::numeric_limits<typename Pair::Src>::max();
  }

  // With fewer than nine samples the portable engine serves, and scales that fixed point does not hold.
  static bool isServed(const MaskedCase& drawn) {
    const oracle::MaskedRequest& request = drawn.request;
    const kstd_rect32 source = rectOf(request.region), requested = rectOf(drawn.destination);
    kstd_rect32 read, computed, mirror, padding, needed;
    EXPECT_EQ(gauss_setup(&source, &requested, &request.params, &read, &computed, &mirror, &padding, &needed), 0);
    return read.width >= 9 * request.params.xSample && read.height >= 9 * request.params.ySample &&
           request.params.scale < 0x1p47;
  }

  // Draws, runs and checks a case; whether the engine served it.
  static bool check(MaskedCase drawn, int32_t index) {
    oracle::MaskedRequest& request = drawn.request;
    if (request.srcMask.empty() || drawn.computed.width == 0) return false;
    prepare(request);
    const bool served = isServed(drawn);
    const bool withDstMask = index % 4 != 0;
    const oracle::MaskedResult expected = served ? oracle::smoothMaskedInIntegers(request, drawn.computed)
                                                 : oracle::smoothMasked(request, drawn.computed);
    for (const kip_level& level : vectorLevels()) {
      const ProcessorOverride processor(level);
      const MaskedCall<Pair> call(drawn, static_cast<Placement>(index % 3));
      EXPECT_EQ(call.run(withDstMask), 0) << drawn.name;
      EXPECT_EQ(call.check(expected, withDstMask), "") << drawn.name << ' ' << level.title;
    }
    return served;
  }

  // A case with sigmas for every width of the sums and scales of each kind; three of four are large enough for the
  // engine, some for several pieces of a row.
  static MaskedCase draw(int32_t index) {
    MaskedCase drawn = drawMaskedCase<Pair>(21, index);
    Random random(22, static_cast<uint64_t>(index));
    oracle::MaskedRequest& request = drawn.request;
    kip_gaussParams& params = request.params;
    params.scale = random.chance(4) ? drawScale(random)
                                    : random.pick({1.0, 1.0, 1.0, 0.5, 0.01, 1.2, 1.25, 2.0, 4.0000005, 3.0, 256.0,
                                                   1024.0, 257.0, 300.0, 1e7, 1e12});
    if (index % 7 == 0) params.xSigma = random.between(7, 17);
    if (index % 7 == 1) params.ySigma = random.between(7, 17);
    if (index % 23 == 0) params.xSigma = params.ySigma = 3;  // as many weights as the mask's bits of joined sums
    if (index % 19 == 0) {                                   // the kernel for sigma 1
      params.xSigma = params.ySigma = params.xSample = params.ySample = 1;
      params.scale = 1.0;
    }
    if (index % 31 == 0) params.xSigma = params.ySigma = random.pick({15, 24, Pair::maxSigma});
    if (index % 32 == 1) params.xSigma = random.pick({31, Pair::maxSigma});  // pads longer than the last piece
    if (index % 4 != 0) {
      request.region.width = 9 * params.xSample + random.between(0, index % 16 == 1 ? 700 : 90);
      request.region.height = 9 * params.ySample + random.between(0, index % 16 == 1 ? 20 : 90);
      const auto pixels = static_cast<size_t>(request.region.width) * static_cast<size_t>(request.region.height);
      const int32_t most = std::numeric_limits<typename Pair::Src>::max();
      request.pixels.clear();
      while (request.pixels.size() < pixels)
        request.pixels.push_back(random.chance(4) ? most : random.between(0, most));
      request.srcMask = drawMask(random, request.region);
      if (!request.sampleMask.empty()) request.sampleMask = drawMask(random, request.region);
      drawn.destination = oracle::destinationOf(request.region, oracle::legacyOf(params), nullptr);
      drawn.destination.x += random.between(-2, 2);
      drawn.destination.y += random.between(-2, 2);
    }
    drawn.computed = oracle::destinationOf(request.region, oracle::legacyOf(params), &drawn.destination);
    return drawn;
  }

  static kstd_rect32 rectOf(const ksIRegion& region) { return {region.x, region.y, region.width, region.height}; }

  const JobThreads oneThread_{1};
};
TYPED_TEST_SUITE(MaskedVec, MaskedPairs);

// Every rule, scale class and width of the sums; planes narrower than a vector, pads wider than the plane.
TYPED_TEST(MaskedVec, EqualsTheDefinitionInIntegers) {
  if (vectorLevels().empty()) GTEST_SKIP() << "no vectors here";
  constexpr int32_t cases = 3000;
  int32_t served = 0;
  for (int32_t i = 0; i < cases && !this->HasFailure(); ++i) {
    served += this->check(this->draw(i), i);
  }
  EXPECT_GT(served, cases * 3 / 5);
}

// The largest sums there are, around one invalid pixel and away from it, with scales down and up to what fixed point
// and 64 bits hold; then the largest quotients: one valid pixel among others that even bytes let through.
TYPED_TEST(MaskedVec, TheLargestSums) {
  if (vectorLevels().empty()) GTEST_SKIP() << "no vectors here";
  for (const int32_t sigma : {3, 8, 15, 34, TypeParam::maxSigma}) {
    for (const double scale : {0.01, 0.524, 1.0, 256.0, 300.0, 2065.0, 70000.0, 1e12}) {
      MaskedCase drawn = drawMaskedCase<TypeParam>(5, 0);
      const int32_t white = std::numeric_limits<typename TypeParam::Src>::max();
      drawn.request.region = {3, -4, 290, 195};
      drawn.request.params = {
          1, 1, sigma, sigma, scale, 1, {.allowMaskedSample = 1, .useCoverage = 1, .minCoverage = 0.5}};
      drawn.request.pixels.assign(290 * 195, white);
      drawn.request.srcMask.assign(290 * 195, 255);
      drawn.request.srcMask[97 * 290 + 60] = 0;
      drawn.request.sampleMask.clear();
      drawn.destination = drawn.computed = {60, 90, 190, 9};
      drawn.name = std::to_string(sigma) + " scale " + std::to_string(scale);
      EXPECT_TRUE(this->check(drawn, 1));
      MaskedCase lone = drawn;
      lone.request.params.filterMask.useCoverage = 0;
      lone.request.srcMask.assign(290 * 195, 254);
      lone.request.srcMask[97 * 290 + 60] = 255;
      EXPECT_TRUE(this->check(lone, 1));
      if (scale == 256.0 && white == 255 && drawn.request.largest == 65535) {
        const MaskedCall<TypeParam> call(drawn);
        EXPECT_EQ(call.run(true), 0);
        EXPECT_EQ(call.result().pixels.back(), 65280);
      }
    }
  }
}

TYPED_TEST(MaskedVec, BandsEqualTheSingleCall) {
  if (vectorLevels().empty()) GTEST_SKIP() << "no vectors here";
  MaskedCase drawn = this->draw(5);
  drawn.request.region = {-7, 11, 331, 397};
  drawn.request.params.xSample = drawn.request.params.ySample = 1;
  drawn.request.params.scale = 1.2;
  Random random(9);
  drawn.request.pixels.clear();
  for (int32_t i = 0; i < 331 * 397; ++i) drawn.request.pixels.push_back(random.between(0, 255));
  drawn.request.srcMask = drawMask(random, drawn.request.region);
  drawn.request.sampleMask.clear();
  drawn.destination = drawn.computed =
      oracle::destinationOf(drawn.request.region, oracle::legacyOf(drawn.request.params), nullptr);
  for (const int32_t threads : {1, 2, 3, 8}) {
    ksys_jobThreads_setMaximum(threads);
    EXPECT_TRUE(this->check(drawn, threads)) << threads;
  }
}

// A request fails with the status of the allocation that fails, and writes nothing outside its destination.
TYPED_TEST(MaskedVec, AllocationFailures) {
  if (vectorLevels().empty()) GTEST_SKIP() << "no vectors here";
  MaskedCase drawn = this->draw(6);
  drawn.request.srcMask.assign(drawn.request.pixels.size(), 2);  // even bytes: counts are needed
  const ProcessorOverride processor(vectorLevels().back());
  int64_t failing = 1;
  for (ksys_status status = -1; status != 0; ++failing) {
    const AllocationProbe probe(failing);
    const MaskedCall<TypeParam> call(drawn);
    status = call.run(true);
    ASSERT_TRUE(status == 0 || status == probe.failure()) << failing;
  }
  EXPECT_GT(failing, 8);
}

}  // namespace
