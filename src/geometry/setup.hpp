// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/regions.hpp"

namespace kip {

// The first step of every engine: the request's geometry, the destination image and its client coordinates. Writes no
// pixels, and nothing at all when it fails with KIP_STATUS_BAD_SIGMA. *destination decides the destination pixels when
// not null, else *requested when `requested` is not null, which receives what is computed; a null *destination is
// created.
[[nodiscard]] ksys_status gauss_engineSetup(const ksImage* source, ksVImage** destination, const ksGaussParams* params,
                                            ksIRegion* requested, RequestGeometry& geometry);

// Hands the destination out; its type must be 8-bit or 16-bit.
void handOut(ksVImage* destination, ksVImage** out);

}  // namespace kip
