// SPDX-License-Identifier: Apache-2.0
#include "binomial/dest_rect.hpp"
#include "binomial/reduce.hpp"
#include "frame/images.hpp"

namespace kip {

namespace {

// The destination rectangle: what a bound destination has of the reduced rectangle, or all of it, which an unbound
// destination and its mask are bound to.
ksys_status bindTarget(bool isBound, const kstd_rect32& reduced, int32_t pixelBytes, kimg_image& dst,
                       kimg_image8* dstMask, kstd_rect32& target) {
  ksys_status status = 0;
  if (isBound) {
    if (failed(status = kimg_image_getWindow(&dst, &target))) return status;
    return kstd_rect32_intersect(&target, &reduced, &target);
  }
  target = reduced;
  status = kimg_image_assignNewRect(&dst, &reduced, pixelBytes);
  if (failed(status) || dstMask == nullptr) return status;
  int32_t isMaskBound = 0;
  if (failed(status = kimg_image_getIsBound(dstMask, &isMaskBound)) || isMaskBound != 0) return status;
  return kimg_image8_assignNewRect(dstMask, &reduced);
}

template <typename Pixel>
ksys_status smoothImage(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst, kimg_image8* dstMask,
                        ReductionFlags flags, ksys_status (*reduceWindows)(const Reduction&)) {
  kmath_xformPtrhConst clientFromSrc;
  kmath_xformPtrhConst clientFromDst;
  return withCleanup<2>([&](Cleanup& cleanup) -> ksys_status {
    check(src != nullptr && dst != nullptr);
    int32_t isBound = 0;
    ksys_status status = kimg_image_getIsBound(dst, &isBound);
    if (failed(status)) return status;
    kimg_windowConst srcWindow;
    if (failed(status = kimg_windowConst_init(&srcWindow, src))) return status;
    kimg_window8Const srcMaskWindow;
    if (srcMask != nullptr && failed(status = kimg_window8Const_init(&srcMaskWindow, srcMask))) return status;
    kstd_rect32 srcRect;
    if (failed(status = kimg_imageConst_getWindow(src, &srcRect))) return status;
    const kstd_rect32 reduced = gauss2_destRect(srcRect, flags.x, flags.y);

    kstd_rect32 target;
    constexpr int32_t bytes = sizeof(Pixel);
    if (failed(status = bindTarget(isBound != 0, reduced, bytes, *dst, dstMask, target))) return status;
    int32_t isNull = 0;
    if (failed(status = kstd_rect32_getIsNull(&target, &isNull))) return status;
    if (isBound != 0 && isNull != 0) return 0;
    kimg_window dstWindow;
    if (failed(status = kimg_window_init(&dstWindow, dst))) return status;
    kstd_rect32 dstRect;
    if (failed(status = getWindow<Pixel>(dstWindow, dstRect))) return status;
    kimg_window8 dstMaskWindow;
    if (dstMask != nullptr && failed(status = kimg_window8_init(&dstMaskWindow, dstMask))) return status;

    if (failed(status = constructXform(cleanup, clientFromSrc))) return status;
    if (failed(status = constructXform(cleanup, clientFromDst))) return status;
    if (failed(status = kimg_imageConst_getClientFromImageXform(src, &clientFromSrc))) return status;
    status = reduceWindows({.src = &srcWindow,
                            .srcMask = srcMask != nullptr ? &srcMaskWindow : nullptr,
                            .dst = &dstWindow,
                            .dstMask = dstMask != nullptr ? &dstMaskWindow : nullptr,
                            .reduced = reduced,
                            .target = target,
                            .srcGeneral = &clientFromSrc,
                            .dstGeneral = &clientFromDst,
                            .flags = flags});
    if (failed(status)) return status;
    if (failed(status = kimg_image_setClientFromImageXform(dst, &clientFromDst)) || dstMask == nullptr) return status;
    return kimg_image_setClientFromImageXform(dstMask, &clientFromDst);
  });
}

}  // namespace

ksys_status gauss2_smoothImage8(const kimg_imageConst* src, kimg_image* dst, ReductionFlags flags) {
  return smoothImage<uint8_t>(src, nullptr, dst, nullptr, flags, gauss2_reduceWindows8);
}
ksys_status gauss2_smoothImage16(const kimg_imageConst* src, kimg_image* dst, ReductionFlags flags) {
  return smoothImage<uint16_t>(src, nullptr, dst, nullptr, flags, gauss2_reduceWindows16);
}
ksys_status gauss2_smoothMaskedImage8(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst,
                                      kimg_image8* dstMask, ReductionFlags flags) {
  check(srcMask != nullptr);
  return smoothImage<uint8_t>(src, srcMask, dst, dstMask, flags, gauss2_reduceMaskedWindows8);
}
ksys_status gauss2_smoothMaskedImage16(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst,
                                       kimg_image8* dstMask, ReductionFlags flags) {
  check(srcMask != nullptr);
  return smoothImage<uint16_t>(src, srcMask, dst, dstMask, flags, gauss2_reduceMaskedWindows16);
}

}  // namespace kip
