// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>

#include "robust/scene.hpp"
#include "support/levels.hpp"

namespace kiptest {

// An exported function as the tests call it: with the arguments of a scene.
struct Call {
  const char* name;
  int32_t srcBytes, dstBytes;
  std::vector<Form> forms;
  ksys_status (*run)(Scene& scene);
  bool asksProcessor = false;  // in every form
  bool isLegacy = false;       // tells no reason of a failing allocation
};

// The status that stands for a failure which a function without a status reports in another way.
inline constexpr ksys_status kToldOtherwise = KSYS_STATUS_NO_MEMORY;

// Every exported function that can fail or takes anything that a caller may get wrong.
std::span<const Call> calls();

}  // namespace kiptest
