// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>

#include "picture.hpp"

namespace kip::tool {

// Both throw Error. Binary (P5) and plain (P2) files are read, binary ones written. A largest value other than 255 and
// 65535 is stretched to the nearest of them above.
Picture readPgm(std::FILE* file);
void writePgm(std::FILE* file, const Picture& picture);

}  // namespace kip::tool
