// SPDX-License-Identifier: Apache-2.0
#include "masked/group_rows.hpp"

namespace kip {

namespace KIP_LANES {
extern const MaskedRowsKernel maskedRows = kernel;
}

}  // namespace kip
