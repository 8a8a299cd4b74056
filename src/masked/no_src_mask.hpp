// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "masked/prepare.hpp"

namespace kip {

// A prepared request without a source mask: unmasked smoothing, then the repair of what the sample mask excludes and
// the result mask. For 16-bit sources the portable form is masked smoothing with every pixel valid; its result mask
// holds 255 where the others copy the sample mask's byte.
[[nodiscard]] ksys_status gauss_smoothWindow_noSrcMask8_8(const PreparedRequest& request,
                                                          const kip_gaussParams& params);
[[nodiscard]] ksys_status gauss_smoothWindow_noSrcMask8_16(const PreparedRequest& request,
                                                           const kip_gaussParams& params);
[[nodiscard]] ksys_status gauss_smoothWindow_noSrcMask16_16(const PreparedRequest& request,
                                                            const kip_gaussParams& params);

}  // namespace kip
