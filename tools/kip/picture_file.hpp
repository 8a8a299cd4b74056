// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "output_file.hpp"
#include "picture_stream.hpp"

namespace kip::tool {

enum class Format { png, tiff, pgm };

// The format that a name's extension asks for. Throws UsageError for any other extension.
Format formatOfName(const std::string& name);

// A picture file to read, of the format that its first bytes tell. Failures throw Error with the name in front.
class InputPicture {
 public:
  explicit InputPicture(const std::string& name);

  const std::string& name() const { return name_; }
  const PictureSize& size() const { return reader_->size(); }
  int64_t keptBytes() const { return reader_->keptBytes(); }
  // Sentences for the user.
  const std::vector<std::string>& notes() const { return notes_; }
  // As PictureReader::read.
  void read(int32_t first, int32_t count, Picture& to, int32_t at);
  // In place of read().
  Picture readAll();

 private:
  std::string name_;
  std::vector<std::string> notes_;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
  std::unique_ptr<PictureReader> reader_;
};

// Writes a picture into a file, which the caller commits. Failures throw Error with the name in front.
class OutputPicture {
 public:
  OutputPicture(OutputFile& file, Format format, const PictureSize& size);

  // The next rows: `count` of `picture`, from `first` on.
  void write(const Picture& picture, int32_t first, int32_t count);
  // After the last row; finishes the file.
  void finish();

 private:
  OutputFile& file_;
  std::unique_ptr<PictureWriter> writer_;
};

// A whole picture. `notes` receives sentences for the user.
Picture readPicture(const std::string& name, std::vector<std::string>& notes);
void writePicture(OutputFile& file, Format format, const Picture& picture);

}  // namespace kip::tool
