// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "kip/params.h"

namespace kip {

// An engine: arguments as kip_gauss, and the number of destination rows that are finished so far, 0 at first.
using Engine = ksys_status(const ksImage* source, ksVImage* destination, const ksGaussParams* params,
                           ksIRegion* requested, ksVImage** out, int64_t& finished);

// The portable engine: the reference of every other. Serves any sigma and sample factor, never answers with the
// fallback status.
Engine gauss_genericSmooth;

// The engine for this processor, or the portable one: behind kip_gauss.
Engine dispatch;

}  // namespace kip
