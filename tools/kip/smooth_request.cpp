// SPDX-License-Identifier: Apache-2.0
#include "smooth_request.hpp"

#include <chrono>

#include "engines.hpp"
#include "error.hpp"
#include "kip/gauss.h"
#include "kip/host/kjob.h"
#include "kip/masked.h"
#include "library_image.hpp"
#include "numbers.hpp"

namespace kip::tool {
namespace {

constexpr int32_t kMaxThreads = 256;

void refuseContradictions(const SmoothArguments& arguments) {
  if (arguments.isMasked()) {
    const std::string option = arguments.masks.mask.empty() ? "--sample-mask" : "--mask";
    if (!arguments.roi.empty()) {
      throw UsageError("--roi " + arguments.roi + ": cannot go with " + option +
                       ", since masked results depend on the rectangle that is computed");
    }
  } else if (!arguments.masks.maskOut.empty()) {
    throw UsageError("--mask-out " + arguments.masks.maskOut + ": needs --mask or --sample-mask");
  }
}

// Binds the destination to the pixels whose sample positions lie in the wanted part of the source.
void bindToRoi(kimg_image& destination, int32_t depth, const SmoothRequest& request, const Picture& source,
               const SmoothArguments& arguments) {
  const kip_gaussParams& params = request.params;
  const ksIRegion& roi = *request.roi;
  const std::string option = arguments.in + ": --roi " + arguments.roi;
  if (int64_t{roi.x} + roi.width > source.width || int64_t{roi.y} + roi.height > source.height) {
    throw Error(option + " does not lie inside the picture of " + sizeText(source.width, source.height) + " pixels");
  }
  ksIRegion region;
  kfGaussGetDstReg(&roi, &region, params.xSample, params.ySample, params.xSigma + 1, params.ySigma + 1);
  if (region.width < 1 || region.height < 1) throw Error(option + " holds no sample position: the result is empty");
  const kstd_rect32 rect = {region.x, region.y, region.width, region.height};
  const auto assign = depth == 8 ? kimg_image8_assignNewRect : kimg_image16_assignNewRect;
  check(arguments.in, assign(&destination, &rect));
}

void refuseSource(const Picture& source, const SmoothRequest& request, const SmoothArguments& arguments) {
  if (source.depth == 16 && arguments.depth == 8) {
    throw Error(arguments.in +
                ": --depth 8: the picture has 16-bit pixels, and so has its result; leave the option out");
  }
  if (source.depth == 8 && !arguments.isMasked()) return;
  int32_t maxSigma = 0;
  check(arguments.in, (source.depth == 8 ? kip_gaussParamsGetMaxSigma : kip_gaussParamsGetMaxSigma16)(&maxSigma));
  if (request.params.xSigma > maxSigma || request.params.ySigma > maxSigma) {
    throw Error(arguments.in + ": --sigma " + arguments.sigma + " is too large: at most " + std::to_string(maxSigma) +
                " goes with " + (source.depth == 8 ? "masks here" : "16-bit pictures"));
  }
}

}  // namespace

SmoothRequest parseSmoothRequest(const SmoothArguments& arguments) {
  SmoothRequest request{};
  check("parameters", kip_gaussParams_init(&request.params));
  const auto sigma = parsePair("--sigma", arguments.sigma, 0), sample = parsePair("--sample", arguments.sample, 1);
  request.params.xSigma = sigma[0];
  request.params.ySigma = sigma[1];
  request.params.xSample = sample[0];
  request.params.ySample = sample[1];
  request.params.scale = parsePositive("--scale", arguments.scale);
  request.params.roundResult = arguments.round ? 1 : 0;
  request.params.filterMask.allowMaskedSample = arguments.allowMaskedSample ? 1 : 0;
  if (!arguments.coverage.empty()) {
    request.params.filterMask.useCoverage = 1;
    request.params.filterMask.minCoverage = parseFraction("--coverage", arguments.coverage);
  }
  if (!arguments.roi.empty()) {
    const auto roi = parseRectangle("--roi", arguments.roi);
    request.roi = {roi[0], roi[1], roi[2], roi[3]};
  }
  refuseContradictions(arguments);
  ksys_jobThreads_setMaximum(parseCount("--threads", arguments.threads, 0, kMaxThreads));
  if (!arguments.level.empty()) forceLevel(arguments.level);
  return request;
}

SmoothResult smooth(SmoothSource& source, const SmoothRequest& request, const SmoothArguments& arguments) {
  refuseSource(source.picture, request, arguments);
  const int32_t depth = arguments.depth != 0 ? arguments.depth : source.picture.depth;
  const Image image(source.picture);
  std::optional<Image> mask, sampleMask;
  if (source.mask) mask.emplace(*source.mask);
  if (source.sampleMask) sampleMask.emplace(*source.sampleMask);
  const auto recordOf = [](const std::optional<Image>& of) { return of ? &of->record : nullptr; };

  // Unmasked 16-bit pictures too are smoothed by the masked function.
  const bool isDeep = source.picture.depth == 16;
  const auto plain = depth == 8 ? kip_gauss_smooth8_8 : kip_gauss_smooth8_16;
  const auto masked = isDeep       ? kip_gauss_smoothMasked16_16
                      : depth == 8 ? kip_gauss_smoothMasked8_8
                                   : kip_gauss_smoothMasked8_16;
  const auto call = [&](Image& result, Image& resultMask) {
    if (!isDeep && !arguments.isMasked()) return plain(&image.record, &result.record, &request.params);
    return masked(&image.record, recordOf(mask), recordOf(sampleMask), &request.params, &result.record,
                  arguments.isMasked() ? &resultMask.record : nullptr);
  };
  const auto bind = [&](Image& result) {
    if (request.roi) bindToRoi(result.record, depth, request, source.picture, arguments);
  };
  Image result, resultMask;
  bind(result);
  const auto start = std::chrono::steady_clock::now();
  const ksys_status status = call(result, resultMask);
  const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
  check(arguments.in, status);
  if (!result.hasPixels()) throw Error(arguments.in + ": holds no sample position: the result is empty");
  std::string engine;
  if (arguments.verbose) {
    engine = servingEngine(isDeep || source.mask ? EngineFamily::masked : EngineFamily::levels, [&] {
      Image again, againMask;
      bind(again);
      (void)call(again, againMask);
    });
  }
  SmoothResult made{copyPixels(result.record), std::nullopt, result.record.x, result.record.y, time.count(), engine};
  if (arguments.isMasked()) made.mask = copyPixels(resultMask.record);
  return made;
}

}  // namespace kip::tool
