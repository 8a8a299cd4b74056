// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <type_traits>

#include "frame/cleanup.hpp"

namespace kip {

// The host's typed operations by pixel type, for templates over 8-bit and 16-bit images.
template <typename Pixel>
struct ImageOf;

template <>
struct ImageOf<uint8_t> {
  static constexpr auto construct = kimg_image8_construct;
  static constexpr auto getWindowConst = kimg_window8Const_getWindow;
  static constexpr auto getWindow = kimg_window_getWindow;  // for 8 bits there is none of its own
  static constexpr auto typeCheck = ksys_typeCheck_kimg_image8;
};

template <>
struct ImageOf<uint16_t> {
  static constexpr auto construct = kimg_image16_construct;
  static constexpr auto getWindowConst = kimg_window16Const_getWindow;
  static constexpr auto getWindow = kimg_window16_getWindow;
  static constexpr auto typeCheck = ksys_typeCheck_kimg_image16;
};

// The rectangle of a window that the caller says is one of these pixels: the host may know better and refuse it.
template <typename Pixel>
[[nodiscard]] ksys_status getWindow(const kimg_windowConst& window, kstd_rect32& rect) {
  return ImageOf<Pixel>::getWindowConst(&window, &rect);
}
template <typename Pixel>
[[nodiscard]] ksys_status getWindow(const kimg_window& window, kstd_rect32& rect) {
  return ImageOf<Pixel>::getWindow(&window, &rect);
}

// An image that the host has constructed, with that status, lives until the end of the call. Pixel: when it was
// constructed by an operation for these pixels.
template <typename Pixel = void>
[[nodiscard]] ksys_status adoptImage(Cleanup& cleanup, kimg_image& image, ksys_status constructed) {
  if (failed(constructed)) return constructed;
  if constexpr (!std::is_void_v<Pixel>) ImageOf<Pixel>::typeCheck(&image);
  ksys_typeCheck_kimg_image(&image);
  ksys_typeCheckFunc_kimg_image(kimg_image_destruct);
  cleanup.pushObject<kimg_image_destruct>(&image);
  return constructed;
}

// A new image over exactly that rectangle, which lives until the end of the call.
template <typename Pixel>
[[nodiscard]] ksys_status constructImage(Cleanup& cleanup, kimg_image& image, const kstd_rect32& rect) {
  const ksys_status status =
      adoptImage<Pixel>(cleanup, image, ImageOf<Pixel>::construct(&image, rect.width, rect.height));
  if (failed(status)) return status;
  image.x = rect.x;
  image.y = rect.y;
  return status;
}

}  // namespace kip
