// SPDX-License-Identifier: Apache-2.0
#include "kip/host/kstd.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

constexpr ksys_status kFailure = KSYS_STATUS(0x80001234);

TEST(Memory, BlocksAreAlignedClearedAndChecked) {
  void* block = nullptr;
  for (const uint64_t bytes : {UINT64_C(0), UINT64_C(1), UINT64_C(1000)}) {
    ASSERT_EQ(ksys_memory_allocClear_internal(bytes, &block), 0);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 64, 0u);
    const auto* content = static_cast<const uint8_t*>(block);
    EXPECT_EQ(std::vector<uint8_t>(content, content + bytes), std::vector<uint8_t>(bytes));
    ksys_memory_free_internal(&block);
    EXPECT_EQ(block, nullptr);
    ksys_memory_free_internal(&block);
  }
  int stale;
  for (const uint64_t bytes : {UINT64_MAX, UINT64_MAX - 62, uint64_t{1} << 63}) {
    block = &stale;
    EXPECT_EQ(ksys_memory_alloc_internal(bytes, &block), KSYS_STATUS_NO_MEMORY);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(kxfMalloc(bytes), nullptr);
  }
}

TEST(Memory, VectorsHoldTheirElementsAndCopiesLeaveGaps) {
  kstd_vector16 vector;
  uint16_t *begin, *end;
  for (const size_t size : {size_t{0}, size_t{5}}) {
    ASSERT_EQ(kstd_vector16_constructFill(&vector, size, 0xABCD), 0);
    ASSERT_EQ(kstd_vector16_getBeginEnd(&vector, &begin, &end), 0);
    EXPECT_EQ(std::vector(begin, end), std::vector<uint16_t>(size, 0xABCD));
    EXPECT_EQ(reinterpret_cast<uintptr_t>(begin) % 64, 0u);
    kstd_vector16_destruct(&vector);
  }
  kstd_vector32 wide;
  EXPECT_EQ(kstd_vector32_construct(&wide, uint64_t{1} << 62), KSYS_STATUS_NO_MEMORY);
  const uint8_t src[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  uint8_t dst[10] = {};
  ksys_memory_copyRect(dst, 4, src, 3, 2, 3);
  EXPECT_EQ(std::vector(dst, dst + 10), (std::vector<uint8_t>{1, 2, 0, 0, 4, 5, 0, 0, 7, 8}));
  ksys_memory_copy(dst + 1, src, 2);
  ksys_memory_fill(dst + 8, 0xFE, 1);
  ksys_memory_copy(nullptr, nullptr, 0);
  ksys_memory_fill(nullptr, 1, 0);
  EXPECT_EQ(std::vector(dst, dst + 10), (std::vector<uint8_t>{1, 1, 2, 0, 4, 5, 0, 0, 0xFE, 8}));
}

std::string destroyed;

struct Stack {
  char names[4] = {'a', 'b', 'c', 'd'};
  ksys_cleanupEntry entries[4];
  int32_t count = 0;
  ksys_status status;

  explicit Stack(ksys_status initial) : status(initial) {
    destroyed.clear();
    const auto destructor = [](void* object) { destroyed += *static_cast<char*>(object); };
    for (const int32_t kind : {ksys_cleanupObject, ksys_cleanupKeptMemory, ksys_cleanupMemory, ksys_cleanupObject}) {
      entries[count] = {static_cast<uint32_t>(count) + 10, kind, &names[count], destructor};
      ++count;
    }
  }
  void release(uint32_t id, int32_t destruct) { ksys_cleanup_doId_(entries, &count, &status, id, destruct); }
  void execute() { ksys_cleanupExecute_(entries, &count, &status, ksys_cleanup_getNextTag()); }
};

TEST(Cleanup, LastInFirstOutKeepingMemoryOnSuccess) {
  for (const auto& [status, expected] : {std::pair{0, "dca"}, {5, "dca"}, {kFailure, "dcba"}}) {
    Stack stack(status);
    stack.execute();
    stack.execute();
    EXPECT_EQ(destroyed, expected);
    EXPECT_EQ(stack.count, 0);
    EXPECT_EQ(stack.status, status);
  }
}

TEST(Cleanup, EarlyReleaseById) {
  Stack stack(0);
  stack.release(99, 1);
  EXPECT_EQ(stack.count, 4);
  stack.release(11, 1);  // kept memory, released all the same
  stack.release(10, 0);
  EXPECT_EQ(destroyed, "b");
  EXPECT_EQ(stack.count, 2);
  stack.execute();
  EXPECT_EQ(destroyed, "bdc");
}

TEST(Attention, HandlerBelongsToItsThread) {
  ksys_status answer = kFailure;
  ksys_attention_setHandler([](void* context) { return *static_cast<ksys_status*>(context); }, &answer);
  EXPECT_EQ(ksys_attention_check(), kFailure);
  std::thread([] { EXPECT_EQ(ksys_attention_check(), 0); }).join();
  ksys_attention_setHandler(nullptr, nullptr);
  EXPECT_EQ(ksys_attention_check(), 0);
}

TEST(Cpuinfo, DetectsOverridesAndFails) {
  ksys_cpuinfo info;
  ASSERT_EQ(ksys_cpuinfo_init(&info), 0);
  int32_t vendor = 0, features = 0;
#if defined(__x86_64__)
  if (__builtin_cpu_is("intel") || __builtin_cpu_is("amd")) {
    vendor = __builtin_cpu_is("intel") ? 1 : 5;
    features = 0x9 | (__builtin_cpu_supports("sse4.1") ? 0x100 : 0) | (__builtin_cpu_supports("avx2") ? 0x800 : 0);
  } else {
    vendor = info.vendor;
    features = info.features;
  }
#endif
  EXPECT_EQ(info.vendor, vendor);
  EXPECT_EQ(info.features, features);
  ksys_cpuinfo_setOverride(-2, INT32_MIN | 0x8);
  ASSERT_EQ(ksys_cpuinfo_init(&info), 0);
  EXPECT_EQ(info.vendor, -2);
  EXPECT_EQ(info.features, INT32_MIN | 0x8);
  ksys_cpuinfo_setFailure(kFailure);
  EXPECT_EQ(ksys_cpuinfo_init(&info), kFailure);
  ksys_cpuinfo_setFailure(0);
  ksys_cpuinfo_clearOverride();
  ASSERT_EQ(ksys_cpuinfo_init(&info), 0);
  EXPECT_EQ(info.vendor, vendor);
}

}  // namespace
