// SPDX-License-Identifier: Apache-2.0
// What kfGauss computes, operation by operation: where its doubles do not hold the sums, the pixels depend on the
// order. Shares no code with the library.
#pragma once

#include "oracle/gauss_oracle.hpp"

namespace oracle {

struct Passes {
  int32_t n, xSigma, ySigma, peakNormalize;

  [[nodiscard]] int32_t xExtent() const { return (n + 1) * xSigma; }
  [[nodiscard]] int32_t yExtent() const { return (n + 1) * ySigma; }
};

// The pixels of all that the call computes, whose taps must lie in the source.
std::vector<uint8_t> smoothPasses(const Picture& source, const Passes& passes, const ksIRegion& computed);

}  // namespace oracle
