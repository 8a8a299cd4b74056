// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "picture.hpp"

namespace kip::test {

struct Outcome {
  int code;  // the exit code; -1 when a signal ended the program
  std::string out, err;
};

// Runs a program; `fileLimit` is the most bytes that it may write to a file, 0: any.
Outcome run(const std::string& program, std::vector<std::string> arguments, size_t fileLimit = 0);
Outcome runKip(const std::vector<std::string>& arguments, size_t fileLimit = 0);

// A new folder, removed with all it holds.
class Folder {
 public:
  Folder();
  ~Folder();
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string operator/(const std::string& name) const { return path_ + "/" + name; }
  // The names of all that lies in it, sorted.
  std::vector<std::string> names() const;

 private:
  std::string path_;
};

// A picture file that the program has no note about.
tool::Picture read(const std::string& path);
std::string readBytes(const std::string& path);
void writeBytes(const std::string& path, const std::string& bytes);

}  // namespace kip::test
