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
#include "message.hpp"
#include "unfinished.hpp"

namespace kip::tool {
namespace {

namespace fs = std::filesystem;

constexpr char kKept[] = ".old";  // after the new file's temporary name, that of the one which it replaces

// The file that a name stands for, which a link may lead to before it is there. Only such a link is read here: what the
// kernel does not follow is not followed.
fs::path follow(const std::string& name, bool exists, std::error_code& error) {
  if (exists) return fs::canonical(name, error);
  fs::path path = fs::absolute(name, error);
  std::error_code none;
  for (int links = 0; !error && links < 40 && fs::is_symlink(fs::symlink_status(path, none)); ++links) {
    path = path.parent_path() / fs::read_symlink(path, error);
  }
  if (error) return {};
  return fs::canonical(path.parent_path(), error) / path.filename();
}

}  // namespace

OutputFile::OutputFile(const std::string& name) : name_(name) {
  struct stat old;
  const bool exists = stat(name.c_str(), &old) == 0;
  if (!exists && errno != ENOENT) fail();
  if (exists && S_ISDIR(old.st_mode)) throw Error(name + ": is a directory");
  // A device or a pipe must not be replaced by a file.
  if (exists && !S_ISREG(old.st_mode)) throw Error(name + ": is not a regular file");
  std::error_code error;
  target_ = follow(name, exists, error);
  if (error) throw Error(name + ": cannot write: " + error.message());
  // A folder that may be written would do to replace a file that may not.
  if (exists && faccessat(AT_FDCWD, target_.c_str(), W_OK, AT_EACCESS) != 0) fail();
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
  startMoves();
  try {
    for (OutputFile* file : files) file->moveOver(file != files.back());
  } catch (...) {
    for (OutputFile* file : files) file->takeBack();
    throw;
  }
  finishMoves();
  for (OutputFile* file : files) file->dropPrevious();
}

void OutputFile::moveOver(bool canBeTakenBack) {
  struct stat now;
  const bool replaces = lstat(target_.c_str(), &now) == 0;
  if (replaces && !S_ISREG(now.st_mode)) throw Error(name_ + ": is not a regular file any more");
  if (canBeTakenBack) {
    rememberMove(target_, replaces ? temporary_ + kKept : "");
    if (replaces) keepPrevious();
  }
  if (std::rename(temporary_.c_str(), target_.c_str()) != 0) fail();
  forgetUnfinished(temporary_);
  temporary_.clear();
}

// A second name lets the file stand where it is; not every file system has them.
void OutputFile::keepPrevious() {
  const std::string kept = temporary_ + kKept;
  if (link(target_.c_str(), kept.c_str()) != 0 && std::rename(target_.c_str(), kept.c_str()) != 0) fail();
  previous_ = kept;
}

void OutputFile::takeBack() {
  if (!previous_.empty()) {
    std::rename(previous_.c_str(), target_.c_str());
    unlink(previous_.c_str());  // still there when both were names of one file
    previous_.clear();
  } else if (temporary_.empty()) {
    unlink(target_.c_str());
  }
  forgetMove(target_);
}

void OutputFile::dropPrevious() {
  if (!previous_.empty() && unlink(previous_.c_str()) != 0) {
    say(previous_ + ": note: the file that was replaced, cannot be removed: " + std::strerror(errno));
  }
  previous_.clear();
  forgetMove(target_);
}

void OutputFile::fail() const {
  throw Error(name_ + ": cannot write: " + std::strerror(errno));
}

}  // namespace kip::tool
