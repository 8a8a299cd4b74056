// SPDX-License-Identifier: Apache-2.0
#include "smoothing.hpp"

#include <algorithm>
#include <chrono>
#include <thread>

#include "engines.hpp"
#include "error.hpp"
#include "kip/gauss.h"
#include "kip/geometry.h"
#include "kip/host/kjob.h"
#include "kip/masked.h"

namespace kip::tool {
namespace {

void refuseSource(const PictureSize& source, const SmoothRequest& request, const SmoothArguments& arguments) {
  if (source.depth == 16 && arguments.depth == 8) {
    throw Error(arguments.in +
                ": --depth 8: the picture has 16-bit pixels, and so has its result; leave the option out");
  }
  if (source.depth == 8 && !arguments.isMasked()) return;
  int32_t maxSigma = 0;
  check(arguments.in, (source.depth == 8 ? kip_gaussParamsGetMaxSigma : kip_gaussParamsGetMaxSigma16)(&maxSigma));
  if (request.params.xSigma > maxSigma || request.params.ySigma > maxSigma) {
    const std::string option = arguments.sigma
                                   ? "--sigma " + *arguments.sigma
                                   : "--stddev " + *arguments.stddev + ", sigma " + request.sigmaText() + ",";
    throw Error(arguments.in + ": " + option + " is too large: at most " + std::to_string(maxSigma) + " goes with " +
                (source.depth == 8 ? "masks here" : "16-bit pictures"));
  }
}

// The pixels whose sample positions lie in the wanted part of the source.
kstd_rect32 resultRectangle(const PictureSize& source, const SmoothRequest& request, const SmoothArguments& arguments) {
  const kip_gaussParams& params = request.params;
  const ksIRegion wanted = request.roi.value_or(ksIRegion{0, 0, source.width, source.height});
  const std::string subject = arguments.in + ":" + (request.roi ? " --roi " + arguments.roi : "");
  if (int64_t{wanted.x} + wanted.width > source.width || int64_t{wanted.y} + wanted.height > source.height) {
    throw Error(subject + " does not lie inside the picture of " + sizeText(source.width, source.height) + " pixels");
  }
  ksIRegion region;
  kfGaussGetDstReg(&wanted, &region, params.xSample, params.ySample, params.xSigma + 1, params.ySigma + 1);
  if (region.width < 1 || region.height < 1) throw Error(subject + " holds no sample position: the result is empty");
  return {region.x, region.y, region.width, region.height};
}

// Sums of doubles that are not exact depend on where they began.
bool hasExactSums(const kip_gaussParams& params, int32_t depth) {
  const double box = (params.xSigma + 1.0) * (params.ySigma + 1.0);
  return (depth == 8 ? 255 : 65535) * box * box * box < 0x1p53;
}

// The library's fastest mask step takes 0 and 255 alone.
void makeBinary(std::optional<Picture>& mask) {
  if (!mask) return;
  for (uint8_t& pixel : mask->pixels8) pixel = pixel != 0 ? 255 : 0;
}

}  // namespace

Smoothing::Smoothing(const SmoothRequest& request, const SmoothArguments& arguments, const Sources& sources)
    : request_(request), arguments_(arguments), sources_(sources) {
  const PictureSize& source = sources.size();
  refuseSource(source, request, arguments);
  depth_ = arguments.depth != 0 ? arguments.depth : source.depth;
  result_ = resultRectangle(source, request, arguments);
}

BandRule Smoothing::rule() const {
  const kip_gaussParams& params = request_.params;
  const PictureSize& source = sources_.size();
  BandRule rule{};
  rule.result = {result_.y, result_.y + result_.height};
  if (!arguments_.sheet.empty()) {
    rule.whyWhole = "a sheet shows the whole picture";
  } else if (!hasExactSums(params, source.depth)) {
    rule.whyWhole = "sigmas as large need the whole picture";
  }
  rule.sourceOf = [&, whole = Rows{0, source.height}, sample = params.ySample](Rows band) -> Rows {
    if (!arguments_.sheet.empty()) return whole;
    const kstd_rect32 picture = {0, 0, source.width, source.height};
    const kstd_rect32 wanted = {result_.x, band.begin, result_.width, band.count()};
    kstd_rect32 rows, destination, mirror, padding, needed;
    check(arguments_.in, gauss_setup(&picture, &wanted, &params, &rows, &destination, &mirror, &padding, &needed));
    // as many as engines ask for, also for a part of the picture that needs less
    const int64_t least = 9 * int64_t{sample};
    const int64_t end = std::min<int64_t>(source.height, std::max(rows.y + int64_t{rows.height}, rows.y + least));
    const int64_t begin = std::clamp<int64_t>(end - least, 0, rows.y);
    return {static_cast<int32_t>(begin - begin % sample), static_cast<int32_t>(end)};
  };
  // More rows than those that engines leave to others, and than the border of a kernel.
  rule.leastRows = static_cast<int32_t>(std::max<int64_t>(40, 2 * int64_t{params.ySigma} / params.ySample + 2));

  const int64_t rowBytes = sources_.rowBytes();
  const bool isInParts = arguments_.isMasked() || source.depth == 16;
  const int64_t sums = isInParts ? 32 * (int64_t{params.ySigma} + 1) : 0;
  rule.fixedBytes = source.width * (64 + sums) * (isInParts ? threads() : 1);
  // the library's image and a copy of it, and its copies of the sources
  const int64_t results = static_cast<int64_t>(size().rowSize()) + (arguments_.isMasked() ? result_.width : 0);
  const int64_t planes = source.depth == 16      ? rowBytes + 2 * int64_t{source.width}
                         : arguments_.isMasked() ? rowBytes
                                                 : 0;
  rule.bytesPerRow = rowBytes + planes + 2 * results / params.ySample + 1;
  return rule;
}

int32_t Smoothing::threads() const {
  const auto processors = static_cast<int32_t>(std::thread::hardware_concurrency());
  return request_.threads != 0 ? request_.threads : std::max(processors, 1);
}

// The library cuts a masked request for its threads, and leaves parts of less than ten rows to another engine.
void Smoothing::limitThreads(Rows band) const {
  int32_t count = threads();
  while (count > 1 && int64_t{count} * (count + 9) > band.count()) --count;
  ksys_jobThreads_setMaximum(count);
}

BandResult Smoothing::smooth(SourcePictures& source, Rows sourceRows, Rows band) {
  makeBinary(source.mask);
  makeBinary(source.sampleMask);
  limitThreads(band);
  const Image image(source.picture);
  std::optional<Image> mask, sampleMask;
  if (source.mask) mask.emplace(*source.mask);
  if (source.sampleMask) sampleMask.emplace(*source.sampleMask);
  const auto recordOf = [](const std::optional<Image>& of) { return of ? &of->record : nullptr; };

  // Unmasked 16-bit pictures too are smoothed by the masked function.
  const bool isDeep = source.picture.depth == 16;
  const auto plain = depth_ == 8 ? kip_gauss_smooth8_8 : kip_gauss_smooth8_16;
  const auto masked = isDeep        ? kip_gauss_smoothMasked16_16
                      : depth_ == 8 ? kip_gauss_smoothMasked8_8
                                    : kip_gauss_smoothMasked8_16;
  const auto call = [&](Image& result, Image& resultMask) {
    if (!isDeep && !arguments_.isMasked()) return plain(&image.record, &result.record, &request_.params);
    return masked(&image.record, recordOf(mask), recordOf(sampleMask), &request_.params, &result.record,
                  arguments_.isMasked() ? &resultMask.record : nullptr);
  };
  // From row numbers of the sources' rows to those of the whole result.
  const int32_t shift = sourceRows.begin / request_.params.ySample;
  const auto bind = [&](Image& result) {
    if (!request_.roi) return;
    const kstd_rect32 rect = {result_.x, band.begin - shift, result_.width, band.count()};
    check(arguments_.in, (depth_ == 8 ? kimg_image8_assignNewRect : kimg_image16_assignNewRect)(&result.record, &rect));
  };
  BandResult made = [&]() -> BandResult {
    Image result, resultMask;
    bind(result);
    const auto start = std::chrono::steady_clock::now();
    const ksys_status status = call(result, resultMask);
    milliseconds_ += std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    check(arguments_.in, status);
    std::optional<Picture> madeMask;
    if (arguments_.isMasked()) madeMask = copyPixels(resultMask.record);
    return {{copyPixels(result.record), std::move(madeMask)}, result.record.y + shift};
  }();
  if (arguments_.verbose && band.end == result_.y + result_.height) {
    engine_ = servingEngine(isDeep || source.mask ? EngineFamily::masked : EngineFamily::levels, [&] {
      Image again, againMask;
      bind(again);
      (void)call(again, againMask);
    });
  }
  return made;
}

}  // namespace kip::tool
