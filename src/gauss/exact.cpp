// SPDX-License-Identifier: Apache-2.0
#include "gauss/exact.hpp"

#include <algorithm>
#include <bit>
#include <cmath>

#include "frame/attention.hpp"
#include "frame/memory.hpp"
#include "gauss/exact_rows.hpp"
#include "gauss/feed_rows.hpp"
#include "lanes/reach.hpp"

namespace kip {

namespace {

// The largest sum: all weights on white.
double largestSum(const ksGaussParams& params) {
  return 255.0 * std::pow(static_cast<double>(xKernel(params).box) * static_cast<double>(yKernel(params).box), 3.0);
}

// Whether sums and quotients along the row can be integers: then line.half, multiplier and shift are set. The division
// is exact, which is what the portable engine's product with the rounded reciprocal comes to when that product does not
// fall below 1 at the divisor itself.
bool chooseIntegers(const ksGaussParams& params, ExactLine& line) {
  const double half = line.isRounded ? std::floor(0.5 * line.divisor) : 0.0;
  const double largest = largestSum(params) + half;
  if (largest >= 0x1p32 || line.divisor < 2.0 || line.divisor >= 0x1p32 || std::floor(line.divisor) != line.divisor) {
    return false;
  }
  if (line.divisor * (1.0 / line.divisor) < 1.0) return false;
  const auto divisor = static_cast<uint64_t>(line.divisor);
  const int shift = 31 + static_cast<int>(std::bit_width(divisor - 1));
  const uint64_t multiplier = ((uint64_t{1} << shift) + divisor - 1) / divisor;
  const uint64_t excess = multiplier * divisor - (uint64_t{1} << shift);
  if (static_cast<uint64_t>(largest) * excess >= uint64_t{1} << shift) return false;
  line.half = static_cast<uint32_t>(half);
  line.multiplier = static_cast<uint32_t>(multiplier);
  line.shift = shift;
  return true;
}

ExactLine makeLine(const ksGaussParams& params, const RequestGeometry& geometry) {
  const int64_t xBox = xKernel(params).box;
  const int64_t yBox = yKernel(params).box;
  const int64_t width = geometry.source.width;
  const int64_t leftPad = -int64_t{geometry.padding.x};
  const int64_t rightPad = int64_t{geometry.padding.width} - 1 - leftPad;
  ExactLine line{.line = {.width = width,
                          .readable = width,
                          .leftPad = leftPad,
                          .rightPad = rightPad,
                          .leftMirror = std::min(leftPad, width),
                          .rightMirror = std::min(rightPad, width),
                          .box = xBox,
                          .sample = params.xSample,
                          .outputs = geometry.destination.width},
                 .isShort = params.ySigma <= 63,
                 .sums = ExactSums::widest,
                 .divisor = divisor(params),
                 .isRounded = params.roundResult != 0,
                 .half = 0,
                 .multiplier = 0,
                 .shift = 0};
  const Reach reach = reachOf(255 * yBox * yBox * yBox, xBox);
  if (xBox == 1) {
    line.sums = ExactSums::none;
  } else if (chooseIntegers(params, line)) {
    line.sums = ExactSums::integer;
  } else if (reach != Reach::nothing) {
    line.sums = reach == Reach::second ? ExactSums::narrow : ExactSums::wide;
  }
  return line;
}

}  // namespace

bool servesExactly(const Level& level, const ksGaussParams& params, const RequestGeometry& geometry) {
  constexpr int32_t maxYSigma = 202;  // column sums fit in 32 bits
  const double largest = largestSum(params) / divisor(params) + 1.0;
  return geometry.source.width >= level.exact.kernels->vectors.block && params.ySigma <= maxYSigma &&
         largest < 2147483647.0;
}

ksys_status gauss_vec2General(const Level& level, const Work& work) {
  return withCleanup<7>([&](Cleanup& cleanup) -> ksys_status {
    const ExactKernel& kernel = *level.exact.kernels;
    const ExactLine request = makeLine(work.params, work.geometry);
    const LineRequest& line = request.line;
    Buffer<int32_t> memory;
    Buffer<uint8_t> absentRow;
    ksys_status status = memory.allocateClear(cleanup, sumsSize(line, kernel.vectors) + lineSize(line, kernel.vectors));
    if (failed(status)) return status;
    if (failed(status = absentRow.allocateClear(cleanup, line.width))) return status;
    setZScale(work);
    check(request.divisor > 0.0);
    if (failed(status = ksys_attention_check())) return status;

    const SourceRows rows(work.source, work.geometry.source, absentRow.data());
    const auto run = [&]<typename Pixel>(ExactKernel::SmoothRows<Pixel>* smoothRows) {
      return feedRows<Pixel>(
          work, rows, kernel.vectors.rows, pollAttention<64>, [&](int64_t row) { return work.outRow<Pixel>(row); },
          [&](const LineStep* steps, int64_t count, Pixel* const* out) {
            smoothRows(request, steps, count, memory.data(), out);
          });
    };
    return ksVImageType(work.destination) == 0 ? run.template operator()<uint8_t>(kernel.smooth8)
                                               : run.template operator()<uint16_t>(kernel.smooth16);
  });
}

}  // namespace kip
