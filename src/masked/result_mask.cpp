// SPDX-License-Identifier: Apache-2.0
#include "frame/images.hpp"
#include "geometry/windows.hpp"
#include "kip/masked.h"
#include "masked/coverage.hpp"
#include "masked/extend_rows.hpp"
#include "masked/point_to.hpp"

namespace kip {

namespace {

// The rectangle asked for; an unbound mask is bound to all that the source supplies, unless that is nothing.
[[nodiscard]] ksys_status bindMask(kimg_image8& dstMask, const kstd_rect32& source, const kip_gaussParams& params,
                                   kstd_rect32& requested) {
  int32_t bound = 0;
  ksys_status status = kimg_image_getIsBound(&dstMask, &bound);
  if (failed(status)) return status;
  if (bound != 0) return kimg_image_getWindow(&dstMask, &requested);
  if (failed(status = gauss_computeDstRect(source, params, requested)) || isNull(requested)) return status;
  return kimg_image8_assignNewRect(&dstMask, &requested);
}

// Copies the source's part of the mask into the plane, 1 for bytes from 128 on.
void binarise(const kimg_window8Const& mask, const kimg_window8& plane, const kstd_rect32& padding) {
  const PlaneRows rows(plane, padding);
  for (int64_t row = 0; row < rows.count; ++row) {
    const uint8_t* const from = rowOf<uint8_t>(mask, row);
    uint8_t* const to = rowOf<uint8_t>(plane, rows.top + row);
    for (int64_t x = 0; x < plane.width; ++x) to[x] = from[x] >> 7;
  }
}

// Writes the outputs of a row whose counts are given. `restriction`: the sample mask's row or null.
void writeRow(const int64_t* counts, const uint8_t* restriction, const kip_gaussParams& params, int64_t threshold,
              uint8_t* out, int64_t width) {
  for (int64_t c = 0; c < width; ++c) {
    const int64_t position = c * params.xSample;
    const bool valid = counts[position] >= threshold && (restriction == nullptr || restriction[position] != 0);
    out[c] = valid ? 255 : 0;
  }
}

// The rectangles of a request.
struct Rects {
  kstd_rect32 source, destination, mirror, padding, needed;
};

// `planeImage` outlives the clean-up stack; `sampleMask` may be null.
ksys_status computeMask(Cleanup& cleanup, kimg_image8& planeImage, const kimg_image8& srcMask,
                        const kimg_image8* sampleMask, const kip_gaussParams& params, const Rects& rects,
                        const kimg_image8& dstMask) {
  kimg_windowConst readablePlane;
  const LineGeometry geometry(rects.source.width, rects.mirror, rects.padding, params.xSigma);
  gauss_coverageRows coverage(readablePlane, geometry, params);
  const kstd_rect32 planeRect = {rects.source.x, rects.needed.y, rects.source.width, rects.needed.height};
  ksys_status status = constructImage<uint8_t>(cleanup, planeImage, planeRect);
  if (failed(status)) return status;
  if (failed(status = coverage.allocate(cleanup))) return status;
  kimg_windowConst mask;
  if (failed(status = kimg_window8Const_init(&mask, &srcMask))) return status;
  kimg_windowConst samples;
  status =
      sampleMask != nullptr ? kimg_window8Const_init(&samples, sampleMask) : kimg_windowConst_initUnbound(&samples);
  if (failed(status)) return status;
  if (failed(status = pointTo(rects.source, mask, samples))) return status;
  kimg_window out;
  if (failed(status = kimg_window8_init(&out, &dstMask))) return status;
  if (failed(status = pointTo(rects.destination, out))) return status;
  kimg_window plane;
  if (failed(status = kimg_window8_init(&plane, &planeImage))) return status;
  if (failed(status = kimg_window8Const_init(&readablePlane, &planeImage))) return status;

  binarise(mask, plane, rects.padding);
  extendRows<uint8_t>(plane, rects.padding);
  const int64_t threshold = coverageThreshold(params);
  forEachOutputRow(
      out.height, params, [&](int64_t row) { coverage.enter(row); },
      [&](int64_t row) {
        const uint8_t* const restriction = samples.bound != 0 ? rowOf<uint8_t>(samples, row * params.ySample) : nullptr;
        writeRow(coverage.countRow(), restriction, params, threshold, rowOf<uint8_t>(out, row), out.width);
      });
  return 0;
}

}  // namespace

}  // namespace kip

ksys_status kip_filterMask_computeResultMask_(const kimg_image8* srcMask, const kimg_image8* sampleMask,
                                              const int32_t sigma[2], const int32_t sample[2], double minCoverage,
                                              kimg_image8* dstMask) {
  using kip::check;
  using kip::failed;
  kimg_image8 plane;  // outlives the clean-up stack
  return kip::withCleanup<3>([&](kip::Cleanup& cleanup) -> ksys_status {
    check(srcMask != nullptr && sigma != nullptr && sample != nullptr && dstMask != nullptr);
    check(minCoverage >= 0.0 && minCoverage <= 1.0);
    kip_gaussParams params;
    ksys_status status = kip_gaussParams_init(&params);
    if (failed(status)) return status;
    params.xSample = sample[0];
    params.ySample = sample[1];
    params.xSigma = sigma[0];
    params.ySigma = sigma[1];
    params.filterMask.minCoverage = minCoverage;
    kip::checkGeometryParams(&params);

    int32_t bound = 0;
    if (failed(status = kimg_imageConst_getIsBound(srcMask, &bound))) return status;
    if (bound == 0) return KIP_STATUS_NOT_BOUND;
    int32_t match = 1;
    bound = 0;
    if (sampleMask != nullptr) {
      if (failed(status = gauss_checkImageWindowMatch(srcMask, sampleMask, &match, &bound))) return status;
      check(match != 0);
    }
    kstd_rect32 source;
    if (failed(status = kimg_image8Const_getWindow(srcMask, &source))) return status;
    kstd_rect32 requested;
    if (failed(status = kip::bindMask(*dstMask, source, params, requested))) return status;
    kip::Rects rects;
    status = gauss_setup(&source, &requested, &params, &rects.source, &rects.destination, &rects.mirror, &rects.padding,
                         &rects.needed);
    if (failed(status) || kip::isNull(rects.destination)) return status;
    return kip::computeMask(cleanup, plane, *srcMask, bound != 0 ? sampleMask : nullptr, params, rects, *dstMask);
  });
}
