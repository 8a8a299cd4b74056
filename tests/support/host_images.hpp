// SPDX-License-Identifier: Apache-2.0
// Images and windows of the host over canvases.
#pragma once

#include <memory>
#include <stdexcept>
#include <utility>

#include "kip/gauss.h"
#include "support/canvas.hpp"

namespace kiptest {

// The host's and the library's typed functions by pixel type.
template <typename Pixel>
struct Typed;

template <>
struct Typed<uint8_t> {
  static constexpr auto constructImage = kimg_image8_constructFromMemory;
  static constexpr auto initWindow = kimg_window8_initFromMemory;
  static constexpr auto createLegacy = ksImageCreateFromMemory;
  static constexpr auto legacyAddress = ksImagePixAddr;
  static constexpr const ksVImage* legacyTemplate = &ksImageNull;
  static constexpr auto smoothImage = kip_gauss_smooth8_8;
  static constexpr auto smoothWindow = kip_gauss_smoothWindow8_8;
};

template <>
struct Typed<uint16_t> {
  static constexpr auto constructImage = kimg_image16_constructFromMemory;
  static constexpr auto initWindow = kimg_window16_initFromMemory;
  static constexpr auto createLegacy = ksUSImageCreateFromMemory;
  static constexpr auto legacyAddress = ksUSImagePixAddr;
  static constexpr const ksVImage* legacyTemplate = &ksUSImageNull;
  static constexpr auto smoothImage = kip_gauss_smooth8_16;
  static constexpr auto smoothWindow = kip_gauss_smoothWindow8_16;
};

inline void require(bool condition, const char* what) {
  if (!condition) throw std::runtime_error(what);
}

inline kstd_rect32 rectOf(const ksIRegion& region) {
  return {region.x, region.y, region.width, region.height};
}

// An image, unbound or over a canvas.
class Image {
 public:
  Image() { require(kimg_image_constructUnbound(&image_) == 0, "unbound image"); }
  template <typename Pixel>
  explicit Image(const Canvas<Pixel>& canvas) {
    const kstd_rect32 rect = rectOf(canvas.region());
    require(Typed<Pixel>::constructImage(&image_, &rect, canvas.pixels(), canvas.stride()) == 0, "image");
  }
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;
  ~Image() { kimg_image_destruct(&image_); }

  kimg_image* get() { return &image_; }
  [[nodiscard]] ksIRegion region() const { return {image_.x, image_.y, image_.width, image_.height}; }
  // The pixels of a bound image.
  template <typename Pixel>
  [[nodiscard]] std::vector<Pixel> pixels() const {
    std::vector<Pixel> picture;
    for (int32_t row = 0; row < image_.height; ++row) {
      const Pixel* const from = static_cast<const Pixel*>(image_.pixels) + int64_t{row} * image_.stride;
      picture.insert(picture.end(), from, from + image_.width);
    }
    return picture;
  }
  void setLinear(const kmath_xformLinear& linear) {
    require(kimg_image_setLinearImageFromClientXform(&image_, &linear) == 0, "transform");
  }
  // Where the image-from-client transform takes a point.
  [[nodiscard]] std::pair<double, double> map(double x, double y) const {
    const double in[2] = {x, y};
    double out[2] = {};
    require(kmath_xformPtrhConst_mapPoint(&image_.imageFromClient, in, out) == 0, "map");
    return {out[0], out[1]};
  }

 private:
  kimg_image image_;
};

template <typename Pixel>
kimg_window windowOn(const Canvas<Pixel>& canvas) {
  kimg_window window;
  const kstd_rect32 rect = rectOf(canvas.region());
  require(Typed<Pixel>::initWindow(&window, &rect, canvas.pixels(), canvas.stride()) == 0, "window");
  return window;
}

inline kimg_windowConst sourceWindowOn(const Canvas<uint8_t>& canvas) {
  kimg_windowConst window;
  const kstd_rect32 rect = rectOf(canvas.region());
  require(kimg_window8Const_initFromMemory(&window, &rect, canvas.pixels(), canvas.stride()) == 0, "window");
  return window;
}

struct FreeLegacy {
  void operator()(ksVImage* image) const { ksImageFree(image); }
};
using LegacyImage = std::unique_ptr<ksVImage, FreeLegacy>;

template <typename Pixel>
LegacyImage legacyOn(const Canvas<Pixel>& canvas) {
  LegacyImage image(Typed<Pixel>::createLegacy(&canvas.region(), canvas.pixels(), canvas.strideBytes()));
  require(image != nullptr, "legacy image");
  return image;
}

template <typename Pixel>
std::vector<Pixel> pixelsOf(const ksVImage* image) {
  std::vector<Pixel> picture;
  const ksIRegion& region = *ksVImageRegion(image);
  for (int32_t row = 0; row < region.height; ++row) {
    const Pixel* const from = Typed<Pixel>::legacyAddress(image, region.x, region.y + row);
    picture.insert(picture.end(), from, from + region.width);
  }
  return picture;
}

}  // namespace kiptest
