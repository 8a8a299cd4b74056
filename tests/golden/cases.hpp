// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "request.hpp"

namespace golden {

struct Case {
  const char *name, *reason;
  kiptest::Request request;
};

const std::vector<Case>& cases();

}  // namespace golden
