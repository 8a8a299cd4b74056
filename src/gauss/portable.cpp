// SPDX-License-Identifier: Apache-2.0
#include "gauss/portable.hpp"

#include <algorithm>

#include "frame/attention.hpp"
#include "frame/memory.hpp"
#include "gauss/feed_rows.hpp"
#include "geometry/setup.hpp"

namespace kip {

namespace {

// Down the columns: rows of the source rectangle enter with the signs of the third difference at the box height, and
// three running sums turn that into the vertical sum of three boxes. Along a finished row the same again gives the full
// sum. All sums are doubles, and exact as long as they stay below 2^53.
class Smoother {
 public:
  explicit Smoother(const Work& work)
      : work_(work),
        width_(work.geometry.source.width),
        leftPad_(-int64_t{work.geometry.padding.x}),
        rightPad_(int64_t{work.geometry.padding.width} - 1 - leftPad_),
        xBox_(xKernel(work.params).box) {}

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
  [[nodiscard]] ksys_status run(double divisor) {
    const SourceRows rows(work_.source, work_.geometry.source, zeroRow_.data());
    return feedRows<Pixel>(
        work_, rows, 1, pollAttention<64>, [this](int64_t row) { return work_.outRow<Pixel>(row); },
        [this, divisor](const LineStep* steps, int64_t count, Pixel* const* out) {
          for (int64_t i = 0; i < count; ++i) addRows(steps[i].row);
          if (steps[count - 1].isOutput) emitRow(*out, divisor);
        });
  }

 private:
  void addRows(const uint8_t* const rows[4]) {
    const uint8_t *const q0 = rows[0], *const q1 = rows[1], *const q2 = rows[2], *const q3 = rows[3];
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

  // For a box of one column. Truncating, and only here, the quotient is a true division: of a flat area the product
  // with the rounded reciprocal can fall just below the grey level. Smoothed rows take that product, as every engine
  // does.
  template <typename Pixel>
  void emitUnsmoothed(Pixel* out, double divisor) const {
    const double reciprocal = 1.0 / divisor;
    for (int64_t j = 0; j < width_; j += work_.params.xSample) {
      *out++ = storeLow<Pixel>(work_.params.roundResult != 0 ? line_[j] * reciprocal + 0.5 : line_[j] / divisor);
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
    double s3 = work_.params.roundResult != 0 ? 0.5 * divisor : 0.0;
    const double* const line = line_;
    const int64_t box = xBox_;
    int64_t j = -leftPad_;
    for (const int64_t end = j + box; j < end; ++j) {
      s1 += line[j];
      s2 += s1;
      s3 += s2;
    }
    int64_t columnsToGo = work_.geometry.kernel.width - box;
    for (const int64_t end = width_ + rightPad_; j < end; ++j) {
      s1 += (line[j] + 3.0 * (line[j - 2 * box] - line[j - box])) - line[j - 3 * box];
      s2 += s1;
      s3 += s2;
      if (--columnsToGo == 0) {
        columnsToGo = work_.params.xSample;
        *out++ = storeLow<Pixel>(s3 * reciprocal);
      }
    }
  }

  const Work& work_;
  int64_t width_;  // of the source rectangle
  int64_t leftPad_, rightPad_;
  int64_t xBox_;
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

    const Work work = {source, destination, *params, geometry, finished};
    Smoother smoother(work);
    if (failed(status = smoother.allocate(cleanup))) return status;
    const double quotient = divisor(*params);
    setZScale(work);
    check(quotient > 0.0);
    if (failed(status = ksys_attention_check())) return status;
    return ksVImageType(destination) == 0 ? smoother.run<uint8_t>(quotient) : smoother.run<uint16_t>(quotient);
  });
}

}  // namespace kip
