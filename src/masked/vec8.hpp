// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "frame/status.hpp"
#include "masked/band.hpp"

namespace kip {

// The vectorised masked engine for 8-bit sources and destinations; statusFallback for what it does not serve.
[[nodiscard]] ksys_status gauss_smoothMaskedVec8(const gauss_bandParams& band);

}  // namespace kip
