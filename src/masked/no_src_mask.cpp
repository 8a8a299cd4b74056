// SPDX-License-Identifier: Apache-2.0
#include "masked/no_src_mask.hpp"

#include "frame/check.hpp"
#include "frame/optimized.hpp"
#include "frame/windows.hpp"
#include "kip/gauss.h"
#include "kip/geometry.h"
#include "kip/host/kpel.h"
#include "masked/lanes_engine.hpp"
#include "masked/plane.hpp"
#include "masked/portable.hpp"
#include "masked/saturate.hpp"

namespace kip {

namespace {

// Where the sample mask is 0 at an output's sample position, the output becomes the scaled source pixel there.
template <typename Src, typename Dst>
void copyMaskedSamples(const kimg_windowConst& src, const kimg_window8Const& sampleMask, const kip_gaussParams& params,
                       const int32_t offset[2], const kimg_window& dst) {
  check(src.width > (int64_t{dst.width} - 1) * params.xSample + offset[0]);
  check(src.height > (int64_t{dst.height} - 1) * params.ySample + offset[1]);
  const double half = params.scale == 1.0 ? 0.0 : roundingTerm(params);
  for (int64_t v = 0; v < dst.height; ++v) {
    const int64_t row = offset[1] + v * params.ySample;
    const Src* const samples = rowOf<Src>(src, row) + offset[0];
    const uint8_t* const mask = rowOf<uint8_t>(sampleMask, row) + offset[0];
    Dst* const out = rowOf<Dst>(dst, v);
    for (int64_t u = 0; u < dst.width; ++u) {
      const int64_t column = u * params.xSample;
      if (mask[column] == 0) out[u] = saturate<Dst>(samples[column] * params.scale + half);
    }
  }
}

// Makes the unmasked result that of a request without a source mask.
template <typename Src, typename Dst>
ksys_status applySampleMask(const MaskedWindows& windows, const kip_gaussParams& params) {
  int32_t offset[2];
  gauss_computeSampleStartOffset(&params, offset);
  const bool restricted = windows.sampleMask.bound != 0;
  if (restricted) copyMaskedSamples<Src, Dst>(windows.src, windows.sampleMask, params, offset, windows.dst);
  if (windows.dstMask.bound == 0) return 0;
  if (!restricted) return kip_pelSetWindow8(&windows.dstMask, 255);
  const int32_t sample[2] = {params.xSample, params.ySample};
  return gauss_pelCopySampledWindow8(&windows.sampleMask, sample, offset, &windows.dstMask);
}

// `smooth`: the unmasked window function of the destination's pixels.
template <typename Dst, typename Smooth>
ksys_status smoothUnmasked(const MaskedWindows& windows, const kip_gaussParams& params, Smooth&& smooth) {
  const ksys_status status = smooth(&windows.src, &windows.dst, &params);
  return failed(status) ? status : applySampleMask<uint8_t, Dst>(windows, params);
}

// The portable form for 16-bit sources: the mask plane counts every row, also those that are 0 since no reflection
// supplies them.
ksys_status smoothAllValid(const PreparedRequest& request, const kip_gaussParams& params) {
  // what the clean-up stack refers to outlives it
  kimg_image16 imagePlane;
  kimg_image8 srcMask;
  kimg_image8 maskPlane;
  return withCleanup<3>([&](Cleanup& cleanup) -> ksys_status {
    kimg_window16 image;
    kimg_window8 valid;
    kimg_window8 ones;
    ksys_status status = makeExtendedPlane<uint16_t>(cleanup, imagePlane, request, image);
    if (failed(status)) return status;
    if (failed(status = constructImage<uint8_t>(cleanup, srcMask, request.source))) return status;
    if (failed(status = kimg_window8_init(&valid, &srcMask))) return status;
    if (failed(status = kip_pelSetWindow8(&valid, 255))) return status;
    if (failed(status = constructPlane<uint8_t>(cleanup, maskPlane, request, ones))) return status;
    if (failed(status = kip_pelSetWindow8(&ones, 1))) return status;
    gauss_bandParams band = wholeRequest(request, params, image, ones);
    band.srcMask = asConst(valid);
    band.params.filterMask.useCoverage = 0;
    return gauss_smoothMaskedGeneric16(band);
  });
}

}  // namespace

ksys_status gauss_smoothWindow_noSrcMask8_8(const PreparedRequest& request, const kip_gaussParams& params) {
  return smoothUnmasked<uint8_t>(request.windows, params, kip_gauss_smoothWindow8_8);
}

ksys_status gauss_smoothWindow_noSrcMask8_16(const PreparedRequest& request, const kip_gaussParams& params) {
  return smoothUnmasked<uint16_t>(request.windows, params, kip_gauss_smoothWindow8_16);
}

ksys_status gauss_smoothWindow_noSrcMask16_16(const PreparedRequest& request, const kip_gaussParams& params) {
  const auto vectorised = [&] {
    const ksys_status status = gauss_smoothAllVec16(request, params);
    return failed(status) ? status : applySampleMask<uint16_t, uint16_t>(request.windows, params);
  };
  return runOptimized(L"gauss_smoothWindow_noSrcMask16_16", vectorised,
                      [&] { return smoothAllValid(request, params); });
}

}  // namespace kip
