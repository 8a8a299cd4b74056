// SPDX-License-Identifier: Apache-2.0
#include "kip/masked.h"

#include <gtest/gtest.h>
#include <png.h>

#include "font.hpp"
#include "library_call.hpp"
#include "made_files.hpp"
#include "run_kip.hpp"

namespace kip::test {
namespace {

using tool::Picture;
using Words = std::vector<std::string>;

std::string pgm(const Picture& picture) {
  std::string bytes = "P5 " + std::to_string(picture.width) + " " + std::to_string(picture.height) + " 255\n";
  return bytes.append(picture.pixels8.begin(), picture.pixels8.end());
}

Picture binary(Picture mask) {
  for (uint8_t& pixel : mask.pixels8) pixel = pixel != 0 ? 255 : 0;
  return mask;
}

kip_gaussParams parametersOf(int32_t xSigma, int32_t ySigma) {
  kip_gaussParams params;
  kip_gaussParams_init(&params);
  params.xSigma = xSigma;
  params.ySigma = ySigma;
  params.roundResult = 1;
  return params;
}

class Masked : public testing::Test {
 protected:
  Masked() {
    makePng(folder / "in", {8, PNG_COLOR_TYPE_GRAY});
    makePng(folder / "deep", {16, PNG_COLOR_TYPE_GRAY});
    writeBytes(folder / "mask", pgm(madeMask()));
  }

  // The program's result and result mask against the library's call.
  void expectCall(const std::string& in, Words options, const Call& call) {
    SCOPED_TRACE(in + testing::PrintToString(options));
    Words arguments = {"smooth", folder / in, folder / "out.pgm", "--mask-out", folder / "mask-out.pgm"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const Outcome outcome = runKip(arguments);
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    const Called expected = callOn(madePicture(in == "deep" ? 16 : 8), binary(madeMask()), call);
    expectEqual(read(folder / "out.pgm"), expected.picture);
    expectEqual(read(folder / "mask-out.pgm"), expected.mask);
  }

  const Folder folder;
};

TEST_F(Masked, SmoothingWritesTheLibrarysPixelsAndMask) {
  const struct {
    const char* in;
    Words options;
    decltype(&kip_gauss_smoothMasked8_8) function;
  } pairs[] = {{"in", {}, kip_gauss_smoothMasked8_8},
               {"in", {"--depth", "16"}, kip_gauss_smoothMasked8_16},
               {"deep", {}, kip_gauss_smoothMasked16_16}};
  for (const auto& pair : pairs) {
    kip_gaussParams params = parametersOf(3, 2);
    const auto masked = [&](auto* src, auto* mask, auto* dst, auto* dstMask) {
      return pair.function(src, mask, nullptr, &params, dst, dstMask);
    };
    Words options = pair.options;
    options.insert(options.end(), {"--sigma", "3,2", "--mask", folder / "mask"});
    expectCall(pair.in, options, masked);
    params.filterMask.useCoverage = 1;
    params.filterMask.minCoverage = 0.6;
    options.insert(options.end(), {"--coverage", "0.6", "--threads", "3"});
    expectCall(pair.in, options, masked);
    params.filterMask.allowMaskedSample = 1;
    options.push_back("--allow-masked-sample");
    expectCall(pair.in, options, masked);

    params = parametersOf(1, 1);
    Words sampled = pair.options;
    sampled.insert(sampled.end(), {"--sigma", "1", "--sample-mask", folder / "mask"});
    expectCall(pair.in, sampled, [&](auto* src, auto* mask, auto* dst, auto* dstMask) {
      return pair.function(src, nullptr, mask, &params, dst, dstMask);
    });
  }
}

TEST_F(Masked, SheetShowsTheResultsMaskToo) {
  const Outcome outcome = runKip({"smooth", folder / "in", folder / "out.pgm", "--sigma", "0", "--mask",
                                  folder / "mask", "--sheet", folder / "sheet.png", "--verbose"});
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  const Picture sheet = read(folder / "sheet.png");
  const int32_t left = sheet.width - 16 - static_cast<int32_t>(tool::textWidth("result mask: valid is white", 2));
  for (int32_t x = 0; x < kMadeWidth; ++x) {
    EXPECT_EQ(sheet.at(left + x, 20), madeMask().at(x, 4) != 0 ? 255u : 0u) << x;
  }
}

TEST_F(Masked, RequestsThatCannotBeLeaveNothing) {
  makePng(folder / "colour", {8, PNG_COLOR_TYPE_RGB});
  writeBytes(folder / "small", "P5 2 1 255\nab");
  const Words before = folder.names();
  const auto refuse = [&](const std::string& option, const std::string& mask, Words more, int code,
                          const std::string& cause) {
    Words arguments = {"smooth", folder / "in", folder / "out.pgm", option, folder / mask};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const Outcome outcome = runKip(arguments);
    EXPECT_EQ(outcome.code, code) << outcome.err;
    EXPECT_NE(outcome.err.find(cause), std::string::npos) << outcome.err;
    EXPECT_EQ(folder.names(), before);
  };
  for (const std::string option : {"--mask", "--sample-mask"}) {
    refuse(option, "small", {"--sigma", "1"}, 1, "small: measures 2 x 1");
    refuse(option, "colour", {"--sigma", "1"}, 1, "colour: is a colour picture");
    refuse(option, "deep", {"--sigma", "1"}, 1, "deep: has 16-bit pixels");
    refuse(option, "mask", {"--sigma", "1", "--roi", "0,0,9,9"}, 2, "--roi 0,0,9,9: cannot go with " + option);
    refuse(option, "mask", {"--sigma", "64"}, 1, "at most 63");
  }
  refuse("--mask", "mask", {"--sigma", "25", "--level", "portable"}, 1, "at most 24");
  refuse("--mask", "mask", {"--sigma", "1", "--coverage", "1.1"}, 2, "--coverage 1.1");
  refuse("--mask", "mask", {"--sigma", "1", "--mask-out", folder / "out.pgm"}, 2, "name of another result");
}

}  // namespace
}  // namespace kip::test
