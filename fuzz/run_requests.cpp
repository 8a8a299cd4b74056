// SPDX-License-Identifier: Apache-2.0
// The fuzzer's demands on the files of a folder and on random requests, with any compiler.
// Usage: run_requests COUNT SEED FOLDER
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "decode.hpp"
#include "judge.hpp"

int main(int count, char** arguments) {
  if (count != 4) {
    std::fprintf(stderr, "usage: run_requests COUNT SEED FOLDER\n");
    return 2;
  }
  int failures = 0, files = 0;
  const auto run = [&failures](const kiptest::Request& request) {
    const std::string text = kiptest::judge(request);
    if (text.empty()) return;
    ++failures;
    std::fprintf(stderr, "%s\n  %s\n", kiptest::describe(request).c_str(), text.c_str());
  };
  for (const auto& entry : std::filesystem::directory_iterator(arguments[3])) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::string chars{std::istreambuf_iterator<char>(file), {}};
    const std::vector<uint8_t> bytes(chars.begin(), chars.end());
    run(kiptest::decode(bytes, true));
    ++files;
  }
  const uint64_t requests = std::strtoull(arguments[1], nullptr, 10), seed = std::strtoull(arguments[2], nullptr, 10);
  for (uint64_t i = 0; i < requests && failures < 10; ++i) run(kiptest::drawRequest(seed, i, true));
  std::printf("%d files, %s random requests, %d failures\n", files, arguments[1], failures);
  return files > 0 && failures == 0 ? 0 : 1;
}
