// SPDX-License-Identifier: Apache-2.0
#include "sources.hpp"

#include <algorithm>
#include <cstring>

#include "inputs.hpp"

namespace kip::tool {

Sources::Sources(const SourceNames& names) {
  files_.emplace_back(names.picture);
  slots_.push_back(&pictures_.picture);
  if (!names.mask.empty()) {
    files_.push_back(openMask(names.mask, size()));
    slots_.push_back(&pictures_.mask.emplace());
  }
  if (!names.sampleMask.empty()) {
    files_.push_back(openMask(names.sampleMask, size()));
    slots_.push_back(&pictures_.sampleMask.emplace());
  }
}

int64_t Sources::keptBytes() const {
  int64_t bytes = 0;
  for (const InputPicture& file : files_) bytes += file.keptBytes();
  return bytes;
}

int64_t Sources::rowBytes() const {
  size_t bytes = 0;
  for (const InputPicture& file : files_) bytes += file.size().rowSize();
  return static_cast<int64_t>(bytes);
}

void Sources::sayNotes() const {
  for (const InputPicture& file : files_) tool::sayNotes(file);
}

void Sources::reserve(int32_t rows) {
  for (size_t i = 0; i < files_.size(); ++i) {
    const PictureSize& size = files_[i].size();
    *slots_[i] = Picture::make(size.width, rows, size.depth);
  }
}

SourcePictures& Sources::take(Rows rows) {
  const int32_t first = std::max(rows.begin, taken_.end);  // of those that are new
  const int32_t kept = first - rows.begin;
  for (size_t i = 0; i < files_.size(); ++i) {
    Picture& picture = *slots_[i];
    if (kept > 0) {
      const uint8_t* const from = picture.row(rows.begin - taken_.begin);
      std::memmove(picture.row(0), from, static_cast<size_t>(kept) * picture.rowSize());
    }
    picture.setHeight(rows.count());
    files_[i].read(first, rows.end - first, picture, kept);
  }
  taken_ = rows;
  return pictures_;
}

}  // namespace kip::tool
