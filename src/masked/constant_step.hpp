// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <type_traits>

namespace kip {

// Calls loop(step), with a constant where the step is 1: compilers make only such loops work on many pixels at once.
template <typename Loop>
inline void withStep(int64_t step, Loop&& loop) {
  if (step == 1) {
    loop(std::integral_constant<int64_t, 1>{});
  } else {
    loop(step);
  }
}

}  // namespace kip
