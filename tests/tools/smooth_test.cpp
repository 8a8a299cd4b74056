// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <png.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <sstream>

#include "font.hpp"
#include "kip/gauss.h"
#include "kip/masked.h"
#include "kip/version.h"
#include "library_call.hpp"
#include "made_files.hpp"
#include "run_kip.hpp"

namespace kip::test {
namespace {

using tool::Picture;

struct Request {
  std::string sigma, sample, scale;
  int32_t sigmas[2], samples[2];
  int32_t round, depth, sourceDepth = 8;
};

const Request kRequests[] = {
    {"3", "1", "1", {3, 3}, {1, 1}, 1, 8},
    {"0,4", "2,1", "0.75", {0, 4}, {2, 1}, 0, 8},
    {"5,2", "3", "256", {5, 2}, {3, 3}, 1, 16},
    {"40", "1,2", "1.5", {40, 40}, {1, 2}, 0, 16},
    {"4,7", "2,1", "0.6", {4, 7}, {2, 1}, 1, 16, 16},
};

std::vector<std::string> argumentsOf(const Request& request, const Folder& folder) {
  const std::string in = folder / "in" + std::to_string(request.sourceDepth);
  makePng(in, {request.sourceDepth, PNG_COLOR_TYPE_GRAY});
  std::vector<std::string> arguments = {
      "smooth", in, folder / "out.pgm", "--sigma", request.sigma, "--sample", request.sample, "--scale", request.scale};
  if (request.round == 0) arguments.push_back("--truncate");
  // The part of a 16-bit picture may be too small for the engine that serves the whole, which is one off at times.
  if (request.sourceDepth == 16) arguments.insert(arguments.end(), {"--level", "portable"});
  if (request.sourceDepth != request.depth) arguments.insert(arguments.end(), {"--depth", "16"});
  return arguments;
}

// The library's own result for the picture made.
Picture callLibrary(const Request& request) {
  kip_gaussParams params;
  kip_gaussParams_init(&params);
  params.xSigma = request.sigmas[0];
  params.ySigma = request.sigmas[1];
  params.xSample = request.samples[0];
  params.ySample = request.samples[1];
  params.scale = std::stod(request.scale);
  params.roundResult = request.round;
  const auto call = [&](auto* src, auto*, auto* dst, auto*) {
    if (request.sourceDepth == 8)
      return (request.depth == 8 ? kip_gauss_smooth8_8 : kip_gauss_smooth8_16)(src, dst, &params);
    ksys_cpuinfo_setOverride(0, 0);
    const ksys_status status = kip_gauss_smoothMasked16_16(src, nullptr, nullptr, &params, dst, nullptr);
    ksys_cpuinfo_clearOverride();
    return status;
  };
  return callOn(madePicture(request.sourceDepth), std::nullopt, call).picture;
}

TEST(Smooth, WritesTheLibrarysPixels) {
  const Folder folder;
  for (const Request& request : kRequests) {
    SCOPED_TRACE(request.sigma);
    const Outcome outcome = runKip(argumentsOf(request, folder));
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    expectEqual(read(folder / "out.pgm"), callLibrary(request));
  }
}

TEST(Smooth, TakesTheSigmaNearestToAStandardDeviation) {
  const Folder folder;
  makePng(folder / "in", {8, PNG_COLOR_TYPE_GRAY});
  const struct {
    const char *stddev, *sigma, *said;
  } cases[] = {{"2.5", "4", "kip: sigma 4, standard deviation 2.45 pixels\n"},
               {"9,.2", "17,0", "kip: sigma 17,0, standard deviation 8.99,0.00 pixels\n"}};
  for (const auto& one : cases) {
    EXPECT_EQ(runKip({"smooth", folder / "in", folder / "a.pgm", "--stddev", one.stddev}).err, one.said);
    EXPECT_EQ(runKip({"smooth", folder / "in", folder / "b.pgm", "--sigma", one.sigma}).err, "");
    expectEqual(read(folder / "a.pgm"), read(folder / "b.pgm"));
  }
}

// The numbers, counted from the whole result's first, of the destination pixels whose source positions lie in
// [begin, end).
std::vector<int32_t> numbersIn(int32_t begin, int32_t end, int32_t size, int32_t sample, int32_t sigma) {
  std::vector<int32_t> numbers;
  int32_t number = 0;
  for (int32_t u = -1; u <= size + 1; ++u) {
    const int32_t position = u * sample + sample / 2 + (sample & (sigma + 1) & 1) - 1;
    if (position >= begin && position < end) numbers.push_back(number);
    if (position >= 0 && position < size) ++number;
  }
  return numbers;
}

TEST(Smooth, OfARoiIsACropOfTheWhole) {
  const Folder folder;
  for (const Request& request : kRequests) {
    const Picture whole = callLibrary(request);
    for (const auto& [x, y, width, height] : {std::array{0, 0, 37, 29}, {5, 7, 12, 9}, {30, 1, 7, 28}}) {
      SCOPED_TRACE(request.sigma + ", roi at " + std::to_string(x));
      std::vector<std::string> arguments = argumentsOf(request, folder);
      std::ostringstream roi;
      roi << x << ',' << y << ',' << width << ',' << height;
      arguments.insert(arguments.end(), {"--roi", roi.str()});
      const Outcome outcome = runKip(arguments);
      ASSERT_EQ(outcome.code, 0) << outcome.err;
      const auto columns = numbersIn(x, x + width, kMadeWidth, request.samples[0], request.sigmas[0]);
      const auto rows = numbersIn(y, y + height, kMadeHeight, request.samples[1], request.sigmas[1]);
      const Picture part = read(folder / "out.pgm");
      ASSERT_EQ(part.width, static_cast<int32_t>(columns.size()));
      ASSERT_EQ(part.height, static_cast<int32_t>(rows.size()));
      for (size_t i = 0; i < rows.size() * columns.size(); ++i) {
        const size_t column = i % columns.size(), row = i / columns.size();
        ASSERT_EQ(part.at(static_cast<int32_t>(column), static_cast<int32_t>(row)),
                  whole.at(columns[column], rows[row]));
      }
    }
  }
}

// The sheet has 8 bits and takes out the gain.
TEST(Smooth, ShowsBothPicturesOnTheSheet) {
  const Folder folder;
  for (const int depth : {8, 16}) {
    makePng(folder / "in", {depth, PNG_COLOR_TYPE_GRAY});
    const std::string scale = depth == 8 ? "256" : "2";
    const Outcome outcome = runKip({"smooth", folder / "in", folder / "out.pgm", "--sigma", "1", "--sample", "2",
                                    "--depth", "16", "--scale", scale, "--sheet", folder / "sheet.png"});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    const Picture after = read(folder / "out.pgm"), sheet = read(folder / "sheet.png");
    const int32_t margin = 16, second = 2 * margin + static_cast<int32_t>(tool::textWidth("before: 37 x 29", 2));
    const double whiteBefore = depth == 8 ? 255 : 65535, whiteAfter = whiteBefore * std::stod(scale);
    for (int32_t y = 0; y < kMadeHeight; ++y) {
      for (int32_t x = 0; x < kMadeWidth; ++x) {
        ASSERT_EQ(sheet.at(x + margin, y + margin), std::round(madeValue(x, y, depth) * 255 / whiteBefore));
        if (x >= after.width || y >= after.height) continue;
        ASSERT_EQ(sheet.at(x + second, y + margin), std::round(after.at(x, y) * 255 / whiteAfter));
      }
    }
  }
}

TEST(Chart, ThatShipsIsWhatItsProgramMakes) {
  const Folder folder;
  ASSERT_EQ(run(KIP_CHART_PROGRAM, {folder / "chart.png"}).code, 0);
  expectEqual(read(folder / "chart.png"), read(KIP_SHIPPED_CHART));
  EXPECT_LT(std::filesystem::file_size(KIP_SHIPPED_CHART), 300'000u);
}

TEST(Program, TellsWhatItDoesAndWhatItIs) {
  const Folder folder;
  makePng(folder / "in", {8, PNG_COLOR_TYPE_GRAY});
  const Outcome smooth = runKip({"smooth", folder / "in", folder / "out.pgm", "--sigma", "1", "--verbose"});
  EXPECT_EQ(smooth.code, 0);
  for (const char* part : {"37 x 29 pixels of 8 bits\n", "first one at (1, 1)\n", "engine: ", " ms\n"}) {
    EXPECT_NE(smooth.err.find(part), std::string::npos) << smooth.err;
  }
  EXPECT_EQ(runKip({"--version"}).out, "kip " KIP_VERSION "\n");
  EXPECT_STREQ(kip_version(), KIP_VERSION_STRING);
  EXPECT_STREQ(kip_version(), KIP_VERSION);
  const Outcome info = runKip({"info"});
  EXPECT_EQ(info.code, 0);
  for (const char* part : {"kip " KIP_VERSION "\n", "vendor ", "AVX2", "portable"}) {
    EXPECT_NE(info.out.find(part), std::string::npos) << info.out;
  }
  EXPECT_NE(runKip({"smooth", "--help"}).out.find("Exit code"), std::string::npos);
}

}  // namespace
}  // namespace kip::test
