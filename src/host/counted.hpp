// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>

namespace kiphost {

// The number of references to a shared object; starts with its creator's.
class Counted {
 public:
  void retain() { count_.fetch_add(1, std::memory_order_relaxed); }
  // True for the last reference: the object is the caller's to free.
  [[nodiscard]] bool release() { return count_.fetch_sub(1, std::memory_order_acq_rel) == 1; }

 private:
  std::atomic<int64_t> count_{1};
};

}  // namespace kiphost
