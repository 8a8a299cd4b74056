// SPDX-License-Identifier: Apache-2.0
// In place of the vectorised masked engine where it is not built.
#include "masked/vec.hpp"

namespace kip {

ksys_status gauss_smoothMaskedVec8(const gauss_bandParams&) {
  return statusFallback;
}
ksys_status gauss_smoothMaskedVec8_16(const gauss_bandParams&) {
  return statusFallback;
}
ksys_status gauss_smoothMaskedVec16(const gauss_bandParams&) {
  return statusFallback;
}
ksys_status gauss_smoothAllVec16(const PreparedRequest&, const kip_gaussParams&) {
  return statusFallback;
}
ksys_status gauss_setMaskVec() {
  return statusFallback;
}

}  // namespace kip
