// SPDX-License-Identifier: Apache-2.0
#include "frame/cleanup.hpp"

#include <gtest/gtest.h>

#include <string>

#include "frame/memory.hpp"
#include "support/host_seams.hpp"

namespace {

using kip::Cleanup;

// Opens a private member to the tests below.
template <auto Next, auto Entries>
struct Open {
  friend uint32_t& nextId(Cleanup& cleanup) { return cleanup.*Next; }
  friend ksys_cleanupEntry* entriesOf(Cleanup& cleanup) { return cleanup.*Entries; }
};
uint32_t& nextId(Cleanup& cleanup);
ksys_cleanupEntry* entriesOf(Cleanup& cleanup);

struct Object {
  std::string& log;
  char name;
};
void destruct(Object* object) {
  object->log += object->name;
}

constexpr ksys_status failure = KSYS_STATUS(0x80001234);

TEST(Cleanup, DestructsOnEveryExitNewestFirst) {
  for (const ksys_status status : {0, 5, int32_t{failure}}) {
    std::string log;
    Object a{log, 'a'}, b{log, 'b'}, c{log, 'c'};
    EXPECT_EQ(kip::withCleanup<3>([&](Cleanup& cleanup) {
                cleanup.pushObject<destruct>(&a);
                cleanup.pushObject<destruct>(&b);
                cleanup.pushObject<destruct>(&c);
                return status;
              }),
              status);
    EXPECT_EQ(log, "cba");
  }
}

TEST(Cleanup, ReleasesTheNewestEntryEarlyAndOnce) {
  std::string log;
  Object a{log, 'a'}, b{log, 'b'};
  EXPECT_EQ(kip::withCleanup<2>([&](Cleanup& cleanup) {
              ksys_status status = 0;
              cleanup.pushObject<destruct>(&a);
              cleanup.pushObject<destruct>(&b);
              cleanup.releaseTop(status);
              log += '|';
              cleanup.pushObject<destruct>(&b);  // the place is free again
              return status;
            }),
            0);
  EXPECT_EQ(log, "b|ba");
}

TEST(Cleanup, KeptMemoryStaysWithItsRecordOnSuccessOnly) {
  for (const ksys_status status : {0, int32_t{failure}}) {
    void* kept = nullptr;
    void* released = nullptr;  // a leak that the address sanitizer would report
    EXPECT_EQ(kip::withCleanup<2>([&](Cleanup& cleanup) {
                EXPECT_EQ(ksys_memory_alloc_internal(8, &kept), 0);
                cleanup.pushKeptMemory(&kept);
                EXPECT_EQ(cleanup.allocate(8, &released), 0);
                return status;
              }),
              status);
    EXPECT_EQ(kept == nullptr, status != 0);
    EXPECT_NE(released, nullptr);
    ksys_memory_free_internal(&kept);
  }
}

TEST(Cleanup, RefusesMoreEntriesThanItsCapacityAndReleasingNothing) {
  std::string log;
  Object a{log, 'a'};
  EXPECT_TRUE(kiptest::failsCheck([&] {
    static_cast<void>(kip::withCleanup<1>([&](Cleanup& cleanup) {
      cleanup.pushObject<destruct>(&a);
      cleanup.pushObject<destruct>(&a);
      return 0;
    }));
  }));
  EXPECT_TRUE(kiptest::failsCheck([] {
    static_cast<void>(kip::withCleanup<1>([](Cleanup& cleanup) {
      ksys_status status = 0;
      cleanup.releaseTop(status);
      return status;
    }));
  }));
}

TEST(Cleanup, IdsCountUpAndSkipTheLastNumber) {
  std::string log;
  Object a{log, 'a'};
  EXPECT_EQ(kip::withCleanup<4>([&](Cleanup& cleanup) {
              cleanup.pushObject<destruct>(&a);
              nextId(cleanup) = 0xFFFFFFFE;
              for (int i = 0; i < 3; ++i) cleanup.pushObject<destruct>(&a);
              const ksys_cleanupEntry* const entries = entriesOf(cleanup);
              EXPECT_EQ(entries[0].id, 0u);
              EXPECT_EQ(entries[1].id, 0xFFFFFFFE);
              EXPECT_EQ(entries[2].id, 0u);
              EXPECT_EQ(entries[3].id, 1u);
              return 0;
            }),
            0);
}

TEST(Buffer, FailsWhenItsBytesLeave64BitsAndWhenMemoryIsShort) {
  EXPECT_EQ(kip::withCleanup<1>([](Cleanup& cleanup) {
              kip::Buffer<double> buffer;
              EXPECT_EQ(buffer.allocate(cleanup, -1), KSYS_STATUS_NO_MEMORY);
              EXPECT_EQ(buffer.allocate(cleanup, INT64_MAX), KSYS_STATUS_NO_MEMORY);
              const kiptest::AllocationProbe probe(1);
              EXPECT_EQ(buffer.allocateClear(cleanup, 3), probe.failure());
              return buffer.data() == nullptr ? 0 : failure;
            }),
            0);
}

template struct Open<&Cleanup::nextId_, &Cleanup::entries_>;

}  // namespace
