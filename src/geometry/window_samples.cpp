// SPDX-License-Identifier: Apache-2.0
#include "frame/check.hpp"
#include "frame/windows.hpp"
#include "kip/geometry.h"

using kip::check;

void gauss_computeSampleStartOffset(const kip_gaussParams*, int32_t offset[2]) {
  check(offset != nullptr);
  offset[0] = 0;
  offset[1] = 0;
}

ksys_status gauss_pelCopySampledWindow8(const kimg_window8Const* src, const int32_t sample[2], const int32_t offset[2],
                                        const kimg_window8* dst) {
  check(src != nullptr && sample != nullptr && offset != nullptr && dst != nullptr);
  if (dst->width <= 0 || dst->height <= 0) return 0;
  check(sample[0] >= 1 && sample[1] >= 1 && offset[0] >= 0 && offset[1] >= 0);
  check(src->width > (int64_t{dst->width} - 1) * sample[0] + offset[0]);
  check(src->height > (int64_t{dst->height} - 1) * sample[1] + offset[1]);
  for (int64_t v = 0; v < dst->height; ++v) {
    const uint8_t* const from = kip::rowOf<uint8_t>(*src, offset[1] + v * sample[1]) + offset[0];
    uint8_t* const to = kip::rowOf<uint8_t>(*dst, v);
    for (int64_t u = 0; u < dst->width; ++u) to[u] = from[u * sample[0]];
  }
  return 0;
}
