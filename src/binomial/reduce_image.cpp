// SPDX-License-Identifier: Apache-2.0
#include "binomial/dest_rect.hpp"
#include "binomial/images.hpp"
#include "binomial/reduce.hpp"
#include "kip/gauss2.h"

namespace kip {

namespace {

template <typename Pixel, bool Masked>
ksys_status smoothImage(Axes axes, const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst,
                        kimg_image8* dstMask) {
  kmath_xformPtrhConst clientFromSrc;
  kmath_xformPtrhConst clientFromDst;
  return withCleanup<2>([&](Cleanup& cleanup) -> ksys_status {
    check(src != nullptr && dst != nullptr && (srcMask != nullptr) == Masked);
    int32_t isBound = 0;
    ksys_status status = kimg_image_getIsBound(dst, &isBound);
    if (failed(status)) return status;
    kimg_windowConst srcWindow;
    if (failed(status = kimg_windowConst_init(&srcWindow, src))) return status;
    kimg_window8Const srcMaskWindow;
    if (Masked && failed(status = kimg_window8Const_init(&srcMaskWindow, srcMask))) return status;
    kstd_rect32 srcRect;
    if (failed(status = kimg_imageConst_getWindow(src, &srcRect))) return status;
    const kstd_rect32 reduced = gauss2_destRect(srcRect, alongX(axes), alongY(axes));

    kstd_rect32 target = reduced;
    if (isBound != 0) {
      if (failed(status = kimg_image_getWindow(dst, &target))) return status;
      if (failed(status = kstd_rect32_intersect(&target, &reduced, &target))) return status;
    } else if (failed(status = bindUnbound<Pixel>(*dst, dstMask, reduced))) {
      return status;
    }
    int32_t isNull = 0;
    if (failed(status = kstd_rect32_getIsNull(&target, &isNull))) return status;
    if (isBound != 0 && isNull != 0) return 0;
    kimg_window dstWindow;
    if (failed(status = kimg_window_init(&dstWindow, dst))) return status;
    kstd_rect32 unused;  // the host refuses pixels of another size
    if (failed(status = getWindow<Pixel>(dstWindow, unused))) return status;
    kimg_window8 dstMaskWindow;
    if (dstMask != nullptr && failed(status = kimg_window8_init(&dstMaskWindow, dstMask))) return status;

    if (failed(status = constructXform(cleanup, clientFromSrc))) return status;
    if (failed(status = constructXform(cleanup, clientFromDst))) return status;
    if (failed(status = kimg_imageConst_getClientFromImageXform(src, &clientFromSrc))) return status;
    status = reduceWindows<Pixel, Masked>({.src = &srcWindow,
                                           .srcMask = Masked ? &srcMaskWindow : nullptr,
                                           .dst = &dstWindow,
                                           .dstMask = dstMask != nullptr ? &dstMaskWindow : nullptr,
                                           .axes = axes,
                                           .reduced = reduced,
                                           .target = target,
                                           .srcGeneral = &clientFromSrc,
                                           .dstGeneral = &clientFromDst});
    if (failed(status)) return status;
    if (failed(status = kimg_image_setClientFromImageXform(dst, &clientFromDst)) || dstMask == nullptr) return status;
    return kimg_image_setClientFromImageXform(dstMask, &clientFromDst);
  });
}

}  // namespace

}  // namespace kip

using kip::Axes;

ksys_status kip_gauss2_smooth8_8(const kimg_imageConst* src, kimg_image* dst) {
  return kip::smoothImage<uint8_t, false>(Axes::both, src, nullptr, dst, nullptr);
}

ksys_status kip_gauss2_smooth16_16(const kimg_imageConst* src, kimg_image* dst) {
  return kip::smoothImage<uint16_t, false>(Axes::both, src, nullptr, dst, nullptr);
}

ksys_status kip_gauss2X_smooth8_8(const kimg_imageConst* src, kimg_image* dst) {
  return kip::smoothImage<uint8_t, false>(Axes::x, src, nullptr, dst, nullptr);
}

ksys_status kip_gauss2X_smooth16_16(const kimg_imageConst* src, kimg_image* dst) {
  return kip::smoothImage<uint16_t, false>(Axes::x, src, nullptr, dst, nullptr);
}

ksys_status kip_gauss2Y_smooth8_8(const kimg_imageConst* src, kimg_image* dst) {
  return kip::smoothImage<uint8_t, false>(Axes::y, src, nullptr, dst, nullptr);
}

ksys_status kip_gauss2Y_smooth16_16(const kimg_imageConst* src, kimg_image* dst) {
  return kip::smoothImage<uint16_t, false>(Axes::y, src, nullptr, dst, nullptr);
}

ksys_status kip_gauss2_smoothMasked8_8(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst,
                                       kimg_image8* dstMask) {
  return kip::smoothImage<uint8_t, true>(Axes::both, src, srcMask, dst, dstMask);
}

ksys_status kip_gauss2_smoothMasked16_16(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst,
                                         kimg_image8* dstMask) {
  return kip::smoothImage<uint16_t, true>(Axes::both, src, srcMask, dst, dstMask);
}

ksys_status kip_gauss2X_smoothMasked8_8(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst,
                                        kimg_image8* dstMask) {
  return kip::smoothImage<uint8_t, true>(Axes::x, src, srcMask, dst, dstMask);
}

ksys_status kip_gauss2X_smoothMasked16_16(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst,
                                          kimg_image8* dstMask) {
  return kip::smoothImage<uint16_t, true>(Axes::x, src, srcMask, dst, dstMask);
}

ksys_status kip_gauss2Y_smoothMasked8_8(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst,
                                        kimg_image8* dstMask) {
  return kip::smoothImage<uint8_t, true>(Axes::y, src, srcMask, dst, dstMask);
}

ksys_status kip_gauss2Y_smoothMasked16_16(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst,
                                          kimg_image8* dstMask) {
  return kip::smoothImage<uint16_t, true>(Axes::y, src, srcMask, dst, dstMask);
}
