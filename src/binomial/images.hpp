// SPDX-License-Identifier: Apache-2.0
// Images and windows of the host as the reductions and passes use them.
#pragma once

#include "binomial/kernels.hpp"
#include "frame/images.hpp"
#include "frame/windows.hpp"
#include "geometry/span.hpp"
#include "kip/host/kimg.h"

namespace kip {

// An unbound destination takes new pixels over the rectangle; then so does its mask, when there is one and it is
// unbound.
template <typename Pixel>
[[nodiscard]] ksys_status bindUnbound(kimg_image& dst, kimg_image8* dstMask, const kstd_rect32& rect) {
  ksys_status status = kimg_image_assignNewRect(&dst, &rect, int32_t{sizeof(Pixel)});
  if (failed(status) || dstMask == nullptr) return status;
  int32_t isBound = 0;
  if (failed(status = kimg_image_getIsBound(dstMask, &isBound)) || isBound != 0) return status;
  return kimg_image8_assignNewRect(dstMask, &rect);
}

[[nodiscard]] inline ksys_status pointTo(kimg_window& window, const kstd_rect32& rect) {
  return kimg_window_windowRect(&window, &rect, nullptr);
}
[[nodiscard]] inline ksys_status pointTo(kimg_windowConst& window, const kstd_rect32& rect) {
  return kimg_windowConst_windowRect(&window, &rect, nullptr);
}

// Moves a mask's window as its image's was moved, so that each pixel keeps its mask byte.
template <typename Window>
[[nodiscard]] ksys_status pointAlong(Window& mask, const kstd_rect32& imageWas, const kstd_rect32& imageIs) {
  return pointTo(mask, {saturate32(int64_t{mask.x} + imageIs.x - imageWas.x),
                        saturate32(int64_t{mask.y} + imageIs.y - imageWas.y), imageIs.width, imageIs.height});
}

// A window's top-left pixel. Rows that are not apart are a programming error.
template <typename Pixel, typename Window>
[[nodiscard]] auto* firstPixel(const Window& window) {
  check(window.height <= 1 || window.stride >= window.width);
  return rowOf<Pixel>(window, 0);
}

template <typename Pixel>
void setTarget(KernelCall<Pixel>& call, const kimg_window& dst, const kimg_window8* dstMask) {
  call.dst = firstPixel<Pixel>(dst);
  call.dstPitch = dst.stride;
  call.dstMask = dstMask == nullptr ? nullptr : firstPixel<uint8_t>(*dstMask);
  call.dstMaskPitch = dstMask == nullptr ? 0 : dstMask->stride;
}

// The masks may be null.
template <typename Pixel>
[[nodiscard]] KernelCall<Pixel> makeCall(const kimg_windowConst& src, const kimg_window8Const* srcMask,
                                         const kimg_window& dst, const kimg_window8* dstMask) {
  KernelCall<Pixel> call = {
      .width = src.width, .height = src.height, .src = firstPixel<Pixel>(src), .srcPitch = src.stride};
  if (srcMask != nullptr) {
    call.srcMask = firstPixel<uint8_t>(*srcMask);
    call.srcMaskPitch = srcMask->stride;
  }
  setTarget(call, dst, dstMask);
  return call;
}

}  // namespace kip
