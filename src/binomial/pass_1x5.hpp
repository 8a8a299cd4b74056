// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>

#include "binomial/choose_rows.hpp"
#include "frame/attention.hpp"

namespace kip {

// Down the columns, from five source rows each; beyond the top and the bottom the nearest row stands in. The first two
// and the last two rows and pictures below five rows ask for no attention.
template <typename Pixel, bool Masked, bool Hook>
[[nodiscard]] ksys_status smooth1x5(const KernelCall<Pixel>& call) {
  const RowKernels<Pixel>* rows = nullptr;
  const bool refuses = Masked ? call.dstMask == nullptr || call.height < 5 : call.width <= 2;
  ksys_status status = chooseRows<Masked, Hook>(rows, refuses);
  if (failed(status)) return status;
  const int64_t height = call.height;
  for (int64_t y = 0; y < height; ++y) {
    if (y >= 2 && y < height - 2 && failed(status = pollAttention<64>(y - 2))) return status;
    const Pixel* five[5];
    const uint8_t* masks[5];
    for (int k = 0; k < 5; ++k) {
      const int64_t nearest = std::clamp<int64_t>(y + k - 2, 0, height - 1);
      five[k] = call.srcRow(nearest);
      if constexpr (Masked) masks[k] = call.srcMaskRow(nearest);
    }
    if constexpr (Masked) {
      rows->maskedPass1x5(five, masks, call.width, call.dstRow(y), call.dstMaskRow(y));
    } else {
      rows->pass1x5(five, call.width, call.dstRow(y));
    }
  }
  return 0;
}

}  // namespace kip
