// SPDX-License-Identifier: Apache-2.0
// How pictures are cut into parts that together have the pixels of the whole; ../parts.h says what the numbers mean.
// Begin at kip::smoothing_parts.
#pragma once

#include "../parts.h"
#include "reduce.hpp"
#include "smooth.hpp"

namespace kip {

// Of sources with these pixels, for valid parameters.
template <pixel Pixel>
[[nodiscard]] kip_parts smoothing_parts(const smooth_params& params, bool is_masked = false) noexcept {
  const kip_gaussParams record = detail::to_c(params);
  return kip_parts_ofSmoothing(&record, sizeof(Pixel), is_masked ? 1 : 0);
}

// Of several levels in a row, 0 to 20.
[[nodiscard]] inline kip_parts reduction_parts(axes along = axes::both, int32_t levels = 1) noexcept {
  return kip_parts_ofReduction(along == axes::y ? 0 : levels, along == axes::x ? 0 : levels);
}

}  // namespace kip
