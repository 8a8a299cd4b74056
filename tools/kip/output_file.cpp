// SPDX-License-Identifier: Apache-2.0
#include "output_file.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <random>
#include <utility>

#include "error.hpp"

namespace kip::tool {
namespace {

namespace fs = std::filesystem;

// Names of unfinished files, in plain memory that a signal handler may read.
struct Unfinished {
  volatile std::sig_atomic_t used;
  char path[PATH_MAX];
};
Unfinished unfinished[32];  // a pyramid has the most

void remember(const std::string& path) {
  for (Unfinished& entry : unfinished) {
    if (entry.used != 0 || path.size() >= sizeof entry.path) continue;
    std::memcpy(entry.path, path.c_str(), path.size() + 1);
    entry.used = 1;
    return;
  }
}

void forget(const std::string& path) {
  for (Unfinished& entry : unfinished) {
    if (entry.used != 0 && path == entry.path) entry.used = 0;
  }
}

void onEnd(int signal) {
  for (const Unfinished& entry : unfinished) {
    if (entry.used != 0) unlink(entry.path);
  }
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

}  // namespace

void prepareSignals() {
  std::signal(SIGXFSZ, SIG_IGN);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    if (std::signal(signal, onEnd) == SIG_IGN) std::signal(signal, SIG_IGN);
  }
}

OutputFile::OutputFile(const std::string& name) : name_(name) {
  std::error_code error;
  const fs::path target = fs::weakly_canonical(fs::absolute(name), error);
  if (error) throw Error(name + ": " + error.message());
  const fs::file_status status = fs::status(target, error);
  if (fs::is_directory(status)) throw Error(name + ": is a directory");
  // A device or a pipe must not be replaced by a file.
  if (fs::exists(status) && !fs::is_regular_file(status)) throw Error(name + ": is not a regular file");
  target_ = target.string();

  std::random_device random;
  int descriptor = -1;
  for (int attempt = 0; descriptor < 0 && attempt < 100; ++attempt) {
    temporary_ = (target.parent_path() / (".kip-" + std::to_string(random()) + ".tmp")).string();
    descriptor = open(temporary_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor < 0 && errno != EEXIST) fail();
  }
  if (descriptor < 0) fail();
  remember(temporary_);
  stream_ = fdopen(descriptor, "w+b");
  if (stream_ == nullptr) {
    close(descriptor);
    unlink(temporary_.c_str());
    forget(temporary_);
    fail();
  }
}

OutputFile::~OutputFile() {
  if (stream_ != nullptr) std::fclose(stream_);
  if (temporary_.empty()) return;
  unlink(temporary_.c_str());
  forget(temporary_);
}

void OutputFile::finish() {
  if (std::fflush(stream_) != 0 || std::ferror(stream_) != 0 || fsync(fileno(stream_)) != 0) fail();
  if (std::fclose(std::exchange(stream_, nullptr)) != 0) fail();
}

void OutputFile::commit() {
  if (std::rename(temporary_.c_str(), target_.c_str()) != 0) fail();
  forget(temporary_);
  temporary_.clear();
}

void OutputFile::fail() const {
  throw Error(name_ + ": cannot write: " + std::strerror(errno));
}

}  // namespace kip::tool
