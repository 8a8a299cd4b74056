// SPDX-License-Identifier: Apache-2.0
#include <cstdio>

#include "chart.hpp"
#include "picture_file.hpp"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: kip-chart OUT.png\nWrites the test chart.\n");
    return 2;
  }
  try {
    const auto format = kip::tool::formatOfName(argv[1]);
    kip::tool::OutputFile file(argv[1]);
    kip::tool::writePicture(file, format, kip::tool::makeChart());
    file.commit();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kip-chart: %s\n", error.what());
    return 1;
  }
  return 0;
}
