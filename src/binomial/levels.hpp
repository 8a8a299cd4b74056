// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "binomial/rows.hpp"
#include "frame/status.hpp"

namespace kip {

// Whether this build has vectorised rows at all.
[[nodiscard]] bool hasVectorRows();

// The row kernels that a hook uses on this processor, asked afresh for every request: portable ones for 8-bit pixels
// where there are no 128-bit vectors. The fallback status when the hook does not serve the processor.
template <typename Pixel>
[[nodiscard]] ksys_status selectRows(const RowKernels<Pixel>*& rows);
// The same for hooks with masks, which do not serve a processor without vectors.
template <typename Pixel>
[[nodiscard]] ksys_status selectMaskedRows(const RowKernels<Pixel>*& rows);

template <typename Pixel>
[[nodiscard]] const RowKernels<Pixel>& portableRows() {
  if constexpr (sizeof(Pixel) == 1) return portableRows8;
  if constexpr (sizeof(Pixel) == 2) return portableRows16;
}

}  // namespace kip
