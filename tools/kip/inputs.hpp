// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "picture.hpp"

namespace kip::tool {

// A line for the user on stderr.
void say(const std::string& text);

// Read pictures and say the notes about them. Throw Error with the name in front.
Picture readInput(const std::string& name);
// A mask has 8 bits and the size of its picture.
Picture readMask(const std::string& name, const Picture& masked);

}  // namespace kip::tool
