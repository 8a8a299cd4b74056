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
#include "library_call.hpp"
#include "made_files.hpp"
#include "run_kip.hpp"

namespace kip::test {
namespace {

using tool::Picture;

struct Request {
  std::string sigma, sample, scale;
  int32_t sigmas[2], samples[2];
  int32_t round, depth;
};

const Request kRequests[] = {
    {"3", "1", "1", {3, 3}, {1, 1}, 1, 8},
    {"0,4", "2,1", "0.75", {0, 4}, {2, 1}, 0, 8},
    {"5,2", "3", "256", {5, 2}, {3, 3}, 1, 16},
    {"40", "1,2", "1.5", {40, 40}, {1, 2}, 0, 16},
};

std::vector<std::string> argumentsOf(const Request& request, const std::string& in, const std::string& out) {
  std::vector<std::string> arguments = {"smooth",
                                        in,
                                        out,
                                        "--sigma",
                                        request.sigma,
                                        "--sample",
                                        request.sample,
                                        "--scale",
                                        request.scale,
                                        "--depth",
                                        std::to_string(request.depth)};
  if (request.round != 0) arguments.push_back("--round");
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
  return callOn(madePicture(8), std::nullopt,
                [&](auto* src, auto*, auto* dst, auto*) {
                  return (request.depth == 8 ? kip_gauss_smooth8_8 : kip_gauss_smooth8_16)(src, dst, &params);
                })
      .picture;
}

TEST(Smooth, WritesTheLibrarysPixels) {
  const Folder folder;
  makePng(folder / "in", {8, PNG_COLOR_TYPE_GRAY});
  for (const Request& request : kRequests) {
    SCOPED_TRACE(request.sigma);
    const Outcome outcome = runKip(argumentsOf(request, folder / "in", folder / "out.pgm"));
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    expectEqual(read(folder / "out.pgm"), callLibrary(request));
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
  makePng(folder / "in", {8, PNG_COLOR_TYPE_GRAY});
  for (const Request& request : kRequests) {
    const Picture whole = callLibrary(request);
    for (const auto& [x, y, width, height] : {std::array{0, 0, 37, 29}, {5, 7, 12, 9}, {30, 1, 7, 28}}) {
      SCOPED_TRACE(request.sigma + ", roi at " + std::to_string(x));
      std::vector<std::string> arguments = argumentsOf(request, folder / "in", folder / "out.pgm");
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

TEST(Smooth, ShowsBothPicturesOnTheSheet) {
  const Folder folder;
  makePng(folder / "in", {8, PNG_COLOR_TYPE_GRAY});
  const Outcome outcome = runKip({"smooth", folder / "in", folder / "out.pgm", "--sigma", "1", "--sample", "2",
                                  "--depth", "16", "--scale", "256", "--sheet", folder / "sheet.png"});
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  const Picture after = read(folder / "out.pgm"), sheet = read(folder / "sheet.png");
  const int32_t margin = 16, second = 2 * margin + static_cast<int32_t>(tool::textWidth("before: 37 x 29", 2));
  for (int32_t y = 0; y < kMadeHeight; ++y) {
    for (int32_t x = 0; x < kMadeWidth; ++x) {
      ASSERT_EQ(sheet.at(x + margin, y + margin), madeValue(x, y, 8));
      if (x >= after.width || y >= after.height) continue;
      ASSERT_EQ(sheet.at(x + second, y + margin), std::round(after.at(x, y) / 256.0));
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
  const Outcome info = runKip({"info"});
  EXPECT_EQ(info.code, 0);
  for (const char* part : {"kip " KIP_VERSION "\n", "vendor ", "AVX2", "portable"}) {
    EXPECT_NE(info.out.find(part), std::string::npos) << info.out;
  }
  EXPECT_NE(runKip({"smooth", "--help"}).out.find("Exit code"), std::string::npos);
}

}  // namespace
}  // namespace kip::test
