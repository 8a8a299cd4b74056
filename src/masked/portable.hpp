// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "frame/status.hpp"
#include "masked/band.hpp"

namespace kip {

// The portable masked engine for the three pairs of pixel types: the reference of every other. Serves every band whose
// sigmas the masked functions accept.
[[nodiscard]] ksys_status gauss_smoothMaskedGeneric8(const gauss_bandParams& band);
[[nodiscard]] ksys_status gauss_smoothMaskedGeneric8_16(const gauss_bandParams& band);
[[nodiscard]] ksys_status gauss_smoothMaskedGeneric16(const gauss_bandParams& band);

}  // namespace kip
