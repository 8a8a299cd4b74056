// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "kip/host/ksys.h"

namespace kip::tool {

// What a failure of the library means, with its code: "not enough memory (status 0x80000010)".
std::string statusText(ksys_status status);

}  // namespace kip::tool
