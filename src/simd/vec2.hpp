// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "kip/params.h"

namespace kip {

// The second vectorised level, for processors with AVX2. Arguments as kip_gauss. Serves every request, those that its
// own paths are not made for through the portable engine.
[[nodiscard]] ksys_status gauss_vec2Smooth(const ksImage* source, ksVImage* destination, const ksGaussParams* params,
                                           ksIRegion* requested, ksVImage** out);

}  // namespace kip
