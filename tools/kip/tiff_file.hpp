// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "picture.hpp"

namespace kip::tool {

// Both throw Error. The first page, in strips or tiles, of 1, 2, 4 (stretched to 8), 8 or 16 unsigned bits; what a user
// should know about what was left out is added to `notes`.
Picture readTiff(std::FILE* file, std::vector<std::string>& notes);
// In strips, without compression.
void writeTiff(std::FILE* file, const Picture& picture);

}  // namespace kip::tool
