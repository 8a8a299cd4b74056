// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "frame/status.hpp"

namespace kip {

// Polls the host's attention check at every index that is a multiple of Period, negative indices too. 0 unless the host
// asks the operation to stop.
template <int64_t Period>
[[nodiscard]] ksys_status pollAttention(int64_t index) {
  static_assert(Period > 0 && (Period & (Period - 1)) == 0);
  if ((index & (Period - 1)) != 0) return 0;
  const ksys_status status = ksys_attention_check();
  return failed(status) ? status : 0;
}

}  // namespace kip
