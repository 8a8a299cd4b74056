// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <png.h>
#include <tiffio.h>

#include <array>
#include <cmath>
#include <functional>

#include "made_files.hpp"
#include "picture_file.hpp"
#include "run_kip.hpp"

namespace kip::test {
namespace {

std::string pgmText(int32_t bits) {
  std::string text = "P2 # a comment\n# and another 99\n37\t29\n" + std::to_string((1 << bits) - 1) + "\n";
  for (int32_t y = 0; y < kMadeHeight; ++y) {
    for (int32_t x = 0; x < kMadeWidth; ++x)
      text += std::to_string(madeValue(x, y, bits)) + (x % 9 == 8 ? "\r\n" : " ");
  }
  return text;
}

std::string pgmBytes(int32_t bits) {
  return "P5\n#\n37 29\n" + std::to_string((1 << bits) - 1) + "\n" + join(madeRows(bits));
}

struct Readable {
  const char* name;
  int32_t bits;  // of the values made, before they are stretched
  std::function<void(const std::string&)> make;
  bool inverted = false;
};

Readable png(const char* name, int bits, bool interlaced) {
  return {name, bits, [=](const std::string& path) { makePng(path, {bits, PNG_COLOR_TYPE_GRAY, interlaced}); }};
}

Readable tiff(const char* name, TiffKind kind) {
  return {name, kind.bits, [=](const std::string& path) { makeTiff(path, kind); },
          kind.photometric == PHOTOMETRIC_MINISWHITE};
}

Readable pgm(const char* name, int32_t bits, const std::string& bytes) {
  return {name, bits, [=](const std::string& path) { writeBytes(path, bytes); }};
}

const Readable kReadable[] = {
    png("png 1", 1, false),
    png("png 2 interlaced", 2, true),
    png("png 4", 4, false),
    png("png 8", 8, false),
    png("png 8 interlaced", 8, true),
    png("png 16", 16, false),
    tiff("tiff 1 white is 0", {.bits = 1, .photometric = PHOTOMETRIC_MINISWHITE}),
    tiff("tiff 4 tiles", {.bits = 4, .tiled = true}),
    tiff("tiff 8", {.bits = 8}),
    tiff("tiff 8 lzw", {.bits = 8, .compression = COMPRESSION_LZW}),
    tiff("tiff 8 tiles white is 0", {.bits = 8, .photometric = PHOTOMETRIC_MINISWHITE, .tiled = true}),
    tiff("tiff 16 big-endian", {.bits = 16, .bigEndian = true}),
    tiff("tiff 16 tiles white is 0", {.bits = 16, .photometric = PHOTOMETRIC_MINISWHITE, .tiled = true}),
    pgm("pgm text 8", 8, pgmText(8)),
    pgm("pgm text 10", 10, pgmText(10)),
    pgm("pgm text 16", 16, pgmText(16)),
    pgm("pgm 8", 8, pgmBytes(8)),
    pgm("pgm 16", 16, pgmBytes(16)),
};

void expectMadePixels(const tool::Picture& picture, const Readable& file) {
  ASSERT_EQ(picture.width, kMadeWidth);
  ASSERT_EQ(picture.height, kMadeHeight);
  ASSERT_EQ(picture.depth, file.bits > 8 ? 16 : 8);
  const double full = file.bits > 8 ? 65535 : 255, largest = (1 << file.bits) - 1;
  for (int32_t y = 0; y < kMadeHeight; ++y) {
    for (int32_t x = 0; x < kMadeWidth; ++x) {
      const double value = std::round(madeValue(x, y, file.bits) * full / largest);
      ASSERT_EQ(picture.at(x, y), file.inverted ? full - value : value) << x << ", " << y;
    }
  }
}

TEST(Formats, AreReadToTheLastPixelAndRefusedWhenCut) {
  const Folder folder;
  for (const Readable& file : kReadable) {
    SCOPED_TRACE(file.name);
    file.make(folder / "in");
    expectMadePixels(read(folder / "in"), file);

    const std::string bytes = readBytes(folder / "in");
    // A plain file's last number is still a number when its end is cut.
    const size_t slack = bytes.starts_with("P2") ? 8 : 0;
    for (size_t size = 0; size + slack < bytes.size(); size += size < 64 ? 1 : 13) {
      writeBytes(folder / "cut", bytes.substr(0, size));
      EXPECT_THROW(read(folder / "cut"), std::exception) << size;
    }
  }
}

// With rows left out between the pieces.
TEST(Formats, AreReadInPiecesToo) {
  const Folder folder;
  for (const Readable& file : kReadable) {
    file.make(folder / "in");
    const tool::Picture whole = read(folder / "in");
    for (const std::vector<std::array<int32_t, 2>>& pieces :
         {std::vector<std::array<int32_t, 2>>{{0, 4}, {4, 13}, {13, 27}}, {{3, 5}, {8, 17}, {28, 29}}, {{19, 21}}}) {
      SCOPED_TRACE(file.name + testing::PrintToString(pieces));
      tool::InputPicture input(folder / "in");
      tool::Picture part = tool::Picture::make(kMadeWidth, kMadeHeight, input.size().depth);
      for (const auto& [first, end] : pieces) {
        input.read(first, end - first, part, 2);
        for (int32_t i = 0; i < (end - first) * kMadeWidth; ++i) {
          const int32_t x = i % kMadeWidth, y = i / kMadeWidth;
          ASSERT_EQ(part.at(x, 2 + y), whole.at(x, first + y)) << x << ", " << first + y;
        }
      }
    }
  }
}

TEST(Formats, AreWrittenAsTheyAreRead) {
  const Folder folder;
  makePng(folder / "in", {8, PNG_COLOR_TYPE_GRAY});
  for (const std::string extension : {".png", ".PNG", ".tif", ".tiff", ".pgm"}) {
    for (const bool deep : {false, true}) {
      SCOPED_TRACE(extension + (deep ? " 16" : " 8"));
      const std::string out = folder / ("out" + extension);
      // Without smoothing a gain of 256 moves each pixel into the high byte.
      const Outcome outcome = runKip(
          {"smooth", folder / "in", out, "--sigma", "0", "--depth", deep ? "16" : "8", "--scale", deep ? "256" : "1"});
      ASSERT_EQ(outcome.code, 0) << outcome.err;
      EXPECT_EQ(outcome.err, "");
      const tool::Picture picture = read(out);
      ASSERT_EQ(picture.width, kMadeWidth);
      ASSERT_EQ(picture.height, kMadeHeight);
      ASSERT_EQ(picture.depth, deep ? 16 : 8);
      for (int32_t i = 0; i < kMadeWidth * kMadeHeight; ++i) {
        const int32_t x = i % kMadeWidth, y = i / kMadeWidth;
        ASSERT_EQ(picture.at(x, y), madeValue(x, y, 8) * (deep ? 256 : 1)) << x << ", " << y;
      }
    }
  }
}

TEST(Formats, OfSeveralPagesGiveTheFirstAndSaySo) {
  const Folder folder;
  makeTiff(folder / "in", {.bits = 8, .pages = 2});
  const Outcome outcome = runKip({"smooth", folder / "in", folder / "out.pgm", "--sigma", "0"});
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.err, "kip: " + folder / "in" + ": note: has more than one page; the first one is taken\n");
  EXPECT_TRUE(read(folder / "out.pgm").at(5, 3) == madeValue(5, 3, 8));
}

}  // namespace
}  // namespace kip::test
