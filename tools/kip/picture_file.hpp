// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "output_file.hpp"
#include "picture.hpp"

namespace kip::tool {

enum class Format { png, tiff, pgm };

// The format that a name's extension asks for. Throws UsageError for any other extension.
Format formatOfName(const std::string& name);

// Reads a picture of the format that the file's first bytes tell. Throws Error with the name in front; `notes` receives
// sentences for the user.
Picture readPicture(const std::string& name, std::vector<std::string>& notes);

// Writes and finishes the file; the caller commits it. Throws Error with the name in front.
void writePicture(OutputFile& file, Format format, const Picture& picture);

}  // namespace kip::tool
