// SPDX-License-Identifier: Apache-2.0
// For libFuzzer.
#include <cstdio>
#include <cstdlib>

#include "decode.hpp"
#include "judge.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const kiptest::Request request = kiptest::decode({data, size}, true);
  const std::string text = kiptest::judge(request);
  if (text.empty()) return 0;
  std::fprintf(stderr, "%s\n%s\n", kiptest::describe(request).c_str(), text.c_str());
  std::abort();
}
