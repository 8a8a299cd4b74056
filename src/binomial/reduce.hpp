// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "frame/status.hpp"
#include "kip/host/kimg.h"

namespace kip {

struct ReductionFlags {
  bool x, y;  // one of them at least
};

inline constexpr ReductionFlags reduceBoth = {true, true};
inline constexpr ReductionFlags reduceColumns = {true, false};
inline constexpr ReductionFlags reduceRows = {false, true};

// What the cores work on. Transforms come in pairs, source and destination, and may be null; the destination's is the
// source's client-from-image transform after the map from destination to source pixels.
struct Reduction {
  const kimg_windowConst* src;
  const kimg_window8Const* srcMask = nullptr;  // masked cores only
  const kimg_window* dst;
  const kimg_window8* dstMask = nullptr;  // masked cores only; null: not wanted
  kstd_rect32 reduced;                    // of the whole source window
  kstd_rect32 target;                     // the part of it to compute; may be null
  const kmath_xformLinear* srcLinear = nullptr;
  kmath_xformLinear* dstLinear = nullptr;
  const kmath_xformPtrhConst* srcGeneral = nullptr;
  kmath_xformPtrhConst* dstGeneral = nullptr;
  ReductionFlags flags;
};

// Reduce the pixels that the target needs and write the destination's transform, that one for a null target too.
[[nodiscard]] ksys_status gauss2_reduceWindows8(const Reduction& reduction);
[[nodiscard]] ksys_status gauss2_reduceWindows16(const Reduction& reduction);
[[nodiscard]] ksys_status gauss2_reduceMaskedWindows8(const Reduction& reduction);
[[nodiscard]] ksys_status gauss2_reduceMaskedWindows16(const Reduction& reduction);

// The drivers behind the exported functions, whose arguments they take.
[[nodiscard]] ksys_status gauss2_smoothWindow8(const kimg_windowConst* src, const kmath_xformLinear* srcClientFromImage,
                                               const kimg_window* dst, kmath_xformLinear* dstClientFromImage,
                                               ReductionFlags flags);
[[nodiscard]] ksys_status gauss2_smoothWindow16(const kimg_windowConst* src,
                                                const kmath_xformLinear* srcClientFromImage, const kimg_window* dst,
                                                kmath_xformLinear* dstClientFromImage, ReductionFlags flags);
[[nodiscard]] ksys_status gauss2_smoothMaskedWindow8(const kimg_windowConst* src, const kimg_window8Const* srcMask,
                                                     const kmath_xformLinear* srcClientFromImage,
                                                     const kimg_window* dst, const kimg_window8* dstMask,
                                                     kmath_xformLinear* dstClientFromImage, ReductionFlags flags);
[[nodiscard]] ksys_status gauss2_smoothMaskedWindow16(const kimg_windowConst* src, const kimg_window8Const* srcMask,
                                                      const kmath_xformLinear* srcClientFromImage,
                                                      const kimg_window* dst, const kimg_window8* dstMask,
                                                      kmath_xformLinear* dstClientFromImage, ReductionFlags flags);
[[nodiscard]] ksys_status gauss2_smoothImage8(const kimg_imageConst* src, kimg_image* dst, ReductionFlags flags);
[[nodiscard]] ksys_status gauss2_smoothImage16(const kimg_imageConst* src, kimg_image* dst, ReductionFlags flags);
[[nodiscard]] ksys_status gauss2_smoothMaskedImage8(const kimg_imageConst* src, const kimg_image8* srcMask,
                                                    kimg_image* dst, kimg_image8* dstMask, ReductionFlags flags);
[[nodiscard]] ksys_status gauss2_smoothMaskedImage16(const kimg_imageConst* src, const kimg_image8* srcMask,
                                                     kimg_image* dst, kimg_image8* dstMask, ReductionFlags flags);

}  // namespace kip
