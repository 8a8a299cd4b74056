// SPDX-License-Identifier: Apache-2.0
#include <cstring>

#include "kip/host/ksys.h"

void ksys_memory_copy(void* dst, const void* src, uint64_t bytes) {
  if (bytes != 0) std::memcpy(dst, src, bytes);
}

void ksys_memory_copyRect(void* dst, int64_t dstPitch, const void* src, int64_t srcPitch, uint64_t rowBytes,
                          uint64_t rows) {
  for (uint64_t row = 0; row < rows; ++row) {
    const int64_t at = static_cast<int64_t>(row);
    std::memcpy(static_cast<char*>(dst) + at * dstPitch, static_cast<const char*>(src) + at * srcPitch, rowBytes);
  }
}

void ksys_memory_fill(void* dst, uint8_t value, uint64_t bytes) {
  if (bytes != 0) std::memset(dst, value, bytes);
}
