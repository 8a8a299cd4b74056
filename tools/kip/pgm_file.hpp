// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>
#include <memory>

#include "picture_stream.hpp"

namespace kip::tool {

// Both throw Error. Binary (P5) and plain (P2) files are read, binary ones written. A largest value other than 255 and
// 65535 is stretched to the nearest of them above.
std::unique_ptr<PictureReader> openPgm(std::FILE* file);
std::unique_ptr<PictureWriter> startPgm(std::FILE* file, const PictureSize& size);

}  // namespace kip::tool
