// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <string>

#include "output_file.hpp"
#include "picture_file.hpp"

namespace kip::tool {

// The files of one command, none of which comes to stand under its name before all of them are written. Failures throw
// Error with the file's name in front.
class Outputs {
 public:
  // Starts the next file. UsageError when the name asks for no format or another file of the command has it.
  void add(const std::string& name);
  // The same for a sheet, which is a PNG file.
  void addSheet(const std::string& name);
  // Writes the files in the order in which they were added.
  void write(const Picture& picture);
  void commit();

 private:
  struct Entry {
    explicit Entry(const std::string& name) : format(formatOfName(name)), file(name) {}
    Format format;
    OutputFile file;
  };
  std::deque<Entry> entries_;
  size_t written_ = 0;
};

}  // namespace kip::tool
