// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace kernelcheck {

enum class Fault { none, guardPage, failedCheck, status, region, wrongEngine, wroteOutside, pixels };

struct Verdict {
  Fault fault = Fault::none;
  std::string detail;
};

// A kernel at one level, with its cases.
struct Row {
  std::string name;  // kernel/level
  int32_t features;  // that the processor must have
  int32_t cases;
  std::function<std::string(uint64_t seed, int32_t index)> describe;
  std::function<Verdict(uint64_t seed, int32_t index)> check;
  std::function<double()> bench;  // nanoseconds per source pixel
};

// Runs the call: guardPage when it touched memory that it must not, failedCheck when an argument check ended it.
Fault runGuarded(const std::function<void()>& call);
Verdict verdictOn(Fault fault);

// The shortest of many runs per pixel, in nanoseconds; negative when a run fails.
double timePerPixel(int64_t pixels, const std::function<int32_t()>& call);

void addGaussRows(std::vector<Row>& rows);
void addReduceRows(std::vector<Row>& rows);

// Checks cases until one fails, and says how; whether it failed by that fault.
bool catches(const char* name, Fault expected, int32_t cases, const std::function<Verdict(int32_t index)>& check);

// Runs deliberately broken kernels; true when the checker caught every one by its fault.
bool selfTest(uint64_t seed);
bool selfTestReduce(uint64_t seed);

}  // namespace kernelcheck
