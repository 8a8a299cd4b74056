// SPDX-License-Identifier: Apache-2.0
#include "pgm_file.hpp"

#include <cerrno>
#include <cstring>

#include "error.hpp"

namespace kip::tool {
namespace {

[[noreturn]] void failReading(const std::string& cause) {
  throw Error("damaged or truncated PGM: " + cause);
}

[[noreturn]] void failAtEnd(std::FILE* file) {
  failReading(std::ferror(file) != 0 ? std::strerror(errno) : "the file ends early");
}

bool isSpace(int c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

// The next number, past white space and comments; the character after it is consumed.
uint32_t readNumber(std::FILE* file) {
  int c = std::getc(file);
  while (isSpace(c) || c == '#') {
    if (c == '#') {
      while (c != '\n' && c != '\r' && c != EOF) c = std::getc(file);
    } else {
      c = std::getc(file);
    }
  }
  if (c == EOF) failAtEnd(file);
  uint32_t value = 0;
  bool digits = false;
  for (; c >= '0' && c <= '9'; c = std::getc(file)) {
    value = value * 10 + static_cast<uint32_t>(c - '0');
    digits = true;
    if (value > 100'000'000) failReading("a number is too large");
  }
  if (!digits || (c != EOF && !isSpace(c) && c != '#')) failReading("a number was expected");
  if (c == '#') std::ungetc(c, file);
  return value;
}

uint16_t stretch(uint32_t value, uint32_t largest, uint32_t full) {
  if (value > largest) failReading("a pixel is larger than the largest value " + std::to_string(largest));
  return static_cast<uint16_t>(largest == full ? value : (value * full + largest / 2) / largest);
}

}  // namespace

Picture readPgm(std::FILE* file) {
  const int p = std::getc(file), kind = std::getc(file);
  if (p != 'P' || (kind != '2' && kind != '5')) failReading("the file does not begin with P2 or P5");
  const bool plain = kind == '2';
  const uint32_t width = readNumber(file), height = readNumber(file), largest = readNumber(file);
  if (largest < 1 || largest > 65535) failReading("the largest value is " + std::to_string(largest));

  Picture picture = Picture::make(width, height, largest > 255 ? 16 : 8);
  const uint32_t full = picture.depth == 8 ? 255 : 65535;
  std::vector<uint8_t> line(picture.rowSize());
  size_t next = 0;
  for (int32_t y = 0; y < picture.height; ++y) {
    if (!plain && std::fread(line.data(), 1, line.size(), file) != line.size()) failAtEnd(file);
    for (size_t x = 0; x < width; ++x, ++next) {
      if (picture.depth == 8) {
        picture.pixels8[next] = static_cast<uint8_t>(stretch(plain ? readNumber(file) : line[x], largest, full));
      } else {
        const uint32_t stored = plain ? readNumber(file) : uint32_t{line[2 * x]} << 8 | line[2 * x + 1];
        picture.pixels16[next] = stretch(stored, largest, full);
      }
    }
  }
  return picture;
}

void writePgm(std::FILE* file, const Picture& picture) {
  std::fprintf(file, "P5\n%d %d\n%d\n", picture.width, picture.height, picture.depth == 8 ? 255 : 65535);
  std::vector<uint8_t> line(picture.rowSize());
  for (int32_t y = 0; y < picture.height; ++y) {
    const uint8_t* bytes = picture.row(y);
    for (int32_t x = 0; picture.depth == 16 && x < picture.width; ++x) {
      const uint32_t value = picture.at(x, y);
      line[2 * static_cast<size_t>(x)] = static_cast<uint8_t>(value >> 8);
      line[2 * static_cast<size_t>(x) + 1] = static_cast<uint8_t>(value);
      bytes = line.data();
    }
    std::fwrite(bytes, 1, line.size(), file);
    if (std::ferror(file) != 0) throw Error(std::string("cannot write: ") + std::strerror(errno));
  }
}

}  // namespace kip::tool
