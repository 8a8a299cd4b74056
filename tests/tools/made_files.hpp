// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kip::test {

// Files made without the program's own code. Rows are packed bytes, 16-bit pixels with the high byte first.

constexpr int32_t kMadeWidth = 37, kMadeHeight = 29;

// The grey of pixel (x, y) of every file made: all values of `bits` bits occur.
constexpr uint32_t madeValue(int32_t x, int32_t y, int32_t bits) {
  return static_cast<uint32_t>(x * 1787 + y * 9241 + x * y) & ((1u << bits) - 1);
}

// The rows of such a picture, each value repeated `samples` times.
std::vector<std::string> madeRows(int32_t bits, int32_t samples = 1);
std::string join(const std::vector<std::string>& rows);

struct PngKind {
  int bits;
  int colourType;
  bool interlaced = false, transparentGrey = false;
};
void makePng(const std::string& path, const PngKind& kind);

struct TiffKind {
  int bits;
  int photometric = 1;  // 0: grey with white as 0, 1: grey, 2: colour, 3: palette
  int samples = 1;
  bool bigEndian = false, tiled = false;
  int compression = 1;
  int format = 1;  // 1 unsigned, 2 signed, 3 floating-point
  int pages = 1;
};
void makeTiff(const std::string& path, const TiffKind& kind);

}  // namespace kip::test
