// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "binomial/choose_rows.hpp"
#include "frame/attention.hpp"

namespace kip {

// Along the rows.
template <typename Pixel, bool Masked, bool Hook>
[[nodiscard]] ksys_status smooth5x1(const KernelCall<Pixel>& call) {
  const RowKernels<Pixel>* rows = nullptr;
  const bool refuses = call.width <= 2 || (Masked && call.dstMask == nullptr);
  ksys_status status = chooseRows<Masked, Hook>(rows, refuses);
  if (failed(status)) return status;
  for (int64_t y = 0; y < call.height; ++y) {
    if (failed(status = pollAttention<64>(y))) return status;
    if constexpr (Masked) {
      rows->maskedPass5x1(call.srcRow(y), call.srcMaskRow(y), call.width, call.dstRow(y), call.dstMaskRow(y));
    } else {
      rows->pass5x1(call.srcRow(y), call.width, call.dstRow(y));
    }
  }
  return 0;
}

}  // namespace kip
