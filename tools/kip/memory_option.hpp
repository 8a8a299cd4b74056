// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>

namespace kip::tool {

constexpr char kDefaultMemory[] = "1G";

inline CLI::Option* addMemoryOption(CLI::App& command, std::string& memory) {
  return command
      .add_option("--memory", memory,
                  "Memory for pixels, in bytes, K, M or G: larger pictures are done in bands of rows")
      ->capture_default_str();
}

}  // namespace kip::tool
