// SPDX-License-Identifier: Apache-2.0
// Geometry of rectangles, for kstd_rect32 and ksIRegion alike.
#pragma once

#include <algorithm>
#include <cstdint>

namespace kiphost {

template <class Rect>
constexpr bool isNull(const Rect& r) {
  return r.width < 1 || r.height < 1;
}

// One past the last column and row.
template <class Rect>
constexpr int64_t endX(const Rect& r) {
  return int64_t{r.x} + r.width;
}
template <class Rect>
constexpr int64_t endY(const Rect& r) {
  return int64_t{r.y} + r.height;
}

// Every column and row of `inner` is one of `outer`; sizes of 0 are located by their position.
template <class Rect>
constexpr bool encloses(const Rect& outer, const Rect& inner) {
  return inner.x >= outer.x && inner.y >= outer.y && endX(inner) <= endX(outer) && endY(inner) <= endY(outer);
}

template <class Rect>
constexpr Rect intersection(const Rect& a, const Rect& b) {
  const int32_t x = std::max(a.x, b.x), y = std::max(a.y, b.y);
  const int64_t width = std::min(endX(a), endX(b)) - x, height = std::min(endY(a), endY(b)) - y;
  if (width < 1 || height < 1) return {};
  return {x, y, static_cast<int32_t>(width), static_cast<int32_t>(height)};
}

}  // namespace kiphost
