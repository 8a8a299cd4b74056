// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <png.h>

#include <filesystem>

#include "kip/gauss2.h"
#include "library_call.hpp"
#include "made_files.hpp"
#include "picture_file.hpp"
#include "run_kip.hpp"

namespace kip::test {
namespace {

using tool::Picture;
using Words = std::vector<std::string>;

void write(const std::string& path, const Picture& picture) {
  tool::OutputFile file(path);
  tool::writePicture(file, tool::formatOfName(path), picture);
  file.commit();
}

// Runs `command` with and without masks on 8 and 16 bits and holds the files against the library's calls.
void expectLibrarysPixels(const Words& command, const Call& plain8, const Call& plain16, const Call& masked8,
                          const Call& masked16, int repeats = 1) {
  const Folder folder;
  write(folder / "mask.png", madeMask());
  for (const int32_t depth : {8, 16}) {
    makePng(folder / "in", {depth, PNG_COLOR_TYPE_GRAY});
    for (const bool masked : {false, true}) {
      SCOPED_TRACE(testing::PrintToString(command) + (masked ? " masked, " : ", ") + std::to_string(depth));
      Words arguments = {command[0], folder / "in", folder / "out.png"};
      arguments.insert(arguments.end(), command.begin() + 1, command.end());
      const Words masks = {"--mask", folder / "mask.png", "--mask-out", folder / "mask-out.png"};
      if (masked) arguments.insert(arguments.end(), masks.begin(), masks.end());
      const Outcome outcome = runKip(arguments);
      ASSERT_EQ(outcome.code, 0) << outcome.err;
      Called expected{madePicture(depth), madeMask()};
      for (int i = 0; i < repeats; ++i) {
        expected = masked ? callOn(expected.picture, expected.mask, depth == 8 ? masked8 : masked16)
                          : callOn(expected.picture, std::nullopt, depth == 8 ? plain8 : plain16);
      }
      expectEqual(read(folder / "out.png"), expected.picture);
      if (masked) expectEqual(read(folder / "mask-out.png"), expected.mask);
    }
  }
}

Call plain(ksys_status (*function)(const kimg_image*, kimg_image*)) {
  return [=](auto* src, auto*, auto* dst, auto*) { return function(src, dst); };
}

TEST(Reduce, WritesTheLibrarysPixels) {
  expectLibrarysPixels({"reduce"}, plain(kip_gauss2_smooth8_8), plain(kip_gauss2_smooth16_16),
                       kip_gauss2_smoothMasked8_8, kip_gauss2_smoothMasked16_16);
  expectLibrarysPixels({"reduce", "--levels", "3"}, plain(kip_gauss2_smooth8_8), plain(kip_gauss2_smooth16_16),
                       kip_gauss2_smoothMasked8_8, kip_gauss2_smoothMasked16_16, 3);
  expectLibrarysPixels({"reduce", "--x"}, plain(kip_gauss2X_smooth8_8), plain(kip_gauss2X_smooth16_16),
                       kip_gauss2X_smoothMasked8_8, kip_gauss2X_smoothMasked16_16);
  expectLibrarysPixels({"reduce", "--y", "--levels", "2"}, plain(kip_gauss2Y_smooth8_8), plain(kip_gauss2Y_smooth16_16),
                       kip_gauss2Y_smoothMasked8_8, kip_gauss2Y_smoothMasked16_16, 2);
}

TEST(Binomial, WritesTheLibrarysPixels) {
  using Radii = std::array<int32_t, 2>;
  for (const auto& [text, radii] : {std::pair{"2", Radii{2, 2}}, {"4,0", {4, 0}}, {"2,6", {2, 6}}}) {
    const auto call = [r = radii](auto function) {
      return [=](auto* src, auto*, auto* dst, auto*) { return function(src, dst, r[0], r[1]); };
    };
    const auto masked = [r = radii](auto function) {
      return [=](auto* src, auto* mask, auto* dst, auto* dstMask) {
        return function(src, mask, dst, dstMask, r[0], r[1]);
      };
    };
    expectLibrarysPixels({"binomial", "--radius", text}, call(kip_gauss2_smoothNoSample8_8),
                         call(kip_gauss2_smoothNoSample16_16), masked(kip_gauss2_smoothNoSampleMasked8_8),
                         masked(kip_gauss2_smoothNoSampleMasked16_16));
  }
}

TEST(Pyramid, WritesEveryLevelAndTheSheet) {
  const Folder folder;
  for (const int32_t depth : {8, 16}) {
    makePng(folder / "in", {depth, PNG_COLOR_TYPE_GRAY});
    const Outcome outcome = runKip({"pyramid", folder / "in", folder / "out", "--levels", "3"});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    const Call call = plain(depth == 8 ? kip_gauss2_smooth8_8 : kip_gauss2_smooth16_16);
    Picture level = madePicture(depth);
    const Picture sheet = read(folder / "out/sheet.png");
    EXPECT_EQ(sheet.at(16, 16), madeValue(0, 0, depth) >> (depth - 8));
    for (const std::string name : {"out/level1.png", "out/level2.png", "out/level3.png"}) {
      level = callOn(level, std::nullopt, call).picture;
      expectEqual(read(folder / name), level);
    }
    EXPECT_FALSE(std::filesystem::exists(folder / "out/level4.png"));
    // Two columns; the second row is as high as level 2.
    EXPECT_EQ(sheet.height, 16 + (kMadeHeight + 44) + (kMadeHeight / 4 + 44));
  }
  ASSERT_EQ(runKip({"pyramid", KIP_SHIPPED_CHART, folder / "chart"}).code, 0);
  EXPECT_EQ(read(folder / "chart/level4.png").height, 30);
  EXPECT_FALSE(std::filesystem::exists(folder / "chart/level5.png"));
}

TEST(Reductions, ThatCannotBeLeaveNothing) {
  const Folder folder;
  const std::string in = folder / "in", out = folder / "out.png";
  makePng(in, {8, PNG_COLOR_TYPE_GRAY});
  write(folder / "small.png", Picture::make(3, 2, 8));
  const Words before = folder.names();
  const auto refuse = [&](const Words& arguments, int code, const std::string& cause) {
    const Outcome outcome = runKip(arguments);
    EXPECT_EQ(outcome.code, code) << outcome.err;
    EXPECT_NE(outcome.err.find(cause), std::string::npos) << outcome.err;
    EXPECT_EQ(folder.names(), before);
  };
  refuse({"reduce", in, out, "--levels", "5"}, 1, "can be halved 4 times");
  refuse({"reduce", in, out, "--levels", "0"}, 2, "--levels 0");
  refuse({"reduce", in, out, "--x", "--y"}, 2, "--x");
  refuse({"reduce", in, out, "--mask-out", folder / "m.png"}, 2, "--mask");
  refuse({"reduce", in, out, "--mask", folder / "small.png"}, 1, "small.png: measures 3 x 2");
  refuse({"reduce", in, out, "--mask", in, "--mask-out", out}, 2, "name of another result");
  refuse({"binomial", in, out, "--radius", "2,3"}, 2, "must be even");
  refuse({"binomial", in, out, "--radius", "-2"}, 2, "--radius -2");
  refuse({"pyramid", in, folder / "new", "--levels", "5"}, 1, "can be halved 4 times");
  refuse({"pyramid", in, in}, 1, "is not a folder");
  // Its first level fits where the sheet does not.
  const Outcome outcome = runKip({"pyramid", in, folder / "new", "--levels", "1"}, limitFiles(1200));
  EXPECT_EQ(outcome.code, 1);
  EXPECT_NE(outcome.err.find("sheet.png: cannot write: File too large"), std::string::npos) << outcome.err;
  EXPECT_EQ(folder.names(), before);
}

}  // namespace
}  // namespace kip::test
