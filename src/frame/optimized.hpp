// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "frame/status.hpp"
#include "kip/host/kstd.h"

namespace kip {

// Whether the host forbids the optimized path of that name.
[[nodiscard]] inline bool isInhibited(const wchar_t* name) {
  const auto query = kprt_isOptimizationInhibitedFP;
  return query != nullptr && query(name) != 0;
}

// Runs the optimized path unless it is inhibited, and the portable one when the optimized one does not serve the
// request.
template <typename Optimized, typename Portable>
[[nodiscard]] ksys_status runOptimized(const wchar_t* name, Optimized&& optimized, Portable&& portable) {
  const ksys_status status = isInhibited(name) ? statusFallback : optimized();
  return isUnsupported(status) ? portable() : status;
}

}  // namespace kip
