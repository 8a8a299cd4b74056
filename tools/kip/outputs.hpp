// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <optional>
#include <string>

#include "output_file.hpp"
#include "picture_file.hpp"

namespace kip::tool {

// The files of one command, which come to stand under their names when all of them are written, and all or none.
// Failures throw Error with the file's name in front.
class Outputs {
 public:
  // Starts the next file. UsageError when the name asks for no format or another file of the command has it.
  void add(const std::string& name);
  // The same for a sheet, which is a PNG file.
  void addSheet(const std::string& name);
  // Begin the files' pictures in the order in which they were added: one that is written piece by piece, or a whole
  // one.
  OutputPicture& start(const PictureSize& size);
  void write(const Picture& picture);
  // After the last row of every picture.
  void commit();

 private:
  struct Entry {
    explicit Entry(const std::string& name) : format(formatOfName(name)), file(name) {}
    Format format;
    OutputFile file;
    std::optional<OutputPicture> picture;
  };
  std::deque<Entry> entries_;
  size_t started_ = 0;
};

}  // namespace kip::tool
