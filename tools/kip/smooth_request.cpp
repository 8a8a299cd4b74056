// SPDX-License-Identifier: Apache-2.0
#include "smooth_request.hpp"

#include "engines.hpp"
#include "error.hpp"
#include "kip/host/kjob.h"
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

}  // namespace

std::string SmoothRequest::sigmaText() const {
  const std::string x = std::to_string(params.x_sigma), y = std::to_string(params.y_sigma);
  return x == y ? x : x + "," + y;
}

SmoothRequest parseSmoothRequest(const SmoothArguments& arguments) {
  if (!arguments.sigma && !arguments.stddev) throw UsageError("--sigma is required, or --stddev in its place");
  const auto sigma =
      arguments.sigma ? parsePair("--sigma", *arguments.sigma, 0) : parseStddev("--stddev", *arguments.stddev);
  const auto sample = parsePair("--sample", arguments.sample, 1);
  SmoothRequest request{};
  request.params = {sigma[0],          sigma[1], sample[0], sample[1], parsePositive("--scale", arguments.scale),
                    arguments.truncate};
  request.rule.allow_masked_sample = arguments.allowMaskedSample;
  if (!arguments.coverage.empty()) request.rule.min_coverage = parseFraction("--coverage", arguments.coverage);
  if (!arguments.roi.empty()) {
    const auto roi = parseRectangle("--roi", arguments.roi);
    request.roi = {roi[0], roi[1], roi[2], roi[3]};
  }
  refuseContradictions(arguments);
  request.threads = parseCount("--threads", arguments.threads, 0, kMaxThreads);
  ksys_jobThreads_setMaximum(request.threads);
  if (!arguments.level.empty()) forceLevel(arguments.level);
  return request;
}

}  // namespace kip::tool
