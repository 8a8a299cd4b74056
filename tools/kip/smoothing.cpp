// SPDX-License-Identifier: Apache-2.0
#include "smoothing.hpp"

#include <algorithm>
#include <chrono>
#include <thread>

#include "engines.hpp"
#include "error.hpp"
#include "kip/host/kjob.h"

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
  if (request.params.x_sigma > maxSigma || request.params.y_sigma > maxSigma) {
    const std::string option = arguments.sigma
                                   ? "--sigma " + *arguments.sigma
                                   : "--stddev " + *arguments.stddev + ", sigma " + request.sigmaText() + ",";
    throw Error(arguments.in + ": " + option + " is too large: at most " + std::to_string(maxSigma) + " goes with " +
                (source.depth == 8 ? "masks here" : "16-bit pictures"));
  }
}

// The pixels whose sample positions lie in the wanted part of the source.
rect resultRectangle(const PictureSize& source, const SmoothRequest& request, const SmoothArguments& arguments) {
  const rect wanted = request.roi.value_or(rect{0, 0, source.width, source.height});
  const std::string subject = arguments.in + ":" + (request.roi ? " --roi " + arguments.roi : "");
  if (int64_t{wanted.x} + wanted.width > source.width || int64_t{wanted.y} + wanted.height > source.height) {
    throw Error(subject + " does not lie inside the picture of " + sizeText(source.width, source.height) + " pixels");
  }
  rect result = {};
  check(arguments.in, try_smoothed_rect(wanted, request.params, result));
  if (result.width < 1 || result.height < 1) throw Error(subject + " holds no sample position: the result is empty");
  return result;
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
  const smooth_params& params = request_.params;
  const PictureSize& source = sources_.size();
  const bool isMasked = !arguments_.masks.mask.empty();
  const kip_partAxis axis =
      (source.depth == 8 ? smoothing_parts<uint8_t> : smoothing_parts<uint16_t>)(params, isMasked).y;
  BandRule rule = makeBandRule(axis, source.height);
  rule.result = {result_.y, result_.y + result_.height};
  if (!arguments_.sheet.empty()) {
    rule.whyWhole = "a sheet shows the whole picture";
    rule.sourceOf = [whole = Rows{0, source.height}](Rows) { return whole; };
  } else if (axis.isCut == 0) {
    rule.whyWhole = "sigmas as large need the whole picture";
  }

  const int64_t rowBytes = sources_.rowBytes();
  const bool isInParts = arguments_.isMasked() || source.depth == 16;
  const int64_t sums = isInParts ? 32 * (int64_t{params.y_sigma} + 1) : 0;
  rule.fixedBytes = source.width * (64 + sums) * (isInParts ? threads() : 1);
  // and the library's copies of the sources
  const int64_t results = static_cast<int64_t>(size().rowSize()) + (arguments_.isMasked() ? result_.width : 0);
  const int64_t planes = source.depth == 16      ? rowBytes + 2 * int64_t{source.width}
                         : arguments_.isMasked() ? rowBytes
                                                 : 0;
  rule.bytesPerRow = rowBytes + planes + results / params.y_sample + 1;
  return rule;
}

int32_t Smoothing::threads() const {
  const auto processors = static_cast<int32_t>(std::thread::hardware_concurrency());
  return request_.threads != 0 ? request_.threads : std::max(processors, 1);
}

BandResult Smoothing::smooth(SourcePictures& source, Rows sourceRows, Rows band) {
  makeBinary(source.mask);
  makeBinary(source.sampleMask);
  const rect from = {0, sourceRows.begin, source.picture.width, sourceRows.count()};
  const rect to =
      request_.roi ? rect{result_.x, band.begin, result_.width, band.count()} : smoothed_rect(from, request_.params);
  ksys_jobThreads_setMaximum(kip_parts_threads(to.height, threads()));
  const placement at = {{from.x, from.y}, {to.x, to.y}};
  mask_rule rule = request_.rule;
  rule.sample_mask = viewOf(std::as_const(source.sampleMask));
  const auto call = [&](MaskedPicture& made) {
    return withPixels(source.picture, made.picture, [&](auto src, auto dst) {
      if (!arguments_.isMasked()) return try_smooth(src, dst, request_.params, at);
      if (!source.mask) return try_smooth_sampled(src, rule.sample_mask, dst, viewOf(made.mask), request_.params, at);
      return try_smooth_masked(src, viewOf(std::as_const(source.mask)), dst, viewOf(made.mask), request_.params, rule,
                               at);
    });
  };
  BandResult made{{Picture::make(to.width, to.height, depth_), std::nullopt}, to.y};
  if (arguments_.isMasked()) made.mask = Picture::make(to.width, to.height, 8);
  const auto start = std::chrono::steady_clock::now();
  const ksys_status status = call(made);
  milliseconds_ += std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
  check(arguments_.in, status);
  if (arguments_.verbose && band.end == result_.y + result_.height) {
    const bool isMaskedEngine = source.picture.depth == 16 || source.mask;
    BandResult again = made;
    engine_ = servingEngine(isMaskedEngine ? EngineFamily::masked : EngineFamily::levels, [&] { (void)call(again); });
  }
  return made;
}

}  // namespace kip::tool
