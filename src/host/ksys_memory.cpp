// SPDX-License-Identifier: Apache-2.0
#include <sys/mman.h>

#include <cstdlib>
#include <cstring>
#include <mutex>

#include "fork.hpp"
#include "kip/host/ksys.h"
#include "spare_blocks.hpp"
#include "status.hpp"

namespace {

using kiphost::failed;

constexpr uint64_t kAlignment = 64;
constexpr uint64_t kHugePage = uint64_t{2} << 20;

struct Handler {
  ksys_memoryHandler function;
  void* context;
};

std::mutex handlerMutex;
Handler handler{};  // guarded by handlerMutex
[[maybe_unused]] const int atForks = kiphost::holdAcrossForks<handlerMutex>();

// The handler runs without the lock, so that it may allocate or replace itself.
ksys_status askHandler(uint64_t bytes) {
  Handler current;
  {
    const kiphost::GuardedLock<handlerMutex> lock;
    current = handler;
  }
  return current.function != nullptr ? current.function(current.context, bytes) : 0;
}

#ifdef KIP_SANITIZED

// The sanitizer's own block, so that it sees what lies before and behind.
void* obtain(uint64_t bytes) {
  return std::aligned_alloc(kAlignment, bytes == 0 ? kAlignment : (bytes + kAlignment - 1) / kAlignment * kAlignment);
}
void release(void* block) {
  std::free(block);
}

#else

// A block starts at the first cache line of its memory that leaves room for the memory's address, which stands just
// before it: malloc serves small sizes much faster than aligned_alloc does.
void* blockIn(void* memory) {
  auto* const bytes = static_cast<char*>(memory);
  char* const block = bytes + kAlignment - reinterpret_cast<uintptr_t>(memory) % kAlignment;
  std::memcpy(block - sizeof memory, &memory, sizeof memory);
  return block;
}
void* memoryOf(void* block) {
  void* memory;
  std::memcpy(&memory, static_cast<char*>(block) - sizeof memory, sizeof memory);
  return memory;
}

// Null when there is none.
void* obtain(uint64_t bytes) {
  bytes += kAlignment;
  void* memory = kiphost::takeSpareBlock(bytes);
  if (memory == nullptr && bytes < 2 * kHugePage) {
    memory = std::malloc(bytes);
  } else if (memory == nullptr) {
    const uint64_t rounded = (bytes + kHugePage - 1) / kHugePage * kHugePage;
    memory = std::aligned_alloc(kHugePage, rounded);
#ifdef MADV_HUGEPAGE
    // fewer page faults
    if (memory != nullptr) madvise(memory, rounded, MADV_HUGEPAGE);
#endif
  }
  return memory == nullptr ? nullptr : blockIn(memory);
}

void release(void* block) {
  if (block == nullptr) return;
  void* const memory = memoryOf(block);
  if (!kiphost::keepSpareBlock(memory)) std::free(memory);
}

#endif

// The one place where the host obtains memory.
ksys_status allocate(uint64_t bytes, void** block) {
  *block = nullptr;
  const ksys_status status = askHandler(bytes);
  if (failed(status)) return status;
  if (bytes > static_cast<uint64_t>(PTRDIFF_MAX) - kHugePage) return KSYS_STATUS_NO_MEMORY;
  *block = obtain(bytes);
  return *block == nullptr ? KSYS_STATUS_NO_MEMORY : 0;
}

}  // namespace

ksys_status ksys_memory_alloc_internal(uint64_t bytes, void** block) {
  return allocate(bytes, block);
}

ksys_status ksys_memory_alloc64_internal(uint64_t bytes, void** block) {
  return allocate(bytes, block);
}

ksys_status ksys_memory_allocClear_internal(uint64_t bytes, void** block) {
  const ksys_status status = allocate(bytes, block);
  if (failed(status)) return status;
  std::memset(*block, 0, bytes);
  return 0;
}

void ksys_memory_free_internal(void* block) {
  // The variable may be a pointer of any type: go by its bytes.
  void* address;
  std::memcpy(&address, block, sizeof address);
  release(address);
  address = nullptr;
  std::memcpy(block, &address, sizeof address);
}

void* kxfMalloc(uint64_t bytes) {
  void* block;
  return failed(allocate(bytes, &block)) ? nullptr : block;
}

void kxfFree(void* block) {
  release(block);
}

void ksys_memory_setHandler(ksys_memoryHandler function, void* context) {
  const kiphost::GuardedLock<handlerMutex> lock;
  handler = {function, context};
}
