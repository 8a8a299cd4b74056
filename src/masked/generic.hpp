// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "frame/status.hpp"
#include "masked/band.hpp"

namespace kip {

// The portable masked engine for 8-bit sources and destinations: the reference of every other. Serves every band whose
// sigmas the masked functions accept.
[[nodiscard]] ksys_status gauss_smoothMaskedGeneric8(const gauss_bandParams& band);

}  // namespace kip
