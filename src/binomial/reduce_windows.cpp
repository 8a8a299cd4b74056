// SPDX-License-Identifier: Apache-2.0
#include "binomial/dest_rect.hpp"
#include "binomial/images.hpp"
#include "binomial/reduce.hpp"
#include "frame/check.hpp"
#include "kip/gauss2.h"

namespace kip {

namespace {

constexpr int32_t stepOf(bool flag) {
  return flag ? 2 : 1;
}

// The source pixel that the first destination pixel is centred on, less Step times the destination's origin.
int32_t phaseOf(int32_t src, int32_t dst, bool flag) {
  const int64_t offset = src - int64_t{stepOf(flag)} * dst;
  check(0 <= offset && offset <= (flag ? 1 : 0));
  return static_cast<int32_t>(offset);
}

// A destination pixel's centre maps to the centre of the source pixel that it is centred on.
double translationOf(int32_t phase, bool flag) {
  return flag ? phase - 0.5 : 0.0;
}

template <typename Pixel, bool Masked>
ksys_status reducePixels(const Reduction& request, const kstd_rect32& srcWas, const kstd_rect32& srcIs,
                         kimg_windowConst& src) {
  kimg_window dst = *request.dst;
  ksys_status status = pointTo(dst, request.target);
  if (failed(status)) return status;
  kimg_window8Const srcMask = {};
  kimg_window8 dstMask = {};
  if constexpr (Masked) {
    srcMask = *request.srcMask;
    if (failed(status = pointAlong(srcMask, srcWas, srcIs))) return status;
    if (request.dstMask != nullptr) {
      dstMask = *request.dstMask;
      if (failed(status = pointTo(dstMask, request.target))) return status;
    }
  }
  const auto call =
      makeCall<Pixel>(src, Masked ? &srcMask : nullptr, dst, request.dstMask != nullptr ? &dstMask : nullptr);
  return run(reduction<Pixel, Masked>(request.axes), call);
}

}  // namespace

template <typename Pixel, bool Masked>
ksys_status reduceWindows(const Reduction& request) {
  check((request.srcLinear == nullptr) == (request.dstLinear == nullptr));
  check((request.srcGeneral == nullptr) == (request.dstGeneral == nullptr));
  check((request.srcMask != nullptr) == Masked);
  const bool xFlag = alongX(request.axes), yFlag = alongY(request.axes);
  const kstd_rect32& target = request.target;
  int32_t isNull = 0;
  ksys_status status = kstd_rect32_getIsNull(&target, &isNull);
  if (failed(status)) return status;
  int32_t isWhole = 0;
  if (failed(status = kstd_rect32_compareEqual(&target, &request.reduced, &isWhole))) return status;

  kimg_windowConst src = *request.src;
  kstd_rect32 srcWas;
  if (failed(status = getWindow<Pixel>(src, srcWas))) return status;
  kstd_rect32 srcIs = srcWas;
  if (isNull == 0 && isWhole == 0) {
    const int64_t xStep = stepOf(xFlag), yStep = stepOf(yFlag);
    srcIs = {saturate32(xStep * target.x), saturate32(yStep * target.y), saturate32(xStep * target.width),
             saturate32(yStep * target.height)};
    if (failed(status = pointTo(src, srcIs))) return status;
  }
  int32_t xPhase = 0;
  int32_t yPhase = 0;
  if (isNull == 0) {
    if (failed(status = reducePixels<Pixel, Masked>(request, srcWas, srcIs, src))) return status;
    xPhase = phaseOf(srcIs.x, target.x, xFlag);
    yPhase = phaseOf(srcIs.y, target.y, yFlag);
  }

  kmath_xformLinear srcFromDst;
  status = kmath_xformLinear_initMatrixTransElements(&srcFromDst, stepOf(xFlag), 0, 0, stepOf(yFlag),
                                                     translationOf(xPhase, xFlag), translationOf(yPhase, yFlag));
  if (failed(status)) return status;
  if (request.srcLinear != nullptr) {
    // both may be the same record
    const kmath_xformLinear clientFromSrc = *request.srcLinear;
    status = kmath_xformLinear_initCompose(request.dstLinear, &clientFromSrc, &srcFromDst);
    if (failed(status)) return status;
  }
  if (request.srcGeneral != nullptr) {
    status = kmath_xformPtrhConst_assignComposePtrhLinear(request.dstGeneral, request.srcGeneral, &srcFromDst);
  }
  return status;
}

template ksys_status reduceWindows<uint8_t, false>(const Reduction& request);
template ksys_status reduceWindows<uint8_t, true>(const Reduction& request);
template ksys_status reduceWindows<uint16_t, false>(const Reduction& request);
template ksys_status reduceWindows<uint16_t, true>(const Reduction& request);

namespace {

template <typename Pixel, bool Masked>
ksys_status smoothWindow(Axes axes, const kimg_windowConst* src, const kimg_window8Const* srcMask,
                         const kmath_xformLinear* srcLinear, const kimg_window* dst, const kimg_window8* dstMask,
                         kmath_xformLinear* dstLinear) {
  check(src != nullptr && dst != nullptr);
  kstd_rect32 rect;
  ksys_status status = getWindow<Pixel>(*src, rect);
  if (failed(status)) return status;
  const kstd_rect32 reduced = gauss2_destRect(rect, alongX(axes), alongY(axes));
  if (failed(status = getWindow<Pixel>(*dst, rect))) return status;
  if (failed(status = kstd_rect32_intersect(&rect, &reduced, &rect))) return status;
  return reduceWindows<Pixel, Masked>({.src = src,
                                       .srcMask = srcMask,
                                       .dst = dst,
                                       .dstMask = dstMask,
                                       .axes = axes,
                                       .reduced = reduced,
                                       .target = rect,
                                       .srcLinear = srcLinear,
                                       .dstLinear = dstLinear});
}

}  // namespace

}  // namespace kip

using kip::Axes;

ksys_status kip_gauss2_smoothWindow8_8(const kimg_windowConst* src, const kmath_xformLinear* srcClientFromImage,
                                       const kimg_window* dst, kmath_xformLinear* dstClientFromImage) {
  return kip::smoothWindow<uint8_t, false>(Axes::both, src, nullptr, srcClientFromImage, dst, nullptr,
                                           dstClientFromImage);
}

ksys_status kip_gauss2_smoothWindow16_16(const kimg_windowConst* src, const kmath_xformLinear* srcClientFromImage,
                                         const kimg_window* dst, kmath_xformLinear* dstClientFromImage) {
  return kip::smoothWindow<uint16_t, false>(Axes::both, src, nullptr, srcClientFromImage, dst, nullptr,
                                            dstClientFromImage);
}

ksys_status kip_gauss2X_smoothWindow8_8(const kimg_windowConst* src, const kmath_xformLinear* srcClientFromImage,
                                        const kimg_window* dst, kmath_xformLinear* dstClientFromImage) {
  return kip::smoothWindow<uint8_t, false>(Axes::x, src, nullptr, srcClientFromImage, dst, nullptr, dstClientFromImage);
}

ksys_status kip_gauss2Y_smoothWindow8_8(const kimg_windowConst* src, const kmath_xformLinear* srcClientFromImage,
                                        const kimg_window* dst, kmath_xformLinear* dstClientFromImage) {
  return kip::smoothWindow<uint8_t, false>(Axes::y, src, nullptr, srcClientFromImage, dst, nullptr, dstClientFromImage);
}

ksys_status kip_gauss2_smoothMaskedWindow8_8(const kimg_windowConst* src, const kimg_window8Const* srcMask,
                                             const kmath_xformLinear* srcClientFromImage, const kimg_window* dst,
                                             const kimg_window8* dstMask, kmath_xformLinear* dstClientFromImage) {
  return kip::smoothWindow<uint8_t, true>(Axes::both, src, srcMask, srcClientFromImage, dst, dstMask,
                                          dstClientFromImage);
}

ksys_status kip_gauss2_smoothMaskedWindow16_16(const kimg_windowConst* src, const kimg_window8Const* srcMask,
                                               const kmath_xformLinear* srcClientFromImage, const kimg_window* dst,
                                               const kimg_window8* dstMask, kmath_xformLinear* dstClientFromImage) {
  return kip::smoothWindow<uint16_t, true>(Axes::both, src, srcMask, srcClientFromImage, dst, dstMask,
                                           dstClientFromImage);
}

ksys_status kip_gauss2X_smoothMaskedWindow8_8(const kimg_windowConst* src, const kimg_window8Const* srcMask,
                                              const kmath_xformLinear* srcClientFromImage, const kimg_window* dst,
                                              const kimg_window8* dstMask, kmath_xformLinear* dstClientFromImage) {
  return kip::smoothWindow<uint8_t, true>(Axes::x, src, srcMask, srcClientFromImage, dst, dstMask, dstClientFromImage);
}

ksys_status kip_gauss2Y_smoothMaskedWindow8_8(const kimg_windowConst* src, const kimg_window8Const* srcMask,
                                              const kmath_xformLinear* srcClientFromImage, const kimg_window* dst,
                                              const kimg_window8* dstMask, kmath_xformLinear* dstClientFromImage) {
  return kip::smoothWindow<uint8_t, true>(Axes::y, src, srcMask, srcClientFromImage, dst, dstMask, dstClientFromImage);
}
