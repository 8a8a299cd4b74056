// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>

#include "picture.hpp"

namespace kip::tool {

// Both throw Error. Pixels of 1, 2 and 4 bits are stretched to 8; the values are taken as stored, whatever gamma the
// file states.
Picture readPng(std::FILE* file);
void writePng(std::FILE* file, const Picture& picture);

}  // namespace kip::tool
