// SPDX-License-Identifier: Apache-2.0
#include "lanes/registers_sse2.hpp"

#include "binomial/vector_kernels.hpp"

namespace kip {

const RowKernels<uint8_t> sse2Rows8 = vectorRows<uint8_t>;
const RowKernels<uint16_t> sse2Rows16 = vectorRows<uint16_t>;

}  // namespace kip
