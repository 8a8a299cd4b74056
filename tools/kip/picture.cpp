// SPDX-License-Identifier: Apache-2.0
#include "picture.hpp"

#include "error.hpp"

namespace kip::tool {

Picture Picture::make(int64_t width, int64_t height, int32_t depth) {
  if (width < 1 || height < 1) throw Error("has no pixels (" + sizeText(width, height) + ")");
  if (width > kMaxSide || height > kMaxSide || width * height > kMaxPixels) {
    throw Error("is too large: " + sizeText(width, height) + " pixels; at most " + std::to_string(kMaxSide) +
                " a side and " + std::to_string(kMaxPixels) + " in all are taken");
  }
  Picture picture;
  picture.width = static_cast<int32_t>(width);
  picture.height = static_cast<int32_t>(height);
  picture.depth = depth;
  const auto count = static_cast<size_t>(width * height);
  if (depth == 8) {
    picture.pixels8.resize(count);
  } else {
    picture.pixels16.resize(count);
  }
  return picture;
}

std::string sizeText(int64_t width, int64_t height) {
  return std::to_string(width) + " x " + std::to_string(height);
}

void refuseNotGrey(const std::string& kind) {
  throw Error("is " + kind + ", and only plain grey pictures are taken; convert it first, for example with " +
              "ImageMagick: convert in.png -colorspace Gray -alpha off out.png");
}

}  // namespace kip::tool
