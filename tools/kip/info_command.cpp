// SPDX-License-Identifier: Apache-2.0
#include <cinttypes>
#include <cstdio>

#include "commands.hpp"
#include "engines.hpp"
#include "kip/version.h"
#include "pixels.hpp"

namespace kip::tool {
namespace {

struct Feature {
  int32_t bit;
  const char* name;
};

constexpr Feature kFeatures[] = {
    {ksys_cpuMmxSse2, "MMX and SSE2"},
    {ksys_cpuSse2Integer, "128-bit integer vectors (SSE2)"},
    {ksys_cpuSse41, "SSE4.1"},
    {ksys_cpuAvx2, "AVX2, registers saved by the operating system"},
};

void printInfo() {
  ksys_cpuinfo processor;
  check("processor information", ksys_cpuinfo_init(&processor));
  std::printf("kip %s\n\nprocessor: vendor %" PRId32 ", features 0x%08" PRIX32 "\n", kip_version(), processor.vendor,
              static_cast<uint32_t>(processor.features));
  for (const Feature& feature : kFeatures) {
    std::printf("  %-46s %s\n", feature.name, (processor.features & feature.bit) != 0 ? "yes" : "no");
  }
  std::printf("\nengines (requests go to the last usable one, and to the portable one if that does not serve them):\n");
  for (const EngineState& engine : listEngines()) {
    std::printf("  %-46s %s\n", engine.name.c_str(), engine.state.c_str());
  }
}

}  // namespace

void addInfoCommand(CLI::App& app) {
  app.add_subcommand("info", "Print the version, what the processor offers and which engines can be used")
      ->callback(printInfo);
}

}  // namespace kip::tool
