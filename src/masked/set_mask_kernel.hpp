// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kip {

// image = image & mask, mask = mask & 1, on rows that do not overlap; returns whether bytes other than 0 became 0.
bool gauss_setMaskRow8(uint8_t* image, uint8_t* mask, int64_t count);

// mask = mask & 1, and image = 0 where that gives 0; the same otherwise.
bool gauss_setMaskRow16(uint16_t* image, uint8_t* mask, int64_t count);

}  // namespace kip
