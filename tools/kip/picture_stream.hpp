// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "picture.hpp"

namespace kip::tool {

// A picture that is read row by row, from top to bottom. Every step throws Error.
class PictureReader {
 public:
  explicit PictureReader(const PictureSize& pictureSize) : size_(pictureSize) {}
  virtual ~PictureReader() = default;
  PictureReader(const PictureReader&) = delete;
  PictureReader& operator=(const PictureReader&) = delete;

  const PictureSize& size() const { return size_; }
  // Rows `first` to `first + count` of the picture into the rows of `to` from `at` on. No row is read twice, and none
  // above one that has been read.
  virtual void read(int32_t first, int32_t count, Picture& to, int32_t at) = 0;
  // The bytes of pixels that the reader itself keeps.
  virtual int64_t keptBytes() const { return 0; }

 private:
  PictureSize size_;
};

// A picture that is written row by row, from top to bottom. Every step throws Error.
class PictureWriter {
 public:
  PictureWriter() = default;
  virtual ~PictureWriter() = default;
  PictureWriter(const PictureWriter&) = delete;
  PictureWriter& operator=(const PictureWriter&) = delete;

  // The next row; 16-bit pixels in the machine's byte order.
  virtual void writeRow(const uint8_t* row) = 0;
  // After the last row.
  virtual void finish() {}
};

}  // namespace kip::tool
