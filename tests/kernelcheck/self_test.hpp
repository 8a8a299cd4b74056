// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "kernelcheck/row.hpp"

namespace kernelcheck {

// Checks cases until one fails, and says how; whether it failed by that fault.
bool catches(const char* name, Fault expected, int32_t cases, const std::function<Verdict(int32_t index)>& check);

bool selfTestReduce(uint64_t seed);

}  // namespace kernelcheck
