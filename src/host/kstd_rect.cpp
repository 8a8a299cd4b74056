// SPDX-License-Identifier: Apache-2.0
#include "kip/host/kstd.h"
#include "kstd_geometry.hpp"

ksys_status kstd_rect32_init(kstd_rect32* rect, int32_t x, int32_t y, int32_t width, int32_t height) {
  *rect = {x, y, width, height};
  return 0;
}

ksys_status kstd_rect32_compareEqual(const kstd_rect32* a, const kstd_rect32* b, int32_t* equal) {
  *equal = a->x == b->x && a->y == b->y && a->width == b->width && a->height == b->height;
  return 0;
}

ksys_status kstd_rect32_intersect(const kstd_rect32* a, const kstd_rect32* b, kstd_rect32* out) {
  *out = kiphost::intersection(*a, *b);
  return 0;
}

ksys_status kstd_rect32_getIsNull(const kstd_rect32* rect, int32_t* isNull) {
  *isNull = kiphost::isNull(*rect);
  return 0;
}
