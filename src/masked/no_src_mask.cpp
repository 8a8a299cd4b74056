// SPDX-License-Identifier: Apache-2.0
#include "masked/no_src_mask.hpp"

#include "api/geometry_rows.hpp"
#include "frame/check.hpp"
#include "kip/gauss.h"
#include "kip/geometry.h"
#include "kip/host/kpel.h"
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

// `smooth`: the unmasked window function of these pixel types.
template <typename Src, typename Dst, typename Smooth>
ksys_status smoothWithoutMask(const MaskedWindows& windows, const kip_gaussParams& params, Smooth&& smooth) {
  ksys_status status = smooth(&windows.src, &windows.dst, &params);
  if (failed(status)) return status;
  int32_t offset[2];
  gauss_computeSampleStartOffset(&params, offset);
  const bool restricted = windows.sampleMask.bound != 0;
  if (restricted) copyMaskedSamples<Src, Dst>(windows.src, windows.sampleMask, params, offset, windows.dst);
  if (windows.dstMask.bound == 0) return status;
  if (!restricted) return kip_pelSetWindow8(&windows.dstMask, 255);
  const int32_t sample[2] = {params.xSample, params.ySample};
  return gauss_pelCopySampledWindow8(&windows.sampleMask, sample, offset, &windows.dstMask);
}

}  // namespace

ksys_status gauss_smoothWindow_noSrcMask8_8(const MaskedWindows& windows, const kip_gaussParams& params) {
  return smoothWithoutMask<uint8_t, uint8_t>(windows, params, kip_gauss_smoothWindow8_8);
}

}  // namespace kip
