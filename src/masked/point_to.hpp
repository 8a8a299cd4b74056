// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "frame/check.hpp"
#include "frame/status.hpp"
#include "kip/host/kimg.h"

namespace kip {

[[nodiscard]] inline ksys_status windowRect(kimg_windowConst& window, const kstd_rect32& rect, int32_t& flag) {
  return kimg_windowConst_windowRect(&window, &rect, &flag);
}
[[nodiscard]] inline ksys_status windowRect(kimg_window& window, const kstd_rect32& rect, int32_t& flag) {
  return kimg_window_windowRect(&window, &rect, &flag);
}

// Re-points all of the windows that refer to pixels to the rectangle, which lies in each of them.
template <typename... Windows>
[[nodiscard]] ksys_status pointTo(const kstd_rect32& rect, Windows&... windows) {
  const auto point = [&rect](auto& window) -> ksys_status {
    if (window.bound == 0) return 0;
    int32_t flag = 0;
    const ksys_status status = windowRect(window, rect, flag);
    if (!failed(status)) check(flag == 0);
    return status;
  };
  ksys_status status = 0;
  (void)(!failed(status = point(windows)) && ...);
  return status;
}

}  // namespace kip
