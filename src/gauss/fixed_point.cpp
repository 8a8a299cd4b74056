// SPDX-License-Identifier: Apache-2.0
#include "gauss/fixed_point.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>
#include <type_traits>

#include "frame/memory.hpp"
#include "gauss/feed_rows.hpp"
#include "gauss/fixed_point_rows.hpp"
#include "gauss/pixel.hpp"
#include "geometry/setup.hpp"
#include "kip/host/kmath.h"
#include "levels/levels.hpp"

namespace kip {

namespace {

bool isClose(double a, double b) {
  return kmath_double_epsilonEqual(a, b, 1e-6) != 0;
}

bool isPowerOfTwo(float value) {
  const double scale = static_cast<double>(value);
  int exponent;
  std::frexp(scale, &exponent);
  return scale < 1.0 ? isClose(1.0 / scale, std::ldexp(1.0, 1 - exponent))
                     : isClose(scale, std::ldexp(1.0, exponent - 1));
}

// The division by `divisor`: ((sum + half) >> shift) * multiplier >> finalShift, the reciprocal's mantissa in 15 bits.
struct FixedPoint {
  uint64_t half;
  int32_t shift, finalShift, multiplier;
};

// Nothing when the sums leave the kernels' integers: 16 bits for a column's first sum, 64 for all of them; or when the
// result would have to be shifted left. Negative sigmas are left to the portable engine's check.
std::optional<FixedPoint> computeFixedPoint(const ksGaussParams& params) {
  constexpr int32_t maxYSigma = 63;
  constexpr int maxSumBits = 62;
  if (params.xSigma < 0 || params.ySigma < 0 || params.ySigma > maxYSigma) return std::nullopt;
  const double weights =
      std::pow(static_cast<double>(xKernel(params).box) * static_cast<double>(yKernel(params).box), 3.0);
  int sumBits;
  std::frexp(255.0 * weights, &sumBits);
  if (sumBits > maxSumBits) return std::nullopt;

  int exponent;
  const double mantissa = std::frexp(1.0 / divisor(params), &exponent);
  const int32_t shift1 = std::max(sumBits - 32, 0);
  const int32_t shift2 = std::max(sumBits - shift1 - 15, 0);
  const int32_t finalShift = 15 - exponent - shift2 - shift1;
  if (finalShift < 0) return std::nullopt;
  return FixedPoint{.half = (uint64_t{1} << shift1) >> 1,
                    .shift = shift1 + shift2,
                    .finalShift = finalShift,
                    .multiplier = static_cast<int32_t>(std::min(std::ldexp(mantissa, 15) + 0.5, 32767.0))};
}

// Whether the level serves the request: 0 or the fallback status, or why the processor is unknown.
ksys_status accept(const ksImage* source, const ksGaussParams& params, const FixedPointKernel*& kernel,
                   std::optional<FixedPoint>& fixedPoint) {
  if (params.roundResult != 0 || !isPowerOfTwo(params.scale)) return statusFallback;
  const ksys_status status = kernelsFor(&Level::fixedPoint, kernel);
  if (failed(status)) return status;
  constexpr int64_t minSamples = 9;
  if (ksImageWidth(source) < minSamples * params.xSample || ksImageHeight(source) < minSamples * params.ySample) {
    return statusFallback;
  }
  fixedPoint = computeFixedPoint(params);
  return fixedPoint ? 0 : statusFallback;
}

// The request along the row.
FixedPointLine makeLine(const ksGaussParams& params, const RequestGeometry& geometry, const FixedPoint& fixedPoint,
                        int64_t block) {
  constexpr int32_t maxNarrowSigma = 15;
  const int64_t width = geometry.source.width;
  const int64_t leftPad = -int64_t{geometry.padding.x};
  const int64_t rightPad = int64_t{geometry.padding.width} - 1 - leftPad;
  const int64_t yBox = yKernel(params).box;
  return {.line = {.width = width,
                   .readable = std::max(width, block),
                   .leftPad = leftPad,
                   .rightPad = rightPad,
                   .leftMirror = std::min(leftPad, width),
                   .rightMirror = std::min(rightPad, width),
                   .box = xKernel(params).box,
                   .sample = params.xSample,
                   .outputs = geometry.destination.width},
          .isNarrow = params.xSigma <= maxNarrowSigma && params.ySigma <= maxNarrowSigma,
          .reach = reachOf(255 * yBox * yBox * yBox, xKernel(params).box),
          .half = fixedPoint.half,
          .shift = fixedPoint.shift,
          .finalShift = fixedPoint.finalShift,
          .multiplier = fixedPoint.multiplier};
}

ksys_status smooth(Cleanup& cleanup, const ksImage* source, ksVImage* destination, const ksGaussParams& params,
                   const RequestGeometry& geometry, const FixedPointKernel& kernel, const FixedPoint& fixedPoint,
                   int64_t& finished) {
  const ksIRegion& from = geometry.source;
  const LineVectors& vectors = kernel.vectors;
  const FixedPointLine request = makeLine(params, geometry, fixedPoint, vectors.block);
  const LineRequest& line = request.line;
  const bool isWidened = line.readable != line.width;
  Buffer<int32_t> sums, lineMemory;
  Buffer<uint8_t> rows;  // an absent one, then those that are narrower than a vector
  ksys_status status = sums.allocateClear(cleanup, sumsSize(line, vectors));
  if (failed(status)) return status;
  status = rows.allocateClear(cleanup, line.readable * (isWidened ? int64_t{from.height} + 1 : 1));
  if (failed(status)) return status;
  if (failed(status = lineMemory.allocate(cleanup, lineSize(line, vectors)))) return status;
  if (params.peakNormalize == 0) {
    ksVImageSetClientZScale(destination, ksImageClientZScale(source) * params.scale);
  }

  SourceRows sourceRows(source, from, rows.data());
  if (isWidened) {
    uint8_t* const widened = rows.data() + line.readable;
    for (int64_t y = 0; y < from.height; ++y) {
      std::memcpy(widened + y * line.readable, sourceRows.at(y), static_cast<size_t>(line.width));
    }
    sourceRows = {widened, line.readable, from.height, rows.data()};
  }
  const auto run = [&](auto* first, int64_t stride, auto smoothRows) {
    using Pixel = std::remove_pointer_t<decltype(first)>;
    return feedRows<Pixel>(
        {source, destination, params, geometry, finished}, sourceRows, vectors.rows,
        [](int64_t) -> ksys_status { return 0; },
        [&](int64_t row) { return first + row * stride / int64_t{sizeof(Pixel)}; },
        [&](const LineStep* steps, int64_t count, Pixel* const* out) {
          smoothRows(request, steps, count, sums.data(), lineMemory.data(), out);
        });
  };
  const ksIRegion& to = geometry.destination;
  return ksVImageType(destination) == 8
             ? run(pixelAddress<uint16_t>(destination, to.x, to.y), ksUSImageVirt(destination)->stride, kernel.smooth16)
             : run(pixelAddress<uint8_t>(destination, to.x, to.y), ksImageVirt(destination)->stride, kernel.smooth8);
}

}  // namespace

ksys_status gauss_vec1Smooth(const ksImage* source, ksVImage* destination, const ksGaussParams* params,
                             ksIRegion* requested, ksVImage** out, int64_t& finished) {
  return withCleanup<4>([&](Cleanup& cleanup) -> ksys_status {
    check(source != nullptr && params != nullptr && out != nullptr);
    *out = nullptr;
    const FixedPointKernel* kernel = nullptr;
    std::optional<FixedPoint> fixedPoint;
    ksys_status status = accept(source, *params, kernel, fixedPoint);
    if (failed(status)) return status;

    const bool isCreated = destination == nullptr;
    RequestGeometry geometry;
    if (failed(status = gauss_engineSetup(source, &destination, params, requested, geometry))) return status;
    const int32_t type = ksVImageType(destination);
    check(type == 0 || type == 8);
    if (!isNull(geometry.destination)) {
      status = smooth(cleanup, source, destination, *params, geometry, *kernel, *fixedPoint, finished);
      if (failed(status)) {
        if (isCreated) ksImageFree(destination);
        return status;
      }
    }
    handOut(destination, out);
    return 0;
  });
}

}  // namespace kip
