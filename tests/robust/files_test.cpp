// SPDX-License-Identifier: Apache-2.0
// Files that lie: a picture or a one-line error, and memory that goes by what the file holds, not by what it promises.
#include <gtest/gtest.h>
#include <png.h>
#include <tiffio.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <filesystem>

#include "made_files.hpp"
#include "picture_file.hpp"
#include "run_kip.hpp"
#include "support/random.hpp"

namespace kip::test {
namespace {

std::string number(uint32_t value, int32_t bytes, bool highFirst) {
  std::string text;
  for (int32_t i = 0; i < bytes; ++i) text += static_cast<char>(value >> 8 * (highFirst ? bytes - 1 - i : i));
  return text;
}

std::string pngChunk(const std::string& name, const std::string& data) {
  const std::string named = name + data;
  const auto sum = crc32(0, reinterpret_cast<const Bytef*>(named.data()), static_cast<uInt>(named.size()));
  return number(static_cast<uint32_t>(data.size()), 4, true) + named + number(static_cast<uint32_t>(sum), 4, true);
}

// Up to its first pixels, which are damaged; `between` comes before them.
std::string pngOf(uint32_t width, uint32_t height, int32_t bits, bool interlaced, const std::string& between = "") {
  const std::string kind = {static_cast<char>(bits), 0, 0, 0, static_cast<char>(interlaced)};
  return "\x89PNG\r\n\x1a\n" + pngChunk("IHDR", number(width, 4, true) + number(height, 4, true) + kind) + between +
         pngChunk("IDAT", "x\x9c" + std::string(50, 'x'));
}

// A page of one strip or tile of `bytes` bytes, which begins at the file's byte 8 and is not all there.
std::string tiffOf(uint32_t width, uint32_t height, uint32_t compression, uint32_t bytes, bool tiled, uint32_t strips) {
  std::vector<std::array<uint32_t, 3>> tags = {{256, width, 1},       {257, height, 1}, {258, 8, 1},
                                               {259, compression, 1}, {262, 1, 1},      {277, 1, 1}};
  if (!tiled) tags.insert(tags.end(), {{273, 8, strips}, {278, height, 1}, {279, bytes, strips}});
  if (tiled) tags.insert(tags.end(), {{322, width, 1}, {323, height, 1}, {324, 8, 1}, {325, bytes, 1}});
  std::sort(tags.begin(), tags.end());
  std::string text = "II*" + std::string(1, '\0') + number(64, 4, false) + std::string(56, 'x');
  text += number(static_cast<uint32_t>(tags.size()), 2, false);
  for (const auto& [tag, value, count] : tags) {
    text += number(tag, 2, false) + number(4, 2, false) + number(count, 4, false) + number(value, 4, false);
  }
  return text + number(64, 4, false);  // the next page is this one
}

// A good picture with many tags besides, whose values are the same megabyte.
std::string tiffOfTags() {
  constexpr uint32_t size = 1 << 20;
  std::vector<std::array<uint32_t, 2>> tags = {{256, 8}, {257, 8}, {258, 8}, {262, 1}, {273, 8}, {278, 8}, {279, 64}};
  for (uint32_t tag = 40000; tag < 41000; ++tag) tags.push_back({tag, 8});
  std::string text = "II*" + std::string(1, '\0') + number(8 + size, 4, false) + std::string(size, 'x');
  text += number(static_cast<uint32_t>(tags.size()), 2, false);
  for (const auto& [tag, value] : tags) {
    const bool isNeeded = tag < 40000;
    text += number(tag, 2, false) + number(isNeeded ? 4 : 7, 2, false) + number(isNeeded ? 1 : size, 4, false);
    text += number(value, 4, false);
  }
  return text + number(0, 4, false);
}

TEST(Files, PromisesAreNotPaidFor) {
  constexpr uint32_t most = 0x7FFFFFFF, side = 20000;
  const std::pair<const char*, std::string> lies[] = {
      {"pgm", "P5 20000 20000 255\n0123"},
      {"pgm of 16 bits", "P5 20000 20000 65535\n0123"},
      {"pgm of text", "P2 1000000 400 255\n1 2 3"},
      {"pgm of one row", "P5 2147483647 1 255\n0123"},
      {"pgm of one column", "P2 1 2147483648 255\n1"},
      {"png", pngOf(side, side, 8, false)},
      {"png, interlaced", pngOf(1000000, 400, 16, true)},
      {"png of one bit", pngOf(side, side, 1, false)},
      {"png of one row", pngOf(most, 1, 8, false)},
      {"tiff", tiffOf(side, side, COMPRESSION_NONE, side * side, false, 1)},
      {"tiff, lzw", tiffOf(side, side, COMPRESSION_LZW, 56, false, 1)},
      {"tiff, deflate", tiffOf(side, side, COMPRESSION_ADOBE_DEFLATE, most, false, 1)},
      {"tiff of a tile", tiffOf(side, side, COMPRESSION_NONE, side * side, true, 1)},
      {"tiff of a tile, lzw", tiffOf(side, side, COMPRESSION_LZW, 56, true, 1)},
      {"tiff of one row", tiffOf(most, 1, COMPRESSION_NONE, most, false, 1)},
      {"png with a claim", pngOf(9, 9, 8, false, number(most, 4, true) + "tEXtkey" + std::string(50, 'x'))},
      {"tiff of many tags", tiffOfTags()},
      {"tiff of many strips", tiffOf(9, side, COMPRESSION_NONE, 64, false, most)},
  };
  for (const auto& [name, bytes] : lies) {
    SCOPED_TRACE(name);
    const Folder folder;
    writeBytes(folder / "in", bytes);
    const Outcome outcome = runKip({"smooth", folder / "in", folder / "out.pgm", "--sigma", "1"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err.find("kip: " + folder / "in" + ": "), 0u) << outcome.err;
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    EXPECT_EQ(folder.names(), std::vector<std::string>{"in"});
    EXPECT_LT(outcome.peakKilobytes, 250 << 10);
    EXPECT_LT(outcome.seconds, 5);
  }
}

// Texts in front of a picture's pixels and after them that claim much, or unpack to 2 GB together.
TEST(Files, MetadataCostsWhatItMeasures) {
  std::string zeros(5'000'000, '\0'), packed(10'000, '\0');
  uLongf size = packed.size();
  ASSERT_EQ(compress(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(zeros.data()),
                     zeros.size()),
            Z_OK);
  std::string texts;
  for (const std::string name : {"zTXt", "iCCP", "iTXt", "zTXt"}) {
    const std::string head = name == "iTXt" ? std::string("k\0\1\0\0\0", 6) : std::string("k\0\0", 3);
    for (int32_t i = 0; i < 100; ++i) texts += pngChunk(name, head + packed.substr(0, size));
  }
  texts += pngChunk("tEXt", std::string("k\0", 2) + std::string(12'000'000, 'x'));
  const Folder folder;
  makePng(folder / "plain", {8, PNG_COLOR_TYPE_GRAY});
  const std::string good = readBytes(folder / "plain");
  const size_t afterHeader = 8 + 25, end = good.size() - 12;
  writeBytes(folder / "in", good.substr(0, afterHeader) + texts + good.substr(afterHeader, end - afterHeader) + texts +
                                good.substr(end));
  const Outcome outcome = runKip({"smooth", folder / "in", folder / "out.pgm", "--sigma", "0"});
  EXPECT_EQ(outcome.err, "");
  EXPECT_TRUE(read(folder / "out.pgm").pixels8 == read(folder / "plain").pixels8);
  EXPECT_LT(outcome.seconds, 2);
#ifndef KIP_SANITIZED
  EXPECT_LT(outcome.peakKilobytes, 64 << 10);
#endif
}

// One byte or number wrong anywhere in a good file: read in this process, for the sanitizers.
TEST(Files, DamageIsSurvived) {
  const Folder folder;
  makePng(folder / "interlaced", {8, PNG_COLOR_TYPE_GRAY, true});
  makePng(folder / "deep", {16, PNG_COLOR_TYPE_GRAY});
  makeTiff(folder / "deep.tif", {.bits = 16, .bigEndian = true, .pages = 2});
  makeTiff(folder / "tiles.tif", {.bits = 4, .tiled = true});
  makeTiff(folder / "packed.tif", {.bits = 8, .compression = COMPRESSION_LZW});
  writeBytes(folder / "text.pgm", "P2\n3 2\n# text\n200\n1 2 3 4 5 200\n");
  kiptest::Random random(77);
  int32_t refused = 0, read = 0;
  for (const std::string& name : folder.names()) {
    const std::string good = readBytes(folder / name);
    for (int32_t turn = 0; turn < 400; ++turn) {
      std::string bytes = good;
      // headers and directories are at either end
      const auto reach = static_cast<int32_t>(std::min<size_t>(good.size(), 250));
      const auto at = static_cast<size_t>(random.between(0, reach - 1));
      const size_t byte = random.chance(2) ? at : bytes.size() - 1 - at;
      for (size_t i = byte; i < std::min(byte + (turn % 3 == 0 ? 4 : 1), bytes.size()); ++i) {
        bytes[i] = static_cast<char>(random.pick({0, 1, 0x7F, 0x80, 0xFF, random.between(0, 255)}));
      }
      writeBytes(folder / "damaged", bytes);
      try {
        std::vector<std::string> notes;
        const tool::Picture picture = tool::readPicture(folder / "damaged", notes);
        const size_t pixels = static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height);
        EXPECT_EQ(picture.depth == 8 ? picture.pixels8.size() : picture.pixels16.size(), pixels);
        ++read;
      } catch (const std::exception& error) {
        EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos) << error.what();
        ++refused;
      }
    }
    std::filesystem::remove(folder / "damaged");
  }
  EXPECT_TRUE(refused > 500 && read > 100) << refused << ' ' << read;
}

}  // namespace
}  // namespace kip::test
