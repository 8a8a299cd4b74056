// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kip {

// Which outputs of a row are valid, 255 or 0 each. Of masks and counts, which begin at the row's first sample, every
// `sample`-th element belongs to an output.

// By the source mask at the samples.
void validBySamples(uint8_t* valid, const uint8_t* mask, int64_t width, int64_t sample);
// By the number of pixels under the kernel.
void validByCoverage(uint8_t* valid, const int64_t* counts, int64_t threshold, int64_t width, int64_t sample);
// Those of them that a mask admits, too.
void limitToSamples(uint8_t* valid, const uint8_t* mask, int64_t width, int64_t sample);
// And those with a pixel under the kernel.
void limitToCovered(uint8_t* valid, const int64_t* counts, int64_t width, int64_t sample);

}  // namespace kip
