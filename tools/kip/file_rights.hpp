// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace kip::tool {

// Gives an open file the owner, group, mode and access control list of another one, as far as this process may. Whom
// these do not reach gets no more than others had.
void copyRights(const std::string& from, int descriptor);

}  // namespace kip::tool
