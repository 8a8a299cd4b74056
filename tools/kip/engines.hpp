// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace kip::tool {

struct EngineState {
  std::string name;
  std::string state;
};

// The engines and whether they serve on this processor, tried out: afterwards the library is held to none. Not while
// other threads use it.
std::vector<EngineState> listEngines();

// Holds the library to the level of that name from now on. Throws Error when the processor lacks it.
void forceLevel(const std::string& level);

// The engines of unmasked 8-bit requests, and those of masked and 16-bit ones.
enum class EngineFamily { levels, masked };

// The name of the engine that serves a call. That is seen from outside: each takes working memory of its own sizes. The
// call is made twice, the second time with the portable engine, and must not keep what it makes. Not while other
// threads use the library, which is held to one thread from then on.
std::string servingEngine(EngineFamily family, const std::function<void()>& call);

}  // namespace kip::tool
