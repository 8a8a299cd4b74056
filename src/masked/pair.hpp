// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "kip/host/kpel.h"
#include "masked/generic.hpp"
#include "masked/no_src_mask.hpp"
#include "masked/set_mask.hpp"
#include "masked/vec8.hpp"

namespace kip {

// What masked smoothing does differently for a pair of pixel types.
template <typename Src, typename Dst>
struct MaskedPair;

template <>
struct MaskedPair<uint8_t, uint8_t> {
  static constexpr auto inhibitName = L"gauss_smoothMaskedWindow8_8";
  static constexpr auto maxSigma = kip_gaussParamsGetMaxSigma;
  static constexpr auto assignNewRect = kimg_image8_assignNewRect;
  static constexpr auto withoutSrcMask = gauss_smoothWindow_noSrcMask8_8;
  static constexpr auto copyWindow = kip_pelCopyWindow8;
  static constexpr auto setMask = gauss_setMaskResetMaskedWindow8;
  static constexpr auto vectorised = gauss_smoothMaskedVec8;
  static constexpr auto generic = gauss_smoothMaskedGeneric8;
};

}  // namespace kip
