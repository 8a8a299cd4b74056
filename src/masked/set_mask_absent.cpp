// SPDX-License-Identifier: Apache-2.0
// In place of the vectorised set-mask step where it is not built.
#include "masked/set_mask_vec.hpp"

namespace kip {

ksys_status gauss_setMaskVec8(const kimg_window8&, const kimg_window8&, const SourceRows&, bool&) {
  return statusFallback;
}
ksys_status gauss_setMaskVec16(const kimg_window16&, const kimg_window8&, const SourceRows&, bool&) {
  return statusFallback;
}

}  // namespace kip
