// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "kip/host/kjob.h"
#include "kip/masked.h"
#include "oracle/gauss_case.hpp"
#include "oracle/masked_oracle.hpp"
#include "support/host_images.hpp"
#include "support/host_seams.hpp"

namespace kiptest {

// Every processor of the tests has 128-bit integer vectors, and the portable engines serve unmasked requests.
inline constexpr int32_t maskedVendor = 1;
inline constexpr int32_t maskedFeatures = ksys_cpuSse2Integer;

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

// A mask: all, nothing, holes of any density, blocks; some with bytes other than 0 and 255.
inline std::vector<uint8_t> drawMask(Random& random, const ksIRegion& region) {
  const int32_t kind = random.between(0, 5), block = random.between(1, 9), density = random.between(2, 40);
  const bool oddBytes = random.chance(3);
  std::vector<uint8_t> mask;
  for (int32_t y = 0; y < region.height; ++y) {
    for (int32_t x = 0; x < region.width; ++x) {
      bool valid = kind == 0;
      if (kind == 2) valid = (x / block + y / block) % 2 == 0;
      if (kind > 2) valid = random.chance(density) == (kind == 3);
      mask.push_back(!valid ? 0 : oddBytes ? random.pick<uint8_t>({255, 1, 2, 127, 128, 254}) : uint8_t{255});
    }
  }
  return mask;
}

// The index-th case of a seeded run.
inline MaskedCase drawMaskedCase(uint64_t seed, int32_t index) {
  const GaussCase drawn = drawGaussCase(seed, index, true);
  Random random(seed + 1, static_cast<uint64_t>(index));
  MaskedCase result;
  kip_gaussParams& params = result.request.params;
  params = {.xSample = drawn.params.xSample,
            .ySample = drawn.params.ySample,
            .xSigma = std::min(drawn.params.xSigma, 63),
            .ySigma = std::min(drawn.params.ySigma, 63),
            .scale = random.pick({1.0, 1.0, 0.3, 0.5, 1.2, 2.0, 300.0}),
            .roundResult = drawn.params.roundResult,
            .filterMask = {.allowMaskedSample = random.between(0, 1),
                           .useCoverage = random.between(0, 1),
                           .minCoverage = random.pick({0.0, 0.1, 0.5, 0.9, 1.0})}};
  result.request.region = drawn.source.region;
  result.request.pixels.assign(drawn.source.pixels.begin(), drawn.source.pixels.end());
  if (!random.chance(6)) result.request.srcMask = drawMask(random, drawn.source.region);
  if (random.chance(3)) result.request.sampleMask = drawMask(random, drawn.source.region);
  result.destination = drawn.destination;
  result.computed = oracle::destinationOf(drawn.source.region, oracle::legacyOf(params), &drawn.destination);
  result.name = std::to_string(index) + ' ' + drawn.describe();
  return result;
}

// What the window function must deliver.
inline oracle::MaskedResult expectedOf(const MaskedCase& drawn) {
  const oracle::MaskedRequest& request = drawn.request;
  if (drawn.computed.width == 0) return {};
  if (!request.srcMask.empty()) return oracle::smoothMasked(request, drawn.computed);
  const std::vector<uint8_t> source(request.pixels.begin(), request.pixels.end());
  const std::vector<uint8_t> smoothed =
      oracle::smooth<uint8_t>({request.region, source}, oracle::legacyOf(request.params), drawn.computed);
  oracle::MaskedResult result{{smoothed.begin(), smoothed.end()}, {}};
  oracle::repair(request, drawn.computed, result);
  return result;
}

// The pictures of a case on canvases, and one call on windows over them.
class MaskedCall {
 public:
  explicit MaskedCall(const MaskedCase& drawn, Placement placement = Placement::surrounded)
      : request_(drawn.request),
        computed_(drawn.computed),
        src_(drawn.request.region, 0xA5, placement),
        srcMask_(drawn.request.region, 0xFF, placement),
        sampleMask_(drawn.request.region, 0xFF, placement),
        dst_(drawn.destination, 0x33, placement),
        dstMask_(drawn.destination, 0x44, placement) {
    src_.paint({request_.pixels.begin(), request_.pixels.end()});
    if (!request_.srcMask.empty()) srcMask_.paint(request_.srcMask);
    if (!request_.sampleMask.empty()) sampleMask_.paint(request_.sampleMask);
  }

  [[nodiscard]] ksys_status run(bool withDstMask) const {
    const kimg_windowConst src = sourceWindowOn(src_);
    const kimg_windowConst srcMask = request_.srcMask.empty() ? kimg_windowConst{} : sourceWindowOn(srcMask_);
    const kimg_windowConst sampleMask = sourceWindowOn(sampleMask_);
    const kimg_window dst = windowOn(dst_), dstMask = windowOn(dstMask_);
    return kip_gauss_smoothMaskedWindow8_8(&src, &srcMask, request_.sampleMask.empty() ? nullptr : &sampleMask,
                                           &request_.params, &dst, withDstMask ? &dstMask : nullptr);
  }

  // Nothing when the destinations hold exactly that and nothing else was written.
  [[nodiscard]] std::string check(const oracle::MaskedResult& expected, bool withDstMask) const {
    if (!dst_.intactOutside(computed_)) return "written outside the destination rectangle";
    if (!dstMask_.intactOutside(withDstMask ? computed_ : ksIRegion{})) return "written outside the result mask";
    const std::vector<uint8_t> pixels(expected.pixels.begin(), expected.pixels.end());
    const std::string text = difference(dst_.crop(computed_), pixels, computed_.width);
    if (!text.empty() || !withDstMask) return text;
    const std::string ofMask = difference(dstMask_.crop(computed_), expected.mask, computed_.width);
    return ofMask.empty() ? "" : "result mask: " + ofMask;
  }

 private:
  const oracle::MaskedRequest& request_;
  ksIRegion computed_;
  Canvas<uint8_t> src_, srcMask_, sampleMask_, dst_, dstMask_;
};

}  // namespace kiptest
