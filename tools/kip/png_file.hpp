// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>
#include <memory>

#include "picture_stream.hpp"

namespace kip::tool {

// Both throw Error. Pixels of 1, 2 and 4 bits are stretched to 8; the values are taken as stored, whatever gamma the
// file states. An interlaced picture is kept whole.
std::unique_ptr<PictureReader> openPng(std::FILE* file);
std::unique_ptr<PictureWriter> startPng(std::FILE* file, const PictureSize& size);

}  // namespace kip::tool
