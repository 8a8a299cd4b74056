// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "frame/status.hpp"
#include "kip/host/kpel.h"
#include "kip/params.h"

namespace kip {

// What the image and window functions do differently for 8-bit and 16-bit destinations.
template <typename Pixel>
struct DestinationOf;

template <>
struct DestinationOf<uint8_t> {
  static constexpr bool refusesShared = true;
  static constexpr const ksVImage& legacyTemplate = ksImageNull;
  static constexpr auto fromImage = generate_ksImage_from_kimg_image8Const;
  static constexpr auto fromWindow = generate_ksImage_from_kimg_windowConst;
};

template <>
struct DestinationOf<uint16_t> {
  static constexpr bool refusesShared = false;  // that source and destination are apart is left to the caller
  static constexpr const ksVImage& legacyTemplate = ksUSImageNull;
  static constexpr auto fromImage = generate_ksUSImage_from_kimg_image16Const;
  static constexpr auto fromWindow = generate_ksUSImage_from_kimg_windowConst;
};

// Refuses windows that share pixels. That both begin at the same pixel is tested again, for hosts whose own check lets
// such a pair pass.
[[nodiscard]] inline ksys_status checkSeparate(const kimg_windowConst& src, const kimg_windowConst& dst) {
  const ksys_status status = kip_pelfunc_checkMemoryOverlap(&src, &dst);
  if (failed(status)) return status;
  const bool same = src.bound != 0 && dst.bound != 0 && src.pixels == dst.pixels;
  return same ? KIP_STATUS_SAME_PIXELS : 0;
}

}  // namespace kip
