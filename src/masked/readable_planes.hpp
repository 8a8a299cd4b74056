// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstring>

#include "frame/windows.hpp"
#include "masked/band.hpp"

namespace kip {

// The band's planes as the kernel reads them: in their own rows or, when those are narrower than a vector, in copies.
struct ReadablePlanes {
  const uint8_t* image;
  const uint8_t* mask;
  int64_t imagePitch, maskPitch;  // bytes
};

template <typename Pixel>
[[nodiscard]] uint8_t* widen(const kimg_windowConst& plane, int64_t width, uint8_t* to) {
  const size_t rowBytes = static_cast<size_t>(width) * sizeof(Pixel);
  const size_t pixelBytes = static_cast<size_t>(plane.width) * sizeof(Pixel);
  for (int64_t row = 0; row < plane.height; ++row, to += rowBytes) {
    std::memcpy(to, rowOf<Pixel>(plane, row), pixelBytes);
    std::memset(to + pixelBytes, 0, rowBytes - pixelBytes);
  }
  return to;
}

template <typename Src>
[[nodiscard]] ReadablePlanes takePlanes(const gauss_bandParams& band, bool all, int64_t readable, void* room) {
  if (readable == band.imagePlane.width) {
    return {reinterpret_cast<const uint8_t*>(rowOf<Src>(band.imagePlane, 0)),
            all ? nullptr : rowOf<uint8_t>(band.maskPlane, 0), band.imagePlane.stride * int64_t{sizeof(Src)},
            band.maskPlane.stride};
  }
  auto* const image = static_cast<uint8_t*>(room);
  uint8_t* const mask = widen<Src>(band.imagePlane, readable, image);
  if (!all) (void)widen<uint8_t>(band.maskPlane, readable, mask);
  return {image, mask, readable * int64_t{sizeof(Src)}, readable};
}

}  // namespace kip
