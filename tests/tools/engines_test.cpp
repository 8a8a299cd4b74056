// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <png.h>

#include "kip/gauss.h"
#include "kip/levels.h"
#include "library_call.hpp"
#include "made_files.hpp"
#include "run_kip.hpp"

namespace kip::test {
namespace {

using Words = std::vector<std::string>;

struct Served {
  Words options;
  bool first, second;       // whether the level serves the request
  bool vectorised = false;  // that engine of masked and 16-bit requests is meant
  bool deep = false;        // the picture has 16 bits
};
const Served kServed[] = {
    {{"--sigma", "3", "--truncate"}, true, true},
    {{"--sigma", "3", "--truncate", "--depth", "16"}, true, true},
    {{"--sigma", "3", "--truncate", "--sample", "2", "--scale", "0.5"}, true, true},
    {{"--sigma", "1", "--truncate"}, true, true},
    {{"--sigma", "2", "--truncate", "--sample", "3"}, true, true},
    {{"--sigma", "3"}, false, true},
    {{"--sigma", "3", "--truncate", "--scale", "0.75"}, false, true},
    {{"--sigma", "1,64", "--truncate"}, false, true},
    {{"--sigma", "1,203"}, false, false},
    {{"--sigma", "3", "--truncate", "--roi", "10,10,32,300"}, true, false},
    {{"--sigma", "1", "--sample", "100"}, false, false},
    {{"--sigma", "3", "--truncate", "--sample-mask", KIP_SHIPPED_CHART}, true, true},
    {{"--sigma", "3", "--mask", KIP_SHIPPED_CHART}, true, true, true},
    {{"--sigma", "3", "--mask", KIP_SHIPPED_CHART, "--sample", "100"}, false, false, true},
    {{"--sigma", "3"}, true, true, true, true},
    {{"--sigma", "12"}, false, false, true, true},  // too large for 37 columns
};

// The levels this program says it can use.
bool isUsable(const kip_level& level) {
  const std::string info = runKip({"info"}).out;
  const size_t line = info.find("  " + std::string(level.title) + " ");
  EXPECT_NE(line, std::string::npos) << info;
  const std::string state = info.substr(line, info.find('\n', line) - line);
  const bool isUsable = state.find(" usable") != std::string::npos;
  EXPECT_EQ(state.find("--truncate only") != std::string::npos, isUsable && level.name[0] == '1');
  return isUsable;
}

TEST(Engines, AreNamedAsTheyServe) {
  const Folder folder;
  makePng(folder / "deep", {16, PNG_COLOR_TYPE_GRAY});
  for (const kip_level& level : kip_levels) {
    if (!isUsable(level)) continue;
    for (const Served& served : kServed) {
      SCOPED_TRACE(level.title + testing::PrintToString(served.options));
      Words arguments = {"smooth",           served.deep ? folder / "deep" : KIP_SHIPPED_CHART,
                         folder / "out.pgm", "--verbose",
                         "--level",          level.name};
      arguments.insert(arguments.end(), served.options.begin(), served.options.end());
      const Outcome outcome = runKip(arguments);
      ASSERT_EQ(outcome.code, 0) << outcome.err;
      const bool serves = level.name[0] == '1' ? served.first : level.name[0] == '2' && served.second;
      const std::string engine = !serves ? "portable" : served.vectorised ? "vectorised" : level.title;
      EXPECT_NE(outcome.err.find("engine: " + engine + ","), std::string::npos) << outcome.err;
    }
  }
}

TEST(Engines, AreForcedThroughTheProcessorOverride) {
  const Folder folder;
  kip_gaussParams params;
  kip_gaussParams_init(&params);
  params.xSigma = params.ySigma = 2;  // truncated: each engine has pixels of its own
  for (const kip_level& level : kip_levels) {
    if (!isUsable(level)) continue;
    SCOPED_TRACE(level.title);
    const Outcome outcome =
        runKip({"smooth", KIP_SHIPPED_CHART, folder / "out.pgm", "--sigma", "2", "--truncate", "--level", level.name});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    ksys_cpuinfo_setOverride(level.vendor, level.features);
    const Called expected = callOn(read(KIP_SHIPPED_CHART), std::nullopt, [&](auto* src, auto*, auto* dst, auto*) {
      return kip_gauss_smooth8_8(src, dst, &params);
    });
    ksys_cpuinfo_clearOverride();
    expectEqual(read(folder / "out.pgm"), expected.picture);
  }
}

}  // namespace
}  // namespace kip::test
