// SPDX-License-Identifier: Apache-2.0
#include "output_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <random>
#include <utility>

#include "error.hpp"
#include "file_rights.hpp"
#include "unfinished.hpp"

namespace kip::tool {
namespace {

namespace fs = std::filesystem;

// Links are followed, one that leads nowhere yet to the place of the file that it names.
fs::path follow(const std::string& name, std::error_code& error) {
  fs::path path = fs::absolute(name);
  for (int links = 0; fs::is_symlink(fs::symlink_status(path, error)); ++links) {
    const fs::path to = fs::read_symlink(path, error);
    if (links == 40) error = std::make_error_code(std::errc::too_many_symbolic_link_levels);
    if (error) return {};
    path = path.parent_path() / to;
  }
  return fs::canonical(path.parent_path(), error) / path.filename();
}

}  // namespace

OutputFile::OutputFile(const std::string& name) : name_(name) {
  std::error_code error;
  const fs::file_status status = fs::status(name, error);
  if (fs::is_directory(status)) throw Error(name + ": is a directory");
  // A device or a pipe must not be replaced by a file.
  if (fs::exists(status) && !fs::is_regular_file(status)) throw Error(name + ": is not a regular file");
  target_ = follow(name, error);
  if (error) throw Error(name + ": cannot write: " + error.message());
  // A folder that may be written would do to replace a file that may not.
  if (fs::exists(status) && faccessat(AT_FDCWD, target_.c_str(), W_OK, AT_EACCESS) != 0) fail();
  open();
}

void OutputFile::open() {
  struct stat old;
  const mode_t mode = stat(target_.c_str(), &old) == 0 ? old.st_mode & 0600 : 0666;
  const SignalsHeld held;
  std::random_device random;
  int descriptor = -1;
  for (int attempt = 0; descriptor < 0 && attempt < 100; ++attempt) {
    temporary_ = fs::path(target_).parent_path() / (".kip-" + std::to_string(random()) + ".tmp");
    descriptor = ::open(temporary_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (descriptor < 0 && errno != EEXIST) fail();
  }
  if (descriptor < 0) fail();
  rememberUnfinished(temporary_);
  stream_ = fdopen(descriptor, "w+b");
  if (stream_ == nullptr) {
    close(descriptor);
    unlink(temporary_.c_str());
    forgetUnfinished(temporary_);
    fail();
  }
}

OutputFile::~OutputFile() {
  if (stream_ != nullptr) std::fclose(stream_);
  if (temporary_.empty()) return;
  unlink(temporary_.c_str());
  forgetUnfinished(temporary_);
}

void OutputFile::finish() {
  copyRights(target_, fileno(stream_));
  if (std::fflush(stream_) != 0 || std::ferror(stream_) != 0 || fsync(fileno(stream_)) != 0) fail();
  if (std::fclose(std::exchange(stream_, nullptr)) != 0) fail();
}

void OutputFile::commit(const std::vector<OutputFile*>& files) {
  const SignalsHeld held;
  try {
    for (OutputFile* file : files) file->moveOver(file != files.back());
  } catch (...) {
    for (OutputFile* file : files) file->takeBack();
    throw;
  }
  for (OutputFile* file : files) file->dropPrevious();
}

void OutputFile::moveOver(bool keepsPrevious) {
  struct stat now;
  if (lstat(target_.c_str(), &now) == 0) {
    if (!S_ISREG(now.st_mode)) throw Error(name_ + ": is not a regular file any more");
    if (keepsPrevious) keepPrevious();
  }
  if (std::rename(temporary_.c_str(), target_.c_str()) != 0) fail();
  forgetUnfinished(temporary_);
  temporary_.clear();
}

// A second name lets the file stand where it is; not every file system has them.
void OutputFile::keepPrevious() {
  const std::string kept = temporary_ + ".old";
  if (link(target_.c_str(), kept.c_str()) != 0 && std::rename(target_.c_str(), kept.c_str()) != 0) fail();
  previous_ = kept;
}

void OutputFile::takeBack() {
  if (!previous_.empty()) {
    std::rename(previous_.c_str(), target_.c_str());
    dropPrevious();  // still there when both were names of one file
  } else if (temporary_.empty()) {
    unlink(target_.c_str());
  }
}

void OutputFile::dropPrevious() {
  if (!previous_.empty()) unlink(previous_.c_str());
  previous_.clear();
}

void OutputFile::fail() const {
  throw Error(name_ + ": cannot write: " + std::strerror(errno));
}

}  // namespace kip::tool
