// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "kip/host/kstd.h"

namespace kip {

// A run of pixels or offsets along one axis, in 64 bits so that no product or sum of 32-bit geometry overflows.
struct Span {
  int64_t start = 0;
  int64_t size = 0;

  [[nodiscard]] constexpr int64_t end() const { return start + size; }
  [[nodiscard]] constexpr bool isNull() const { return size <= 0; }
  // Whether its first and last element and its size can be told in 32 bits.
  [[nodiscard]] constexpr bool fits32() const {
    using Limits = std::numeric_limits<int32_t>;
    return start >= Limits::min() && start <= Limits::max() && end() - 1 >= Limits::min() &&
           end() - 1 <= Limits::max() && size >= Limits::min() && size <= Limits::max();
  }

  friend constexpr bool operator==(const Span&, const Span&) = default;
};

[[nodiscard]] constexpr bool contains(Span outer, Span inner) {
  return outer.start <= inner.start && inner.end() <= outer.end();
}

[[nodiscard]] constexpr Span intersect(Span a, Span b) {
  const int64_t start = std::max(a.start, b.start);
  return {start, std::min(a.end(), b.end()) - start};
}

// The run swept by `taps` placed at every element of `a`.
[[nodiscard]] constexpr Span dilate(Span a, Span taps) {
  return {a.start + taps.start, a.size + taps.size - 1};
}

// The positions at which `taps` lie inside `a`.
[[nodiscard]] constexpr Span erode(Span a, Span taps) {
  return {a.start - taps.start, a.size - taps.size + 1};
}

[[nodiscard]] constexpr int32_t saturate32(int64_t value) {
  using Limits = std::numeric_limits<int32_t>;
  return static_cast<int32_t>(std::clamp<int64_t>(value, Limits::min(), Limits::max()));
}

// Of regions and rectangles.
template <typename Rect>
[[nodiscard]] constexpr Span columns(const Rect& rect) {
  return {rect.x, rect.width};
}
template <typename Rect>
[[nodiscard]] constexpr Span rows(const Rect& rect) {
  return {rect.y, rect.height};
}
template <typename Rect>
[[nodiscard]] constexpr bool isNull(const Rect& rect) {
  return rect.width <= 0 || rect.height <= 0;
}
[[nodiscard]] constexpr ksIRegion makeRegion(Span x, Span y) {
  return {saturate32(x.start), saturate32(y.start), saturate32(x.size), saturate32(y.size)};
}

}  // namespace kip
