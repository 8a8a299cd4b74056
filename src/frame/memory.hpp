// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/cleanup.hpp"

namespace kip {

// A working buffer that lives until the end of the call that allocates it.
template <typename Element>
class Buffer {
 public:
  // `count` elements, not initialised; fails when the bytes leave 64 bits or memory is short.
  [[nodiscard]] ksys_status allocate(Cleanup& cleanup, int64_t count) {
    uint64_t bytes = 0;
    if (count < 0 || __builtin_mul_overflow(static_cast<uint64_t>(count), sizeof(Element), &bytes)) {
      return KSYS_STATUS_NO_MEMORY;
    }
    return cleanup.allocate(bytes, &block_);
  }

  // The same, all bytes 0.
  [[nodiscard]] ksys_status allocateClear(Cleanup& cleanup, int64_t count) {
    const ksys_status status = allocate(cleanup, count);
    if (!failed(status)) std::memset(block_, 0, static_cast<size_t>(count) * sizeof(Element));
    return status;
  }

  [[nodiscard]] Element* data() const { return static_cast<Element*>(block_); }

 private:
  void* block_ = nullptr;
};

}  // namespace kip
