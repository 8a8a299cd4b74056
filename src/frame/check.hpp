// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <cstdlib>

#include "kip/host/kstd.h"

namespace kip {

// Argument check: a condition that only a programming error breaks. Nothing goes on after one that fails.
inline void check(bool condition, int32_t line = __builtin_LINE()) {
  if (!condition) [[unlikely]] {
    kstd_assert_(line);
    std::abort();
  }
}

}  // namespace kip
