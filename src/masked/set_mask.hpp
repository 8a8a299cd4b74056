// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "frame/status.hpp"
#include "kip/host/kimg.h"

namespace kip {

// Makes the planes ready for an engine, which reads them through the mask: the padded rows of both are filled. The
// vectorised form leaves the mask's bytes as they are, so that their bit 0 counts and 8-bit pixels keep the bits that
// they share with the byte; in the portable form every byte but 0 becomes 255.
[[nodiscard]] ksys_status gauss_setMaskResetMaskedWindow8(const kimg_window8& imagePlane, const kimg_window8& maskPlane,
                                                          const kstd_rect32& padding);
[[nodiscard]] ksys_status gauss_setMaskResetMaskedWindow16(const kimg_window16& imagePlane,
                                                           const kimg_window8& maskPlane, const kstd_rect32& padding);

}  // namespace kip
