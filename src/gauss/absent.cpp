// SPDX-License-Identifier: Apache-2.0
// In place of the vectorised levels where they are not built.
#include "frame/status.hpp"
#include "gauss/fixed_point.hpp"
#include "gauss/level2.hpp"

namespace kip {

ksys_status gauss_vec1Smooth(const ksImage*, ksVImage*, const ksGaussParams*, ksIRegion*, ksVImage**, int64_t&) {
  return statusFallback;
}

ksys_status gauss_vec2Smooth(const ksImage*, ksVImage*, const ksGaussParams*, ksIRegion*, ksVImage**, int64_t&) {
  return statusFallback;
}

}  // namespace kip
