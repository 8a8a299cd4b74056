// SPDX-License-Identifier: Apache-2.0
#include "pgm_file.hpp"

#include <sys/types.h>

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

class PgmReader : public PictureReader {
 public:
  PgmReader(std::FILE* file, const PictureSize& size, bool plain, uint32_t largest)
      : PictureReader(size),
        file_(file),
        plain_(plain),
        largest_(largest),
        full_(size.depth == 8 ? 255 : 65535),
        line_(size.rowSize()) {}

  void read(int32_t first, int32_t count, Picture& to, int32_t at) override {
    skip(first - next_);
    for (int32_t y = 0; y < count; ++y) readRow(to.row(at + y));
    next_ = first + count;
  }

 private:
  void skip(int32_t rows) {
    for (int32_t y = 0; plain_ && y < rows; ++y) readRow(line_.data());
    if (plain_ || rows == 0) return;
    if (fseeko(file_, static_cast<off_t>(line_.size()) * rows, SEEK_CUR) != 0) failReading(std::strerror(errno));
  }

  void readRow(uint8_t* row) {
    if (!plain_ && std::fread(row, 1, line_.size(), file_) != line_.size()) failAtEnd(file_);
    if (size().depth == 8) {
      if (!plain_ && largest_ == full_) return;
      for (size_t x = 0; x < line_.size(); ++x) {
        row[x] = static_cast<uint8_t>(stretch(plain_ ? readNumber(file_) : row[x], largest_, full_));
      }
    } else {
      for (size_t i = 0; i < line_.size(); i += 2) {
        const uint32_t stored = plain_ ? readNumber(file_) : uint32_t{row[i]} << 8 | row[i + 1];
        const uint16_t pixel = stretch(stored, largest_, full_);
        std::memcpy(row + i, &pixel, sizeof pixel);
      }
    }
  }

  std::FILE* file_;
  bool plain_;
  uint32_t largest_, full_;
  std::vector<uint8_t> line_;  // of rows that nobody wants
  int32_t next_ = 0;
};

class PgmWriter : public PictureWriter {
 public:
  PgmWriter(std::FILE* file, const PictureSize& size) : file_(file), size_(size), line_(size.rowSize()) {
    std::fprintf(file, "P5\n%d %d\n%d\n", size.width, size.height, size.depth == 8 ? 255 : 65535);
  }

  void writeRow(const uint8_t* row) override {
    if (size_.depth == 16) {
      for (size_t i = 0; i < line_.size(); i += 2) {
        uint16_t value = 0;
        std::memcpy(&value, row + i, sizeof value);
        line_[i] = static_cast<uint8_t>(value >> 8);
        line_[i + 1] = static_cast<uint8_t>(value);
      }
      row = line_.data();
    }
    std::fwrite(row, 1, line_.size(), file_);
    if (std::ferror(file_) != 0) throw Error(std::string("cannot write: ") + std::strerror(errno));
  }

 private:
  std::FILE* file_;
  PictureSize size_;
  std::vector<uint8_t> line_;
};

}  // namespace

std::unique_ptr<PictureReader> openPgm(std::FILE* file) {
  const int p = std::getc(file), kind = std::getc(file);
  if (p != 'P' || (kind != '2' && kind != '5')) failReading("the file does not begin with P2 or P5");
  const uint32_t width = readNumber(file), height = readNumber(file), largest = readNumber(file);
  if (largest < 1 || largest > 65535) failReading("the largest value is " + std::to_string(largest));
  return std::make_unique<PgmReader>(file, PictureSize::make(width, height, largest > 255 ? 16 : 8), kind == '2',
                                     largest);
}

std::unique_ptr<PictureWriter> startPgm(std::FILE* file, const PictureSize& size) {
  return std::make_unique<PgmWriter>(file, size);
}

}  // namespace kip::tool
