// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "binomial/kernels.hpp"
#include "kip/host/kimg.h"

namespace kip {

// Transforms come in pairs, source and destination, and may be null; the destination's is the source's
// client-from-image transform after the map from destination to source pixels.
struct Reduction {
  const kimg_windowConst* src;
  const kimg_window8Const* srcMask = nullptr;  // masked reductions only
  const kimg_window* dst;
  const kimg_window8* dstMask = nullptr;  // masked reductions only; null: not wanted
  Axes axes;
  kstd_rect32 reduced = {};  // of the whole source window
  kstd_rect32 target = {};   // the part of it to compute; may be null
  const kmath_xformLinear* srcLinear = nullptr;
  kmath_xformLinear* dstLinear = nullptr;
  const kmath_xformPtrhConst* srcGeneral = nullptr;
  kmath_xformPtrhConst* dstGeneral = nullptr;
};

// Reduces the pixels that the target needs and writes the destination's transform, that one for a null target too.
template <typename Pixel, bool Masked>
[[nodiscard]] ksys_status reduceWindows(const Reduction& reduction);

}  // namespace kip
