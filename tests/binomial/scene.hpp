// SPDX-License-Identifier: Apache-2.0
// Images with windows on a part of them, and the library's functions by pixel type.
#pragma once

#include "kip/gauss2.h"
#include "oracle/binomial.hpp"
#include "support/canvas.hpp"
#include "support/host_images.hpp"
#include "support/pictures.hpp"

namespace kiptest {

inline ksIRegion regionOf(const kstd_rect32& rect) {
  return {rect.x, rect.y, rect.width, rect.height};
}

inline bool isNull(const kstd_rect32& rect) {
  return rect.width < 1 || rect.height < 1;
}

inline bool contains(const kstd_rect32& outer, const kstd_rect32& inner) {
  return inner.x >= outer.x && inner.y >= outer.y && inner.x + inner.width <= outer.x + outer.width &&
         inner.y + inner.height <= outer.y + outer.height;
}

inline kstd_rect32 moved(const kstd_rect32& rect, int32_t x, int32_t y) {
  return {rect.x + x, rect.y + y, rect.width, rect.height};
}

inline kstd_rect32 grown(const kstd_rect32& rect, int32_t by) {
  return {rect.x - by, rect.y - by, rect.width + 2 * by, rect.height + 2 * by};
}

inline kstd_rect32 common(const kstd_rect32& a, const kstd_rect32& b) {
  kstd_rect32 rect;
  kstd_rect32_intersect(&a, &b, &rect);
  return rect;
}

// An image all of one value, and windows on a part of it.
template <typename Pixel>
class Sheet {
 public:
  Sheet(const kstd_rect32& all, const kstd_rect32& part, Pixel fill) : canvas_(regionOf(all), fill), image_(canvas_) {
    require(kimg_window_init(&window_, image_.get()) == 0, "window");
    require(kimg_windowConst_init(&constWindow_, image_.get()) == 0, "window");
    require(kimg_window_windowRect(&window_, &part, nullptr) == 0, "part");
    require(kimg_windowConst_windowRect(&constWindow_, &part, nullptr) == 0, "part");
  }
  // Drawn at random.
  Sheet(const kstd_rect32& all, const kstd_rect32& part, Random& random) : Sheet(all, part, Pixel{0}) {
    canvas_.paint(drawPicture<Pixel>(all.width, all.height, random).pixels);
  }

  [[nodiscard]] const kimg_window* window() const { return &window_; }
  [[nodiscard]] const kimg_windowConst* constWindow() const { return &constWindow_; }
  [[nodiscard]] kimg_image* image() { return image_.get(); }
  [[nodiscard]] Image& host() { return image_; }
  [[nodiscard]] const Canvas<Pixel>& canvas() const { return canvas_; }
  [[nodiscard]] Picture<Pixel> picture(const kstd_rect32& rect) const {
    Picture<Pixel> part(rect.width, rect.height);
    part.pixels = canvas_.crop(regionOf(rect));
    return part;
  }

 private:
  Canvas<Pixel> canvas_;
  Image image_;
  kimg_window window_;
  kimg_windowConst constWindow_;
};

struct Reduction {
  Plan plan;
  decltype(&kip_gauss2_smooth8_8) image;
  decltype(&kip_gauss2_smoothMasked8_8) maskedImage;
  decltype(&kip_gauss2_smoothWindow8_8) window;  // null: there is none
  decltype(&kip_gauss2_smoothMaskedWindow8_8) maskedWindow;
  decltype(&kip_gauss2GetDestRect) destRect;
  const wchar_t *name, *passName;  // passName: of the pass behind it
  const wchar_t *maskedName, *maskedPassName;
};

template <typename Pixel>
struct Family;

template <>
struct Family<uint8_t> {
  static constexpr Reduction reductions[] = {
      {bothAxes, kip_gauss2_smooth8_8, kip_gauss2_smoothMasked8_8, kip_gauss2_smoothWindow8_8,
       kip_gauss2_smoothMaskedWindow8_8, kip_gauss2GetDestRect, L"gauss2", nullptr, L"gauss2Masked", nullptr},
      {xAxis, kip_gauss2X_smooth8_8, kip_gauss2X_smoothMasked8_8, kip_gauss2X_smoothWindow8_8,
       kip_gauss2X_smoothMaskedWindow8_8, kip_gauss2XGetDestRect, L"gauss2X", L"gauss2NoSample5x1", L"gauss2XMasked",
       L"gauss2NoSample5x1Mask"},
      {yAxis, kip_gauss2Y_smooth8_8, kip_gauss2Y_smoothMasked8_8, kip_gauss2Y_smoothWindow8_8,
       kip_gauss2Y_smoothMaskedWindow8_8, kip_gauss2YGetDestRect, L"gauss2Y", L"gauss2NoSample1x5", L"gauss2YMasked",
       L"gauss2NoSample1x5Mask"}};
  static constexpr auto smoothImage = kip_gauss2_smoothNoSample8_8;
  static constexpr auto smoothWindow = kip_gauss2_smoothNoSampleWindow8_8;
  static constexpr auto smoothMaskedImage = kip_gauss2_smoothNoSampleMasked8_8;
  static constexpr auto smoothMaskedWindow = kip_gauss2_smoothNoSampleMaskedWindow8_8;
  static constexpr const wchar_t* suffix = L"";
};

template <>
struct Family<uint16_t> {
  static constexpr Reduction reductions[] = {
      {bothAxes, kip_gauss2_smooth16_16, kip_gauss2_smoothMasked16_16, kip_gauss2_smoothWindow16_16,
       kip_gauss2_smoothMaskedWindow16_16, kip_gauss2GetDestRect, L"gauss2_16", nullptr, L"gauss2Masked_16", nullptr},
      {xAxis, kip_gauss2X_smooth16_16, kip_gauss2X_smoothMasked16_16, nullptr, nullptr, kip_gauss2XGetDestRect,
       L"gauss2X_16", L"gauss2NoSample5x116", L"gauss2XMasked_16", L"gauss2NoSample5x1Mask16"},
      {yAxis, kip_gauss2Y_smooth16_16, kip_gauss2Y_smoothMasked16_16, nullptr, nullptr, kip_gauss2YGetDestRect,
       L"gauss2Y_16", L"gauss2NoSample1x516", L"gauss2YMasked_16", L"gauss2NoSample1x5Mask16"}};
  static constexpr auto smoothImage = kip_gauss2_smoothNoSample16_16;
  static constexpr auto smoothWindow = kip_gauss2_smoothNoSampleWindow16_16;
  static constexpr auto smoothMaskedImage = kip_gauss2_smoothNoSampleMasked16_16;
  static constexpr auto smoothMaskedWindow = kip_gauss2_smoothNoSampleMaskedWindow16_16;
  static constexpr const wchar_t* suffix = L"16";
};

}  // namespace kiptest
