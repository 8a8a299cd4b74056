// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "picture_stream.hpp"

namespace kip::tool {

// Both throw Error. The first page, in strips or tiles, of 1, 2, 4 (stretched to 8), 8 or 16 unsigned bits; what a user
// should know about what was left out is added to `notes`.
std::unique_ptr<PictureReader> openTiff(std::FILE* file, std::vector<std::string>& notes);
// In strips, without compression; beyond 4 GB as a BigTIFF.
std::unique_ptr<PictureWriter> startTiff(std::FILE* file, const PictureSize& size);

}  // namespace kip::tool
