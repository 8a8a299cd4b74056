// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "binomial/kernels.hpp"
#include "binomial/rows.hpp"
#include "levels/levels.hpp"

namespace kip {

template <typename Pixel>
[[nodiscard]] const RowKernels<Pixel>& portableRows() {
  if constexpr (sizeof(Pixel) == 1) return portableRows8;
  if constexpr (sizeof(Pixel) == 2) return portableRows16;
}

// The row kernels that hooks with masks use on this processor, asked afresh for every request; the fallback status when
// there are none.
template <typename Pixel>
[[nodiscard]] ksys_status selectMaskedRows(const RowKernels<Pixel>*& rows) {
  if constexpr (sizeof(Pixel) == 1) return kernelsFor(&Level::binomial8, rows);
  if constexpr (sizeof(Pixel) == 2) return kernelsFor(&Level::binomial16, rows);
}
// The same without masks, where hooks for 8-bit pixels serve every processor.
template <typename Pixel>
[[nodiscard]] ksys_status selectRows(const RowKernels<Pixel>*& rows) {
  const ksys_status status = selectMaskedRows(rows);
  if (sizeof(Pixel) == 2 || status != statusFallback) return status;
  rows = &portableRows<Pixel>();
  return 0;
}

// The row kernels of a kernel's version: the portable ones, or those for this processor. `refuses`: whether the hook
// does not serve the request whatever the processor; with masks the processor's failure comes before that.
template <bool Masked, bool Hook, typename Pixel>
[[nodiscard]] ksys_status chooseRows(const RowKernels<Pixel>*& rows, bool refuses) {
  if constexpr (!Hook) {
    rows = &portableRows<Pixel>();
    return 0;
  } else if constexpr (Masked) {
    const ksys_status status = selectMaskedRows(rows);
    return failed(status) || !refuses ? status : statusFallback;
  } else {
    return refuses ? statusFallback : selectRows(rows);
  }
}

}  // namespace kip
