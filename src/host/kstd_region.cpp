// SPDX-License-Identifier: Apache-2.0
#include "kip/host/kstd.h"
#include "kstd_geometry.hpp"

using kiphost::isNull;

namespace {

constexpr int32_t saturated(int64_t value) {
  return static_cast<int32_t>(std::clamp<int64_t>(value, INT32_MIN, INT32_MAX));
}

// What k's taps sweep from every pixel of a, with sign 1; the pixels of a from where all of them lie inside it, with
// -1. Null when that is no pixel.
ksIRegion combined(const ksIRegion& a, const ksIRegion& k, int64_t sign) {
  const int64_t width = a.width + sign * (int64_t{k.width} - 1), height = a.height + sign * (int64_t{k.height} - 1);
  if (isNull(a) || isNull(k) || width < 1 || height < 1) return {};
  return {saturated(a.x + sign * k.x), saturated(a.y + sign * k.y), saturated(width), saturated(height)};
}

}  // namespace

const ksIRegion ksIRegionNull = {0, 0, 0, 0};

void ksIRegionCT(int32_t x, int32_t y, int32_t width, int32_t height, ksIRegion* out) {
  *out = {x, y, width, height};
}

int32_t ksIRegionIsNull(const ksIRegion* region) {
  return isNull(*region);
}

void ksIRegionIntersect(const ksIRegion* a, const ksIRegion* b, ksIRegion* out) {
  *out = kiphost::intersection(*a, *b);
}

int32_t ksIRegionContains(const ksIRegion* a, const ksIRegion* b) {
  return isNull(*b) || (!isNull(*a) && kiphost::encloses(*a, *b));
}

void ksIRegionDilate(const ksIRegion* a, const ksIRegion* k, ksIRegion* out) {
  *out = combined(*a, *k, 1);
}

void ksIRegionErode(const ksIRegion* a, const ksIRegion* k, ksIRegion* out) {
  *out = combined(*a, *k, -1);
}
