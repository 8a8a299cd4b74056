// SPDX-License-Identifier: Apache-2.0
#include <cstddef>

#include "kimg_layout.hpp"
#include "kip/host/kimg.h"

static_assert(offsetof(kimg_window, width) == 0 && offsetof(kimg_window, height) == 4);
static_assert(offsetof(kimg_window, x) == 8 && offsetof(kimg_window, y) == 12);
static_assert(offsetof(kimg_window, stride) == 32 && offsetof(kimg_window, pixels) == 40);
static_assert(offsetof(kimg_window, bound) == 48 && sizeof(kimg_window) == 56);
static_assert(offsetof(kimg_windowConst, image) == offsetof(kimg_window, image));
static_assert(offsetof(kimg_windowConst, stride) == 32 && offsetof(kimg_windowConst, pixels) == 40);
static_assert(offsetof(kimg_windowConst, bound) == 48 && sizeof(kimg_windowConst) == 56);

namespace {

using kiphost::isNull;
using kiphost::windowOf;

// Each function serves kimg_window and kimg_windowConst.

// Points the window to all of these pixels.
template <class Window, class Pointer>
void initOver(Window& window, kstd_rect32 rect, int32_t stride, int32_t pixelBytes, Pointer* pixels) {
  window = {};
  if (isNull(rect)) return;
  window = {rect.width, rect.height, rect.x, rect.y, rect, stride, pixelBytes, pixels, 1, 0};
}

// pixelBytes: what the image's pixels must have; 0: any.
template <class Window>
ksys_status initOnImage(Window& window, const kimg_image& image, int32_t pixelBytes) {
  window = {};
  if (image.bound == 0) return 0;
  const kstd_rect32 rect{image.x, image.y, image.width, image.height};
  if (!kiphost::isRepresentable(rect) || !kiphost::hasUsableStride(image) ||
      (pixelBytes != 0 && image.pixelBytes != pixelBytes)) {
    return KSYS_STATUS_BAD_ARGUMENT;
  }
  initOver(window, rect, image.stride, image.pixelBytes, image.pixels);
  return 0;
}

template <class Window, class Pixel>
ksys_status initFromMemory(Window& window, const kstd_rect32& rect, Pixel* pixels, int32_t stride) {
  if (!kiphost::isUsableMemory(rect, pixels, stride, 1)) {
    window = {};
    return KSYS_STATUS_BAD_ARGUMENT;
  }
  initOver(window, rect, rect.height > 1 ? stride : rect.width, int32_t{sizeof(Pixel)}, pixels);
  return 0;
}

template <class Window>
ksys_status getIsNull(const Window& window, int32_t* null) {
  *null = isNull(windowOf(window));
  return 0;
}

template <class Window>
ksys_status getWindow(const Window& window, kstd_rect32* rect) {
  *rect = windowOf(window);
  return 0;
}

// The same of a window of these pixels.
template <class Pixel, class Window>
ksys_status getWindow(const Window& window, kstd_rect32* rect) {
  const bool others = window.bound != 0 && window.pixelBytes != int32_t{sizeof(Pixel)};
  return others ? KSYS_STATUS_BAD_ARGUMENT : getWindow(window, rect);
}

// Whether the record is as the operations of this file leave one, as against filled by hand.
template <class Window>
bool isOurs(const Window& window) {
  return kiphost::isPixelSize(window.pixelBytes) && kiphost::hasUsableStride(window) &&
         kiphost::encloses(window.image, windowOf(window));
}

template <class Window>
ksys_status pointTo(Window& window, const kstd_rect32& rect) {
  if (rect.width < 0 || rect.height < 0 || !kiphost::encloses(window.image, rect)) return KSYS_STATUS_OUTSIDE_IMAGE;
  if (isNull(rect)) {
    window = {};
    return 0;
  }
  window.pixels = kiphost::moved(window.pixels, int64_t{rect.x} - window.x, int64_t{rect.y} - window.y,
                                 window.pixelBytes, int64_t{window.stride} * window.pixelBytes);
  window.width = rect.width;
  window.height = rect.height;
  window.x = rect.x;
  window.y = rect.y;
  return 0;
}

template <class Window>
ksys_status windowRect(Window& window, const kstd_rect32& rect, int32_t* flag) {
  if (window.bound != 0 && !isOurs(window)) return KSYS_STATUS_BAD_ARGUMENT;
  const ksys_status status = window.bound != 0 ? pointTo(window, rect) : KSYS_STATUS_NOT_BOUND;
  if (flag == nullptr) return status;
  *flag = status != 0;
  return 0;
}

}  // namespace

ksys_status kimg_window_init(kimg_window* window, const kimg_image* image) {
  return initOnImage(*window, *image, 0);
}

ksys_status kimg_windowConst_init(kimg_windowConst* window, const kimg_image* image) {
  return initOnImage(*window, *image, 0);
}

ksys_status kimg_window8_init(kimg_window8* window, const kimg_image8* image) {
  return initOnImage(*window, *image, 1);
}

ksys_status kimg_window8Const_init(kimg_window8Const* window, const kimg_image8* image) {
  return initOnImage(*window, *image, 1);
}

ksys_status kimg_window_initUnbound(kimg_window* window) {
  *window = {};
  return 0;
}

ksys_status kimg_windowConst_initUnbound(kimg_windowConst* window) {
  *window = {};
  return 0;
}

ksys_status kimg_window8_initFromMemory(kimg_window8* window, const kstd_rect32* rect, uint8_t* pixels,
                                        int32_t stridePixels) {
  return initFromMemory(*window, *rect, pixels, stridePixels);
}

ksys_status kimg_window16_initFromMemory(kimg_window16* window, const kstd_rect32* rect, uint16_t* pixels,
                                         int32_t stridePixels) {
  return initFromMemory(*window, *rect, pixels, stridePixels);
}

ksys_status kimg_window8Const_initFromMemory(kimg_window8Const* window, const kstd_rect32* rect, const uint8_t* pixels,
                                             int32_t stridePixels) {
  return initFromMemory(*window, *rect, pixels, stridePixels);
}

ksys_status kimg_window16Const_initFromMemory(kimg_window16Const* window, const kstd_rect32* rect,
                                              const uint16_t* pixels, int32_t stridePixels) {
  return initFromMemory(*window, *rect, pixels, stridePixels);
}

ksys_status kimg_window_getIsNull(const kimg_window* window, int32_t* isNull) {
  return getIsNull(*window, isNull);
}

ksys_status kimg_windowConst_getIsNull(const kimg_windowConst* window, int32_t* isNull) {
  return getIsNull(*window, isNull);
}

ksys_status kimg_window_getWindow(const kimg_window* window, kstd_rect32* rect) {
  return getWindow(*window, rect);
}

ksys_status kimg_windowConst_getWindow(const kimg_windowConst* window, kstd_rect32* rect) {
  return getWindow(*window, rect);
}

ksys_status kimg_window8Const_getWindow(const kimg_window8Const* window, kstd_rect32* rect) {
  return getWindow<uint8_t>(*window, rect);
}

ksys_status kimg_window16Const_getWindow(const kimg_window16Const* window, kstd_rect32* rect) {
  return getWindow<uint16_t>(*window, rect);
}

ksys_status kimg_window16_getWindow(const kimg_window16* window, kstd_rect32* rect) {
  return getWindow<uint16_t>(*window, rect);
}

ksys_status kimg_window_windowRect(kimg_window* window, const kstd_rect32* rect, int32_t* flag) {
  return windowRect(*window, *rect, flag);
}

ksys_status kimg_windowConst_windowRect(kimg_windowConst* window, const kstd_rect32* rect, int32_t* flag) {
  return windowRect(*window, *rect, flag);
}
