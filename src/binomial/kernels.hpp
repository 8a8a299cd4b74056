// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "frame/optimized.hpp"

namespace kip {

// What a kernel works on. The kernel decides the destination's size: a reduced axis has half as many pixels, rounded
// down. Pitches are in pixels.
template <typename Pixel>
struct KernelCall {
  int64_t width, height;  // of the source
  const Pixel* src = nullptr;
  int64_t srcPitch = 0;
  Pixel* dst = nullptr;
  int64_t dstPitch = 0;
  // of masked kernels only; a null result mask is not wanted
  const uint8_t* srcMask = nullptr;
  int64_t srcMaskPitch = 0;
  uint8_t* dstMask = nullptr;
  int64_t dstMaskPitch = 0;

  [[nodiscard]] const Pixel* srcRow(int64_t y) const { return src + y * srcPitch; }
  [[nodiscard]] const uint8_t* srcMaskRow(int64_t y) const { return srcMask + y * srcMaskPitch; }
  [[nodiscard]] Pixel* dstRow(int64_t y) const { return dst + y * dstPitch; }
  [[nodiscard]] uint8_t* dstMaskRow(int64_t y) const {
    return dstMask == nullptr ? nullptr : dstMask + y * dstMaskPitch;
  }
};

template <typename Pixel>
using Kernel = ksys_status(const KernelCall<Pixel>& call);

// The axes along which a kernel smooths, and a reduction drops every second pixel.
enum class Axes { both, x, y };

[[nodiscard]] constexpr bool alongX(Axes axes) {
  return axes != Axes::y;
}
[[nodiscard]] constexpr bool alongY(Axes axes) {
  return axes != Axes::x;
}

// A kernel's two versions, and the name by which the host may forbid the optimized one. That one is a hook: what it
// does not serve it answers with the fallback status before anything is written. Without masks both give the same
// integers; with masks the hook's outputs in whole steps of eight are single-precision quotients.
template <typename Pixel>
struct Versions {
  const wchar_t* name;
  Kernel<Pixel>* hook;  // null: serves nothing
  Kernel<Pixel>* portable;
};

// Weights 1 4 6 4 1 along the axes, with one rounding: every pixel, or every second one along the same axes.
template <typename Pixel, bool Masked>
[[nodiscard]] const Versions<Pixel>& smoothing(Axes axes);
template <typename Pixel, bool Masked>
[[nodiscard]] const Versions<Pixel>& reduction(Axes axes);

template <typename Pixel>
[[nodiscard]] ksys_status run(const Versions<Pixel>& versions, const KernelCall<Pixel>& call) {
  return runOptimized(
      versions.name, [&] { return versions.hook == nullptr ? statusFallback : versions.hook(call); },
      [&] { return versions.portable(call); });
}

}  // namespace kip
