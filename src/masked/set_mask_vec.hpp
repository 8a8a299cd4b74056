// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "frame/status.hpp"
#include "masked/extend_rows.hpp"

namespace kip {

// The vectorised forms of the first half of the set-mask steps; the fallback status on processors without 128-bit
// integer vectors. hasEvenBytes is set when bytes other than 0 became 0.
[[nodiscard]] ksys_status gauss_setMaskVec8(const kimg_window8& imagePlane, const kimg_window8& maskPlane,
                                            const SourceRows& rows, bool& hasEvenBytes);
[[nodiscard]] ksys_status gauss_setMaskVec16(const kimg_window16& imagePlane, const kimg_window8& maskPlane,
                                             const SourceRows& rows, bool& hasEvenBytes);

}  // namespace kip
