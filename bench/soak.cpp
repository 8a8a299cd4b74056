// SPDX-License-Identifier: Apache-2.0
// Mixed random calls at every level for a while; fails when one fails or the resident memory grows.
// Usage: soak MINUTES [SEED]
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "decode.hpp"
#include "judge.hpp"
#include "kip/host/kjob.h"
#include "support/host_seams.hpp"

namespace {

using namespace kiptest;
using Clock = std::chrono::steady_clock;

int64_t residentKilobytes() {
  int64_t total = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return resident * sysconf(_SC_PAGESIZE) / 1024;
}

bool isGood(const Request& request) {
  const Outcome outcome = run(request);
  // a part of a reduction may begin outside the source
  const bool mayBeOutside = request.isReduction() && outcome.status == KSYS_STATUS_OUTSIDE_IMAGE;
  if (outcome.fault.empty() && (outcome.status == 0 || mayBeOutside)) return true;
  std::fprintf(stderr, "%s: status %d %s\n", describe(request).c_str(), outcome.status, outcome.fault.c_str());
  return false;
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 2) {
    std::fprintf(stderr, "usage: soak MINUTES [SEED]\n");
    return 2;
  }
  constexpr int64_t bound = 2048;  // kilobytes
  const auto length = std::chrono::duration_cast<Clock::duration>(
      std::chrono::duration<double, std::ratio<60>>(std::atof(arguments[1])));
  const uint64_t seed = count > 2 ? std::strtoull(arguments[2], nullptr, 10) : 1;
  const auto start = Clock::now();
  ksys_jobThreads_setMaximum(2);
  int64_t first = 0, most = 0, failures = 0;
  uint64_t calls = 0;
  for (; Clock::now() - start < length && failures < 10; ++calls) {
    const ProcessorOverride processor(levels()[calls % levels().size()]);
    failures += !isGood(drawRequest(seed, calls, false));
    if (calls % 4096 != 0) continue;
    most = std::max(most, residentKilobytes());
    if (first == 0 && Clock::now() - start > length / 10) first = residentKilobytes();
  }
  const int64_t last = residentKilobytes();
  std::printf("%llu calls, %lld failures; resident kB: %lld after warm-up, %lld at most, %lld at the end\n",
              static_cast<unsigned long long>(calls), static_cast<long long>(failures), static_cast<long long>(first),
              static_cast<long long>(most), static_cast<long long>(last));
  return failures == 0 && first != 0 && last - first <= bound ? 0 : 1;
}
