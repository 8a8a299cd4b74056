// SPDX-License-Identifier: Apache-2.0
#include <atomic>
#include <cstring>

#include "kip/host/ksys.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

static_assert(sizeof(ksys_cpuinfo) == 120);

namespace {

struct Processor {
  int32_t vendor, features;
};

#if defined(__x86_64__) || defined(__i386__)

int32_t vendorNumber(const char name[12]) {
  static constexpr struct {
    char name[13];
    int32_t number;
  } known[] = {{"GenuineIntel", 1}, {"CentaurHauls", 1}, {"  Shanghai  ", 1}, {"AuthenticAMD", 5}, {"HygonGenuine", 5}};
  for (const auto& vendor : known) {
    if (std::memcmp(vendor.name, name, 12) == 0) return vendor.number;
  }
  return 0;
}

// Whether the operating system saves the 128-bit and 256-bit registers; needs OSXSAVE.
bool savesVectorRegisters() {
  uint32_t low, high;
  __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return (low & 6) == 6;
}

Processor detect() {
  unsigned a, b, c, d;
  if (__get_cpuid(0, &a, &b, &c, &d) == 0) return {};
  const unsigned nameParts[] = {b, d, c};
  char name[12];
  std::memcpy(name, nameParts, sizeof name);
  const int32_t vendor = vendorNumber(name);
  if (vendor == 0 || __get_cpuid(1, &a, &b, &c, &d) == 0) return {vendor, 0};

  int32_t features = 0;
  if ((d & bit_SSE2) != 0) features |= ksys_cpuSse2Integer;
  if ((d & bit_MMX) != 0 && (d & bit_SSE2) != 0) features |= ksys_cpuMmxSse2;
  if ((c & bit_SSE4_1) != 0) features |= ksys_cpuSse41;
  if ((c & bit_OSXSAVE) != 0 && (c & bit_AVX) != 0 && savesVectorRegisters() &&
      __get_cpuid_count(7, 0, &a, &b, &c, &d) != 0 && (b & bit_AVX2) != 0) {
    features |= ksys_cpuAvx2;
  }
  return {vendor, features};
}

#else

Processor detect() {
  return {};
}

#endif

std::atomic<ksys_status> failure{0};
std::atomic<bool> overridden{false};
// Vendor and features in one word, so that no reader sees half of a change.
std::atomic<uint64_t> overrideValues{0};
std::atomic<uint64_t> detectedValues{0};  // 0: not asked yet

uint64_t packed(const Processor& processor) {
  return uint64_t{static_cast<uint32_t>(processor.vendor)} << 32 | static_cast<uint32_t>(processor.features);
}

// Not initialised under a lock: the thread that holds it may be missing in a forked child.
uint64_t detectOnce() {
  uint64_t values = detectedValues.load();
  if (values == 0) detectedValues.store(values = packed(detect()));
  return values;
}

}  // namespace

ksys_status ksys_cpuinfo_init(ksys_cpuinfo* info) {
  *info = {};
  const ksys_status status = failure.load();
  if (status != 0) return status;
  const uint64_t values = overridden.load() ? overrideValues.load() : detectOnce();
  info->vendor = static_cast<int32_t>(values >> 32);
  info->features = static_cast<int32_t>(values & UINT32_MAX);
  return 0;
}

void ksys_cpuinfo_setOverride(int32_t vendor, int32_t features) {
  overrideValues.store(packed({vendor, features}));
  overridden.store(true);
}

void ksys_cpuinfo_clearOverride(void) {
  overridden.store(false);
}

void ksys_cpuinfo_setFailure(ksys_status status) {
  failure.store(status);
}
