// SPDX-License-Identifier: Apache-2.0
#include "frame/check.hpp"
#include "frame/status.hpp"
#include "kip/geometry.h"

using kip::check;
using kip::failed;

ksys_status gauss_checkWindowMatch(const kimg_windowConst* a, const kimg_windowConst* b, int32_t* match,
                                   int32_t* bound) {
  check(a != nullptr && b != nullptr && match != nullptr && bound != nullptr);
  int32_t isNull = 0;
  const ksys_status status = kimg_windowConst_getIsNull(b, &isNull);
  if (failed(status)) return status;
  *bound = isNull == 0;
  *match = isNull != 0 || (a->width == b->width && a->height == b->height && a->x == b->x && a->y == b->y);
  return status;
}

ksys_status gauss_checkImageWindowMatch(const kimg_imageConst* a, const kimg_imageConst* b, int32_t* match,
                                        int32_t* bound) {
  check(a != nullptr && b != nullptr && match != nullptr && bound != nullptr);
  kstd_rect32 aRect;
  ksys_status status = kimg_imageConst_getWindow(a, &aRect);
  if (failed(status)) return status;
  int32_t isBound = 0;
  if (failed(status = kimg_imageConst_getIsBound(b, &isBound))) return status;
  *bound = isBound != 0;
  *match = 1;
  if (isBound == 0) return status;
  kstd_rect32 bRect;
  if (failed(status = kimg_imageConst_getWindow(b, &bRect))) return status;
  kstd_rect32_compareEqual(&aRect, &bRect, match);
  return status;
}
