// SPDX-License-Identifier: Apache-2.0
// Runs every kernel at every level over seeded cases.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "kernelcheck/row.hpp"
#include "kip/host/ksys.h"

namespace {

using namespace kernelcheck;

struct Options {
  uint64_t seed = 1;
  std::string filter;
  bool list = false, bench = false, selfTest = false;
};

constexpr const char* usage =
    "usage: kernelcheck [--seed N] [--filter TEXT] [--list | --bench | --self-test]\n"
    "  --seed N       draws other cases (default 1)\n"
    "  --filter TEXT  only cases whose name contains TEXT; with --bench, rows\n"
    "  --list         prints the names of the cases\n"
    "  --bench        prints nanoseconds per source pixel\n"
    "  --self-test    demands that deliberately broken kernels are caught\n";

bool parse(int count, char** arguments, Options& options) {
  for (int i = 1; i < count; ++i) {
    const std::string argument = arguments[i];
    const bool hasValue = i + 1 < count;
    if (argument == "--seed" && hasValue) {
      char* end = nullptr;
      options.seed = std::strtoull(arguments[++i], &end, 10);
      if (*end != '\0' || end == arguments[i]) return false;
    } else if (argument == "--filter" && hasValue) {
      options.filter = arguments[++i];
    } else if (argument == "--list") {
      options.list = true;
    } else if (argument == "--bench") {
      options.bench = true;
    } else if (argument == "--self-test") {
      options.selfTest = true;
    } else {
      return false;
    }
  }
  return true;
}

bool selected(const Options& options, const std::string& name) {
  return name.find(options.filter) != std::string::npos;
}

// The number of cases that ran, and the failures among them.
struct Tally {
  int32_t ran = 0, failed = 0;
};

Tally runRow(const Row& row, const Options& options) {
  constexpr int32_t shown = 5;
  Tally tally;
  for (int32_t index = 0; index < row.cases; ++index) {
    char number[16];
    std::snprintf(number, sizeof number, "/%04d/", index);
    const std::string name = row.name + number + row.describe(options.seed, index);
    if (!selected(options, name)) continue;
    ++tally.ran;
    if (options.list) {
      std::printf("%s\n", name.c_str());
      continue;
    }
    const Verdict verdict = row.check(options.seed, index);
    if (verdict.fault == Fault::none || ++tally.failed > shown) continue;
    std::printf("FAILED %s\n%s\nreproduce: kernelcheck --seed %llu --filter '%s'\n", name.c_str(),
                verdict.detail.c_str(), static_cast<unsigned long long>(options.seed), name.c_str());
  }
  if (!options.list && tally.ran > 0) {
    std::printf("%-24s %d cases, %d failed\n", row.name.c_str(), tally.ran, tally.failed);
  }
  return tally;
}

}  // namespace

int main(int count, char** arguments) {
  Options options;
  if (!parse(count, arguments, options)) {
    std::fputs(usage, stderr);
    return 2;
  }
  if (options.selfTest) return selfTest(options.seed) ? 0 : 1;

  std::vector<Row> rows;
  addGaussRows(rows);
  addReduceRows(rows);
  ksys_cpuinfo processor;
  if (ksys_cpuinfo_init(&processor) != 0) processor.features = 0;
  Tally total;
  int32_t skipped = 0;
  for (const Row& row : rows) {
    if ((row.features & ~processor.features) != 0) {
      ++skipped;
      continue;
    }
    if (options.bench) {
      if (!selected(options, row.name)) continue;
      std::printf("%-24s %8.3f ns/pixel\n", row.name.c_str(), row.bench());
      ++total.ran;
      continue;
    }
    const Tally tally = runRow(row, options);
    total.ran += tally.ran;
    total.failed += tally.failed;
  }
  if (skipped > 0) std::printf("skipped: %d rows that this processor has no level for\n", skipped);
  if (total.ran == 0) {
    std::fprintf(stderr, "kernelcheck: nothing ran: no case's name contains '%s'\n", options.filter.c_str());
    return 2;
  }
  if (!options.list && !options.bench) {
    std::printf("seed %llu: %d cases, %d failed\n", static_cast<unsigned long long>(options.seed), total.ran,
                total.failed);
  }
  return total.failed == 0 ? 0 : 1;
}
