// SPDX-License-Identifier: Apache-2.0
#include "engines.hpp"

namespace kip::tool {

std::vector<EngineState> listEngines() {
  return {{"portable", "usable, serves every request"},
          {"first vector level (SSE2)", "not part of this version"},
          {"second vector level (AVX2)", "not part of this version"}};
}

std::string servingEngine() {
  return "portable";
}

}  // namespace kip::tool
