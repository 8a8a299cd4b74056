// SPDX-License-Identifier: Apache-2.0
#include "gauss/level2_paths.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "frame/attention.hpp"
#include "frame/check.hpp"
#include "frame/memory.hpp"
#include "gauss/exact_rows.hpp"
#include "gauss/feed_rows.hpp"
#include "gauss/pixel.hpp"
#include "gauss/small_sigma.hpp"
#include "gauss/source_rows.hpp"
#include "lanes/reach.hpp"

namespace kip {

namespace {

// ---- sigma 1 and 2

Vec2Request makeRequest(const ksGaussParams& params, const RequestGeometry& geometry, uint8_t* tail) {
  return {.width = geometry.source.width,
          .leftPad = -int64_t{geometry.padding.x},
          .sample = params.xSample,
          .outputs = geometry.destination.width,
          .tail = tail,
          .isRounded = params.roundResult != 0,
          .isScaled = std::abs(params.scale - 1.0f) > std::numeric_limits<float>::epsilon(),
          .scale = params.scale};
}

ksys_status smoothSigma2(const ksImage* source, const ksVImage* destination, const ksGaussParams& params,
                         const RequestGeometry& geometry, int64_t& finished,
                         void (*kernel)(const Vec2Request& request, const Vec2Sigma2Row& row)) {
  constexpr int64_t taps = 7;
  const SourceRows rows(source, geometry.source, nullptr);
  const ksIRegion& to = geometry.destination;
  uint8_t tail[64];
  const Vec2Request request = makeRequest(params, geometry, tail);
  for (int32_t r = 0; r < to.height; ++r) {
    const ksys_status status = pollAttention<256>(int64_t{r} + 1);
    if (failed(status)) return status;
    const int64_t first = geometry.padding.y + int64_t{r} * params.ySample;
    Vec2Sigma2Row row;
    for (int64_t i = 0; i < taps; ++i) row.rows[i] = rows.at(first + i);
    row.next = r + 1 < to.height ? rows.at(first + params.ySample + taps - 1) : row.rows[0];
    row.out = LegacyOf<uint8_t>::address(destination, to.x, to.y + r);
    kernel(request, row);
    ++finished;
  }
  return 0;
}

// ---- general path

// The largest sum: all weights on white.
double largestSum(const ksGaussParams& params) {
  return 255.0 * std::pow(static_cast<double>(xKernel(params).box) * static_cast<double>(yKernel(params).box), 3.0);
}

// Whether sums and quotients along the row can be integers: then line.half, multiplier and shift are set. The division
// is exact, which is what the portable engine's product with the rounded reciprocal comes to when that product does not
// fall below 1 at the divisor itself.
bool chooseIntegers(const ksGaussParams& params, Vec2Line& line) {
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

Vec2Line makeLine(const ksGaussParams& params, const RequestGeometry& geometry) {
  const int64_t xBox = xKernel(params).box;
  const int64_t yBox = yKernel(params).box;
  const int64_t width = geometry.source.width;
  Vec2Line line{.line = {.width = width,
                         .readable = width,
                         .leftPad = -int64_t{geometry.padding.x},
                         .rightPad = int64_t{geometry.padding.width} - 1 + geometry.padding.x,
                         .box = xBox,
                         .sample = params.xSample,
                         .outputs = geometry.destination.width},
                .isShort = params.ySigma <= 63,
                .sums = Vec2Sums::widest,
                .divisor = divisor(params),
                .isRounded = params.roundResult != 0,
                .half = 0,
                .multiplier = 0,
                .shift = 0};
  const Reach reach = reachOf(255 * yBox * yBox * yBox, xBox);
  if (xBox == 1) {
    line.sums = Vec2Sums::none;
  } else if (chooseIntegers(params, line)) {
    line.sums = Vec2Sums::integer;
  } else if (reach != Reach::nothing) {
    line.sums = reach == Reach::second ? Vec2Sums::narrow : Vec2Sums::wide;
  }
  return line;
}

class GeneralPath {
 public:
  GeneralPath(const ksGaussParams& params, const RequestGeometry& geometry)
      : params_(params), geometry_(geometry), line_(makeLine(params, geometry)) {}

  [[nodiscard]] ksys_status allocate(Cleanup& cleanup) {
    const LineRequest& line = line_.line;
    const int64_t size = sumsSize(line, vec2Vectors) + lineSize(line, vec2Vectors);
    const ksys_status status = memory_.allocateClear(cleanup, size);
    return failed(status) ? status : absentRow_.allocateClear(cleanup, line.width);
  }

  template <typename Pixel>
  [[nodiscard]] ksys_status run(const ksImage* source, const ksVImage* destination, int64_t& finished,
                                void (*smoothRows)(const Vec2Line&, const LineStep*, int64_t, int32_t*,
                                                   Pixel* const*)) {
    const ksIRegion& to = geometry_.destination;
    return feedRows<Pixel>(
        params_, geometry_, SourceRows(source, geometry_.source, absentRow_.data()), vec2Vectors.rows, finished,
        pollAttention<64>, [&](int32_t row) { return LegacyOf<Pixel>::address(destination, to.x, to.y + row); },
        [&](const LineStep* steps, int64_t count, Pixel* const* out) {
          smoothRows(line_, steps, count, memory_.data(), out);
        });
  }

  [[nodiscard]] double divisorOfSums() const { return line_.divisor; }

 private:
  const ksGaussParams& params_;
  const RequestGeometry& geometry_;
  Vec2Line line_;
  Buffer<int32_t> memory_;
  Buffer<uint8_t> absentRow_;
};

}  // namespace

ksys_status gauss_vec2Sigma1(const ksImage* source, const ksVImage* destination, const ksGaussParams& params,
                             const RequestGeometry& geometry, int64_t& finished) {
  return withCleanup<3>([&](Cleanup& cleanup) -> ksys_status {
    check(params.xSigma == 1 && params.ySigma == 1 && params.xSample <= 3 && params.ySample <= 3);
    check(ksVImageType(destination) == 0);
    Buffer<uint8_t> absentRow;
    Buffer<uint8_t> tail;
    ksys_status status = absentRow.allocateClear(cleanup, geometry.source.width);
    if (failed(status)) return status;
    if (failed(status = tail.allocate(cleanup, 64))) return status;
    const auto kernel = params.xSample == 1 ? vec2Sigma1X1 : params.xSample == 2 ? vec2Sigma1X2 : vec2Sigma1XN;
    const Vec2Request request = makeRequest(params, geometry, tail.data());
    const SourceRows rows(source, geometry.source, absentRow.data());
    const ksIRegion& to = geometry.destination;
    for (int64_t r = 0; r < to.height;) {
      if (failed(status = pollAttention<1024>(to.y + r + 1))) return status;
      // no output row waits while attention is asked for
      const int64_t toAttention = 1024 - ((to.y + r + 1) & 1023);
      Vec2Sigma1Group group;
      group.distance = params.ySample;
      group.count = std::min({vec2Sigma1Rows, to.height - r, toAttention});
      const int64_t first = geometry.padding.y + r * params.ySample;
      for (int64_t i = 0; i < (group.count - 1) * params.ySample + 4; ++i) group.rows[i] = rows.at(first + i);
      for (int64_t i = 0; i < group.count; ++i, ++r) {
        group.out[i] = LegacyOf<uint8_t>::address(destination, to.x, static_cast<int32_t>(to.y + r));
      }
      kernel(request, group);
      finished = r;
    }
    return 0;
  });
}

ksys_status gauss_vec2Sigma2X1(const ksImage* source, const ksVImage* destination, const ksGaussParams& params,
                               const RequestGeometry& geometry, int64_t& finished) {
  return smoothSigma2(source, destination, params, geometry, finished, vec2Sigma2X1);
}

ksys_status gauss_vec2Sigma2X2(const ksImage* source, const ksVImage* destination, const ksGaussParams& params,
                               const RequestGeometry& geometry, int64_t& finished) {
  return smoothSigma2(source, destination, params, geometry, finished, vec2Sigma2X2);
}

ksys_status gauss_vec2Sigma2XN(const ksImage* source, const ksVImage* destination, const ksGaussParams& params,
                               const RequestGeometry& geometry, int64_t& finished) {
  return smoothSigma2(source, destination, params, geometry, finished, vec2Sigma2XN);
}

bool gauss_vec2ServesGeneral(const ksGaussParams& params, const RequestGeometry& geometry) {
  constexpr int32_t maxYSigma = 202;  // column sums fit in 32 bits
  const double largest = largestSum(params) / divisor(params) + 1.0;
  return geometry.source.width >= vec2Vectors.block && params.ySigma <= maxYSigma && largest < 2147483647.0;
}

ksys_status gauss_vec2General(const ksImage* source, ksVImage* destination, const ksGaussParams& params,
                              const RequestGeometry& geometry, int64_t& finished) {
  return withCleanup<7>([&](Cleanup& cleanup) -> ksys_status {
    GeneralPath path(params, geometry);
    ksys_status status = path.allocate(cleanup);
    if (failed(status)) return status;
    if (params.peakNormalize == 0) ksVImageSetClientZScale(destination, ksImageClientZScale(source) * params.scale);
    check(path.divisorOfSums() > 0.0);
    if (failed(status = ksys_attention_check())) return status;
    return ksVImageType(destination) == 0 ? path.run<uint8_t>(source, destination, finished, vec2SmoothRows8)
                                          : path.run<uint16_t>(source, destination, finished, vec2SmoothRows16);
  });
}

}  // namespace kip
