// SPDX-License-Identifier: Apache-2.0
#include "library_image.hpp"

#include <algorithm>

#include "error.hpp"
#include "status_text.hpp"

namespace kip::tool {

void check(const std::string& name, ksys_status status) {
  if (status < 0) throw Error(name + ": " + statusText(status));
}

Image::Image() {
  check("image", kimg_image_constructUnbound(&record));
}

Image::Image(Picture& picture) {
  const kstd_rect32 whole = {0, 0, picture.width, picture.height};
  check("image", picture.depth == 8
                     ? kimg_image8_constructFromMemory(&record, &whole, picture.pixels8.data(), picture.width)
                     : kimg_image16_constructFromMemory(&record, &whole, picture.pixels16.data(), picture.width));
}

Picture copyPixels(const kimg_image& image) {
  Picture picture = Picture::make(image.width, image.height, image.pixelBytes * 8);
  const auto* bytes = static_cast<const uint8_t*>(image.pixels);
  const auto stride = static_cast<size_t>(image.stride) * static_cast<size_t>(image.pixelBytes);
  for (int32_t y = 0; y < picture.height; ++y) {
    const uint8_t* row = bytes + static_cast<size_t>(y) * stride;
    std::copy(row, row + picture.rowSize(), picture.row(y));
  }
  return picture;
}

MaskedPicture apply(const std::string& name, MaskedPicture& source, const ImageCall& call) {
  const Image image(source.picture);
  Image result, resultMask;
  if (!source.mask) {
    check(name, call(&image.record, nullptr, &result.record, nullptr));
    return {copyPixels(result.record), std::nullopt};
  }
  const Image mask(*source.mask);
  check(name, call(&image.record, &mask.record, &result.record, &resultMask.record));
  return {copyPixels(result.record), copyPixels(resultMask.record)};
}

}  // namespace kip::tool
