// SPDX-License-Identifier: Apache-2.0
#include "binomial/smooth_window.hpp"
#include "frame/check.hpp"
#include "kip/gauss2.h"

namespace kip {

namespace {

template <typename Pixel, bool Masked>
ksys_status smoothNoSampleImage(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst,
                                kimg_image8* dstMask, int32_t xRadius, int32_t yRadius) {
  check(src != nullptr && dst != nullptr && (srcMask != nullptr) == Masked);
  int32_t isBound = 0;
  ksys_status status = kimg_image_getIsBound(dst, &isBound);
  if (failed(status)) return status;
  kimg_windowConst srcWindow;
  if (failed(status = kimg_windowConst_init(&srcWindow, src))) return status;
  kimg_window8Const srcMaskWindow;
  if (Masked && failed(status = kimg_window8Const_init(&srcMaskWindow, srcMask))) return status;

  if (isBound == 0) {
    kstd_rect32 rect;
    if (failed(status = kimg_imageConst_getWindow(src, &rect))) return status;
    if (failed(status = kimg_image_assignNewRect(dst, &rect, int32_t{sizeof(Pixel)}))) return status;
    if (dstMask != nullptr) {
      if (failed(status = kimg_image_getIsBound(dstMask, &isBound))) return status;
      if (isBound == 0 && failed(status = kimg_image8_assignNewRect(dstMask, &rect))) return status;
    }
  }
  kimg_window dstWindow;
  if (failed(status = kimg_window_init(&dstWindow, dst))) return status;
  kimg_window8 dstMaskWindow;
  if (dstMask != nullptr && failed(status = kimg_window8_init(&dstMaskWindow, dstMask))) return status;

  status = smoothNoSampleWindow<Pixel, Masked>(&srcWindow, Masked ? &srcMaskWindow : nullptr, &dstWindow,
                                               dstMask != nullptr ? &dstMaskWindow : nullptr, xRadius, yRadius);
  if (failed(status)) return status;
  if (failed(status = kimg_image_copyXforms(dst, src)) || dstMask == nullptr) return status;
  return kimg_image_copyXforms(dstMask, src);
}

}  // namespace

}  // namespace kip

ksys_status kip_gauss2_smoothNoSample8_8(const kimg_imageConst* src, kimg_image* dst, int32_t xRadius,
                                         int32_t yRadius) {
  return kip::smoothNoSampleImage<uint8_t, false>(src, nullptr, dst, nullptr, xRadius, yRadius);
}

ksys_status kip_gauss2_smoothNoSample16_16(const kimg_imageConst* src, kimg_image* dst, int32_t xRadius,
                                           int32_t yRadius) {
  return kip::smoothNoSampleImage<uint16_t, false>(src, nullptr, dst, nullptr, xRadius, yRadius);
}

ksys_status kip_gauss2_smoothNoSampleMasked8_8(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst,
                                               kimg_image8* dstMask, int32_t xRadius, int32_t yRadius) {
  return kip::smoothNoSampleImage<uint8_t, true>(src, srcMask, dst, dstMask, xRadius, yRadius);
}

ksys_status kip_gauss2_smoothNoSampleMasked16_16(const kimg_imageConst* src, const kimg_image8* srcMask,
                                                 kimg_image* dst, kimg_image8* dstMask, int32_t xRadius,
                                                 int32_t yRadius) {
  return kip::smoothNoSampleImage<uint16_t, true>(src, srcMask, dst, dstMask, xRadius, yRadius);
}
