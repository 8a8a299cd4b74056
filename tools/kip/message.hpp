// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace kip::tool {

// The text with a question mark for whatever could act on a terminal or break the line: control characters, marks that
// turn the direction of writing, and bytes that are no UTF-8.
std::string printable(const std::string& text);

// A line for the user on stderr, made printable.
void say(const std::string& text);

}  // namespace kip::tool
