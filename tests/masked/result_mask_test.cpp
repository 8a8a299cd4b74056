// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "masked/masked_case.hpp"

namespace {

using namespace kiptest;

// One call on a case; an unbound destination when none is given.
struct ResultMaskCall {
  explicit ResultMaskCall(const MaskedCase& drawn)
      : request(drawn.request), canvas(request.region, 255), sampleCanvas(request.region, 255) {
    canvas.paint(request.srcMask);
    if (!request.sampleMask.empty()) sampleCanvas.paint(request.sampleMask);
  }

  [[nodiscard]] ksys_status run(Image& dstMask) const {
    Image mask(canvas), samples(sampleCanvas), unbound;
    const int32_t sigma[2] = {request.params.xSigma, request.params.ySigma};
    const int32_t sample[2] = {request.params.xSample, request.params.ySample};
    return kip_filterMask_computeResultMask_(mask.get(), request.sampleMask.empty() ? unbound.get() : samples.get(),
                                             sigma, sample, request.params.filterMask.minCoverage, dstMask.get());
  }

  const oracle::MaskedRequest& request;
  Canvas<uint8_t> canvas, sampleCanvas;
};

TEST(ResultMask, EqualsTheDefinition) {
  for (int32_t i = 0; i < 1500 && !HasFailure(); ++i) {
    MaskedCase drawn = drawMaskedCase(7, i);
    if (i % 50 == 49) drawn.request.params.xSigma = 5000;  // no upper limit on a sigma here
    Random random(1, static_cast<uint64_t>(i));
    if (drawn.request.srcMask.empty()) drawn.request.srcMask = drawMask(random, drawn.request.region);
    const ksGaussParams legacy = oracle::legacyOf(drawn.request.params);
    drawn.computed = oracle::destinationOf(drawn.request.region, legacy, &drawn.destination);
    const ResultMaskCall call(drawn);
    const Canvas<uint8_t> canvas(drawn.destination, 0x5A);
    Image bound(canvas), unbound;
    bound.setLinear({1.0, 2.0, 3.0, 4.0, 5.0, 6.0});
    ASSERT_EQ(call.run(bound), 0) << drawn.name;
    EXPECT_EQ(canvas.crop(drawn.computed), oracle::resultMask(drawn.request, drawn.computed)) << drawn.name;
    EXPECT_TRUE(canvas.intactOutside(drawn.computed)) << drawn.name;
    EXPECT_EQ(bound.map(0.0, 0.0), std::pair(1.0, 2.0));
    if (i % 10 != 0) continue;
    const ksIRegion all = oracle::destinationOf(drawn.request.region, legacy);
    ASSERT_EQ(call.run(unbound), 0) << drawn.name;
    EXPECT_EQ(unbound.region(), all) << drawn.name;
    EXPECT_EQ(unbound.pixels<uint8_t>(), oracle::resultMask(drawn.request, all)) << drawn.name;
  }
}

TEST(ResultMask, Failures) {
  MaskedCase drawn = drawMaskedCase(7, 100);
  drawn.request.srcMask.assign(drawn.request.pixels.size(), 255);
  const ResultMaskCall call(drawn);
  int64_t allocations = 1;
  for (int64_t n = 0; n <= allocations; ++n) {
    Image unbound;
    const AllocationProbe probe(n);
    EXPECT_EQ(call.run(unbound), n == 0 ? 0 : probe.failure()) << n;
    if (n == 0) allocations = probe.count();
  }
  EXPECT_EQ(allocations, 4);

  Image mask(call.canvas), unbound;
  const Canvas<uint8_t> other({0, 0, 3, 3}, 255);
  Image samples(other);
  const int32_t good[2] = {1, 1}, zero[2] = {1, 0}, negative[2] = {-1, 1};
  EXPECT_EQ(kip_filterMask_computeResultMask_(unbound.get(), nullptr, good, good, 0.5, mask.get()),
            KIP_STATUS_NOT_BOUND);
  const auto fails = [&](kimg_image* sampleMask, const int32_t* sigma, const int32_t* sample, double minCoverage) {
    return failsCheck([=, &mask, &unbound] {
      (void)kip_filterMask_computeResultMask_(mask.get(), sampleMask, sigma, sample, minCoverage, unbound.get());
    });
  };
  EXPECT_FALSE(fails(nullptr, good, good, 1.0));
  EXPECT_TRUE(fails(samples.get(), good, good, 0.5));
  EXPECT_TRUE(fails(nullptr, negative, good, 0.5));
  EXPECT_TRUE(fails(nullptr, good, zero, 0.5));
  EXPECT_TRUE(fails(nullptr, good, good, 1.01));
  EXPECT_TRUE(fails(nullptr, good, good, std::numeric_limits<double>::quiet_NaN()));
}

}  // namespace
