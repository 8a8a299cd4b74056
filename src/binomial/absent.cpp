// SPDX-License-Identifier: Apache-2.0
// In place of the vectorised rows, where there are none.
#include "binomial/levels.hpp"

namespace kip {

bool hasVectorRows() {
  return false;
}

template <typename Pixel>
ksys_status selectRows(const RowKernels<Pixel>*& /*rows*/) {
  return statusFallback;
}

template <typename Pixel>
ksys_status selectMaskedRows(const RowKernels<Pixel>*& /*rows*/) {
  return statusFallback;
}

template ksys_status selectRows(const RowKernels<uint8_t>*& rows);
template ksys_status selectRows(const RowKernels<uint16_t>*& rows);
template ksys_status selectMaskedRows(const RowKernels<uint8_t>*& rows);
template ksys_status selectMaskedRows(const RowKernels<uint16_t>*& rows);

}  // namespace kip
