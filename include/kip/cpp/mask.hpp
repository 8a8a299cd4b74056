// SPDX-License-Identifier: Apache-2.0
// What masks mean, for smooth.hpp and reduce.hpp. Begin at kip::mask_rule.
#pragma once

#include <optional>

#include "view.hpp"

namespace kip {

// What the bytes of a mask mean.
enum class mask_meaning {
  validity,  // 0: the pixel is invalid; any other: valid
  weight     // how much the pixel counts, 0 to 255
};

// When a pixel that was smoothed with a mask is valid. Its sample is the source pixel that it stands for. To fill holes
// from their rims: {.min_coverage = 0.0, .allow_masked_sample = true}.
struct mask_rule {
  // Without: valid where the sample is. With: where at least this fraction of the kernel's pixels, 0 to 1, to the
  // nearest whole number of pixels, and at least one, is valid.
  std::optional<double> min_coverage = {};
  // Whether pixels whose sample is invalid may be valid by coverage. Not asked when there is a sample mask.
  bool allow_masked_sample = false;
  // When not empty, of the source's size: pixels whose sample is 0 here are invalid.
  view<const uint8_t> sample_mask = {};
};

}  // namespace kip
