// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <limits>

#include "frame/windows.hpp"
#include "masked/band.hpp"
#include "masked/constant_step.hpp"
#include "masked/coverage.hpp"
#include "masked/row_kernel.hpp"
#include "masked/saturate.hpp"
#include "masked/scale.hpp"
#include "masked/validity.hpp"

namespace kip {

template <typename Src, typename Dst>
[[nodiscard]] const MaskedPairKernel<Src, Dst>& pairKernel(const MaskedRowsKernel& kernel) {
  if constexpr (sizeof(Src) == 2) {
    return kernel.pair16_16;
  } else if constexpr (sizeof(Dst) == 2) {
    return kernel.pair8_16;
  } else {
    return kernel.pair8_8;
  }
}

// As a function of its own, so that the compiler knows that the rows are apart.
template <typename Src, typename Dst>
[[gnu::noinline]] void copyInvalid(Dst* __restrict dst, const uint8_t* __restrict valid, const Src* __restrict samples,
                                   int64_t width, int64_t xSample) {
  withStep(xSample, [=](auto step) {
    for (int64_t c = 0; c < width; ++c) {
      const Dst kept = dst[c];
      const Dst sample = samples[c * step];
      dst[c] = valid[c] != 0 ? kept : sample;
    }
  });
}

// Products of limited ones stay far below 2^64: from this factor on every sample but 0 reaches the limit. Others keep
// their low bits, whatever is lost above.
template <typename Dst>
[[nodiscard]] SampleScale sampleScaleOf(const kip_gaussParams& params) {
  constexpr uint64_t largest = std::numeric_limits<Dst>::max();
  const uint64_t half = params.roundResult != 0 ? 32768 : 0;
  const uint64_t factor = fixedPoint(params.scale);
  if (kindOf(params.scale) == ScaleKind::fixedPoint) return {factor, half, std::numeric_limits<uint64_t>::max()};
  return {std::min(factor, largest << 16), half, largest};
}

// Turns rows whose values were computed as if all outputs were valid into results.
template <typename Src, typename Dst>
class Results {
 public:
  Results(const gauss_bandParams& band, const LineGeometry& geometry, const MaskedRowsKernel& kernel)
      : band_(band),
        kernel_(kernel),
        firstSourceRow_(int64_t{band.src.y} - band.imagePlane.y),
        coverage_(band.maskPlane, geometry, band.params),
        threshold_(coverageThreshold(band.params)),
        scaleKind_(kindOf(band.params.scale)),
        sampleScale_(sampleScaleOf<Dst>(band.params)),
        useCoverage_(band.params.filterMask.useCoverage != 0),
        needsCounts_(useCoverage_) {
    const bool isShift = scaleKind_ == ScaleKind::one || scaleKind_ == ScaleKind::gain;
    gainBits_ = isShift ? binaryLogarithm(band.params.scale) : 0;
    isMaskAlone_ = band.sampleMask.bound == 0 && band.params.xSample == 1 && isShift &&
                   gainBits_ <= 8 * int32_t{sizeof(Dst) - sizeof(Src)};
  }

  [[nodiscard]] ksys_status allocate(Cleanup& cleanup, void* validRow) {
    valid_ = static_cast<uint8_t*>(validRow);
    return coverage_.allocate(cleanup);
  }

  void finish(int64_t row) {
    const int64_t width = band_.band.width;
    uint8_t* const valid = band_.dstMask.bound != 0 ? rowOf<uint8_t>(band_.dstMask, row) : valid_;
    // of the planes, whose rows are still in the caches
    const int64_t planeRow = firstSourceRow_ + row * band_.params.ySample;
    const uint8_t* const mask = rowOf<uint8_t>(band_.maskPlane, planeRow);
    const Src* const samples = rowOf<Src>(band_.imagePlane, planeRow);
    Dst* const dst = rowOf<Dst>(band_.dst, row);
    if (isMaskAlone_ && !needsCounts_) {
      // the common case in one go; the row is finished unless its mask turns out to have bytes that count nothing
      needsCounts_ = pairKernel<Src, Dst>(kernel_).replaceInvalid(mask, samples, gainBits_, dst, valid, width);
      if (!needsCounts_) return;
    }
    // once a mask has such bytes, outputs may have no pixel under them and still a valid sample: counts tell
    needsCounts_ = needsCounts_ || kernel_.hasUncounted(mask, band_.maskPlane.width);
    const kimg_windowConst& restriction = band_.effectiveSampleMask();
    findValid(
        {.mask = useCoverage_ ? nullptr : mask,
         .counts = needsCounts_ ? countsOf(row) : nullptr,
         .threshold = useCoverage_ ? threshold_ : 1,
         .restriction = restriction.bound != 0 ? rowOf<uint8_t>(restriction, row * band_.params.ySample) : nullptr},
        band_.params.xSample, valid, width);
    replaceInvalid(dst, valid, samples, width);
  }

 private:
  [[nodiscard]] const int64_t* countsOf(int64_t row) {
    for (const int64_t end = rowsUpTo(row, band_.params); entered_ < end; ++entered_) coverage_.enter(entered_);
    return coverage_.countRow();
  }

  void replaceInvalid(Dst* dst, const uint8_t* valid, const Src* samples, int64_t width) const {
    const kip_gaussParams& params = band_.params;
    if (scaleKind_ == ScaleKind::one) {
      copyInvalid(dst, valid, samples, width, params.xSample);
    } else if (scaleKind_ == ScaleKind::nearGain) {
      const double half = roundingTerm(params);
      for (int64_t c = 0; c < width; ++c) {
        if (valid[c] == 0) dst[c] = saturate<Dst>(samples[c * params.xSample] * params.scale + half);
      }
    } else {
      pairKernel<Src, Dst>(kernel_).scaleInvalid(valid, samples, params.xSample, sampleScale_, dst, width);
    }
  }

  const gauss_bandParams& band_;
  const MaskedRowsKernel& kernel_;
  int64_t firstSourceRow_;  // of the planes
  gauss_coverageRows coverage_;
  int64_t threshold_;
  ScaleKind scaleKind_;
  SampleScale sampleScale_;
  bool useCoverage_, needsCounts_;
  int32_t gainBits_;
  bool isMaskAlone_;     // the mask alone decides, and invalid outputs become shifted pixels
  int64_t entered_ = 0;  // rows of the plane that are counted
  uint8_t* valid_ = nullptr;
};

}  // namespace kip
