// SPDX-License-Identifier: Apache-2.0
// Pictures and masks drawn from a seed, and views of canvases.
#pragma once

#include <kip/kip.hpp>
#include <vector>

#include "support/canvas.hpp"
#include "support/random.hpp"

namespace kiptest {

template <typename Pixel>
kip::view<Pixel> viewOf(const Canvas<Pixel>& canvas) {
  return {canvas.pixels(), canvas.region().width, canvas.region().height, canvas.stride()};
}

template <kip::raster Source>
std::vector<kip::pixel_of<Source>> pixelsOf(const Source& source) {
  const auto view = source.const_view();
  std::vector<kip::pixel_of<Source>> pixels;
  for (int32_t y = 0; y < view.height; ++y) pixels.insert(pixels.end(), view.row(y), view.row(y) + view.width);
  return pixels;
}
template <typename Pixel>
ksIRegion regionOf(const kip::image<Pixel>& image) {
  return {image.origin().x, image.origin().y, image.width(), image.height()};
}

template <typename Pixel>
struct Painted : Canvas<Pixel> {
  Painted(const ksIRegion& region, const std::vector<Pixel>& picture) : Canvas<Pixel>(region, 0x5A) {
    this->paint(picture);
  }
};

inline size_t areaOf(const ksIRegion& region) {
  return static_cast<size_t>(region.width) * static_cast<size_t>(region.height);
}

template <typename Pixel>
Painted<Pixel> drawPicture(const ksIRegion& region, Random& random) {
  std::vector<Pixel> picture(areaOf(region));
  for (Pixel& pixel : picture) pixel = static_cast<Pixel>(random.next());
  return {region, picture};
}

// The bytes are as a caller has them: of all values, of 0 and 1, or of 0 and 255.
inline Painted<uint8_t> drawMask(const ksIRegion& region, Random& random) {
  std::vector<uint8_t> mask(areaOf(region));
  const int32_t kind = random.between(0, 2), oneIn = random.between(2, 9);
  for (uint8_t& byte : mask) {
    const int32_t valid = kind == 0 ? random.between(1, 255) : kind == 1 ? 1 : 255;
    byte = static_cast<uint8_t>(random.chance(oneIn) ? 0 : valid);
  }
  return {region, mask};
}
// The same with 255 for each that is not 0.
inline Painted<uint8_t> madeValid(const Canvas<uint8_t>& mask) {
  std::vector<uint8_t> bytes = mask.crop(mask.region());
  for (uint8_t& byte : bytes) byte = byte != 0 ? 255 : 0;
  return {mask.region(), bytes};
}

}  // namespace kiptest
