// SPDX-License-Identifier: Apache-2.0
// How pixels lie in memory.
#pragma once

#include <cstdint>
#include <type_traits>

#include "kip/host/kstd.h"
#include "kstd_geometry.hpp"

namespace kiphost {

inline constexpr int64_t kRowAlignment = 64;

constexpr bool isPixelSize(int32_t bytes) {
  return bytes == 1 || bytes == 2;
}

// Whether the sizes are no less than 0 and the rectangle's end fits in 32 bits.
template <class Rect>
constexpr bool isRepresentable(const Rect& r) {
  return r.width >= 0 && r.height >= 0 && endX(r) <= INT32_MAX && endY(r) <= INT32_MAX;
}

// Whether these pixels at this stride, in units of a pixel's `unit`, can be an image's.
template <class Rect>
constexpr bool isUsableMemory(const Rect& r, const void* pixels, int64_t stride, int32_t unit) {
  if (!isRepresentable(r)) return false;
  if (isNull(r)) return true;
  return pixels != nullptr && (r.height == 1 || (stride >= int64_t{r.width} * unit && stride % unit == 0));
}

// Whether a record's rows lie apart, top to bottom. Nothing but a caller that writes the field makes others.
template <class Record>
constexpr bool hasUsableStride(const Record& record) {
  return record.height <= 1 || record.stride >= record.width;
}

// Bytes from a row to the next in memory of the host's own: whole cache lines.
constexpr int64_t ownRowBytes(int32_t width, int32_t pixelBytes) {
  return (int64_t{width} * pixelBytes + kRowAlignment - 1) / kRowAlignment * kRowAlignment;
}

// The window of an image's or window's record; null when the record is not bound.
template <class Record>
constexpr kstd_rect32 windowOf(const Record& record) {
  return record.bound != 0 ? kstd_rect32{record.x, record.y, record.width, record.height} : kstd_rect32{};
}

// The pixel `columns` to the right of and `rows` below the one at `pixels`; strideBytes leads a row down.
template <class Pointer>
Pointer* moved(Pointer* pixels, int64_t columns, int64_t rows, int32_t pixelBytes, int64_t strideBytes) {
  using Byte = std::conditional_t<std::is_const_v<Pointer>, const char, char>;
  return static_cast<Byte*>(pixels) + rows * strideBytes + columns * pixelBytes;
}

}  // namespace kiphost
