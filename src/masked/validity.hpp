// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kip {

// What decides which outputs of a row are valid. Masks and counts begin at the row's first sample, and every
// `sample`-th element belongs to an output.
struct ValidityRule {
  const uint8_t* mask;    // the source mask: valid where it is not 0; null: by the counts alone
  const int64_t* counts;  // pixels under the kernel, of which there must be `threshold`; null: any number
  int64_t threshold;
  const uint8_t* restriction;  // and valid only where this is not 0; null: everywhere
};

// Writes which are, 255 or 0 each.
void findValid(const ValidityRule& rule, int64_t sample, uint8_t* valid, int64_t width);

}  // namespace kip
