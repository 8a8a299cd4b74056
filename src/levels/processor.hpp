// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "frame/status.hpp"

namespace kip {

// Whether the record claims all these features and comes from a maker whose feature bits count.
[[nodiscard]] inline bool hasFeatures(const ksys_cpuinfo& info, int32_t features) {
  return (info.vendor == 1 || info.vendor == 5) && (info.features & features) == features;
}

}  // namespace kip
