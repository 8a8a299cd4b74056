// SPDX-License-Identifier: Apache-2.0
// Masked smoothing of windows against its definition.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <set>

#include "masked/masked_case.hpp"

namespace {

using namespace kiptest;

template <typename Pair>
class MaskedEngine : public testing::Test {};
TYPED_TEST_SUITE(MaskedEngine, MaskedPairs);

// Clipped and missed destinations, sources narrower than the kernel's reach, all rules, both forms of the set-mask
// step.
TYPED_TEST(MaskedEngine, EqualsTheDefinition) {
  using Pair = TypeParam;
  using Names = std::set<std::wstring>;
  constexpr int32_t cases = 4000;
  const ProcessorOverride processor(maskedVendor, maskedFeatures);
  const JobThreads oneThread(1);  // the inhibit probe takes no more
  int32_t computed = 0, masked = 0;
  for (int32_t i = 0; i < cases && !this->HasFailure(); ++i) {
    MaskedCase drawn = drawMaskedCase<Pair>(4, i);
    const bool portable = i % 2 == 0;
    const bool withDstMask = i % 5 != 0;
#ifdef KIP_VECTOR
    drawn.request.byLowestBit = !portable;
    drawn.request.seenThrough = !portable && sizeof(typename Pair::Src) == 1;
#endif
    const oracle::MaskedResult expected = expectedOf<Pair>(drawn);
    const MaskedCall<Pair> call(drawn, static_cast<Placement>(i % 3));
    const InhibitProbe inhibit(portable ? std::vector<std::wstring>{Pair::setMaskName} : std::vector<std::wstring>{});
    ASSERT_EQ(call.run(withDstMask), 0) << drawn.name;
    EXPECT_EQ(call.check(expected, withDstMask), "") << drawn.name;
    const bool smooths = drawn.computed.width != 0, hasMask = !drawn.request.srcMask.empty();
    computed += smooths;
    masked += smooths && hasMask;
    const Names asked(inhibit.names().begin(), inhibit.names().end());
    const Names masking = {Pair::setMaskName, Pair::engineName}, unmasked = {Pair::unmaskedName};
    EXPECT_EQ(asked, !smooths ? Names{} : hasMask ? masking : unmasked) << drawn.name;
  }
  EXPECT_GT(computed, cases * 3 / 4);
  EXPECT_GT(masked, computed * 3 / 4);
}

// Sums beyond 32 bits: an 8-bit source's mask weights alone sum to 2^36, of which every one must count. An infinite
// scale makes 0 not-a-number, which is stored as 0.
TYPED_TEST(MaskedEngine, TheLargestSums) {
  using Pair = TypeParam;
  const ProcessorOverride processor(maskedVendor, maskedFeatures);
  constexpr int32_t sigma = Pair::maxSigma;
  for (const int32_t grey : {int32_t{std::numeric_limits<typename Pair::Src>::max()}, 0}) {
    for (const double scale : {0.01, 1.0, 256.0, 300.0, 1e300, std::numeric_limits<double>::infinity()}) {
      MaskedCase drawn = drawMaskedCase<Pair>(5, 0);
      drawn.request.region = {3, -4, 200, 195};
      drawn.request.params = {
          1, 1, sigma, sigma, scale, 1, {.allowMaskedSample = 1, .useCoverage = 1, .minCoverage = 1.0}};
      drawn.request.pixels.assign(200 * 195, grey);
      drawn.request.srcMask.assign(200 * 195, 255);
      drawn.request.srcMask[0] = 0;
      drawn.request.sampleMask.clear();
      drawn.destination = drawn.computed = {100, 90, 5, 4};
      const MaskedCall<Pair> call(drawn);
      ASSERT_EQ(call.run(true), 0);
      EXPECT_EQ(call.check(expectedOf<Pair>(drawn), true), "") << scale;
      const double flat = std::min<double>(grey * scale, drawn.request.largest);
      EXPECT_EQ(call.result().pixels.front(), grey == 0 ? 0 : static_cast<int32_t>(flat + 0.5)) << scale;
    }
  }
}

#ifdef KIP_VECTOR
// 16-bit requests without a source mask where there are vectors. The vectorised form shows by the result mask,
// into which it copies the sample mask's bytes; its factor is one off at most.
TEST(MaskedEngine, BothFormsWithoutASourceMask) {
  using Pair = Masked16_16;
  const ProcessorOverride processor(maskedVendor, maskedFeatures | ksys_cpuMmxSse2);
  int32_t computed = 0, served = 0;
  for (int32_t i = 0; i < 1000 && !HasFailure(); ++i) {
    MaskedCase drawn = drawMaskedCase<Pair>(8, i);
    oracle::MaskedRequest& request = drawn.request;
    drawn.destination = drawn.computed = oracle::destinationOf(request.region, oracle::legacyOf(request.params));
    const bool isMirrored = request.region.width > 3 * request.params.xSigma;  // no column is out of reach
    if (drawn.computed.width == 0 || !isMirrored) continue;
    ++computed;
    Random random(2, static_cast<uint64_t>(i));
    request.params.scale = std::min(request.params.scale, 1.0);
    request.srcMask.clear();
    request.sampleMask.clear();
    for (size_t at = 0; at < request.pixels.size(); ++at) request.sampleMask.push_back(random.chance(9) ? 0 : 7);
    oracle::MaskedResult expected = expectedOf<Pair>(drawn);
    const MaskedCall<Pair> call(drawn);
    ASSERT_EQ(call.run(true), 0) << drawn.name;
    const oracle::MaskedResult result = call.result();
    const bool vectorised = std::count(result.mask.begin(), result.mask.end(), 7) != 0;
    served += vectorised;
    for (size_t at = 0; vectorised && at < result.mask.size(); ++at) {
      expected.mask[at] = expected.mask[at] != 0 ? 7 : 0;
      const bool oneOff = std::abs(expected.pixels[at] - result.pixels[at]) == 1;
      if (expected.mask[at] != 0 && oneOff) expected.pixels[at] = result.pixels[at];
    }
    EXPECT_EQ(call.check(expected, true), "") << drawn.name;
  }
  EXPECT_GT(served, 100);
  EXPECT_GT(computed, served + 100);
}
#endif

}  // namespace
