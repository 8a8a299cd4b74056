// SPDX-License-Identifier: Apache-2.0
// Requests that are cut into bands.
#include <gtest/gtest.h>

#include <atomic>
#include <cwchar>
#include <thread>

#include "masked/masked_case.hpp"

namespace {

using namespace kiptest;

std::atomic<int64_t> asked;  // questions for the engine's name, or for memory

// A picture of that size with holes.
template <typename Pair>
MaskedCase drawLarge(uint64_t seed, int32_t width, int32_t height, int32_t sigma, int32_t sample) {
  Random random(seed);
  MaskedCase drawn = drawMaskedCase<Pair>(seed, 0);
  oracle::MaskedRequest& request = drawn.request;
  request.region = {random.between(-90, 9), random.between(-90, 9), width, height};
  const std::vector<uint8_t> noise = drawPattern(Pattern::noise, request.region, random);
  request.pixels.assign(noise.begin(), noise.end());
  for (int32_t& pixel : request.pixels) pixel *= std::numeric_limits<typename Pair::Src>::max() / 255;
  request.srcMask.clear();
  for (size_t i = 0; i < noise.size(); ++i) request.srcMask.push_back(random.chance(5) ? 0 : 255);
  request.sampleMask = drawMask(random, request.region);
  request.params.xSample = request.params.ySample = sample;
  request.params.xSigma = request.params.ySigma = sigma;
  request.params.scale = 1.2;
  drawn.destination = drawn.computed = oracle::destinationOf(request.region, oracle::legacyOf(request.params));
  return drawn;
}

// The number of times the engine's name was asked for: once a band.
template <typename Pair>
int64_t countBands(const MaskedCase& drawn, int32_t threads, const oracle::MaskedResult& expected) {
  const JobThreads limit(threads);
  const MaskedCall<Pair> call(drawn);
  asked = 0;
  kprt_isOptimizationInhibitedFP = [](const wchar_t* name) -> int32_t {
    asked += std::wcscmp(name, Pair::engineName) == 0;
    return 0;
  };
  EXPECT_EQ(call.run(true), 0);
  kprt_isOptimizationInhibitedFP = nullptr;
  EXPECT_EQ(call.check(expected, true), "") << threads;
  return asked;
}

template <typename Pair>
class MaskedBands : public testing::Test {};
TYPED_TEST_SUITE(MaskedBands, MaskedPairs);

TYPED_TEST(MaskedBands, EqualTheSingleCall) {
  using Pair = TypeParam;
  const ProcessorOverride processor(maskedVendor, maskedFeatures);
  for (const int32_t sigma : {0, 1, 4}) {
    for (const int32_t sample : {1, 2, 3}) {
      const MaskedCase drawn = drawLarge<Pair>(6 + static_cast<uint64_t>(sigma), 331, 397, sigma, sample);
      const oracle::MaskedResult expected = expectedOf<Pair>(drawn);
      for (const int32_t threads : {1, 2, 3, 8}) {
        const int64_t bands = countBands<Pair>(drawn, threads, expected);
        EXPECT_TRUE(threads < 8 ? bands == threads : bands > 3) << sigma << ' ' << sample;
      }
    }
  }
  // 25 bands of 11 rows each would be one more than there are rows for
  const MaskedCase uneven = drawLarge<Pair>(1, 1600, 259, 0, 1);
  EXPECT_EQ(countBands<Pair>(uneven, 25, expectedOf<Pair>(uneven)), 24);
  const MaskedCase small = drawLarge<Pair>(1, 128, 128, 1, 1);
  EXPECT_EQ(countBands<Pair>(small, 8, expectedOf<Pair>(small)), 1);
}

TYPED_TEST(MaskedBands, ConcurrentRequests) {
  const ProcessorOverride processor(maskedVendor, maskedFeatures);
  const JobThreads limit(3);
  std::vector<std::thread> threads;
  for (uint64_t i = 0; i < 4; ++i) {
    threads.emplace_back([i] {
      const MaskedCase drawn = drawLarge<TypeParam>(20 + i, 257, 241, static_cast<int32_t>(i), 1);
      const oracle::MaskedResult expected = expectedOf<TypeParam>(drawn);
      for (int run = 0; run < 8; ++run) {
        const MaskedCall<TypeParam> call(drawn);
        EXPECT_EQ(call.run(true), 0);
        EXPECT_EQ(call.check(expected, true), "");
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

// The n-th allocation fails, for every n: that status comes back. Only a worker that cannot start is made up for.
template <typename Pair>
void failEveryAllocation(const MaskedCase& drawn, int64_t least) {
  const ProcessorOverride processor(maskedVendor, maskedFeatures);
  const JobThreads limit(2);
  const oracle::MaskedResult expected = expectedOf<Pair>(drawn);
  static int64_t failing;
  int64_t failures = 0;
  for (failing = 1;; ++failing) {
    const MaskedCall<Pair> call(drawn);
    asked = 0;
    ksys_memory_setHandler(
        [](void*, uint64_t) -> ksys_status { return ++asked == failing ? KSYS_STATUS(0x8000BEEF) : 0; }, nullptr);
    const ksys_status status = call.run(true);
    ksys_memory_setHandler(nullptr, nullptr);
    if (status == 0) {
      EXPECT_EQ(call.check(expected, true), "");
    } else {
      ASSERT_EQ(status, KSYS_STATUS(0x8000BEEF)) << failing;
      ++failures;
    }
    if (asked < failing) break;
  }
  EXPECT_GE(failures, least);
  EXPECT_GE(failures, failing - 2);
}

TYPED_TEST(MaskedBands, EveryAllocation) {
  MaskedCase drawn = drawLarge<TypeParam>(30, 257, 241, 2, 1);
  failEveryAllocation<TypeParam>(drawn, 30);
  drawn.request.srcMask.clear();
  failEveryAllocation<TypeParam>(drawn, 2);
}

}  // namespace
