// SPDX-License-Identifier: Apache-2.0
#include "masked/validity.hpp"

#include "masked/constant_step.hpp"

namespace kip {

void validBySamples(uint8_t* __restrict valid, const uint8_t* __restrict mask, int64_t width, int64_t sample) {
  withStep(sample, [=](auto step) {
    for (int64_t c = 0; c < width; ++c) valid[c] = mask[c * step] != 0 ? 255 : 0;
  });
}

void validByCoverage(uint8_t* __restrict valid, const int64_t* __restrict counts, int64_t threshold, int64_t width,
                     int64_t sample) {
  withStep(sample, [=](auto step) {
    for (int64_t c = 0; c < width; ++c) valid[c] = counts[c * step] >= threshold ? 255 : 0;
  });
}

void limitToSamples(uint8_t* __restrict valid, const uint8_t* __restrict mask, int64_t width, int64_t sample) {
  withStep(sample, [=](auto step) {
    for (int64_t c = 0; c < width; ++c) valid[c] = mask[c * step] != 0 ? valid[c] : 0;
  });
}

void limitToCovered(uint8_t* __restrict valid, const int64_t* __restrict counts, int64_t width, int64_t sample) {
  withStep(sample, [=](auto step) {
    for (int64_t c = 0; c < width; ++c) valid[c] = counts[c * step] > 0 ? valid[c] : 0;
  });
}

}  // namespace kip
