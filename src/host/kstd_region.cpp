// SPDX-License-Identifier: Apache-2.0
#include "kip/host/kstd.h"
#include "kstd_geometry.hpp"

using kiphost::isNull;

namespace {

constexpr int32_t saturated(int64_t value) {
  return static_cast<int32_t>(std::clamp<int64_t>(value, INT32_MIN, INT32_MAX));
}

// The region of these fields, null when it has no pixel.
constexpr ksIRegion regionOf(int64_t x, int64_t y, int64_t width, int64_t height) {
  if (width < 1 || height < 1) return {};
  return {saturated(x), saturated(y), saturated(width), saturated(height)};
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
  if (isNull(*a) || isNull(*k)) {
    *out = {};
    return;
  }
  *out = regionOf(int64_t{a->x} + k->x, int64_t{a->y} + k->y, int64_t{a->width} + k->width - 1,
                  int64_t{a->height} + k->height - 1);
}

void ksIRegionErode(const ksIRegion* a, const ksIRegion* k, ksIRegion* out) {
  if (isNull(*a) || isNull(*k)) {
    *out = {};
    return;
  }
  *out = regionOf(int64_t{a->x} - k->x, int64_t{a->y} - k->y, int64_t{a->width} - k->width + 1,
                  int64_t{a->height} - k->height + 1);
}
