// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "masked/lanes_engine.hpp"
#include "masked/no_src_mask.hpp"
#include "masked/portable.hpp"
#include "masked/set_mask.hpp"

namespace kip {

// What masked smoothing does differently for a type of source pixels and for a pair of types.
template <typename Src>
struct MaskedSource;

template <>
struct MaskedSource<uint8_t> {
  static constexpr auto maxSigma = kip_gaussParamsGetMaxSigma;
  static constexpr auto setMask = gauss_setMaskResetMaskedWindow8;
};

template <>
struct MaskedSource<uint16_t> {
  static constexpr auto maxSigma = kip_gaussParamsGetMaxSigma16;
  static constexpr auto setMask = gauss_setMaskResetMaskedWindow16;
};

template <typename Src, typename Dst>
struct MaskedPair;

template <>
struct MaskedPair<uint8_t, uint8_t> : MaskedSource<uint8_t> {
  static constexpr auto inhibitName = L"gauss_smoothMaskedWindow8_8";
  static constexpr auto assignNewRect = kimg_image8_assignNewRect;
  static constexpr auto withoutSrcMask = gauss_smoothWindow_noSrcMask8_8;
  static constexpr auto vectorised = gauss_smoothMaskedVec8;
  static constexpr auto portable = gauss_smoothMaskedGeneric8;
};

template <>
struct MaskedPair<uint8_t, uint16_t> : MaskedSource<uint8_t> {
  static constexpr auto inhibitName = L"gauss_smoothMaskedWindow8_16";
  static constexpr auto assignNewRect = kimg_image16_assignNewRect;
  static constexpr auto withoutSrcMask = gauss_smoothWindow_noSrcMask8_16;
  static constexpr auto vectorised = gauss_smoothMaskedVec8_16;
  static constexpr auto portable = gauss_smoothMaskedGeneric8_16;
};

template <>
struct MaskedPair<uint16_t, uint16_t> : MaskedSource<uint16_t> {
  static constexpr auto inhibitName = L"gauss_smoothMaskedWindow16_16";
  static constexpr auto assignNewRect = kimg_image16_assignNewRect;
  static constexpr auto withoutSrcMask = gauss_smoothWindow_noSrcMask16_16;
  static constexpr auto vectorised = gauss_smoothMaskedVec16;
  static constexpr auto portable = gauss_smoothMaskedGeneric16;
};

}  // namespace kip
