// SPDX-License-Identifier: Apache-2.0
// What the first vectorised level must produce: exact sums by definition, divided in fixed point.
#pragma once

#include "oracle/gauss_oracle.hpp"

namespace kiptest {

// Whether the level serves a request from a source over that region.
bool vec1Serves(const ksIRegion& source, const ksGaussParams& params);

// The destination's pixels, row by row, of a request that the level serves.
template <typename Pixel>
std::vector<Pixel> vec1Smooth(const oracle::Picture& source, const ksGaussParams& params, const ksIRegion& destination);

}  // namespace kiptest
