// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "kip/host/kimg.h"
#include "picture.hpp"

namespace kip::tool {

// Throws the Error for a failure of the library, the name of the picture in front.
void check(const std::string& name, ksys_status status);

// An image of the library.
class Image {
 public:
  // Without pixels.
  Image();
  // Over the picture's pixels, which must outlive it, the top-left one at (0, 0).
  explicit Image(Picture& picture);
  ~Image() { kimg_image_destruct(&record); }
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;

  bool hasPixels() const { return record.bound != 0 && record.width > 0 && record.height > 0; }

  kimg_image record;
};

Picture copyPixels(const kimg_image& image);

// A picture and, perhaps, its mask. A call receives null for masks that there are not.
struct MaskedPicture {
  Picture picture;
  std::optional<Picture> mask;
};
using ImageCall =
    std::function<ksys_status(const kimg_image* src, const kimg_image* srcMask, kimg_image* dst, kimg_image* dstMask)>;
// The call's result, with a mask when the source has one.
MaskedPicture apply(const std::string& name, MaskedPicture& source, const ImageCall& call);

}  // namespace kip::tool
