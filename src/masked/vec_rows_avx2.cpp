// SPDX-License-Identifier: Apache-2.0
#include "masked/vec_rows_kernel.hpp"

namespace kip {

const MaskedRowsKernel maskedRowsAvx2 = kernel;

}  // namespace kip
