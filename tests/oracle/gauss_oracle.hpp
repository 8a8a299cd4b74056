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

// One axis of a request: where a destination pixel's kernel and taps lie, and their weights.
struct Axis {
  int64_t sample, sigma;

  [[nodiscard]] int64_t position(int64_t pixel) const;
  [[nodiscard]] int64_t firstTap(int64_t pixel) const { return position(pixel) - 3 * sigma / 2; }
  [[nodiscard]] int64_t lastTap(int64_t pixel) const { return firstTap(pixel) + 3 * sigma; }
  [[nodiscard]] std::vector<int64_t> weights() const;
};

// The engines' record for a request through the image and window functions.
ksGaussParams legacyOf(const kip_gaussParams& params);

// The destination pixels whose sample position and taps the source can serve; of those requested, or all.
ksIRegion destinationOf(const ksIRegion& source, const ksGaussParams& params, const ksIRegion* requested = nullptr);

// The sums under the destination's pixels, row by row, of a source mirrored once.
std::vector<int64_t> weightedSums(const Picture& source, const ksGaussParams& params, const ksIRegion& destination);

// The destination's pixels, row by row, as the portable engine must produce them to the bit. The weighted sums are
// exact while 255 (kx ky)^3 < 2^53.
template <typename Pixel>
std::vector<Pixel> smooth(const Picture& source, const ksGaussParams& params, const ksIRegion& destination);

// How often the portable engine polls the attention check for that destination.
int64_t attentionChecks(const ksIRegion& source, const ksGaussParams& params, const ksIRegion& destination);

}  // namespace oracle
