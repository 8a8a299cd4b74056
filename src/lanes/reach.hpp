// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kip {

// What of running sums along the row that need 64 bits fits in 32: sums up to the second, the third differences, or not
// even those.
enum class Reach { second, difference, nothing };

namespace {

// `largest`: the largest value of a column.
[[maybe_unused]] Reach reachOf(int64_t largest, int64_t box) {
  // a second sum is the difference of the sums of two kernels side by side
  const int64_t largestWeight = (3 * box * box + 1) / 4;
  return largest <= INT32_MAX / largestWeight ? Reach::second
         : largest <= INT32_MAX / 4           ? Reach::difference
                                              : Reach::nothing;
}

}  // namespace

}  // namespace kip
