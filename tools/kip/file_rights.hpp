// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace kip::tool {

// Gives an open file the owner, group, mode and access control list of another one, as far as this process may. Where
// the group cannot be kept, all get what both the group and others had, or nothing when there is such a list.
void copyRights(const std::string& from, int descriptor);

}  // namespace kip::tool
