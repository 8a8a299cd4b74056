// SPDX-License-Identifier: Apache-2.0
#include "simd/vec1.hpp"

#include <algorithm>
#include <cmath>
#include <optional>

#include "engine/pixel.hpp"
#include "engine/setup.hpp"
#include "frame/memory.hpp"
#include "frame/processor.hpp"
#include "kip/host/kmath.h"
#include "simd/vec1_rows.hpp"

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
ksys_status accept(const ksImage* source, const ksGaussParams& params, std::optional<FixedPoint>& fixedPoint) {
  if (params.roundResult != 0 || !isPowerOfTwo(params.scale)) return statusFallback;
  ksys_cpuinfo info;
  const ksys_status status = ksys_cpuinfo_init(&info);
  if (failed(status)) return status;
  if (!hasFeatures(info, ksys_cpuMmxSse2)) return statusFallback;
  constexpr int64_t minSamples = 9;
  if (ksImageWidth(source) < minSamples * params.xSample || ksImageHeight(source) < minSamples * params.ySample) {
    return statusFallback;
  }
  fixedPoint = computeFixedPoint(params);
  return fixedPoint ? 0 : statusFallback;
}

ksys_status smooth(Cleanup& cleanup, const ksImage* source, ksVImage* destination, const ksGaussParams& params,
                   const RequestGeometry& geometry, const FixedPoint& fixedPoint) {
  const ksIRegion& from = geometry.source;
  const ksIRegion& to = geometry.destination;
  const ksIRegion& padding = geometry.padding;
  const int64_t xBox = xKernel(params).box;
  const int64_t columns = (int64_t{from.width} + 15) / 16 * 16;
  const int64_t lineLength = 3 * xBox + columns + padding.width - 1;
  Buffer<int16_t> first;  // then a row of zeros
  Buffer<int32_t> second, line;
  ksys_status status = first.allocateClear(cleanup, columns + columns / 2);
  if (failed(status)) return status;
  if (failed(status = second.allocateClear(cleanup, (1 + vec1Rows) * columns))) return status;
  if (failed(status = line.allocate(cleanup, vec1Rows * lineLength))) return status;
  if (params.peakNormalize == 0) {
    ksVImageSetClientZScale(destination, ksImageClientZScale(source) * params.scale);
  }

  const bool is16 = ksVImageType(destination) == 8;
  const ksVImage* const target = is16 ? ksUSImageVirt(destination) : ksImageVirt(destination);
  const Vec1Request request{
      .source = ksImagePixAddr(source, from.x, from.y),
      .sourceStride = source->stride,
      .width = from.width,
      .height = from.height,
      .leftPad = -int64_t{padding.x},
      .rightPad = int64_t{padding.width} - 1 + padding.x,
      .topPad = -int64_t{padding.y},
      .bottomPad = int64_t{padding.height} - 1 + padding.y,
      .xBox = xBox,
      .yBox = yKernel(params).box,
      .xSample = params.xSample,
      .ySample = params.ySample,
      .destination = is16 ? static_cast<void*>(LegacyOf<uint16_t>::address(destination, to.x, to.y))
                          : LegacyOf<uint8_t>::address(destination, to.x, to.y),
      .destinationStride = target->stride,
      .destinationWidth = to.width,
      .is16 = is16,
      .half = fixedPoint.half,
      .shift = fixedPoint.shift,
      .finalShift = fixedPoint.finalShift,
      .multiplier = fixedPoint.multiplier,
      .columns = columns,
      .first = first.data(),
      .second = second.data(),
      .third = second.data() + columns,
      .zeros = reinterpret_cast<const uint8_t*>(first.data() + columns),
      .line = line.data(),
  };
  constexpr int32_t maxSigma32 = 15;
  const bool isNarrow = params.xSigma <= maxSigma32 && params.ySigma <= maxSigma32;
  (isNarrow ? gauss_vec1Rows32 : gauss_vec1Rows64)(request);
  return 0;
}

}  // namespace

ksys_status gauss_vec1Smooth(const ksImage* source, ksVImage* destination, const ksGaussParams* params,
                             ksIRegion* requested, ksVImage** out) {
  return withCleanup<4>([&](Cleanup& cleanup) -> ksys_status {
    check(source != nullptr && params != nullptr && out != nullptr);
    *out = nullptr;
    std::optional<FixedPoint> fixedPoint;
    ksys_status status = accept(source, *params, fixedPoint);
    if (failed(status)) return status;

    const bool isCreated = destination == nullptr;
    RequestGeometry geometry;
    if (failed(status = gauss_engineSetup(source, &destination, params, requested, geometry))) return status;
    const int32_t type = ksVImageType(destination);
    check(type == 0 || type == 8);
    if (!isNull(geometry.destination)) {
      status = smooth(cleanup, source, destination, *params, geometry, *fixedPoint);
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
