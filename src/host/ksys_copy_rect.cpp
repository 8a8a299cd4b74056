// SPDX-License-Identifier: Apache-2.0
#include <cstring>

#include "kip/host/ksys.h"

void ksys_memory_copyRect(void* dst, int64_t dstPitch, const void* src, int64_t srcPitch, uint64_t rowBytes,
                          uint64_t rows) {
  for (uint64_t row = 0; row < rows; ++row) {
    const int64_t at = static_cast<int64_t>(row);
    std::memcpy(static_cast<char*>(dst) + at * dstPitch, static_cast<const char*>(src) + at * srcPitch, rowBytes);
  }
}
