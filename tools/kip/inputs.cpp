// SPDX-License-Identifier: Apache-2.0
#include "inputs.hpp"

#include <cstdio>

#include "error.hpp"
#include "picture_file.hpp"

namespace kip::tool {

void say(const std::string& text) {
  std::fprintf(stderr, "kip: %s\n", text.c_str());
}

Picture readInput(const std::string& name) {
  std::vector<std::string> notes;
  Picture picture = readPicture(name, notes);
  for (const std::string& note : notes) say(name + ": note: " + note);
  return picture;
}

Picture readMask(const std::string& name, const Picture& masked) {
  Picture mask = readInput(name);
  if (mask.depth != 8) throw Error(name + ": has 16-bit pixels, and a mask has 8-bit ones");
  if (mask.width != masked.width || mask.height != masked.height) {
    throw Error(name + ": measures " + sizeText(mask.width, mask.height) +
                ", and a mask must measure what its picture " + "does: " + sizeText(masked.width, masked.height));
  }
  return mask;
}

}  // namespace kip::tool
