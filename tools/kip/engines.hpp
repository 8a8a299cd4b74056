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

// The engines and whether they serve on this processor, tried out. Not while other threads use the library.
std::vector<EngineState> listEngines();

// Holds the library to "portable", level "1" or level "2" from now on. Throws Error when the processor lacks it.
void forceLevel(const std::string& level);

// Which engine serves an unmasked request is seen from outside: each takes working memory of its own sizes before it
// first asks whether it is to stop.
using CallTrace = std::vector<uint64_t>;

// Makes the call and notes the sizes; not while other threads use the library.
CallTrace traceCall(const std::function<void()>& call);
// The name of the engine that served a call of that trace. `repeat` makes the call again, to new images; it is stopped
// before the first pixel is computed.
std::string servingEngine(const CallTrace& trace, const std::function<void()>& repeat);

// The engine of requests with a source mask.
std::string maskedEngine();

}  // namespace kip::tool
