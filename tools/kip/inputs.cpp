// SPDX-License-Identifier: Apache-2.0
#include "inputs.hpp"

#include "error.hpp"

namespace kip::tool {
namespace {

Picture readWhole(InputPicture input) {
  Picture picture = input.readAll();
  sayNotes(input);
  return picture;
}

}  // namespace

void sayNotes(const InputPicture& input) {
  for (const std::string& note : input.notes()) say(input.name() + ": note: " + note);
}

Picture readInput(const std::string& name) {
  return readWhole(InputPicture(name));
}

InputPicture openMask(const std::string& name, const PictureSize& masked) {
  InputPicture mask(name);
  const PictureSize& size = mask.size();
  if (size.depth != 8) throw Error(name + ": has 16-bit pixels, and a mask has 8-bit ones");
  if (size.width != masked.width || size.height != masked.height) {
    throw Error(name + ": measures " + sizeText(size.width, size.height) +
                ", and a mask must measure what its picture does: " + sizeText(masked.width, masked.height));
  }
  return mask;
}

Picture readMask(const std::string& name, const PictureSize& masked) {
  return readWhole(openMask(name, masked));
}

}  // namespace kip::tool
