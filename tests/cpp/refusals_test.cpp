// SPDX-License-Identifier: Apache-2.0
// Requests that are refused: each with its status, thrown or returned, and with nothing written.
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <set>

#include "cpp/drawn.hpp"
#include "support/host_seams.hpp"

namespace {

using namespace kiptest;

constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

template <typename Call>
ksys_status thrownBy(const Call& call) {
  try {
    call();
    return 0;
  } catch (const kip::error& error) {
    EXPECT_NE(std::string(error.what()).find(kip::status_text(error.status())), std::string::npos);
    return error.status();
  }
}

// A masked request that is right, and its memory.
struct Request {
  Random random{81};
  Painted<uint8_t> picture = drawPicture<uint8_t>({0, 0, 20, 16}, random);
  Painted<uint8_t> valid = drawMask({0, 0, 20, 16}, random), samples = drawMask({0, 0, 20, 16}, random);
  Canvas<uint8_t> pixels{{0, 0, 20, 16}, 0xA7}, mask{{0, 0, 20, 16}, 0xA7};
  kip::view<uint8_t> src = viewOf(picture), srcMask = viewOf(valid), dst = viewOf(pixels), dstMask = viewOf(mask);
  kip::smooth_params params = {.x_sigma = 2, .y_sigma = 4};
  kip::mask_rule rule = {.sample_mask = viewOf(samples)};

  [[nodiscard]] ksys_status smoothMasked() const {
    return kip::try_smooth_masked(src, srcMask, dst, dstMask, params, rule);
  }
  [[nodiscard]] ksys_status smoothMaskedOrThrow() const {
    return thrownBy([&] { (void)kip::smooth_masked(src, srcMask, params, rule); });
  }
  [[nodiscard]] bool isUntouched() const { return pixels.intactOutside({}) && mask.intactOutside({}); }
};

TEST(Refusals, OfMaskedSmoothing) {
  int32_t maxSigma = 0;
  ASSERT_EQ(kip_gaussParamsGetMaxSigma(&maxSigma), 0);
  struct Fault {
    const char* name;
    ksys_status status;
    bool isOfDestination;
    std::function<void(Request&)> apply;
  };
  const kip::view<uint8_t> none;
  const Fault faults[] = {
      {"empty source", KIP_STATUS_NOT_BOUND, false, [&](Request& r) { r.src = none; }},
      {"source without rows", KIP_STATUS_NOT_BOUND, false, [](Request& r) { r.src.height = 0; }},
      {"null source", KSYS_STATUS_BAD_ARGUMENT, false, [](Request& r) { r.src.data = nullptr; }},
      {"negative width", KSYS_STATUS_BAD_ARGUMENT, false, [](Request& r) { r.src.width = -20; }},
      {"negative height", KSYS_STATUS_BAD_ARGUMENT, false, [](Request& r) { r.src.height = -16; }},
      {"stride below the width", KSYS_STATUS_BAD_ARGUMENT, false, [](Request& r) { r.src.stride = 19; }},
      {"negative stride", KSYS_STATUS_BAD_ARGUMENT, false, [](Request& r) { r.src.stride = -20; }},
      {"mask's stride", KSYS_STATUS_BAD_ARGUMENT, false, [](Request& r) { r.srcMask.stride = 19; }},
      {"no mask", KIP_STATUS_NOT_BOUND, false, [&](Request& r) { r.srcMask = none; }},
      {"small mask", KIP_STATUS_MASK_MISMATCH, false, [](Request& r) { r.srcMask.width = 19; }},
      {"small sample mask", KIP_STATUS_MASK_MISMATCH, false, [](Request& r) { r.rule.sample_mask.height = 15; }},
      {"sample", KIP_STATUS_BAD_SAMPLE, false, [](Request& r) { r.params.x_sample = 0; }},
      {"negative sigma", KIP_STATUS_BAD_SIGMA, false, [](Request& r) { r.params.y_sigma = -1; }},
      {"too large sigma", KIP_STATUS_BAD_SIGMA, false, [&](Request& r) { r.params.y_sigma = maxSigma + 1; }},
      {"largest sigma", KIP_STATUS_BAD_SIGMA, false, [](Request& r) { r.params.x_sigma = INT32_MAX; }},
      {"scale", KIP_STATUS_BAD_SCALE, false, [](Request& r) { r.params.scale = 0; }},
      {"no number", KIP_STATUS_BAD_SCALE, false, [](Request& r) { r.params.scale = kNotANumber; }},
      {"coverage", KIP_STATUS_BAD_MIN_COVERAGE, false, [](Request& r) { r.rule.min_coverage = 1.1; }},
      {"small destination", KSYS_STATUS_BAD_ARGUMENT, true, [](Request& r) { r.dst.width = 19; }},
      {"large destination", KSYS_STATUS_BAD_ARGUMENT, true, [](Request& r) { r.dst.height = 17; }},
      {"no destination", KSYS_STATUS_BAD_ARGUMENT, true, [&](Request& r) { r.dst = none; }},
      {"destination's stride", KSYS_STATUS_BAD_ARGUMENT, true, [](Request& r) { r.dst.stride = 19; }},
      {"small result mask", KIP_STATUS_MASK_MISMATCH, true, [](Request& r) { r.dstMask.height = 15; }},
      {"in place", KSYS_STATUS_MEMORY_OVERLAP, true, [](Request& r) { r.src = r.dst; }},
      {"last pixel shared", KSYS_STATUS_MEMORY_OVERLAP, true, [](Request& r) { r.srcMask.data = r.dst.row(15) + 19; }},
      {"masks shared", KSYS_STATUS_MEMORY_OVERLAP, true, [](Request& r) { r.dstMask = r.srcMask; }},
      {"results shared", KSYS_STATUS_MEMORY_OVERLAP, true, [](Request& r) { r.dstMask = r.dst; }},
  };
  for (const Fault& fault : faults) {
    SCOPED_TRACE(fault.name);
    Request request;
    fault.apply(request);
    EXPECT_EQ(request.smoothMasked(), fault.status);
    EXPECT_TRUE(request.isUntouched());
    if (fault.isOfDestination) continue;
    EXPECT_EQ(request.smoothMaskedOrThrow(), fault.status);
  }
  EXPECT_EQ(Request().smoothMasked(), 0);
  EXPECT_EQ(Request().smoothMaskedOrThrow(), 0);
}

TEST(Refusals, OfTheOthers) {
  Request r;
  const Canvas<uint16_t> deep({0, 0, 20, 16}, 7), deepResult({0, 0, 20, 16}, 0xA7);
  int32_t maxSigma16 = 0;
  ASSERT_EQ(kip_gaussParamsGetMaxSigma16(&maxSigma16), 0);
  const kip::smooth_params tooLarge = {.x_sigma = maxSigma16 + 1};
  EXPECT_EQ(kip::try_smooth(viewOf(deep), viewOf(deepResult), tooLarge), KIP_STATUS_BAD_SIGMA);
  EXPECT_EQ(thrownBy([&] { (void)kip::smooth(viewOf(deep), tooLarge); }), KIP_STATUS_BAD_SIGMA);

  // a part that the source does not supply whole
  const kip::view<uint8_t> part = r.dst.crop({0, 0, 5, 5});
  for (const kip::point dest : {kip::point{-1, 0}, kip::point{0, 12}, kip::point{INT32_MAX - 5, 0}}) {
    EXPECT_EQ(kip::try_smooth(r.src, part, r.params, {{}, dest}), KSYS_STATUS_OUTSIDE_IMAGE);
    EXPECT_EQ(kip::try_smooth_masked(r.src, r.srcMask, part, {}, r.params, {}, {{}, dest}), KSYS_STATUS_OUTSIDE_IMAGE);
  }
  EXPECT_EQ(kip::try_smooth(r.src, part, r.params, {{INT32_MAX, 0}, {}}), KSYS_STATUS_BAD_ARGUMENT);
  EXPECT_EQ(kip::try_smooth(r.src, r.src, r.params), KSYS_STATUS_MEMORY_OVERLAP);

  EXPECT_EQ(kip::try_result_mask(r.srcMask, r.dst, {.x_sample = 0}), KIP_STATUS_BAD_SAMPLE);
  EXPECT_EQ(kip::try_result_mask(r.srcMask, r.dst, {.x_sigma = 2, .y_sigma = 2}, -0.1), KIP_STATUS_BAD_MIN_COVERAGE);
  EXPECT_EQ(kip::try_result_mask(r.srcMask, r.dst, {.x_sigma = 2, .y_sigma = 2}, 0, r.srcMask.crop({0, 0, 20, 15})),
            KIP_STATUS_MASK_MISMATCH);
  EXPECT_EQ(thrownBy([&] { (void)kip::result_mask({}, {}); }), KIP_STATUS_NOT_BOUND);

  const kip::view<uint8_t> half = r.dst.crop({0, 0, 10, 8}), halfMask = r.dstMask.crop({0, 0, 10, 8});
  EXPECT_EQ(kip::try_reduce(r.src, r.dst), KSYS_STATUS_BAD_ARGUMENT);
  EXPECT_EQ(kip::try_reduce(r.src, half, kip::axes::x), KSYS_STATUS_BAD_ARGUMENT);
  EXPECT_EQ(kip::try_reduce(r.src, r.src.crop({10, 8, 10, 8})), KSYS_STATUS_MEMORY_OVERLAP);
  EXPECT_EQ(kip::try_reduce(r.src, r.srcMask, half, half), KSYS_STATUS_MEMORY_OVERLAP);
  EXPECT_EQ(kip::try_reduce(r.src, {}, half, halfMask), KIP_STATUS_NOT_BOUND);
  EXPECT_EQ(kip::try_reduce(r.src, r.srcMask, half, r.dstMask), KIP_STATUS_MASK_MISMATCH);
  EXPECT_EQ(thrownBy([&] { (void)kip::reduce(kip::view<const uint16_t>()); }), KIP_STATUS_NOT_BOUND);
  EXPECT_EQ(kip::try_pyramid(r.src, r.srcMask, std::vector{half}, {}), KSYS_STATUS_BAD_ARGUMENT);
  EXPECT_EQ(thrownBy([&] { (void)kip::pyramid(r.src, 6); }), KIP_STATUS_NOT_BOUND) << "16 rows are halved four times";
  for (const kip::binomial_params radii : {kip::binomial_params{3, 2}, {2, -2}}) {
    EXPECT_EQ(kip::try_binomial(r.src, r.dst, radii), KSYS_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(thrownBy([&] { (void)kip::binomial(r.src, r.srcMask, radii); }), KSYS_STATUS_BAD_ARGUMENT);
  }
  EXPECT_TRUE(r.isUntouched() && deepResult.intactOutside({}));

  for (const kip::rect outside : {kip::rect{-1, 0, 5, 5}, {16, 0, 5, 5}, {0, 0, 5, -1}, {INT32_MAX, 0, INT32_MAX, 1}}) {
    EXPECT_EQ(thrownBy([&] { (void)r.src.crop(outside); }), KSYS_STATUS_OUTSIDE_IMAGE);
  }
  EXPECT_EQ(thrownBy([] { kip::image<uint16_t>(-1, 5); }), KSYS_STATUS_BAD_ARGUMENT);
  EXPECT_EQ(thrownBy([] { (void)kip::needed_rect({}, {}, {.y_sample = 0}); }), KIP_STATUS_BAD_SAMPLE);
  EXPECT_EQ(thrownBy([] {
              (void)kip::needed_rect({0, 0, 9, 9}, {0, 0, 9, 9}, {.x_sigma = INT32_MAX});
            }),
            KIP_STATUS_BAD_SIGMA);
}

// Whichever allocation of the host fails, the failure arrives and nothing leaks.
TEST(Refusals, ShortOfMemory) {
  const Request request;
  const kip::placement inside = {{}, {3, 3}};
  const auto smoothPart = [&] {
    return kip::try_smooth_masked(request.src, request.srcMask, request.dst.crop({0, 0, 9, 9}),
                                  request.dstMask.crop({0, 0, 9, 9}), request.params, request.rule, inside);
  };
  int64_t allocations = 0;
  {
    const AllocationProbe probe;
    ASSERT_EQ(smoothPart(), 0);
    allocations = probe.count();
  }
  ASSERT_GT(allocations, 2);
  for (int64_t failAt = 1; failAt <= allocations; ++failAt) {
    const AllocationProbe probe(failAt, KSYS_STATUS_NO_MEMORY);
    EXPECT_EQ(smoothPart(), KSYS_STATUS_NO_MEMORY) << failAt;
  }
  const AllocationProbe probe(1, KSYS_STATUS_NO_MEMORY);
  EXPECT_EQ(request.smoothMaskedOrThrow(), KSYS_STATUS_NO_MEMORY);
}

// Calls inside a stop_when: those that it is documented to stop say so in both forms, the others do not ask it.
TEST(Refusals, Stopped) {
  const ProcessorOverride portable(0, 0);
  const Request r;
  Random random{82};
  const Painted<uint16_t> deep = drawPicture<uint16_t>({0, 0, 20, 16}, random);
  const Canvas<uint16_t> deepResult({0, 0, 20, 16}, 0);
  const auto half = r.dst.crop({0, 0, 10, 8}), halfMask = r.dstMask.crop({0, 0, 10, 8});
  const struct {
    bool isStopped;
    std::function<ksys_status()> tried;
    std::function<void()> thrown;
  } calls[] = {
      {true, [&] { return kip::try_smooth(r.src, r.dst, r.params); }, [&] { (void)kip::smooth(r.src, r.params); }},
      {true, [&] { return kip::try_reduce(r.src, half); }, [&] { (void)kip::reduce(r.src); }},
      {true, [&] { return kip::try_reduce(r.src, r.srcMask, half, halfMask); },
       [&] { (void)kip::reduce(r.src, r.srcMask); }},
      {true, [&] { return kip::try_pyramid(r.src, std::vector{half}); }, [&] { (void)kip::pyramid(r.src, 2); }},
      {true, [&] { return kip::try_binomial(r.src, r.dst); }, [&] { (void)kip::binomial(r.src); }},
      {true, [&] { return kip::try_binomial(r.src, r.srcMask, r.dst, r.dstMask); },
       [&] { (void)kip::binomial(r.src, r.srcMask); }},
      {false, [&] { return r.smoothMasked(); }, [&] { (void)kip::smooth_masked(r.src, r.srcMask, r.params); }},
      {false, [&] { return kip::try_result_mask(r.srcMask, r.dst, r.params); },
       [&] { (void)kip::result_mask(r.srcMask, r.params); }},
      {false, [&] { return kip::try_smooth(viewOf(deep), viewOf(deepResult), r.params); },
       [&] { (void)kip::smooth(viewOf(deep), r.params); }},
  };
  int asked = 0;
  bool isToStop = true;
  for (const auto& call : calls) {
    SCOPED_TRACE(&call - calls);
    asked = 0;
    const kip::stop_when outer([&] { return ++asked, isToStop; });
    const kip::stop_when inner([] { return false; });
    EXPECT_EQ(call.tried(), call.isStopped ? KSYS_STATUS_CANCELLED : 0);
    if (call.isStopped) {
      EXPECT_THROW(call.thrown(), kip::cancelled);
    } else {
      EXPECT_NO_THROW(call.thrown());
    }
    EXPECT_EQ(asked, call.isStopped ? 2 : 0);
    isToStop = false;
    EXPECT_EQ(call.tried(), 0);
    isToStop = true;
  }
  EXPECT_EQ(kip::try_smooth(r.src, r.dst, r.params), 0) << "outside";
}

TEST(Refusals, SayWhatTheyMean) {
  std::set<std::string> texts;
  for (const ksys_status status :
       {ksys_status{0}, KIP_STATUS_BAD_SAMPLE, KIP_STATUS_BAD_SIGMA, KIP_STATUS_BAD_SCALE, KIP_STATUS_NOT_BOUND,
        KIP_STATUS_BAD_MIN_COVERAGE, KIP_STATUS_MASK_MISMATCH, KSYS_STATUS_MEMORY_OVERLAP, KSYS_STATUS_NO_MEMORY,
        KSYS_STATUS_BAD_ARGUMENT, KSYS_STATUS_OUTSIDE_IMAGE, KSYS_STATUS_CANCELLED, KSYS_STATUS(0x8000BEEF)}) {
    EXPECT_TRUE(texts.insert(kip::status_text(status)).second) << kip::status_text(status);
  }
  EXPECT_STREQ(kip::error(KSYS_STATUS(0x8000BEEF)).what(), "the library failed (status 0x8000BEEF)");
}

// After a move the pixels are where they went, and the old image is empty.
TEST(Images, Move) {
  kip::image<uint8_t> first(kip::rect{3, 4, 5, 6});
  const uint8_t* const pixels = first.row(0);
  kip::image<uint8_t> second = std::move(first), third;
  third = std::move(second);
  for (const kip::image<uint8_t>* const left : {&first, &second}) {
    EXPECT_TRUE(left->view().is_empty());
    EXPECT_EQ(left->view().data, nullptr);
  }
  EXPECT_EQ(third.row(0), pixels);
  EXPECT_EQ(third.origin().x * 1000 + third.origin().y * 100 + third.width() * 10 + third.height(), 3456);
}

}  // namespace
