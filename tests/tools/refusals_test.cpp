// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <png.h>
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <functional>

#include "made_files.hpp"
#include "run_kip.hpp"

namespace kip::test {
namespace {

// One line on stderr, the exit code, and no file that was not there before.
void expectRefusal(const Folder& folder, const std::vector<std::string>& arguments, int code, const std::string& start,
                   const std::string& cause) {
  const std::vector<std::string> before = folder.names();
  const Outcome outcome = runKip(arguments);
  EXPECT_EQ(outcome.code, code) << outcome.err;
  EXPECT_EQ(outcome.out, "");
  EXPECT_TRUE(outcome.err.starts_with(start)) << outcome.err;
  EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
  EXPECT_NE(outcome.err.find(cause), std::string::npos) << outcome.err;
  EXPECT_EQ(folder.names(), before);
}

struct Refused {
  const char* name;
  std::function<void(const std::string&)> make;
  const char* cause;
};

auto bytes(const std::string& text) {
  return [text](const std::string& path) { writeBytes(path, text); };
}
auto png(int bits, int colourType, bool transparentGrey = false) {
  return [=](const std::string& path) { makePng(path, {bits, colourType, false, transparentGrey}); };
}
auto tiff(const TiffKind& kind) {
  return [kind](const std::string& path) { makeTiff(path, kind); };
}

// The header of a PNG of 60 000 x 60 000 pixels, right up to its checksum.
const std::string kHugePng("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\xea\x60\0\0\xea\x60\x08\0\0\0\0", 29);

const Refused kRefused[] = {
    {"missing", [](auto&) {}, "No such file"},
    {"folder", [](auto& path) { std::filesystem::create_directory(path); }, "is a directory"},
    {"device", [](auto& path) { std::filesystem::create_symlink("/dev/zero", path); }, "not a regular file"},
    {"empty", bytes(""), "is empty"},
    {"text", bytes("This is no picture.\n"), "neither a PNG, a TIFF nor a PGM"},
    {"hugePng", bytes(kHugePng + "\xaf\xf0\x9c\x5a" + std::string(100, 'x')), "PNG"},
    {"hugePgm", bytes("P5 60000 60000 255\n"), "the file ends early"},
    {"widePgm", bytes("P5 1000001 1 255\n"), "is too large"},
    {"emptyPgm", bytes("P5 0 5 255\n"), "has no pixels"},
    {"overflowingPgm", bytes("P5 4294967297 1 255\n0"), "a number is too large"},
    {"negativePgm", bytes("P2 -2 1 255\n0 0"), "a number was expected"},
    {"valueAboveLargestPgm", bytes("P2 2 1 9\n3 10\n"), "larger than the largest"},
    {"largest0Pgm", bytes("P5 1 1 0\n0"), "largest value is 0"},
    {"colourPpm", bytes("P6 1 1 255\n012"), "colour"},
    {"colourPng", png(8, PNG_COLOR_TYPE_RGB), "-colorspace Gray"},
    {"palettePng", png(8, PNG_COLOR_TYPE_PALETTE), "palette"},
    {"alphaPng", png(8, PNG_COLOR_TYPE_GRAY_ALPHA), "transparency"},
    {"transparentGreyPng", png(8, PNG_COLOR_TYPE_GRAY, true), "transparency"},
    {"colourTiff", tiff({.bits = 8, .photometric = PHOTOMETRIC_RGB, .samples = 3}), "colour"},
    {"paletteTiff", tiff({.bits = 8, .photometric = PHOTOMETRIC_PALETTE}), "palette"},
    {"alphaTiff", tiff({.bits = 8, .samples = 2}), "transparency"},
    {"signedTiff", tiff({.bits = 16, .format = 2}), "signed"},
    {"floatTiff", tiff({.bits = 32, .format = 3}), "floating-point"},
    {"deeperTiff", tiff({.bits = 32}), "32-bit"},
};

TEST(Refusal, OfInputsNamesTheFileAndTheCause) {
  for (const Refused& file : kRefused) {
    SCOPED_TRACE(file.name);
    const Folder folder;
    const std::string in = folder / "in.png";
    file.make(in);
    expectRefusal(folder, {"smooth", in, folder / "out.png", "--sigma", "1"}, 1, "kip: " + in + ": ", file.cause);
  }
}

// The command that a message gives names the file, whatever its name, and writes another one.
TEST(Refusal, AdvisesWhatDoesNoHarm) {
  const Folder folder;
  const auto messageOf = [&](const std::string& name) {
    return runKip({"smooth", name, "out.png", "--sigma", "1"}, [&] { (void)!chdir((folder / "").c_str()); }).err;
  };
  for (const std::string name : {"in.png", "it's $(rm) 2.png", "msl:x.png"}) {
    makePng(folder / name, {8, PNG_COLOR_TYPE_RGB});
    const std::string message = messageOf(name), start = "example with ImageMagick: ";
    ASSERT_NE(message.find(start), std::string::npos) << message;
    const std::string command = message.substr(message.find(start) + start.size());
    const std::string words = run("/bin/sh", {"-c", "convert() { printf '%s\n' \"$@\"; }; " + command}).out;
    const std::string stem = "./" + name.substr(0, name.size() - 4);
    EXPECT_EQ(words, stem + ".png[0]\n-colorspace\nGray\n-alpha\noff\n" + stem + "-grey.png\n");
  }
  // a range has to be chosen, and a name that is not shown as it is cannot be copied
  makeTiff(folder / "float.tif", {.bits = 32, .format = 3});
  makeTiff(folder / "floatColour.tif", {.bits = 32, .photometric = PHOTOMETRIC_RGB, .samples = 3, .format = 3});
  makeTiff(folder / "deep.tif", {.bits = 32, .photometric = PHOTOMETRIC_RGB, .samples = 3});
  makeTiff(folder / "signed.tif", {.bits = 16, .format = 2});
  makePng(folder / "\x1b.png", {8, PNG_COLOR_TYPE_RGB});
  for (const std::string name : {"float.tif", "floatColour.tif", "deep.tif", "signed.tif", "\x1b.png"}) {
    EXPECT_NE(messageOf(name).find("and only"), std::string::npos);
    EXPECT_EQ(messageOf(name).find("convert"), std::string::npos);
  }
}

TEST(Refusal, OfOptionsIsWrongUsage) {
  const Folder folder;
  makePng(folder / "in", {8, PNG_COLOR_TYPE_GRAY});
  const std::vector<std::string> plain = {"smooth", folder / "in", folder / "out.png", "--sigma", "1"};
  const std::vector<std::pair<std::string, std::string>> options = {
      {"--sample", "0"},
      {"--sample", "1,"},
      {"--sample", ",1"},
      {"--sample", "1,2,3"},
      {"--sample", "a"},
      {"--sample", "1 "},
      {"--sample", ""},
      {"--sample", "2.5"},
      {"--sample", "0x2"},
      {"--sample", "4294967297"},
      {"--scale", "0"},
      {"--scale", "-1"},
      {"--scale", "nan"},
      {"--scale", "1x"},
      {"--scale", "inf"},
      {"--depth", "12"},
      {"--roi", "1,2,3"},
      {"--roi", "1,2,3,0"},
      {"--roi", "-1,0,3,3"},
      {"--sheet", "sheet.pgm"},
      {"--sigma", "2"},
      {"--unknown", "1"},
      {"--round", ""},
      {"--stddev", "2.5"},
      {"--sheet", folder / "./out.png"},
      {"--level", "3"},
      {"--threads", "-1"},
      {"--threads", "257"},
      {"--memory", "0"},
      {"--memory", "M"},
      {"--memory", "1T"},
      {"--memory", "9999999999G"},
      {"--coverage", "0.5"},
      {"--allow-masked-sample", ""},
      {"--mask-out", folder / "mask.png"},
  };
  for (const auto& [option, value] : options) {
    SCOPED_TRACE(option + " " + value);
    std::vector<std::string> arguments = plain;
    arguments.insert(arguments.end(), {option, value});
    expectRefusal(folder, arguments, 2, "kip: ", option == "--sheet" ? value : option);
  }
  for (const std::string sigma : {"-1", "-2,3", "3,-2", "1000001", "1,", "", "x"}) {
    expectRefusal(folder, {"smooth", folder / "in", folder / "out.png", "--sigma", sigma}, 2,
                  "kip: --sigma " + sigma + ": ", "");
  }
  for (const std::string stddev : {"-1", "nan", "inf", "3,-2", "500001", "1,2,3", "1,", "", "x"}) {
    expectRefusal(folder, {"smooth", folder / "in", folder / "out.png", "--stddev", stddev}, 2,
                  "kip: --stddev " + stddev + ": ", "");
  }
  expectRefusal(folder, {"smooth", folder / "in", folder / "out.png"}, 2, "kip: ", "--sigma is required, or --stddev");
  expectRefusal(folder, {"smooth", folder / "in", "--sigma", "1"}, 2, "kip: ", "OUT");
  expectRefusal(folder, {"smooth", folder / "in", folder / "out.jpg", "--sigma", "1"}, 2, "kip: ", "out.jpg: ");
  expectRefusal(folder, {}, 2, "kip: ", "subcommand");
}

TEST(Refusal, OfRequestsThatThePictureCannotServe) {
  const Folder folder;
  const std::string in = folder / "in";
  makePng(in, {8, PNG_COLOR_TYPE_GRAY});
  const auto refuse = [&](std::vector<std::string> options, const char* cause) {
    std::vector<std::string> arguments = {"smooth", in, folder / "out.png"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    expectRefusal(folder, arguments, 1, "kip: " + in + ": ", cause);
  };
  refuse({"--sigma", "1", "--roi", "30,0,8,5"}, "does not lie inside the picture of 37 x 29");
  refuse({"--sigma", "1", "--roi", "0,25,5,2147483647"}, "does not lie inside");
  refuse({"--sigma", "0", "--sample", "9", "--roi", "0,0,2,20"}, "empty");
  refuse({"--sigma", "0", "--sample", "100"}, "empty");
  refuse({"--sigma", "1", "--scale", "1e-60"}, "0x80000963");
  makePng(in, {16, PNG_COLOR_TYPE_GRAY});
  refuse({"--sigma", "1", "--depth", "8"}, "--depth 8: the picture has 16-bit pixels");
  refuse({"--sigma", "1,40"}, "--sigma 1,40 is too large: at most 39 goes with 16-bit pictures");
  refuse({"--stddev", "1,21"}, "--stddev 1,21, sigma 1,41, is too large: at most 39");
}

TEST(Refusal, OfOutputsLeavesThemAlone) {
  const Folder folder;
  makePng(folder / "in", {8, PNG_COLOR_TYPE_GRAY});
  std::filesystem::create_directory(folder / "folder.png");
  std::filesystem::create_symlink("/dev/full", folder / "full.png");
  const auto refuse = [&](const std::string& out, const char* cause) {
    expectRefusal(folder, {"smooth", folder / "in", out, "--sigma", "1"}, 1, "kip: " + out + ": ", cause);
    expectRefusal(folder, {"smooth", folder / "in", folder / "ok.png", "--sigma", "1", "--sheet", out}, 1,
                  "kip: " + out + ": ", cause);
  };
  refuse(folder / "absent/out.png", "cannot write: No such file");
  refuse(folder / "folder.png", "is a directory");
  refuse(folder / "full.png", "is not a regular file");
  refuse("/proc/kip.png", "cannot write: ");
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
}

}  // namespace
}  // namespace kip::test
