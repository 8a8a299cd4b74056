// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "kip/cpp/smooth.hpp"
#include "mask_options.hpp"
#include "memory_option.hpp"

namespace kip::tool {

// The command line of kip smooth as it was typed.
struct SmoothArguments {
  std::string in, out, sheet, sample = "1", scale = "1", roi, sampleMask, coverage, level, threads = "0",
                              memory = kDefaultMemory;
  std::optional<std::string> sigma, stddev;  // one of them
  MaskOptions masks;
  bool truncate = false, allowMaskedSample = false, verbose = false;
  int depth = 0;  // 0: that of the source

  bool isMasked() const { return !masks.mask.empty() || !sampleMask.empty(); }
};

struct SmoothRequest {
  // "4", or "4,2" of x and y.
  std::string sigmaText() const;

  smooth_params params;
  mask_rule rule;  // but for the sample mask
  std::optional<rect> roi;
  int32_t threads;  // 0: one for each processor
};

// Throws UsageError, also for options that do not go together. Sets the level and the number of threads.
SmoothRequest parseSmoothRequest(const SmoothArguments& arguments);

}  // namespace kip::tool
