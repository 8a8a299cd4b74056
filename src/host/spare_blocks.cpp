// SPDX-License-Identifier: Apache-2.0
#include "spare_blocks.hpp"

#include <malloc.h>

#include <algorithm>
#include <array>
#include <mutex>
#include <utility>

#include "fork.hpp"

namespace kiphost {

namespace {

// Four blocks serve a request with its planes and results.
constexpr size_t kMost = 4;
constexpr uint64_t kSmallest = uint64_t{256} << 10;
constexpr uint64_t kMostBytes = uint64_t{64} << 20;  // of all that is kept

struct Spare {
  void* block;
  uint64_t bytes;
};

std::mutex mutex;
std::array<Spare, kMost> spares{};  // guarded by mutex; the newest one first, null ones last
[[maybe_unused]] const int atForks = holdAcrossForks<mutex>();

}  // namespace

void* takeSpareBlock(uint64_t bytes) {
  if (bytes < kSmallest || bytes > kMostBytes) return nullptr;
  const GuardedLock<mutex> lock;
  const auto found = std::find_if(spares.begin(), spares.end(), [bytes](const Spare& spare) {
    return spare.block != nullptr && bytes <= spare.bytes && spare.bytes <= 2 * bytes;
  });
  if (found == spares.end()) return nullptr;
  void* const block = found->block;
  std::move(found + 1, spares.end(), found);
  spares.back() = {};
  return block;
}

bool keepSpareBlock(void* block) {
  const uint64_t bytes = block != nullptr ? malloc_usable_size(block) : 0;
  if (bytes < kSmallest || bytes > kMostBytes) return false;
  // Blocks are freed without the lock, so that a fork, which takes it, never waits for malloc's.
  std::array<void*, kMost> dropped{};
  {
    const GuardedLock<mutex> lock;
    dropped.back() = spares.back().block;
    std::move_backward(spares.begin(), spares.end() - 1, spares.end());
    spares.front() = {block, bytes};
    uint64_t bytesKept = bytes;
    for (size_t i = 1; i < kMost; ++i) {
      bytesKept += spares[i].bytes;
      if (bytesKept > kMostBytes) dropped[i - 1] = std::exchange(spares[i], {}).block;
    }
  }
  for (void* const one : dropped) free(one);
  return true;
}

}  // namespace kiphost
