// SPDX-License-Identifier: Apache-2.0
#include "engines.hpp"

#include "error.hpp"
#include "kip/host/kjob.h"
#include "pixels.hpp"

namespace kip::tool {
namespace {

// The sizes of the memory that a call takes.
std::vector<uint64_t> traceCall(const std::function<void()>& call) {
  std::vector<uint64_t> sizes;
  const auto note = [](void* context, uint64_t bytes) -> ksys_status {
    static_cast<std::vector<uint64_t>*>(context)->push_back(bytes);
    return 0;
  };
  ksys_memory_setHandler(note, &sizes);
  call();
  ksys_memory_setHandler(nullptr, nullptr);
  return sizes;
}

// A request that every engine serves, at least truncated.
void smoothSample(bool truncate) {
  (void)smooth(Picture::make(64, 64, 8).view<uint8_t>(), {.x_sigma = 3, .y_sigma = 3, .truncate = truncate});
}

}  // namespace

std::vector<EngineState> listEngines() {
  std::vector<EngineState> engines = {{levels().front().title, "usable, serves every request"}};
  for (const kip_level& level : levels().subspan(1)) {
    std::string state = "the processor lacks it";
    if (is_offered(level)) {
      set_level(level);
      const auto serves = [&](bool truncate) {
        return servingEngine(EngineFamily::levels, [&] { smoothSample(truncate); }) == level.title;
      };
      state = !serves(true)   ? "not part of this library"
              : serves(false) ? "usable"
                              : "usable; 8-bit pictures without a mask: with --truncate only";
      clear_level();
    }
    engines.push_back({level.title, state});
  }
  return engines;
}

void forceLevel(const std::string& option) {
  const kip_level& wanted = *find_level(option);
  if (!is_offered(wanted)) throw Error("--level " + option + ": this processor lacks it (see kip info)");
  set_level(wanted);
}

std::string servingEngine(EngineFamily family, const std::function<void()>& call) {
  ksys_jobThreads_setMaximum(1);
  const std::vector<uint64_t> trace = traceCall(call);
  kprt_isOptimizationInhibitedFP = [](const wchar_t*) -> int32_t { return 1; };
  const std::vector<uint64_t> portable = traceCall(call);
  kprt_isOptimizationInhibitedFP = nullptr;
  if (trace == portable) return levels().front().title;
  return family == EngineFamily::masked ? "vectorised" : best_level().title;
}

}  // namespace kip::tool
