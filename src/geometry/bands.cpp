// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "frame/check.hpp"
#include "geometry/windows.hpp"

using kip::check;

int32_t kip::gauss_computeBandCount(const kip_gaussParams& params, const kstd_rect32& source,
                                    const kstd_rect32& padding, const kstd_rect32& destination, int32_t maximum) {
  // the rows under a band's kernels are at least five times those of the padding
  const int64_t rows = 5 * (int64_t{padding.height} - 1) - yKernel(params).taps().size;
  const int64_t minimum = std::max<int64_t>(rows / params.ySample + 2, 10);
  // the area wraps around in 32 bits: huge sources are not cut
  const auto area = static_cast<int32_t>(static_cast<uint32_t>(source.width) * static_cast<uint32_t>(source.height));
  const int32_t byArea = kmath_double_ceil(area / 16384.0);
  return static_cast<int32_t>(std::min<int64_t>({maximum, byArea, destination.height / minimum}));
}

ksys_status gauss_computeSrcRectsFromDstRect(const kip_gaussParams* params, const kstd_rect32* src,
                                             const kstd_rect32* padding, const kstd_rect32* bandDst, int32_t startRow,
                                             kstd_rect32* bandSrc, kstd_rect32* bandPlane) {
  kip::checkGeometryParams(params);
  check(src != nullptr && padding != nullptr && bandDst != nullptr && bandSrc != nullptr && bandPlane != nullptr);
  const int64_t top = src->y;
  const int64_t bottom = top + src->height;
  const int64_t planeTop = top + padding->y;
  const int64_t planeBottom = planeTop + src->height + padding->height - 1;
  // the rows of the band, mirrored ones included
  const int64_t span = (int64_t{bandDst->height} - 1) * params->ySample + kip::yKernel(*params).taps().size;
  const int64_t first = top + startRow;
  const int64_t end = std::min(first + span + 1 - padding->height, bottom);
  const int64_t planeEnd = std::min(first + padding->y + span, planeBottom);
  check(top <= first && first < bottom);
  check(top <= end && end <= bottom);

  const auto height = static_cast<int32_t>(end - first);
  const auto planeHeight = static_cast<int32_t>(planeEnd - first - padding->y);
  const auto bandTop = static_cast<int32_t>(first);
  const ksys_status status = kstd_rect32_init(bandSrc, src->x, bandTop, src->width, height);
  if (kip::failed(status)) return status;
  const ksys_status planeStatus =
      kstd_rect32_init(bandPlane, src->x, static_cast<int32_t>(first + padding->y), src->width, planeHeight);
  if (kip::failed(planeStatus)) return planeStatus;
  check(bandPlane->y >= planeTop);
  check(int64_t{bandPlane->y} + bandPlane->height <= planeBottom);
  return 0;
}
