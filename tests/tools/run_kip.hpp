// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "picture.hpp"

namespace kip::test {

struct Outcome {
  int code;  // the exit code; -1 when a signal ended the program
  std::string out, err;
  int64_t peakKilobytes;  // the most memory that it used
  double seconds;         // that the processor worked for it
};

// Runs a program; `prepare` is called in the child before.
Outcome run(const std::string& program, std::vector<std::string> arguments, const std::function<void()>& prepare = {});
Outcome runKip(const std::vector<std::string>& arguments, const std::function<void()>& prepare = {});

// For `prepare`: the program may write so many bytes to a file.
std::function<void()> limitFiles(size_t bytes);

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
