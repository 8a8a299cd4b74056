// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "kip/host/ksys.h"

namespace kip {

[[nodiscard]] constexpr bool failed(ksys_status status) {
  return status < 0;
}

// What an optimized path answers when it does not serve a request.
inline constexpr ksys_status statusFallback = KSYS_STATUS(0x80000601);

// The band of statuses, low 16 bits 0x600 to 0x61F, after which the portable path runs instead.
[[nodiscard]] constexpr bool isUnsupported(ksys_status status) {
  return (static_cast<uint32_t>(status) & 0xFFFFu) >> 5 == 48;
}

}  // namespace kip
