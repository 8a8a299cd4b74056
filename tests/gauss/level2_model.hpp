// SPDX-License-Identifier: Apache-2.0
// What the second vectorised level's paths for sigma 1 and 2 must produce.
#pragma once

#include "oracle/gauss_oracle.hpp"

namespace kiptest {

// The destination's pixels, row by row: exact sums of a mirrored source, divided by 64 or 729 and then scaled.
std::vector<uint8_t> vec2SigmaSmooth(const oracle::Picture& source, const ksGaussParams& params,
                                     const ksIRegion& destination);

}  // namespace kiptest
