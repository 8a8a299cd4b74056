// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "frame/status.hpp"
#include "kip/geometry.h"
#include "kip/masked.h"

namespace kip {

// Validates the parameters of a masked request; maxSigma tells the largest sigma for its source's pixels.
template <typename MaxSigma>
[[nodiscard]] ksys_status validateMasked(const kip_gaussParams& params, MaxSigma&& maxSigma) {
  ksys_status status = kip_gaussParams_validate(&params);
  if (failed(status)) return status;
  int32_t limit = 0;
  if (failed(status = maxSigma(&limit))) return status;
  return params.xSigma > limit || params.ySigma > limit ? KIP_STATUS_BAD_SIGMA : 0;
}

}  // namespace kip
