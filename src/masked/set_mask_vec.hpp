// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "frame/status.hpp"
#include "masked/extend_rows.hpp"

namespace kip {

// The vectorised form of the first half of gauss_setMaskResetMaskedWindow8; the fallback status on processors without
// 128-bit integer vectors.
[[nodiscard]] ksys_status gauss_setMaskVec8(const kimg_window8& imagePlane, const kimg_window8& maskPlane,
                                            const SourceRows& rows);

}  // namespace kip
