// SPDX-License-Identifier: Apache-2.0
// The checks of the masked functions, in their order, and what the image function does to its destinations.
#include <gtest/gtest.h>

#include "masked/masked_case.hpp"

namespace {

using namespace kiptest;

const ksIRegion region = {-3, 2, 40, 30}, shiftedRegion = {-3, 3, 40, 30};

kip_gaussParams smoothBy(int32_t sigma, int32_t sample) {
  kip_gaussParams params;
  require(kip_gaussParams_init(&params) == 0, "parameters");
  params.xSigma = params.ySigma = sigma;
  params.xSample = params.ySample = sample;
  return params;
}

template <typename Pair>
struct Pictures {
  Canvas<typename Pair::Src> src{region, 9};
  Canvas<uint8_t> srcMask{region, 255}, sampleMask{region, 255}, shifted{shiftedRegion, 255}, dstMask{region, 0x44};
  Canvas<typename Pair::Dst> dst{region, 0x33};
};

template <typename Pair>
struct Windows : Pictures<Pair> {
  kip_gaussParams params = smoothBy(2, 1);
  kimg_windowConst srcWindow = constWindowOn(this->src), srcMaskWindow = constWindowOn(this->srcMask);
  kimg_windowConst sampleMaskWindow = constWindowOn(this->sampleMask);
  kimg_window dstWindow = windowOn(this->dst), dstMaskWindow = windowOn(this->dstMask);

  [[nodiscard]] ksys_status run() const {
    return Pair::smoothWindow(&srcWindow, &srcMaskWindow, &sampleMaskWindow, &params, &dstWindow, &dstMaskWindow);
  }
};

template <typename Pair>
struct Images : Pictures<Pair> {
  kip_gaussParams params = smoothBy(2, 1);
  Image unbound, unboundMask, shiftedImage{this->shifted};
  Image srcImage{this->src}, srcMaskImage{this->srcMask}, sampleMaskImage{this->sampleMask};
  Image dstImage{this->dst}, dstMaskImage{this->dstMask};
  kimg_image *from = srcImage.get(), *mask = srcMaskImage.get(), *samples = sampleMaskImage.get();
  kimg_image *to = unbound.get(), *toMask = unboundMask.get();

  [[nodiscard]] ksys_status run() const { return Pair::smoothImage(from, mask, samples, &params, to, toMask); }
};

template <typename Request>
struct Fault {
  ksys_status status;
  void (*apply)(Request&);
};

// Of any two faults the earlier one decides, and nothing is written.
template <typename Request, size_t Count>
void expectOrder(const Fault<Request> (&faults)[Count]) {
  const ProcessorOverride processor(maskedVendor, maskedFeatures);
  EXPECT_EQ(Request().run(), 0);
  for (size_t i = 0; i < Count; ++i) {
    for (size_t j = i; j < Count; ++j) {
      Request request;
      faults[j].apply(request);
      faults[i].apply(request);
      EXPECT_EQ(request.run(), faults[i].status) << i << ' ' << j;
      EXPECT_TRUE(request.dst.intactOutside({}) && request.dstMask.intactOutside({})) << i << ' ' << j;
    }
  }
}

template <typename Pair>
class MaskedDriver : public testing::Test {};
TYPED_TEST_SUITE(MaskedDriver, MaskedPairs);

TYPED_TEST(MaskedDriver, WindowChecksInTheirOrder) {
  using Windows = Windows<TypeParam>;
  const Fault<Windows> faults[] = {
      {KIP_STATUS_BAD_SAMPLE, [](Windows& w) { w.params.xSample = 0; }},
      {KIP_STATUS_BAD_SIGMA, [](Windows& w) { w.params.ySigma = TypeParam::maxSigma + 1; }},
      {KIP_STATUS_NOT_BOUND, [](Windows& w) { w.srcWindow = {}; }},
      {KIP_STATUS_NOT_BOUND, [](Windows& w) { w.dstWindow.height = 0; }},
      {KIP_STATUS_MASK_MISMATCH, [](Windows& w) { w.srcMaskWindow = sourceWindowOn(w.shifted); }},
      {KIP_STATUS_MASK_MISMATCH, [](Windows& w) { w.sampleMaskWindow = sourceWindowOn(w.shifted); }},
      {KIP_STATUS_MASK_MISMATCH, [](Windows& w) { w.dstMaskWindow = windowOn(w.shifted); }},
      {KSYS_STATUS_MEMORY_OVERLAP, [](Windows& w) { w.srcWindow.pixels = w.dst.pixels(); }},
      {KSYS_STATUS_MEMORY_OVERLAP, [](Windows& w) { w.srcMaskWindow.pixels = &w.dst.at(36, 31); }},
      {KSYS_STATUS_MEMORY_OVERLAP, [](Windows& w) { w.sampleMaskWindow.pixels = w.dst.pixels(); }},
      {KSYS_STATUS_MEMORY_OVERLAP, [](Windows& w) { w.dstMaskWindow.pixels = w.dst.pixels(); }},
      {KSYS_STATUS_MEMORY_OVERLAP, [](Windows& w) { w.srcWindow.pixels = w.dstMask.pixels(); }},
      {KSYS_STATUS_MEMORY_OVERLAP, [](Windows& w) { w.srcMaskWindow.pixels = w.dstMask.pixels(); }},
      {KSYS_STATUS_MEMORY_OVERLAP, [](Windows& w) { w.sampleMaskWindow.pixels = w.dstMask.pixels(); }},
  };
  expectOrder(faults);
}

TYPED_TEST(MaskedDriver, ImageChecksInTheirOrder) {
  using Images = Images<TypeParam>;
  const Fault<Images> faults[] = {
      {KIP_STATUS_BAD_SCALE, [](Images& i) { i.params.scale = 0.0; }},
      {KIP_STATUS_BAD_SIGMA, [](Images& i) { i.params.xSigma = TypeParam::maxSigma + 1; }},
      {KIP_STATUS_NOT_BOUND, [](Images& i) { i.from = i.unbound.get(); }},
      {KIP_STATUS_MASK_MISMATCH, [](Images& i) { i.mask = i.shiftedImage.get(); }},
      {KIP_STATUS_MASK_MISMATCH, [](Images& i) { i.samples = i.shiftedImage.get(); }},
      {KIP_STATUS_MASK_MISMATCH, [](Images& i) { i.toMask = i.dstMaskImage.get(); }},
  };
  expectOrder(faults);
  Images images;
  images.toMask = images.dstMaskImage.get();
  EXPECT_EQ(images.run(), KIP_STATUS_MASK_MISMATCH);
  EXPECT_EQ(images.to->bound, 0);
  images.to = images.dstImage.get();
  images.toMask = images.unboundMask.get();
  EXPECT_EQ(images.run(), KIP_STATUS_MASK_MISMATCH);
  images.toMask = images.shiftedImage.get();
  EXPECT_EQ(images.run(), KIP_STATUS_MASK_MISMATCH);
  EXPECT_TRUE(images.dst.intactOutside({}));
  for (const int missing : {0, 1, 2}) {
    EXPECT_TRUE(failsCheck([&] {
      (void)TypeParam::smoothImage(missing == 0 ? nullptr : images.from, nullptr, nullptr,
                                   missing == 1 ? nullptr : &images.params, missing == 2 ? nullptr : images.to,
                                   nullptr);
    }));
  }
}

TYPED_TEST(MaskedDriver, TheLargestSigma) {
  constexpr bool isTheProcessors = sizeof(typename TypeParam::Src) == 1;
  Windows<TypeParam> windows;
  windows.params.xSigma = isTheProcessors ? 25 : 40;
  EXPECT_EQ((ProcessorOverride(2, maskedFeatures), windows.run()), KIP_STATUS_BAD_SIGMA);
  EXPECT_EQ((ProcessorOverride(5, maskedFeatures), windows.run()), isTheProcessors ? 0 : KIP_STATUS_BAD_SIGMA);
  --windows.params.xSigma;
  EXPECT_EQ((ProcessorOverride(2, maskedFeatures), windows.run()), 0);
  EXPECT_EQ((ProcessorFailure(KSYS_STATUS(0x80000777)), windows.run()), KSYS_STATUS(0x80000777));
}

// Unbound destinations cover what the source supplies and keep every pixel on its client point.
TYPED_TEST(MaskedDriver, BindsDestinations) {
  const ProcessorOverride processor(maskedVendor, maskedFeatures);
  using Dst = typename TypeParam::Dst;
  for (const bool withMask : {true, false}) {
    Images<TypeParam> images;
    images.params = smoothBy(4, 2);  // an odd box on an even sampling: half a pixel off
    if (!withMask) images.mask = nullptr;
    images.srcImage.setLinear({10.0, 20.0, 2.0, 0.5, 0.0, 4.0});
    ASSERT_EQ(images.run(), 0);
    const ksIRegion supplied = oracle::destinationOf(region, oracle::legacyOf(images.params));
    EXPECT_EQ(images.unbound.region(), supplied);
    EXPECT_EQ(images.unboundMask.region(), supplied);
    EXPECT_EQ(images.unbound.template pixels<Dst>(), std::vector<Dst>(20 * 15, 9));
    EXPECT_EQ(images.unboundMask.template pixels<uint8_t>(), std::vector<uint8_t>(20 * 15, 255));
    for (const Image* image : {&images.unbound, &images.unboundMask}) {
      const auto [x, y] = images.srcImage.map(3.0, -7.0);
      const auto [u, v] = image->map(3.0, -7.0);
      EXPECT_EQ(std::pair(2 * u - 0.5, 2 * v - 0.5), std::pair(x, y));
    }
  }
}

// Nothing to compute: success, and nothing is bound, written or given a transform.
TYPED_TEST(MaskedDriver, EmptyRequests) {
  const Canvas<typename TypeParam::Src> pixel({-2, 0, 1, 1}, 7);
  const Canvas<uint8_t> valid({-2, 0, 1, 1}, 255);
  const Canvas<typename TypeParam::Dst> far({100, 100, 4, 4}, 8);
  Image src(pixel), mask(valid), unbound, unboundMask, away(far);
  away.setLinear({0.0, 0.0, 3.0, 0.0, 0.0, 3.0});
  const kip_gaussParams params = smoothBy(7, 5);  // no column has its sample position at -2
  EXPECT_EQ(TypeParam::smoothImage(src.get(), mask.get(), nullptr, &params, unbound.get(), unboundMask.get()), 0);
  EXPECT_EQ(TypeParam::smoothImage(src.get(), nullptr, nullptr, &params, away.get(), nullptr), 0);
  EXPECT_TRUE(unbound.get()->bound == 0 && unboundMask.get()->bound == 0 && far.intactOutside({}));
  EXPECT_EQ(away.map(1.0, 1.0), std::pair(3.0, 3.0));
  const int32_t sigma[2] = {7, 7}, sample[2] = {5, 5};
  EXPECT_EQ(kip_filterMask_computeResultMask_(mask.get(), nullptr, sigma, sample, 0.0, unboundMask.get()), 0);
  EXPECT_EQ(unboundMask.get()->bound, 0);
}

}  // namespace
