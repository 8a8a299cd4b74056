// SPDX-License-Identifier: Apache-2.0
// The levels of the library's engines; ../levels.h says what they are. For programs that tell which one serves, or hold
// the library to one. Begin at kip::levels.
#pragma once

#include <span>
#include <string_view>

#include "../levels.h"
#include "error.hpp"

namespace kip {

// The lowest first.
[[nodiscard]] inline std::span<const kip_level> levels() noexcept {
  return kip_levels;
}
// By its name; null: there is none.
[[nodiscard]] inline const kip_level* find_level(std::string_view name) noexcept {
  for (const kip_level& one : levels()) {
    if (one.name == name) return &one;
  }
  return nullptr;
}
// Whether the processor that the library sees now has it: where the library is held to a level, none above.
[[nodiscard]] inline bool is_offered(const kip_level& which) noexcept {
  ksys_cpuinfo processor;
  return ksys_cpuinfo_init(&processor) >= 0 && kip_level_isOffered(&which, &processor) != 0;
}
// The best level that requests may use.
[[nodiscard]] inline const kip_level& best_level() noexcept {
  const kip_level* best = levels().data();
  for (const kip_level& one : levels()) {
    if (is_offered(one)) best = &one;
  }
  return *best;
}
// Holds the whole process to a level that the processor has (others: whoever asks answers for it), or lets it go.
inline void set_level(const kip_level& which) noexcept {
  ksys_cpuinfo_setOverride(which.vendor, which.features);
}
inline void clear_level() noexcept {
  ksys_cpuinfo_clearOverride();
}

}  // namespace kip
