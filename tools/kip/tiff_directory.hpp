// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>

namespace kip::tool {

// libtiff takes the values of all tags into memory, and many tags may name the same bytes. Throws Error when those of
// the first page would take more than twice what the file holds. A directory that cannot be read is left to libtiff.
void refuseRepeatedValues(std::FILE* file);

}  // namespace kip::tool
