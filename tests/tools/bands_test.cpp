// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <tiffio.h>

#include <algorithm>
#include <filesystem>

#include "made_files.hpp"
#include "picture_file.hpp"
#include "run_kip.hpp"
#include "support/random.hpp"

namespace kip::test {
namespace {

using tool::Picture;
using Words = std::vector<std::string>;

constexpr int32_t kWidth = 83, kHeight = 1021;

Words operator+(Words a, const Words& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

void write(const std::string& path, const Picture& picture) {
  tool::OutputFile file(path);
  tool::writePicture(file, tool::formatOfName(path), picture);
  file.commit();
}

// Of one grey, `side` pixels wide and high, in one strip or tile.
void makeFlatTiff(const std::string& path, uint32_t side, int compression, bool tiled) {
  TIFF* tiff = TIFFOpen(path.c_str(), "w");
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, side);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, side);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
  TIFFSetField(tiff, tiled ? TIFFTAG_TILEWIDTH : TIFFTAG_ROWSPERSTRIP, side);
  if (tiled) TIFFSetField(tiff, TIFFTAG_TILELENGTH, side);
  std::vector<uint8_t> pixels(size_t{side} * side, 77);
  const auto size = static_cast<tmsize_t>(pixels.size());
  EXPECT_EQ((tiled ? TIFFWriteEncodedTile : TIFFWriteEncodedStrip)(tiff, 0, pixels.data(), size), size);
  TIFFClose(tiff);
}

// Pictures that do not fit the memory.
class Bands : public testing::Test {
 protected:
  Bands() {
    Picture grey = Picture::make(kWidth, kHeight, 8), deep = Picture::make(kWidth, kHeight, 16), mask = grey;
    for (uint8_t& pixel : grey.pixels8) pixel = static_cast<uint8_t>(random.between(0, 255));
    for (uint16_t& pixel : deep.pixels16) pixel = static_cast<uint16_t>(random.between(0, 65535));
    for (uint8_t& pixel : mask.pixels8) pixel = static_cast<uint8_t>(random.pick({1, 255}));
    for (int32_t y = 0; y < kHeight; y += random.between(1, 9)) {
      std::fill(mask.row(y) + random.between(0, kWidth), mask.row(y) + kWidth, uint8_t{0});
    }
    write(folder / "8.pgm", grey);
    write(folder / "16.tif", deep);
    write(folder / "mask.png", mask);
  }

  // The least memory in K, as the program names it.
  int32_t leastFor(const Words& command) {
    const Outcome outcome = runKip(command + Words{"--memory", "1"});
    EXPECT_EQ(outcome.code, 1);
    const std::string words = "take at least ";
    const size_t at = outcome.err.find(words);
    EXPECT_NE(at, std::string::npos) << outcome.err;
    if (at == std::string::npos) return 0;
    size_t digits = 0;
    const int32_t number = std::stoi(outcome.err.substr(at + words.size()), &digits);
    return outcome.err[at + words.size() + digits] == 'M' ? number << 10 : number;
  }

  // The same pixels with the least memory, which does not hold the sources, and with some more.
  void expectOneCallsPixels(const Words& request, int32_t pixelBytes, bool masked) {
    SCOPED_TRACE(testing::PrintToString(request));
    const Words command = request + (masked ? Words{"--mask-out", folder / "mask-out.tif"} : Words{});
    ASSERT_EQ(runKip(command).code, 0);
    const std::string out = folder / "out.tif", outMask = folder / "mask-out.tif";
    const std::string whole = readBytes(out), wholeMask = masked ? readBytes(outMask) : "";
    const int32_t kilo = leastFor(command);
    ASSERT_LT(kilo * 1024, kWidth * kHeight * pixelBytes);
    for (const int32_t memory : {kilo, kilo * 5 / 4, kilo * 2}) {
      const Outcome outcome = runKip(command + Words{"--memory", std::to_string(memory) + "K"});
      ASSERT_EQ(outcome.code, 0) << outcome.err;
      EXPECT_TRUE(readBytes(out) == whole) << memory;
      EXPECT_TRUE(!masked || readBytes(outMask) == wholeMask) << memory;
    }
    EXPECT_EQ(runKip(command + Words{"--memory", std::to_string(kilo - 1) + "K"}).code, 1);
  }

  const Folder folder;
  kiptest::Random random{9};
};

TEST_F(Bands, SmoothingGivesTheSamePixels) {
  const std::vector<Words> masks = {
      {},
      {"--mask", folder / "mask.png"},
      {"--mask", folder / "mask.png", "--coverage", "0.4", "--allow-masked-sample", "--scale", "2"},
      {"--sample-mask", folder / "mask.png", "--threads", "3"}};
  for (const std::string sigma : {"0", "1", "2", "3", "5,4", "12"}) {
    for (const Words& mask : masks) {
      const std::string in = random.pick({"8.pgm", "16.tif"});
      Words request = {"smooth", folder / in, folder / "out.tif", "--sigma", sigma};
      request = request + mask + Words{"--sample", random.pick({"1", "2", "3", "1,2"})};
      if (random.chance(2)) request.push_back("--truncate");
      if (random.chance(2)) request = request + Words{"--depth", "16"};
      if (random.chance(2)) request = request + Words{"--level", random.pick({"portable", "1"})};
      if (mask.empty() && random.chance(2)) request = request + Words{"--roi", "7,33,60,941"};
      expectOneCallsPixels(request, (in == "8.pgm" ? 1 : 2) + (mask.empty() ? 0 : 1), !mask.empty());
    }
  }
}

// Truncated, level 1 comes out one lower at places, and so it does for a part that needs fewer rows than it asks for.
TEST_F(Bands, OfAFewRowsAreServedByTheEngineOfTheWhole) {
  Picture steps = Picture::make(2550, 60, 8);
  for (size_t i = 0; i < steps.pixels8.size(); ++i) steps.pixels8[i] = static_cast<uint8_t>(i % 2550 / 10);
  write(folder / "steps.pgm", steps);
  const Words command = {"smooth", folder / "steps.pgm", folder / "out.pgm", "--sigma",
                         "2",      "--truncate",         "--level",          "1"};
  ASSERT_EQ(runKip(command).code, 0);
  const Picture whole = read(folder / "out.pgm");
  ASSERT_EQ(runKip(command + Words{"--roi", "0,30,2550,1"}).code, 0);
  const Picture part = read(folder / "out.pgm");
  ASSERT_EQ(part.height, 1);
  for (int32_t x = 0; x < 2550; ++x) ASSERT_EQ(part.at(x, 0), whole.at(x, 30)) << x;
}

// Of seven equal parts the last one would have eight rows, which the library leaves to another engine.
TEST_F(Bands, ThreadsGiveTheSamePixels) {
  Picture deep = Picture::make(4000, 92, 16), mask = Picture::make(4000, 92, 8);
  for (uint16_t& pixel : deep.pixels16) pixel = static_cast<uint16_t>(random.between(0, 65535));
  std::fill(mask.pixels8.begin(), mask.pixels8.end(), uint8_t{255});
  write(folder / "deep.tif", deep);
  write(folder / "valid.tif", mask);
  std::string results[2];
  for (const bool many : {false, true}) {
    const Outcome outcome = runKip({"smooth", folder / "deep.tif", folder / "out.tif", "--sigma", "4,1", "--mask",
                                    folder / "valid.tif", "--threads", many ? "7" : "1"});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    results[many] = readBytes(folder / "out.tif");
  }
  EXPECT_TRUE(results[0] == results[1]);
}

TEST_F(Bands, ReductionsGiveTheSamePixels) {
  for (const std::string in : {"8.pgm", "16.tif"}) {
    for (const Words& axes : {Words{}, {"--x"}, {"--y"}}) {
      for (const bool masked : {false, true}) {
        const Words mask = masked ? Words{"--mask", folder / "mask.png"} : Words{};
        const Words levels = {"--levels", random.pick({"1", "2", "3"})};
        const Words request = Words{"reduce", folder / in, folder / "out.tif"} + axes + levels + mask;
        expectOneCallsPixels(request, (in == "8.pgm" ? 1 : 2) + (masked ? 1 : 0), masked);
      }
    }
  }
}

TEST_F(Bands, ThatCannotBeAreRefusedOrLeaveNothing) {
  const Words before = folder.names();
  const auto refuse = [&](const std::string& in, const Words& options, const std::string& cause,
                          const std::function<void()>& limit = {}) {
    const Outcome outcome =
        runKip(Words{"smooth", folder / in, folder / "out.tif", "--memory", "40K"} + options, limit);
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    EXPECT_NE(outcome.err.find(cause), std::string::npos) << outcome.err;
    Words names = folder.names();
    std::erase(names, "cut.pgm");
    EXPECT_EQ(names, before);
  };
  refuse("8.pgm", {"--sigma", "12", "--sheet", folder / "sheet.png"}, "since a sheet shows the whole picture");
  refuse("8.pgm", {"--sigma", "200"}, "since sigmas as large need the whole picture");
  refuse("16.tif", {"--sigma", "39"}, "take at least ");
  // a full disk, and a file that ends, in the middle
  refuse("8.pgm", {"--sigma", "1"}, "out.tif: cannot write: File too large", limitFiles(kWidth * kHeight / 2));
  refuse("8.pgm",
         {"--sigma", "1", "--threads", "1", "--mask", folder / "mask.png", "--mask-out", folder / "mask-out.pgm"},
         "cannot write: File too large", limitFiles(kWidth * kHeight / 2));
  writeBytes(folder / "cut.pgm", readBytes(folder / "8.pgm").substr(0, kWidth * kHeight / 2));
  refuse("cut.pgm", {"--sigma", "1"}, "cut.pgm: damaged or truncated PGM: the file ends early");
}

// A header and nothing but holes in the file after it, and TIFF files of one strip or tile whatever their codec keeps.
TEST_F(Bands, KeepToTheMemory) {
  writeBytes(folder / "large.pgm", "P5 9000 20000 255\n");
  std::filesystem::resize_file(folder / "large.pgm", 18 + 180'000'000);
  const auto expectToFit = [&](const Words& command, int64_t kilo) {
    SCOPED_TRACE(testing::PrintToString(command));
    const Outcome outcome = runKip(command + Words{"--memory", std::to_string(kilo) + "K"});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
#ifndef KIP_SANITIZED
    EXPECT_LT(outcome.peakKilobytes, kilo + (16 << 10));
#endif
  };
  expectToFit({"smooth", folder / "large.pgm", folder / "out.pgm", "--sigma", "12"}, 24 << 10);
  expectToFit({"reduce", folder / "large.pgm", folder / "out.pgm"}, 24 << 10);

  for (const int codec : {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_JPEG,
                          COMPRESSION_LZMA, COMPRESSION_ZSTD, COMPRESSION_LERC}) {
    if (TIFFIsCODECConfigured(static_cast<uint16_t>(codec)) == 0) continue;
    for (const bool tiled : {false, true}) {
      makeFlatTiff(folder / "flat.tif", 6000, codec, tiled);
      const Words command = {"smooth", folder / "flat.tif", folder / "out.pgm", "--sigma", "1", "--sample", "8"};
      expectToFit(command, leastFor(command));
    }
  }
}

}  // namespace
}  // namespace kip::test
