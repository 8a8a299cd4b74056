// SPDX-License-Identifier: Apache-2.0
// Masked smoothing of windows against its definition.
#include <gtest/gtest.h>

#include <limits>
#include <set>

#include "masked/masked_case.hpp"

namespace {

using namespace kiptest;

const wchar_t* const setMaskName = L"gauss_setMaskResetMaskedWindow8";

// Clipped and missed destinations, sources narrower than the kernel's reach, all rules, both forms of the set-mask
// step.
TEST(MaskedEngine, EqualsTheDefinition) {
  constexpr int32_t cases = 4000;
  const ProcessorOverride processor(maskedVendor, maskedFeatures);
  const JobThreads oneThread(1);  // the inhibit probe takes no more
  int32_t computed = 0, masked = 0;
  for (int32_t i = 0; i < cases && !HasFailure(); ++i) {
    MaskedCase drawn = drawMaskedCase(4, i);
    const bool portable = i % 2 == 0;
    const bool withDstMask = i % 5 != 0;
#ifdef KIP_VECTOR
    drawn.request.byLowestBit = !portable;
#endif
    const oracle::MaskedResult expected = expectedOf(drawn);
    const MaskedCall call(drawn, static_cast<Placement>(i % 3));
    const InhibitProbe inhibit(portable ? std::vector<std::wstring>{setMaskName} : std::vector<std::wstring>{});
    ASSERT_EQ(call.run(withDstMask), 0) << drawn.name;
    EXPECT_EQ(call.check(expected, withDstMask), "") << drawn.name;
    const bool smooths = drawn.computed.width != 0;
    computed += smooths;
    masked += smooths && !drawn.request.srcMask.empty();
    const bool hasMask = !drawn.request.srcMask.empty();
    const std::set<std::wstring> asked(inhibit.names().begin(), inhibit.names().end());
    const std::set<std::wstring> masking = {setMaskName, L"gauss_smoothMaskedWindow8_8"}, unmasked = {L"gauss"};
    EXPECT_EQ(asked, !smooths ? std::set<std::wstring>{} : hasMask ? masking : unmasked) << drawn.name;
  }
  EXPECT_GT(computed, cases * 3 / 4);
  EXPECT_GT(masked, computed * 3 / 4);
}

// Sums beyond 32 bits: the mask's weights alone sum to 2^36, of which every one must count. An infinite scale makes 0
// not-a-number, which is stored as 0.
TEST(MaskedEngine, TheLargestSums) {
  const ProcessorOverride processor(maskedVendor, maskedFeatures);
  for (const int32_t grey : {255, 0}) {
    for (const double scale : {0.01, 1.0, 1e300, std::numeric_limits<double>::infinity()}) {
      MaskedCase drawn = drawMaskedCase(5, 0);
      drawn.request.region = {3, -4, 200, 195};
      drawn.request.params = {1, 1, 63, 63, scale, 1, {.allowMaskedSample = 1, .useCoverage = 1, .minCoverage = 1.0}};
      drawn.request.pixels.assign(200 * 195, grey);
      drawn.request.srcMask.assign(200 * 195, 255);
      drawn.request.srcMask[0] = 0;
      drawn.request.sampleMask.clear();
      drawn.destination = drawn.computed = {100, 90, 5, 4};
      const MaskedCall call(drawn);
      ASSERT_EQ(call.run(true), 0);
      EXPECT_EQ(call.check(oracle::smoothMasked(drawn.request, drawn.computed), true), "") << scale;
    }
  }
}

}  // namespace
