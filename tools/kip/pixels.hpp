// SPDX-License-Identifier: Apache-2.0
// Calls of the library on the pixels of pictures.
#pragma once

#include <kip/kip.hpp>
#include <optional>
#include <string>

#include "picture.hpp"

namespace kip::tool {

// Throws the Error for a failure of the library, the name of the picture in front.
inline void check(const std::string& name, ksys_status status) {
  if (status < 0) throw Error(name + ": " + error(status).what());
}

// A picture and, perhaps, its mask.
struct MaskedPicture {
  Picture picture;
  std::optional<Picture> mask;
};

// Of masks that there are not: no pixels.
inline view<const uint8_t> viewOf(const std::optional<Picture>& mask) {
  return mask ? mask->view<uint8_t>() : view<const uint8_t>{};
}
inline view<uint8_t> viewOf(std::optional<Picture>& mask) {
  return mask ? mask->view<uint8_t>() : view<uint8_t>{};
}

// call(src, dst) with the pixels of both: 8 into 8 bits, 8 into 16 or 16 into 16.
template <typename Call>
ksys_status withPixels(const Picture& src, Picture& dst, const Call& call) {
  if (src.depth == 16) return call(src.view<uint16_t>(), dst.view<uint16_t>());
  if (dst.depth == 16) return call(src.view<uint8_t>(), dst.view<uint16_t>());
  return call(src.view<uint8_t>(), dst.view<uint8_t>());
}

// A picture of the source's depth with that size, and a mask when the source has one, made by
// call(src, mask, dst, dstMask). The views of masks that there are not are empty.
template <typename Call>
MaskedPicture make(const std::string& name, const MaskedPicture& source, const rect& size, const Call& call) {
  MaskedPicture made{Picture::make(size.width, size.height, source.picture.depth), std::nullopt};
  if (source.mask) made.mask = Picture::make(size.width, size.height, 8);
  const auto run = [&]<pixel Pixel>(view<const Pixel> src, view<Pixel> dst) {
    return call(src, viewOf(source.mask), dst, viewOf(made.mask));
  };
  check(name, source.picture.depth == 8 ? run(source.picture.view<uint8_t>(), made.picture.view<uint8_t>())
                                        : run(source.picture.view<uint16_t>(), made.picture.view<uint16_t>()));
  return made;
}

}  // namespace kip::tool
