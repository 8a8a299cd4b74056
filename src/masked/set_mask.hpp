// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "frame/status.hpp"
#include "kip/host/kimg.h"

namespace kip {

// Makes the planes ready for an engine: pixels outside the mask become 0 and mask bytes 0 or 1, then the padded rows of
// both are filled. The portable form goes by the byte, the vectorised one by its bit 0; 8-bit pixels keep the bits that
// they share with the byte. hasEvenBytes: bytes other than 0 became 0.
[[nodiscard]] ksys_status gauss_setMaskResetMaskedWindow8(const kimg_window8& imagePlane, const kimg_window8& maskPlane,
                                                          const kstd_rect32& padding, bool& hasEvenBytes);
[[nodiscard]] ksys_status gauss_setMaskResetMaskedWindow16(const kimg_window16& imagePlane,
                                                           const kimg_window8& maskPlane, const kstd_rect32& padding,
                                                           bool& hasEvenBytes);

}  // namespace kip
