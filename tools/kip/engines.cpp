// SPDX-License-Identifier: Apache-2.0
#include "engines.hpp"

#include "error.hpp"
#include "kip/gauss.h"
#include "kip/host/kjob.h"
#include "library_image.hpp"

namespace kip::tool {
namespace {

struct Level {
  const char* option;
  const char* name;
  int32_t vendor, features;
};

constexpr int32_t kFirst = ksys_cpuMmxSse2 | ksys_cpuSse2Integer, kSecond = kFirst | ksys_cpuSse41 | ksys_cpuAvx2;
constexpr Level kPortable = {"portable", "portable", 0, 0};
constexpr Level kLevels[] = {kPortable, {"1", "level 1 (SSE2)", 1, kFirst}, {"2", "level 2 (AVX2)", 1, kSecond}};

ksys_cpuinfo processor() {
  ksys_cpuinfo info;
  check("processor information", ksys_cpuinfo_init(&info));
  return info;
}

bool offers(const ksys_cpuinfo& info, const Level& level) {
  return level.vendor == 0 ||
         ((info.vendor == 1 || info.vendor == 5) && (info.features & level.features) == level.features);
}

// Another processor for the time being.
class Override {
 public:
  explicit Override(const Level& level) : before_(processor()) {
    ksys_cpuinfo_setOverride(level.vendor, level.features);
  }
  ~Override() { ksys_cpuinfo_setOverride(before_.vendor, before_.features); }
  Override(const Override&) = delete;
  Override& operator=(const Override&) = delete;

 private:
  ksys_cpuinfo before_;
};

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
void smoothSample(int32_t roundResult) {
  Picture picture = Picture::make(64, 64, 8);
  const Image source(picture);
  Image result;
  kip_gaussParams params;
  kip_gaussParams_init(&params);
  params.xSigma = params.ySigma = 3;
  params.roundResult = roundResult;
  (void)kip_gauss_smooth8_8(&source.record, &result.record, &params);
}

}  // namespace

std::vector<EngineState> listEngines() {
  std::vector<EngineState> engines = {{kPortable.name, "usable, serves every request"}};
  const ksys_cpuinfo info = processor();
  for (const Level& level : kLevels) {
    if (level.vendor == 0) continue;
    std::string state = "the processor lacks it";
    if (offers(info, level)) {
      const Override forced(level);
      const auto serves = [&](int32_t roundResult) {
        return servingEngine(EngineFamily::levels, [&] { smoothSample(roundResult); }) == level.name;
      };
      state = !serves(0)  ? "not part of this library"
              : serves(1) ? "usable"
                          : "usable; 8-bit pictures without a mask: with --truncate only";
    }
    engines.push_back({level.name, state});
  }
  return engines;
}

void forceLevel(const std::string& option) {
  for (const Level& level : kLevels) {
    if (option != level.option) continue;
    if (!offers(processor(), level)) throw Error("--level " + option + ": this processor lacks it (see kip info)");
    ksys_cpuinfo_setOverride(level.vendor, level.features);
  }
}

std::string servingEngine(EngineFamily family, const std::function<void()>& call) {
  ksys_jobThreads_setMaximum(1);
  const std::vector<uint64_t> trace = traceCall(call);
  kprt_isOptimizationInhibitedFP = [](const wchar_t*) -> int32_t { return 1; };
  const std::vector<uint64_t> portable = traceCall(call);
  kprt_isOptimizationInhibitedFP = nullptr;
  if (trace == portable) return kPortable.name;
  if (family == EngineFamily::masked) return "vectorised";
  // The library goes by the second level's bit alone.
  return kLevels[(processor().features & ksys_cpuAvx2) != 0 ? 2 : 1].name;
}

}  // namespace kip::tool
