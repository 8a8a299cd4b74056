// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "frame/status.hpp"
#include "kip/host/kimg.h"

namespace kip {

// What the four exported window functions without sampling do. Without Masked the mask windows are null.
template <typename Pixel, bool Masked>
[[nodiscard]] ksys_status smoothNoSampleWindow(const kimg_windowConst* srcWindow,
                                               const kimg_window8Const* srcMaskWindow, const kimg_window* dstWindow,
                                               const kimg_window8* dstMaskWindow, int32_t xRadius, int32_t yRadius);

}  // namespace kip
