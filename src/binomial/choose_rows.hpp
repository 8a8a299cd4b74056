// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "binomial/kernels.hpp"
#include "binomial/levels.hpp"

namespace kip {

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
