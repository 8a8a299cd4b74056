// SPDX-License-Identifier: Apache-2.0
// What smoothing means, computed by its definition: direct sums with weights made by convolving boxes. Shares no code
// with the library, only its public records.
#pragma once

#include <cstdint>
#include <vector>

#include "kip/params.h"

namespace oracle {

// An 8-bit picture, row by row.
struct Picture {
  ksIRegion region;
  std::vector<uint8_t> pixels;
};

// The engines' record for a request through the image and window functions.
ksGaussParams legacyOf(const kip_gaussParams& params);

// The destination pixels whose sample position and taps the source can serve; of those requested, or all.
ksIRegion destinationOf(const ksIRegion& source, const ksGaussParams& params, const ksIRegion* requested = nullptr);

// The destination's pixels, row by row, as the portable engine must produce them to the bit. The weighted sums are
// exact while 255 (kx ky)^3 < 2^53.
template <typename Pixel>
std::vector<Pixel> smooth(const Picture& source, const ksGaussParams& params, const ksIRegion& destination);

// How often the portable engine polls the attention check for that destination.
int64_t attentionChecks(const ksIRegion& source, const ksGaussParams& params, const ksIRegion& destination);

}  // namespace oracle
