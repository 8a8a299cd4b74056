// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "frame/windows.hpp"
#include "kip/host/kjob.h"
#include "kip/masked.h"
#include "oracle/gauss_case.hpp"
#include "oracle/masked_oracle.hpp"
#include "support/draws.hpp"
#include "support/host_images.hpp"
#include "support/host_seams.hpp"

namespace kiptest {

// Every processor of the tests has 128-bit integer vectors, and the portable engines serve all requests.
inline constexpr int32_t maskedVendor = 1;
inline constexpr int32_t maskedFeatures = ksys_cpuSse2Integer;

// The pairs of pixel types: their functions, the names under which the host may forbid their optimized paths, the
// largest sigma.
struct Masked8_8 {
  using Src = uint8_t;
  using Dst = uint8_t;
  static constexpr auto smoothImage = kip_gauss_smoothMasked8_8;
  static constexpr auto smoothWindow = kip_gauss_smoothMaskedWindow8_8;
  static constexpr auto setMaskName = L"gauss_setMaskResetMaskedWindow8";
  static constexpr auto engineName = L"gauss_smoothMaskedWindow8_8";
  static constexpr auto unmaskedName = L"gauss";
  static constexpr int32_t maxSigma = 63;
};

struct Masked8_16 : Masked8_8 {
  using Dst = uint16_t;
  static constexpr auto smoothImage = kip_gauss_smoothMasked8_16;
  static constexpr auto smoothWindow = kip_gauss_smoothMaskedWindow8_16;
  static constexpr auto engineName = L"gauss_smoothMaskedWindow8_16";
};

struct Masked16_16 {
  using Src = uint16_t;
  using Dst = uint16_t;
  static constexpr auto smoothImage = kip_gauss_smoothMasked16_16;
  static constexpr auto smoothWindow = kip_gauss_smoothMaskedWindow16_16;
  static constexpr auto setMaskName = L"gauss_setMaskResetMaskedWindow16";
  static constexpr auto engineName = L"gauss_smoothMaskedWindow16_16";
  static constexpr auto unmaskedName = L"gauss_smoothWindow_noSrcMask16_16";
  static constexpr int32_t maxSigma = 39;
};

using MaskedPairs = testing::Types<Masked8_8, Masked8_16, Masked16_16>;

// The number of threads that work on a set of jobs.
class JobThreads {
 public:
  explicit JobThreads(int32_t count) { ksys_jobThreads_setMaximum(count); }
  JobThreads(const JobThreads&) = delete;
  JobThreads& operator=(const JobThreads&) = delete;
  ~JobThreads() { ksys_jobThreads_setMaximum(0); }
};

struct MaskedCase {
  oracle::MaskedRequest request;
  ksIRegion destination;  // the destination's own region
  ksIRegion computed;     // the part of it that is computed
  std::string name;
};

// The bytes of a source mask may be even but for one.
inline std::vector<uint8_t> drawMask(Random& random, const ksIRegion& region) {
  std::vector<uint8_t> mask = drawMask(region.width, region.height, random);
  if (random.chance(6)) makeMostlyEven(mask, random);
  return mask;
}

// The index-th case of a seeded run.
template <typename Pair = Masked8_8>
MaskedCase drawMaskedCase(uint64_t seed, int32_t index) {
  const GaussCase drawn = drawGaussCase(seed, index, true);
  Random random(seed + 1, static_cast<uint64_t>(index));
  MaskedCase result;
  oracle::MaskedRequest& request = result.request;
  request.largest = std::numeric_limits<typename Pair::Dst>::max();
  request.params = {.xSample = drawn.params.xSample,
                    .ySample = drawn.params.ySample,
                    .xSigma = std::min(drawn.params.xSigma, Pair::maxSigma),
                    .ySigma = std::min(drawn.params.ySigma, Pair::maxSigma),
                    .scale = random.chance(4) ? drawScale(random) : random.pick({1.0, 1.0, 0.3, 0.5, 1.2, 2.0, 300.0}),
                    .roundResult = drawn.params.roundResult,
                    .filterMask = {.allowMaskedSample = random.between(0, 1),
                                   .useCoverage = random.between(0, 1),
                                   .minCoverage = random.pick({0.0, 0.1, 0.5, 0.9, 1.0})}};
  request.region = drawn.source.region;
  request.pixels.assign(drawn.source.pixels.begin(), drawn.source.pixels.end());
  if (!random.chance(6)) {
    request.srcMask = drawMask(random, drawn.source.region);
  } else if (sizeof(typename Pair::Src) == 1) {
    request.params.scale = std::clamp(request.params.scale, 0x1p-100, 0x1p100);  // must not be 0 or infinite as a float
  }
  if (random.chance(3)) request.sampleMask = drawMask(random, drawn.source.region);
  if constexpr (sizeof(typename Pair::Src) == 2) {
    const bool noise = random.chance(2);
    for (int32_t& pixel : request.pixels) pixel = pixel * 256 + (noise ? random.between(0, 255) : pixel);
  }
  result.destination = drawn.destination;
  result.computed = oracle::destinationOf(request.region, oracle::legacyOf(request.params), &drawn.destination);
  result.name =
      std::to_string(index) + ' ' + drawn.describe() + " scale " + testing::PrintToString(request.params.scale);
  return result;
}

// All rows that the taps can touch, with those that one reflection supplies, and 0 beyond them; every pixel is valid.
inline oracle::MaskedRequest withRowsAround(const oracle::MaskedRequest& request) {
  const int32_t reach = 3 * request.params.ySigma, height = request.region.height;
  oracle::MaskedRequest result = request;
  result.region.y -= reach;
  result.region.height += 2 * reach;
  const int64_t width = request.region.width;
  result.pixels.clear();
  for (int64_t row = -reach; row < height + reach; ++row) {
    const int64_t mirrored = row < 0 ? -1 - row : row < height ? row : 2 * int64_t{height} - 1 - row;
    const bool supplied = 0 <= mirrored && mirrored < height;
    for (int64_t x = 0; x < width; ++x) {
      result.pixels.push_back(supplied ? request.pixels[static_cast<size_t>(mirrored * width + x)] : 0);
    }
  }
  result.srcMask.assign(result.pixels.size(), 255);
  result.sampleMask.clear();
  result.params.filterMask = {};
  return result;
}

// What the window function must deliver, with the portable engines.
template <typename Pair = Masked8_8>
oracle::MaskedResult expectedOf(const MaskedCase& drawn) {
  const oracle::MaskedRequest& request = drawn.request;
  if (drawn.computed.width == 0) return {};
  if (!request.srcMask.empty()) return oracle::smoothMasked(request, drawn.computed);
  oracle::MaskedResult result;
  if constexpr (sizeof(typename Pair::Src) == 1) {
    const std::vector<uint8_t> source(request.pixels.begin(), request.pixels.end());
    const auto smoothed =
        oracle::smooth<typename Pair::Dst>({request.region, source}, oracle::legacyOf(request.params), drawn.computed);
    result.pixels.assign(smoothed.begin(), smoothed.end());
    oracle::repair(request, drawn.computed, result);
  } else {
    result = oracle::smoothMasked(withRowsAround(request), drawn.computed);
    oracle::repair(request, drawn.computed, result);
    for (uint8_t& valid : result.mask) valid = valid != 0 ? 255 : 0;
  }
  return result;
}

template <typename Pixel>
kimg_windowConst constWindowOn(const Canvas<Pixel>& canvas) {
  return kip::asConst(windowOn(canvas));
}

// The pictures of a case on canvases, and one call on windows over them.
template <typename Pair = Masked8_8>
class MaskedCall {
 public:
  explicit MaskedCall(const MaskedCase& drawn, Placement placement = Placement::surrounded)
      : request_(drawn.request),
        computed_(drawn.computed),
        src_(drawn.request.region, 0xA5, placement),
        srcMask_(drawn.request.region, 0xFF, placement),
        sampleMask_(drawn.request.region, 0xFF, placement),
        dstMask_(drawn.destination, 0x44, placement),
        dst_(drawn.destination, 0x33, placement) {
    src_.paint({request_.pixels.begin(), request_.pixels.end()});
    if (!request_.srcMask.empty()) srcMask_.paint(request_.srcMask);
    if (!request_.sampleMask.empty()) sampleMask_.paint(request_.sampleMask);
  }

  [[nodiscard]] ksys_status run(bool withDstMask) const {
    const kimg_windowConst src = constWindowOn(src_), sampleMask = constWindowOn(sampleMask_);
    const kimg_windowConst srcMask = request_.srcMask.empty() ? kimg_windowConst{} : constWindowOn(srcMask_);
    const kimg_window dst = windowOn(dst_), dstMask = windowOn(dstMask_);
    return Pair::smoothWindow(&src, &srcMask, request_.sampleMask.empty() ? nullptr : &sampleMask, &request_.params,
                              &dst, withDstMask ? &dstMask : nullptr);
  }

  // The destinations' computed part.
  [[nodiscard]] oracle::MaskedResult result() const {
    const auto pixels = dst_.crop(computed_);
    return {{pixels.begin(), pixels.end()}, dstMask_.crop(computed_)};
  }

  // Nothing when the destinations hold exactly that and nothing else was written.
  [[nodiscard]] std::string check(const oracle::MaskedResult& expected, bool withDstMask) const {
    if (!dst_.intactOutside(computed_)) return "written outside the destination rectangle";
    if (!dstMask_.intactOutside(withDstMask ? computed_ : ksIRegion{})) return "written outside the result mask";
    const std::vector<typename Pair::Dst> pixels(expected.pixels.begin(), expected.pixels.end());
    const std::string text = difference(dst_.crop(computed_), pixels, computed_.width);
    if (!text.empty() || !withDstMask) return text;
    const std::string ofMask = difference(dstMask_.crop(computed_), expected.mask, computed_.width);
    return ofMask.empty() ? "" : "result mask: " + ofMask;
  }

 private:
  const oracle::MaskedRequest& request_;
  ksIRegion computed_;
  Canvas<typename Pair::Src> src_;
  Canvas<uint8_t> srcMask_, sampleMask_, dstMask_;
  Canvas<typename Pair::Dst> dst_;
};

}  // namespace kiptest
