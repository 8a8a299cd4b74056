// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "message.hpp"
#include "picture_file.hpp"

namespace kip::tool {

// The notes about a picture that has been read.
void sayNotes(const InputPicture& input);

// A whole picture, and the notes about it. Throws Error with the name in front.
Picture readInput(const std::string& name);
// A mask has 8 bits and the size of its picture.
InputPicture openMask(const std::string& name, const PictureSize& masked);
Picture readMask(const std::string& name, const PictureSize& masked);

}  // namespace kip::tool
