// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "request.hpp"
#include "support/levels.hpp"

namespace kiptest {

// The levels at which requests are judged.
const std::vector<kip_level>& levels();

// Runs the request at every level and compares with what each must do; nothing when all is well.
std::string judge(const Request& request);

}  // namespace kiptest
