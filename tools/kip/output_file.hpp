// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace kip::tool {

// A file that comes to stand under its name whole or not at all: what is written goes to a new file beside it, finish()
// brings it to the disk and commit() moves it over. Without a commit it is removed, also when a signal ends the
// program. A file that it replaces hands on its rights; at no time does the new one grant more. Failures throw Error
// with the name in front.
class OutputFile {
 public:
  // Refuses a name that stands for no regular file, or for one that must not be written.
  explicit OutputFile(const std::string& name);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  std::FILE* stream() const { return stream_; }
  const std::string& name() const { return name_; }
  // The file that the name stands for, links followed.
  const std::string& target() const { return target_; }
  void finish();
  void commit() { commit({this}); }
  // Several files that are finished: when one of them cannot be moved, what the others replaced comes back.
  static void commit(const std::vector<OutputFile*>& files);

 private:
  void open();
  void moveOver(bool canBeTakenBack);
  void keepPrevious();
  void takeBack();
  void dropPrevious();
  [[noreturn]] void fail() const;

  std::string name_, target_, temporary_;
  std::string previous_;  // where the file that was replaced is kept; empty: there was none
  std::FILE* stream_ = nullptr;
};

}  // namespace kip::tool
