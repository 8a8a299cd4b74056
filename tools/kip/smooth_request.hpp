// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "kip/params.h"
#include "mask_options.hpp"
#include "picture.hpp"

namespace kip::tool {

// The command line of kip smooth as it was typed.
struct SmoothArguments {
  std::string in, out, sheet, sigma, sample = "1", scale = "1", roi, sampleMask, coverage, level, threads = "0";
  MaskOptions masks;
  bool round = false, allowMaskedSample = false, verbose = false;
  int depth = 0;  // 0: that of the source

  bool isMasked() const { return !masks.mask.empty() || !sampleMask.empty(); }
};

struct SmoothRequest {
  kip_gaussParams params;
  std::optional<ksIRegion> roi;
};

// Throws UsageError, also for options that do not go together. Sets the level and the number of threads.
SmoothRequest parseSmoothRequest(const SmoothArguments& arguments);

struct SmoothSource {
  Picture picture;
  std::optional<Picture> mask, sampleMask;
};

struct SmoothResult {
  Picture picture;
  std::optional<Picture> mask;  // of masked requests
  int32_t x, y;                 // the number of the top-left pixel
  double milliseconds;          // of the library call
  std::string engine;           // that served it; right when `verbose` is set
};

// Throws Error.
SmoothResult smooth(SmoothSource& source, const SmoothRequest& request, const SmoothArguments& arguments);

}  // namespace kip::tool
