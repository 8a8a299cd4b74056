// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "picture_file.hpp"
#include "pixels.hpp"

namespace kip::tool {

// Rows by number, `end` not included.
struct Rows {
  int32_t begin, end;
  int32_t count() const { return end - begin; }
};

// The pictures that a request takes, or equal rows of them.
struct SourcePictures : MaskedPicture {
  std::optional<Picture> sampleMask;
};

struct SourceNames {
  std::string picture, mask, sampleMask;  // empty: there is none
};

// The files of a request, read from top to bottom by the bands of rows that are needed. Throws Error.
class Sources {
 public:
  explicit Sources(const SourceNames& names);
  Sources(const Sources&) = delete;
  Sources& operator=(const Sources&) = delete;

  const std::string& name() const { return files_.front().name(); }
  // Of the picture; the masks measure the same.
  const PictureSize& size() const { return files_.front().size(); }
  // Bytes that the readers keep, and those of a row of all pictures.
  int64_t keptBytes() const;
  int64_t rowBytes() const;
  // Takes memory for bands of at most so many rows.
  void reserve(int32_t rows);
  // The rows, neither end of which lies above the one of the call before. Those that both calls have are kept.
  SourcePictures& take(Rows rows);
  // After the last rows.
  void sayNotes() const;

 private:
  std::vector<InputPicture> files_;
  SourcePictures pictures_;
  std::vector<Picture*> slots_;  // in `pictures_`, one for each file
  Rows taken_ = {0, 0};
};

}  // namespace kip::tool
