// SPDX-License-Identifier: Apache-2.0
#include "masked/portable.hpp"

#include "kip/geometry.h"
#include "masked/coverage.hpp"
#include "masked/saturate.hpp"
#include "masked/validity.hpp"
#include "masked/weighted_sums.hpp"

namespace kip {

namespace {

// The sums of an output row, an entry for each position of the taps along x.
struct SumRows {
  const double* image;
  const double* mask;
  const int64_t* coverage;  // null when the source mask at the sample decides
};

// Turns rows of sums into pixels.
template <typename Src, typename Dst>
class Output {
 public:
  explicit Output(const gauss_bandParams& band)
      : band_(band),
        width_(band.band.width),
        step_(band.params.xSample),
        threshold_(coverageThreshold(band.params)),
        half_(roundingTerm(band.params)) {
    gauss_computeSampleStartOffset(&band.params, offset_);
  }

  [[nodiscard]] ksys_status allocate(Cleanup& cleanup) {
    const ksys_status status = values_.allocate(cleanup, width_);
    return failed(status) || band_.dstMask.bound != 0 ? status : scratchMask_.allocate(cleanup, width_);
  }

  void emit(int64_t row, const SumRows& sums) const {
    uint8_t* const valid = band_.dstMask.bound != 0 ? rowOf<uint8_t>(band_.dstMask, row) : scratchMask_.data();
    const kimg_windowConst& sampleMask = band_.effectiveSampleMask();
    findValid({.mask = sums.coverage != nullptr ? nullptr : sampleRow<uint8_t>(band_.srcMask, row),
               .counts = sums.coverage,
               .threshold = threshold_,
               .restriction = sampleMask.bound != 0 ? sampleRow<uint8_t>(sampleMask, row) : nullptr},
              step_, valid, width_);
    divide(values_.data(), sums.image, sums.mask);
    replace(values_.data(), valid, sums.mask, sampleRow<Src>(band_.src, row));
    store(rowOf<Dst>(band_.dst, row), values_.data());
  }

 private:
  template <typename Pixel>
  [[nodiscard]] const Pixel* sampleRow(const kimg_windowConst& window, int64_t row) const {
    return rowOf<Pixel>(window, offset_[1] + row * band_.params.ySample) + offset_[0];
  }

  // Also where there is nothing to divide by.
  void divide(double* __restrict values, const double* image, const double* mask) const {
    const double scale = band_.params.scale;
    const int64_t step = step_;
    for (int64_t c = 0; c < width_; ++c) values[c] = image[c * step] * scale / mask[c * step] + half_;
  }

  // Invalid outputs take the source's pixel.
  void replace(double* __restrict values, uint8_t* __restrict valid, const double* mask, const Src* samples) const {
    const double scale = band_.params.scale;
    const int64_t step = step_;
    for (int64_t c = 0; c < width_; ++c) {
      const bool keep = (valid[c] != 0) & (mask[c * step] > 0.0);
      const double sample = samples[c * step] * scale + half_;
      values[c] = keep ? values[c] : sample;
      valid[c] = keep ? 255 : 0;
    }
  }

  void store(Dst* __restrict dst, const double* values) const {
    for (int64_t c = 0; c < width_; ++c) dst[c] = saturate<Dst>(values[c]);
  }

  const gauss_bandParams& band_;
  int64_t width_, step_;
  int64_t threshold_;
  double half_;
  int32_t offset_[2];
  Buffer<double> values_;
  Buffer<uint8_t> scratchMask_;
};

// Rows of the planes as the mask lets them through.
template <typename Pixel>
void takeImageRow(const gauss_bandParams& band, int64_t row, Pixel* __restrict to) {
  const Pixel* const image = rowOf<Pixel>(band.imagePlane, row);
  const uint8_t* const mask = rowOf<uint8_t>(band.maskPlane, row);
  for (int64_t x = 0; x < band.maskPlane.width; ++x) {
    const int bits = sizeof(Pixel) == 1 ? mask[x] : -(mask[x] & 1);
    to[x] = static_cast<Pixel>(image[x] & bits);
  }
}
void takeMaskRow(const gauss_bandParams& band, int64_t row, uint8_t* __restrict to) {
  const uint8_t* const mask = rowOf<uint8_t>(band.maskPlane, row);
  for (int64_t x = 0; x < band.maskPlane.width; ++x) to[x] = mask[x] & 1;
}

template <typename Src, typename Dst>
ksys_status smoothMasked(const gauss_bandParams& band) {
  const kip_gaussParams& params = band.params;
  const LineGeometry geometry(band.maskPlane.width, band.mirror, band.padding, params.xSigma);
  WeightedSums<Src> image(geometry, params);
  WeightedSums<uint8_t> mask(geometry, params);
  gauss_coverageRows coverage(band.maskPlane, geometry, params);
  const bool useCoverage = params.filterMask.useCoverage != 0;
  Output<Src, Dst> output(band);
  return withCleanup<16>([&](Cleanup& cleanup) -> ksys_status {
    ksys_status status = image.allocate(cleanup);
    if (failed(status)) return status;
    if (failed(status = mask.allocate(cleanup))) return status;
    if (useCoverage && failed(status = coverage.allocate(cleanup))) return status;
    if (failed(status = output.allocate(cleanup))) return status;
    forEachOutputRow(
        band.band.height, params,
        [&](int64_t row) {
          image.enter(row, [&](Src* to) { takeImageRow(band, row, to); });
          mask.enter(row, [&](uint8_t* to) { takeMaskRow(band, row, to); });
          if (useCoverage) coverage.enter(row);
        },
        [&](int64_t row) {
          output.emit(row, {image.sumRow(), mask.sumRow(), useCoverage ? coverage.countRow() : nullptr});
        });
    return 0;
  });
}

}  // namespace

ksys_status gauss_smoothMaskedGeneric8(const gauss_bandParams& band) {
  return smoothMasked<uint8_t, uint8_t>(band);
}
ksys_status gauss_smoothMaskedGeneric8_16(const gauss_bandParams& band) {
  return smoothMasked<uint8_t, uint16_t>(band);
}
ksys_status gauss_smoothMaskedGeneric16(const gauss_bandParams& band) {
  return smoothMasked<uint16_t, uint16_t>(band);
}

}  // namespace kip
