// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "masked/prepare.hpp"

namespace kip {

// A prepared request without a source mask: unmasked smoothing, then the repair of what the sample mask excludes and
// the result mask.
[[nodiscard]] ksys_status gauss_smoothWindow_noSrcMask8_8(const MaskedWindows& windows, const kip_gaussParams& params);

}  // namespace kip
