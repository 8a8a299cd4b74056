// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <atomic>

#include "kip/host/ksys.h"
#include "status.hpp"

// Entries hold destruct operations as they are, each for a pointer of its own type; all pointers are passed alike.
#ifdef __clang__
#define KIP_CALLS_DESTRUCTORS __attribute__((no_sanitize("function")))
#else
#define KIP_CALLS_DESTRUCTORS
#endif

uint32_t ksys_cleanup_getNextTag(void) {
  static std::atomic<uint32_t> next{0};
  return next.fetch_add(1, std::memory_order_relaxed);
}

KIP_CALLS_DESTRUCTORS
void ksys_cleanupExecute_(ksys_cleanupEntry* entries, int32_t* count, ksys_status* status, uint32_t) {
  while (*count > 0) {
    const ksys_cleanupEntry& entry = entries[--*count];
    if (entry.kind != ksys_cleanupKeptMemory || kiphost::failed(*status)) entry.destructor(entry.object);
  }
}

KIP_CALLS_DESTRUCTORS
void ksys_cleanup_doId_(ksys_cleanupEntry* entries, int32_t* count, ksys_status*, uint32_t id, int32_t destruct) {
  ksys_cleanupEntry* const end = entries + *count;
  ksys_cleanupEntry* const found = std::find_if(entries, end, [id](const auto& entry) { return entry.id == id; });
  if (found == end) return;
  if (destruct != 0) found->destructor(found->object);
  std::copy(found + 1, end, found);
  --*count;
}
