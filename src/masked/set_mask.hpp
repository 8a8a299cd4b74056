// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "frame/status.hpp"
#include "kip/host/kimg.h"

namespace kip {

// Makes the planes ready for an engine: pixels outside the mask become 0 and mask bytes 0 or 1, then the padded rows of
// both are filled. The vectorised form goes by bit 0 of a mask byte, the portable one by the byte.
[[nodiscard]] ksys_status gauss_setMaskResetMaskedWindow8(const kimg_window8& imagePlane, const kimg_window8& maskPlane,
                                                          const kstd_rect32& padding);

}  // namespace kip
