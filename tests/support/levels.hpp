// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "kip/levels.h"

namespace kiptest {

#ifdef KIP_VECTOR
inline constexpr bool hasVectors = true;
#else
inline constexpr bool hasVectors = false;  // levels above the portable one are not in this build
#endif

// The levels that this build and this machine can run, the lowest first.
inline std::vector<kip_level> usableLevels() {
  std::vector<kip_level> usable;
  ksys_cpuinfo processor = {};
  (void)ksys_cpuinfo_init(&processor);
  for (kip_level level : kip_levels) {
    if (level.features != 0 && !hasVectors) continue;
    if (kip_level_isOffered(&level, &processor) == 0) continue;
    // the kernels of level 1 that reduce 16 bits ask for SSE4.1 too
    if (level.features != 0) level.features |= processor.features & ksys_cpuSse41;
    usable.push_back(level);
  }
  return usable;
}

}  // namespace kiptest
