// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "kip/params.h"

namespace kip {

// The portable engine: the reference of every other. Serves any sigma and sample factor, never answers with the
// fallback status. Arguments as kip_gauss.
[[nodiscard]] ksys_status gauss_genericSmooth(const ksImage* source, ksVImage* destination, const ksGaussParams* params,
                                              ksIRegion* requested, ksVImage** out);

}  // namespace kip
