// SPDX-License-Identifier: Apache-2.0
#include "masked/vec8.hpp"

namespace kip {

// Not part of this version: the portable engine serves every request.
ksys_status gauss_smoothMaskedVec8(const gauss_bandParams&) {
  return statusFallback;
}

}  // namespace kip
