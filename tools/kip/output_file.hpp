// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>
#include <string>

namespace kip::tool {

// A file that comes to stand under its name whole or not at all: what is written goes to a new file beside it, finish()
// brings it to the disk and commit() moves it over. Without a commit it is removed, also when the program is told to
// end. Failures throw Error with the name in front.
class OutputFile {
 public:
  explicit OutputFile(const std::string& name);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  std::FILE* stream() const { return stream_; }
  const std::string& name() const { return name_; }
  // The file that the name stands for, links followed.
  const std::string& target() const { return target_; }
  void finish();
  void commit();

 private:
  [[noreturn]] void fail() const;

  std::string name_, target_, temporary_;
  std::FILE* stream_ = nullptr;
};

// To be called once, first thing: a full disk and a file size limit are then errors of the write in place of signals,
// and the signals that end a program remove unfinished files first.
void prepareSignals();

}  // namespace kip::tool
