// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "frame/status.hpp"

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

// The five-tap kernel 1 4 6 4 1 along both axes and every second column and row. The Vec kernels of this header are
// hooks: what they do not serve they answer with the fallback status before anything is written. Without masks they
// give the generic kernels' integers; with masks the outputs in whole steps of eight are single-precision quotients.
Kernel<uint8_t> gauss2_reduceXY8, gauss2_reduceXYVec8, gauss2_reduceMaskedXY8, gauss2_reduceMaskedXYVec8;
Kernel<uint16_t> gauss2_reduceXY16, gauss2_reduceXYVec16, gauss2_reduceMaskedXY16, gauss2_reduceMaskedXYVec16;

// Along one axis, exactly one flag set: a pass without sampling, then every second column or row.
[[nodiscard]] ksys_status gauss2_reduceXOrY8(const KernelCall<uint8_t>& call, bool xFlag, bool yFlag);
[[nodiscard]] ksys_status gauss2_reduceXOrY16(const KernelCall<uint16_t>& call, bool xFlag, bool yFlag);
[[nodiscard]] ksys_status gauss2_reduceMaskedXOrY8(const KernelCall<uint8_t>& call, bool xFlag, bool yFlag);
[[nodiscard]] ksys_status gauss2_reduceMaskedXOrY16(const KernelCall<uint16_t>& call, bool xFlag, bool yFlag);

// Passes without sampling: both axes with one rounding, horizontal, vertical.
Kernel<uint8_t> gauss2_smooth5x5_8, gauss2_smooth5x5Vec8, gauss2_smoothMasked5x5_8, gauss2_smoothMasked5x5Vec8;
Kernel<uint16_t> gauss2_smooth5x5_16, gauss2_smooth5x5Vec16, gauss2_smoothMasked5x5_16, gauss2_smoothMasked5x5Vec16;
Kernel<uint8_t> gauss2_smooth5x1_8, gauss2_smooth5x1Vec8, gauss2_smoothMasked5x1_8, gauss2_smoothMasked5x1Vec8;
Kernel<uint16_t> gauss2_smooth5x1_16, gauss2_smooth5x1Vec16, gauss2_smoothMasked5x1_16, gauss2_smoothMasked5x1Vec16;
Kernel<uint8_t> gauss2_smooth1x5_8, gauss2_smooth1x5Vec8, gauss2_smoothMasked1x5_8, gauss2_smoothMasked1x5Vec8;
Kernel<uint16_t> gauss2_smooth1x5_16, gauss2_smooth1x5Vec16, gauss2_smoothMasked1x5_16, gauss2_smoothMasked1x5Vec16;

}  // namespace kip
