// SPDX-License-Identifier: Apache-2.0
#include "picture.hpp"

namespace kip::tool {

PictureSize PictureSize::make(int64_t width, int64_t height, int32_t depth) {
  if (width < 1 || height < 1) throw Error("has no pixels (" + sizeText(width, height) + ")");
  if (width > kMaxSide || height > kMaxSide) {
    throw Error("is too large: " + sizeText(width, height) + " pixels; at most " + std::to_string(kMaxSide) +
                " a side are taken");
  }
  return {static_cast<int32_t>(width), static_cast<int32_t>(height), depth};
}

Picture Picture::make(int64_t width, int64_t height, int32_t depth) {
  Picture picture{PictureSize::make(width, height, depth), {}, {}};
  if (width * height > kMaxPixels) {
    throw Error("is too large: " + sizeText(width, height) + " pixels; at most " + std::to_string(kMaxPixels) +
                " are taken into memory");
  }
  picture.setHeight(picture.height);
  return picture;
}

void Picture::setHeight(int32_t rows) {
  height = rows;
  const size_t count = static_cast<size_t>(width) * static_cast<size_t>(rows);
  if (depth == 8) {
    pixels8.resize(count);
  } else {
    pixels16.resize(count);
  }
}

std::string sizeText(int64_t width, int64_t height) {
  return std::to_string(width) + " x " + std::to_string(height);
}

void refuseNotGrey(const std::string& kind) {
  throw Error("is " + kind + ", and only grey pictures of 8 or 16 bits are taken");
}

void refuseConvertible(const std::string& kind) {
  throw ConvertibleError("is " + kind + ", and only plain grey ones are taken");
}

}  // namespace kip::tool
