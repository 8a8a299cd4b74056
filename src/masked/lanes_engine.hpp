// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "frame/status.hpp"
#include "masked/band.hpp"
#include "masked/prepare.hpp"

namespace kip {

// The vectorised masked engine for the three pairs of pixel types; statusFallback, with nothing written, for what it
// does not serve.
[[nodiscard]] ksys_status gauss_smoothMaskedVec8(const gauss_bandParams& band);
[[nodiscard]] ksys_status gauss_smoothMaskedVec8_16(const gauss_bandParams& band);
[[nodiscard]] ksys_status gauss_smoothMaskedVec16(const gauss_bandParams& band);

// The same for a 16-bit request in which every pixel counts: writes the destination alone; masks are not looked at.
// What it does not serve it says before it builds the image plane.
[[nodiscard]] ksys_status gauss_smoothAllVec16(const PreparedRequest& request, const kip_gaussParams& params);

// The vectorised form of the set-mask step, which has nothing to do; statusFallback without 128-bit integer vectors.
[[nodiscard]] ksys_status gauss_setMaskVec();

}  // namespace kip
