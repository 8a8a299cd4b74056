// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "request.hpp"

namespace kiptest {

// A processor as the library may find it.
struct Processor {
  const char* name;
  int32_t vendor, features;
};

// Without vectors, with 128 bits and with 256, as far as this machine and build have them.
const std::vector<Processor>& processors();

// Runs the request at every level and compares with what each must do; nothing when all is well.
std::string judge(const Request& request);

}  // namespace kiptest
