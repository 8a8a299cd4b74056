// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kiphost {

// Large blocks that were released and wait for the next use: the page faults of a fresh picture cost more than
// smoothing it. Of malloc or std::aligned_alloc; from any thread. Builds with a sanitizer do without, so that it sees
// every release.

// A block of at least that size and not much more, whose bytes are anything; null when there is none.
void* takeSpareBlock(uint64_t bytes);
// Whether the block is kept, or else the caller has to free it.
bool keepSpareBlock(void* block);

}  // namespace kiphost
