// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>

namespace kip::tool {

// Work that failed: exit code 1. The text names the file and the cause in one line.
class Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A command line that makes no sense: exit code 2.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace kip::tool
