// SPDX-License-Identifier: Apache-2.0
#include "gauss/portable.hpp"

#include <algorithm>

#include "frame/attention.hpp"
#include "frame/memory.hpp"
#include "gauss/pixel.hpp"
#include "geometry/setup.hpp"

namespace kip {

namespace {

// Down the columns: rows of the source rectangle enter with the signs of the third difference at the box height, and
// three running sums turn that into the vertical sum of three boxes. Along a finished row the same again gives the full
// sum. All sums are doubles and exact for the grey values and sigmas that doubles can hold.
class Smoother {
 public:
  Smoother(const ksImage* source, const ksGaussParams& params, const RequestGeometry& geometry)
      : source_(source),
        params_(params),
        geometry_(geometry),
        width_(geometry.source.width),
        height_(geometry.source.height),
        leftPad_(-int64_t{geometry.padding.x}),
        rightPad_(int64_t{geometry.padding.width} - 1 - leftPad_),
        top_(geometry.padding.y),
        xBox_(xKernel(params).box),
        yBox_(yKernel(params).box) {}

  [[nodiscard]] ksys_status allocate(Cleanup& cleanup) {
    // first and second sums; then the line with a margin of zeros before it and room for the right pad after it
    const int64_t margin = 2 * xBox_ + leftPad_;
    ksys_status status = sums_.allocateClear(cleanup, 3 * width_ + margin + rightPad_);
    if (failed(status)) return status;
    status = zeroRow_.allocateClear(cleanup, width_);
    if (failed(status)) return status;
    first_ = sums_.data();
    second_ = first_ + width_;
    line_ = second_ + width_ + margin;
    return status;
  }

  template <typename Pixel>
  [[nodiscard]] ksys_status run(const ksVImage* destination, double divisor, int64_t& finished) {
    const ksIRegion& target = geometry_.destination;
    int64_t rowsToGo = geometry_.kernel.height;
    int32_t dstRow = target.y;
    const int64_t last = top_ + height_ + geometry_.padding.height - 2;
    for (int64_t row = top_; row <= last; ++row) {
      const ksys_status status = pollAttention<64>(row);
      if (failed(status)) return status;
      addRow(row);
      if (--rowsToGo == 0) {
        emitRow(LegacyOf<Pixel>::address(destination, target.x, dstRow), divisor);
        rowsToGo = params_.ySample;
        ++dstRow;
        ++finished;
      }
    }
    return 0;
  }

 private:
  [[nodiscard]] const uint8_t* sourceRow(int64_t index) const {
    return ksImagePixAddr(source_, geometry_.source.x, static_cast<int32_t>(geometry_.source.y + index));
  }

  // A row that enters the sums: mirrored once at either edge, zero beyond.
  [[nodiscard]] const uint8_t* enteringRow(int64_t index) const {
    if (index < -height_ || index > 2 * height_ - 1) return zeroRow_.data();
    if (index < 0) return sourceRow(-index - 1);
    return sourceRow(index < height_ ? index : 2 * height_ - 1 - index);
  }

  // A row that entered one box height or more ago: zero when it was above the first one.
  [[nodiscard]] const uint8_t* leavingRow(int64_t index) const {
    return index < top_ ? zeroRow_.data() : enteringRow(index);
  }

  void addRow(int64_t row) {
    const uint8_t* const q0 = enteringRow(row);
    const uint8_t* const q1 = leavingRow(row - yBox_);
    const uint8_t* const q2 = leavingRow(row - 2 * yBox_);
    const uint8_t* const q3 = leavingRow(row - 3 * yBox_);
    double* __restrict const first = first_;
    double* __restrict const second = second_;
    double* __restrict const line = line_;
    for (int64_t j = 0; j < width_; ++j) {
      first[j] += (q0[j] - q3[j]) + 3 * (q2[j] - q1[j]);
      second[j] += first[j];
      line[j] += second[j];
    }
  }

  template <typename Pixel>
  void emitRow(Pixel* out, double divisor) {
    if (xBox_ == 1) {
      emitUnsmoothed(out, divisor);
    } else {
      mirrorLine();
      emitSmoothed(out, divisor);
    }
  }

  // The quotient is a true division when truncating, so that flat areas keep their grey level.
  template <typename Pixel>
  void emitUnsmoothed(Pixel* out, double divisor) const {
    const double reciprocal = 1.0 / divisor;
    for (int64_t j = 0; j < width_; j += params_.xSample) {
      *out++ = storeLow<Pixel>(params_.roundResult != 0 ? line_[j] * reciprocal + 0.5 : line_[j] / divisor);
    }
  }

  void mirrorLine() {
    for (int64_t j = -std::min(leftPad_, width_); j < 0; ++j) line_[j] = line_[-j - 1];
    const int64_t end = std::min(width_ + rightPad_, 2 * width_);
    for (int64_t j = width_; j < end; ++j) line_[j] = line_[2 * width_ - 1 - j];
  }

  template <typename Pixel>
  void emitSmoothed(Pixel* out, double divisor) const {
    const double reciprocal = 1.0 / divisor;
    double s1 = 0.0;
    double s2 = 0.0;
    double s3 = params_.roundResult != 0 ? 0.5 * divisor : 0.0;
    const double* const line = line_;
    const int64_t box = xBox_;
    int64_t j = -leftPad_;
    for (const int64_t end = j + box; j < end; ++j) {
      s1 += line[j];
      s2 += s1;
      s3 += s2;
    }
    int64_t columnsToGo = geometry_.kernel.width - box;
    for (const int64_t end = width_ + rightPad_; j < end; ++j) {
      s1 += (line[j] + 3.0 * (line[j - 2 * box] - line[j - box])) - line[j - 3 * box];
      s2 += s1;
      s3 += s2;
      if (--columnsToGo == 0) {
        columnsToGo = params_.xSample;
        *out++ = storeLow<Pixel>(s3 * reciprocal);
      }
    }
  }

  const ksImage* source_;
  const ksGaussParams& params_;
  const RequestGeometry& geometry_;
  int64_t width_, height_;  // of the source rectangle
  int64_t leftPad_, rightPad_;
  int64_t top_;  // first row that enters, relative to the source rectangle
  int64_t xBox_, yBox_;
  Buffer<double> sums_;
  Buffer<uint8_t> zeroRow_;
  double* first_ = nullptr;
  double* second_ = nullptr;
  double* line_ = nullptr;
};

}  // namespace

ksys_status gauss_genericSmooth(const ksImage* source, ksVImage* destination, const ksGaussParams* params,
                                ksIRegion* requested, ksVImage** out, int64_t& finished) {
  return withCleanup<7>([&](Cleanup& cleanup) -> ksys_status {
    check(out != nullptr);
    RequestGeometry geometry;
    ksys_status status = gauss_engineSetup(source, &destination, params, requested, geometry);
    if (failed(status)) return status;
    handOut(destination, out);
    if (isNull(geometry.destination)) return 0;

    Smoother smoother(source, *params, geometry);
    if (failed(status = smoother.allocate(cleanup))) return status;
    const double quotient = divisor(*params);
    if (params->peakNormalize == 0) ksVImageSetClientZScale(destination, ksImageClientZScale(source) * params->scale);
    check(quotient > 0.0);
    if (failed(status = ksys_attention_check())) return status;
    return ksVImageType(destination) == 0 ? smoother.run<uint8_t>(destination, quotient, finished)
                                          : smoother.run<uint16_t>(destination, quotient, finished);
  });
}

}  // namespace kip
