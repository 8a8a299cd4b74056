// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "binomial/images.hpp"
#include "kip/gauss2.h"
#include "kip/host/kpel.h"

namespace kip {

namespace {

template <typename Pixel>
ksys_status copyWindow(const kimg_windowConst& src, const kimg_window& dst) {
  return sizeof(Pixel) == 1 ? kip_pelCopyWindow8(&src, &dst) : kip_pelCopyWindow16(&src, &dst);
}

// A target of the passes.
struct Target {
  kimg_window image;
  kimg_window8 mask;
};

// Repeats passes of radius 2 until both radii are used up. The targets take turns so that the last pass writes `last`;
// `other` is used when there are two passes at least.
template <typename Pixel, bool Masked>
ksys_status runPasses(KernelCall<Pixel> call, const Target& last, const Target& other, int32_t xRadius,
                      int32_t yRadius) {
  for (int32_t toGo = std::max(xRadius, yRadius) / 2; toGo > 0; --toGo) {
    const Target& target = toGo % 2 != 0 ? last : other;
    setTarget(call, target.image, Masked ? &target.mask : nullptr);
    const Axes axes = xRadius > 0 && yRadius > 0 ? Axes::both : xRadius > 0 ? Axes::x : Axes::y;
    const ksys_status status = run(smoothing<Pixel, Masked>(axes), call);
    if (failed(status)) return status;
    call.src = call.dst;
    call.srcPitch = call.dstPitch;
    call.srcMask = call.dstMask;
    call.srcMaskPitch = call.dstMaskPitch;
    xRadius -= std::min(xRadius, 2);
    yRadius -= std::min(yRadius, 2);
  }
  check(xRadius == 0 && yRadius == 0 && call.src == last.image.pixels);
  return 0;
}

template <typename Pixel, bool Masked>
ksys_status smoothWindow(const kimg_windowConst* srcWindow, const kimg_window8Const* srcMaskWindow,
                         const kimg_window* dstWindow, const kimg_window8* dstMaskWindow, int32_t xRadius,
                         int32_t yRadius) {
  kimg_image8 passMask;
  kimg_image otherImage;
  kimg_image8 otherMask;
  constexpr size_t capacity = Masked ? 3 : 1;
  return withCleanup<capacity>([&](Cleanup& cleanup) -> ksys_status {
    check(srcWindow != nullptr && dstWindow != nullptr && (srcMaskWindow != nullptr) == Masked);
    kstd_rect32 srcRect;
    ksys_status status = getWindow<Pixel>(*srcWindow, srcRect);
    if (failed(status)) return status;
    kstd_rect32 dstRect;
    if (failed(status = getWindow<Pixel>(*dstWindow, dstRect))) return status;
    kstd_rect32 rect;
    if (failed(status = kstd_rect32_intersect(&srcRect, &dstRect, &rect))) return status;
    int32_t isNull = 0;
    if (failed(status = kstd_rect32_getIsNull(&rect, &isNull)) || isNull != 0) return status;

    kimg_windowConst src = *srcWindow;
    if (failed(status = pointTo(src, rect))) return status;
    Target last = {.image = *dstWindow, .mask = {}};
    if (failed(status = pointTo(last.image, rect))) return status;
    kimg_window8Const srcMask = {};
    if constexpr (Masked) {
      srcMask = *srcMaskWindow;
      if (failed(status = pointAlong(srcMask, srcRect, rect))) return status;
      if (dstMaskWindow != nullptr) {
        last.mask = *dstMaskWindow;
        if (failed(status = pointAlong(last.mask, dstRect, rect))) return status;
      }
      // every pass needs a result mask, wanted or not
      status = adoptImage<uint8_t>(cleanup, passMask, kimg_image8_constructRect(&passMask, &rect));
      if (failed(status)) return status;
      if (dstMaskWindow == nullptr) {
        if (failed(status = kimg_window8_init(&last.mask, &passMask))) return status;
      }
    }

    check(xRadius >= 0 && xRadius % 2 == 0 && yRadius >= 0 && yRadius % 2 == 0);
    if (xRadius == 0 && yRadius == 0) {
      status = copyWindow<Pixel>(src, last.image);
      if (failed(status) || !Masked) return status;
      // a copy goes by coordinates, and those of the masks are their own
      srcMask.x = last.mask.x;
      srcMask.y = last.mask.y;
      return copyWindow<uint8_t>(srcMask, last.mask);
    }

    Target other = {};
    if (std::max(xRadius, yRadius) > 2) {
      constexpr int32_t bytes = sizeof(Pixel);
      status = adoptImage(cleanup, otherImage, kimg_image_constructRectUntyped(&otherImage, &rect, bytes));
      if (failed(status)) return status;
      if (failed(status = kimg_window_init(&other.image, &otherImage))) return status;
      if constexpr (Masked) {
        status = adoptImage<uint8_t>(cleanup, otherMask, kimg_image8_constructRect(&otherMask, &rect));
        if (failed(status)) return status;
        if (failed(status = kimg_window8_init(&other.mask, &otherMask))) return status;
      }
    }
    const auto call = makeCall<Pixel>(src, Masked ? &srcMask : nullptr, last.image, nullptr);
    return runPasses<Pixel, Masked>(call, last, other, xRadius, yRadius);
  });
}

template <typename Pixel, bool Masked>
ksys_status smoothImage(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst, kimg_image8* dstMask,
                        int32_t xRadius, int32_t yRadius) {
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
    if (failed(status = bindUnbound<Pixel>(*dst, dstMask, rect))) return status;
  }
  kimg_window dstWindow;
  if (failed(status = kimg_window_init(&dstWindow, dst))) return status;
  kimg_window8 dstMaskWindow;
  if (dstMask != nullptr && failed(status = kimg_window8_init(&dstMaskWindow, dstMask))) return status;

  status = smoothWindow<Pixel, Masked>(&srcWindow, Masked ? &srcMaskWindow : nullptr, &dstWindow,
                                       dstMask != nullptr ? &dstMaskWindow : nullptr, xRadius, yRadius);
  if (failed(status)) return status;
  if (failed(status = kimg_image_copyXforms(dst, src)) || dstMask == nullptr) return status;
  return kimg_image_copyXforms(dstMask, src);
}

}  // namespace

}  // namespace kip

ksys_status kip_gauss2_smoothNoSampleWindow8_8(const kimg_windowConst* srcWindow, const kimg_window* dstWindow,
                                               int32_t xRadius, int32_t yRadius) {
  return kip::smoothWindow<uint8_t, false>(srcWindow, nullptr, dstWindow, nullptr, xRadius, yRadius);
}

ksys_status kip_gauss2_smoothNoSampleWindow16_16(const kimg_windowConst* srcWindow, const kimg_window* dstWindow,
                                                 int32_t xRadius, int32_t yRadius) {
  return kip::smoothWindow<uint16_t, false>(srcWindow, nullptr, dstWindow, nullptr, xRadius, yRadius);
}

ksys_status kip_gauss2_smoothNoSampleMaskedWindow8_8(const kimg_windowConst* srcWindow,
                                                     const kimg_window8Const* srcMaskWindow,
                                                     const kimg_window* dstWindow, const kimg_window8* dstMaskWindow,
                                                     int32_t xRadius, int32_t yRadius) {
  return kip::smoothWindow<uint8_t, true>(srcWindow, srcMaskWindow, dstWindow, dstMaskWindow, xRadius, yRadius);
}

ksys_status kip_gauss2_smoothNoSampleMaskedWindow16_16(const kimg_windowConst* srcWindow,
                                                       const kimg_window8Const* srcMaskWindow,
                                                       const kimg_window* dstWindow, const kimg_window8* dstMaskWindow,
                                                       int32_t xRadius, int32_t yRadius) {
  return kip::smoothWindow<uint16_t, true>(srcWindow, srcMaskWindow, dstWindow, dstMaskWindow, xRadius, yRadius);
}

ksys_status kip_gauss2_smoothNoSample8_8(const kimg_imageConst* src, kimg_image* dst, int32_t xRadius,
                                         int32_t yRadius) {
  return kip::smoothImage<uint8_t, false>(src, nullptr, dst, nullptr, xRadius, yRadius);
}

ksys_status kip_gauss2_smoothNoSample16_16(const kimg_imageConst* src, kimg_image* dst, int32_t xRadius,
                                           int32_t yRadius) {
  return kip::smoothImage<uint16_t, false>(src, nullptr, dst, nullptr, xRadius, yRadius);
}

ksys_status kip_gauss2_smoothNoSampleMasked8_8(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst,
                                               kimg_image8* dstMask, int32_t xRadius, int32_t yRadius) {
  return kip::smoothImage<uint8_t, true>(src, srcMask, dst, dstMask, xRadius, yRadius);
}

ksys_status kip_gauss2_smoothNoSampleMasked16_16(const kimg_imageConst* src, const kimg_image8* srcMask,
                                                 kimg_image* dst, kimg_image8* dstMask, int32_t xRadius,
                                                 int32_t yRadius) {
  return kip::smoothImage<uint16_t, true>(src, srcMask, dst, dstMask, xRadius, yRadius);
}
