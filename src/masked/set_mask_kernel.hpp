// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kip {

// image = image & mask, mask = mask & 1, on rows that do not overlap.
void gauss_setMaskRow8(uint8_t* image, uint8_t* mask, int64_t count);

}  // namespace kip
