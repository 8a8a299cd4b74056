// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace kip::tool {

struct EngineState {
  std::string name;
  std::string state;
};

// The library's engines and whether they can be used on this processor.
std::vector<EngineState> listEngines();

// The engine that serves an unmasked smoothing request.
std::string servingEngine();

}  // namespace kip::tool
