// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "oracle/gauss_oracle.hpp"
#include "support/pictures.hpp"

namespace kiptest {

// One smoothing request: a source picture, parameters and a destination that may fit, exceed or miss what the source
// supplies.
struct GaussCase {
  oracle::Picture source;
  Pattern pattern;
  ksGaussParams params;
  ksIRegion destination;  // the destination's own region
  ksIRegion computed;     // the part of it that is computed

  [[nodiscard]] std::string describe() const;
};

// Draws what a source region and parameters leave open.
void finishGaussCase(GaussCase& test, Random& random);

// The index-th case of a seeded run. `mirrored`: always with border extension and without peak normalisation, as the
// image and window functions ask for.
GaussCase drawGaussCase(uint64_t seed, int32_t index, bool mirrored);

}  // namespace kiptest
