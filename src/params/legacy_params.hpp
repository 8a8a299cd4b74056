// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "frame/status.hpp"
#include "kip/params.h"

namespace kip {

// The engines' record for a validated request with that type of destination: border extension on, divided by the
// kernel's sum. Fails when scale is 0 or infinite as a float.
[[nodiscard]] ksys_status makeLegacyParams(const kip_gaussParams& params, const ksVImage& dstTemplate,
                                           ksGaussParams& legacy);

}  // namespace kip
