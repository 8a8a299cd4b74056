// SPDX-License-Identifier: Apache-2.0
#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "kip/host/kstd.h"

namespace {

std::atomic<kstd_assertHandler> handler{nullptr};

}  // namespace

void kstd_assert_(int32_t line) {
  if (const kstd_assertHandler current = handler.load()) {
    current(line);
  } else {
    std::fprintf(stderr, "argument check failed (line %d)\n", static_cast<int>(line));
  }
  std::abort();
}

void kstd_assert_setHandler(kstd_assertHandler function) {
  handler.store(function);
}
