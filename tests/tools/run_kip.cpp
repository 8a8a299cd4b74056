// SPDX-License-Identifier: Apache-2.0
#include "run_kip.hpp"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "picture_file.hpp"

namespace kip::test {

namespace {

std::string readAll(int descriptor) {
  std::string text;
  char buffer[4096];
  for (ssize_t size; (size = ::read(descriptor, buffer, sizeof buffer)) > 0;)
    text.append(buffer, static_cast<size_t>(size));
  close(descriptor);
  return text;
}

}  // namespace

// What the program says fits in a pipe, so that it can be read when the program is through.
Outcome run(const std::string& program, std::vector<std::string> arguments, const std::function<void()>& prepare) {
  arguments.insert(arguments.begin(), program);
  std::vector<char*> argv;
  for (std::string& word : arguments) argv.push_back(word.data());
  argv.push_back(nullptr);
  int out[2], err[2];
  if (pipe(out) != 0 || pipe(err) != 0) std::abort();
  const pid_t child = fork();
  if (child == 0) {
    dup2(out[1], STDOUT_FILENO);
    dup2(err[1], STDERR_FILENO);
    if (prepare) prepare();
    execv(program.c_str(), argv.data());
    _exit(127);
  }
  close(out[1]);
  close(err[1]);
  int status = 0;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
  };
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readAll(out[0]), readAll(err[0]), usage.ru_maxrss,
          seconds(usage.ru_utime) + seconds(usage.ru_stime)};
}

Outcome runKip(const std::vector<std::string>& arguments, const std::function<void()>& prepare) {
  return run(KIP_PROGRAM, arguments, prepare);
}

std::function<void()> limitFiles(size_t bytes) {
  return [bytes] {
    const rlimit limit = {bytes, bytes};
    setrlimit(RLIMIT_FSIZE, &limit);
  };
}

Folder::Folder() : path_((std::filesystem::temp_directory_path() / "kip-test-XXXXXX").string()) {
  if (mkdtemp(path_.data()) == nullptr) std::abort();
}

Folder::~Folder() {
  std::filesystem::remove_all(path_);
}

std::vector<std::string> Folder::names() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(path_))
    names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

tool::Picture read(const std::string& path) {
  std::vector<std::string> notes;
  tool::Picture picture = tool::readPicture(path, notes);
  EXPECT_TRUE(notes.empty());
  return picture;
}

std::string readBytes(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

void writeBytes(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

}  // namespace kip::test
