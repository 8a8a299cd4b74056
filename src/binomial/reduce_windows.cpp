// SPDX-License-Identifier: Apache-2.0
#include "binomial/dest_rect.hpp"
#include "binomial/dispatch.hpp"
#include "binomial/images.hpp"
#include "binomial/reduce.hpp"
#include "frame/check.hpp"
#include "frame/images.hpp"

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
ksys_status reducePixels(const Reduction& reduction, const kstd_rect32& srcWas, const kstd_rect32& srcIs,
                         kimg_windowConst& src) {
  kimg_window dst = *reduction.dst;
  ksys_status status = pointTo(dst, reduction.target);
  if (failed(status)) return status;
  kimg_window8Const srcMask = {};
  kimg_window8 dstMask = {};
  if constexpr (Masked) {
    srcMask = *reduction.srcMask;
    if (failed(status = pointAlong(srcMask, srcWas, srcIs))) return status;
    if (reduction.dstMask != nullptr) {
      dstMask = *reduction.dstMask;
      if (failed(status = pointTo(dstMask, reduction.target))) return status;
    }
  }
  const auto call = makeCall<Pixel>(src, Masked ? &srcMask : nullptr, dst,
                                    Masked && reduction.dstMask != nullptr ? &dstMask : nullptr);
  return runReduction<Pixel, Masked>(reduction.flags.x, reduction.flags.y, call);
}

template <typename Pixel, bool Masked>
ksys_status reduceWindows(const Reduction& reduction) {
  check((reduction.srcLinear == nullptr) == (reduction.dstLinear == nullptr));
  check((reduction.srcGeneral == nullptr) == (reduction.dstGeneral == nullptr));
  check((reduction.srcMask != nullptr) == Masked);
  const auto [xFlag, yFlag] = reduction.flags;
  check(xFlag || yFlag);
  const kstd_rect32& target = reduction.target;
  int32_t isNull = 0;
  ksys_status status = kstd_rect32_getIsNull(&target, &isNull);
  if (failed(status)) return status;
  int32_t isWhole = 0;
  if (failed(status = kstd_rect32_compareEqual(&target, &reduction.reduced, &isWhole))) return status;

  kimg_windowConst src = *reduction.src;
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
    if (failed(status = reducePixels<Pixel, Masked>(reduction, srcWas, srcIs, src))) return status;
    xPhase = phaseOf(srcIs.x, target.x, xFlag);
    yPhase = phaseOf(srcIs.y, target.y, yFlag);
  }

  kmath_xformLinear srcFromDst;
  status = kmath_xformLinear_initMatrixTransElements(&srcFromDst, stepOf(xFlag), 0, 0, stepOf(yFlag),
                                                     translationOf(xPhase, xFlag), translationOf(yPhase, yFlag));
  if (failed(status)) return status;
  if (reduction.srcLinear != nullptr) {
    // both may be the same record
    const kmath_xformLinear clientFromSrc = *reduction.srcLinear;
    status = kmath_xformLinear_initCompose(reduction.dstLinear, &clientFromSrc, &srcFromDst);
    if (failed(status)) return status;
  }
  if (reduction.srcGeneral != nullptr) {
    status = kmath_xformPtrhConst_assignComposePtrhLinear(reduction.dstGeneral, reduction.srcGeneral, &srcFromDst);
  }
  return status;
}

template <typename Pixel, bool Masked>
ksys_status smoothWindow(Reduction reduction) {
  check(reduction.src != nullptr && reduction.dst != nullptr);
  kstd_rect32 rect;
  ksys_status status = getWindow<Pixel>(*reduction.src, rect);
  if (failed(status)) return status;
  reduction.reduced = gauss2_destRect(rect, reduction.flags.x, reduction.flags.y);
  if (failed(status = getWindow<Pixel>(*reduction.dst, rect))) return status;
  if (failed(status = kstd_rect32_intersect(&rect, &reduction.reduced, &reduction.target))) return status;
  return reduceWindows<Pixel, Masked>(reduction);
}

template <typename Pixel>
ksys_status smoothWindow(const kimg_windowConst* src, const kmath_xformLinear* srcLinear, const kimg_window* dst,
                         kmath_xformLinear* dstLinear, ReductionFlags flags) {
  return smoothWindow<Pixel, false>({.src = src,
                                     .dst = dst,
                                     .reduced = {},
                                     .target = {},
                                     .srcLinear = srcLinear,
                                     .dstLinear = dstLinear,
                                     .flags = flags});
}

template <typename Pixel>
ksys_status smoothMaskedWindow(const kimg_windowConst* src, const kimg_window8Const* srcMask,
                               const kmath_xformLinear* srcLinear, const kimg_window* dst, const kimg_window8* dstMask,
                               kmath_xformLinear* dstLinear, ReductionFlags flags) {
  return smoothWindow<Pixel, true>({.src = src,
                                    .srcMask = srcMask,
                                    .dst = dst,
                                    .dstMask = dstMask,
                                    .reduced = {},
                                    .target = {},
                                    .srcLinear = srcLinear,
                                    .dstLinear = dstLinear,
                                    .flags = flags});
}

}  // namespace

ksys_status gauss2_reduceWindows8(const Reduction& reduction) {
  return reduceWindows<uint8_t, false>(reduction);
}
ksys_status gauss2_reduceWindows16(const Reduction& reduction) {
  return reduceWindows<uint16_t, false>(reduction);
}
ksys_status gauss2_reduceMaskedWindows8(const Reduction& reduction) {
  return reduceWindows<uint8_t, true>(reduction);
}
ksys_status gauss2_reduceMaskedWindows16(const Reduction& reduction) {
  return reduceWindows<uint16_t, true>(reduction);
}

ksys_status gauss2_smoothWindow8(const kimg_windowConst* src, const kmath_xformLinear* srcClientFromImage,
                                 const kimg_window* dst, kmath_xformLinear* dstClientFromImage, ReductionFlags flags) {
  return smoothWindow<uint8_t>(src, srcClientFromImage, dst, dstClientFromImage, flags);
}
ksys_status gauss2_smoothWindow16(const kimg_windowConst* src, const kmath_xformLinear* srcClientFromImage,
                                  const kimg_window* dst, kmath_xformLinear* dstClientFromImage, ReductionFlags flags) {
  return smoothWindow<uint16_t>(src, srcClientFromImage, dst, dstClientFromImage, flags);
}
ksys_status gauss2_smoothMaskedWindow8(const kimg_windowConst* src, const kimg_window8Const* srcMask,
                                       const kmath_xformLinear* srcClientFromImage, const kimg_window* dst,
                                       const kimg_window8* dstMask, kmath_xformLinear* dstClientFromImage,
                                       ReductionFlags flags) {
  return smoothMaskedWindow<uint8_t>(src, srcMask, srcClientFromImage, dst, dstMask, dstClientFromImage, flags);
}
ksys_status gauss2_smoothMaskedWindow16(const kimg_windowConst* src, const kimg_window8Const* srcMask,
                                        const kmath_xformLinear* srcClientFromImage, const kimg_window* dst,
                                        const kimg_window8* dstMask, kmath_xformLinear* dstClientFromImage,
                                        ReductionFlags flags) {
  return smoothMaskedWindow<uint16_t>(src, srcMask, srcClientFromImage, dst, dstMask, dstClientFromImage, flags);
}

}  // namespace kip
