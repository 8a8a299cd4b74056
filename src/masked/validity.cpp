// SPDX-License-Identifier: Apache-2.0
#include "masked/validity.hpp"

#include <cstring>

#include "masked/constant_step.hpp"

namespace kip {

namespace {

// Outputs that do not hold become invalid.
template <typename Element, typename Holds>
void limitTo(const Element* __restrict elements, int64_t sample, uint8_t* __restrict valid, int64_t width,
             Holds&& holds) {
  if (elements == nullptr) return;
  withStep(sample, [=](auto step) {
    for (int64_t c = 0; c < width; ++c) valid[c] = holds(elements[c * step]) ? valid[c] : 0;
  });
}

}  // namespace

void findValid(const ValidityRule& rule, int64_t sample, uint8_t* valid, int64_t width) {
  const auto isSet = [](uint8_t byte) { return byte != 0; };
  const auto isCovered = [threshold = rule.threshold](int64_t count) { return count >= threshold; };
  std::memset(valid, 255, static_cast<size_t>(width));
  limitTo(rule.mask, sample, valid, width, isSet);
  limitTo(rule.counts, sample, valid, width, isCovered);
  limitTo(rule.restriction, sample, valid, width, isSet);
}

}  // namespace kip
