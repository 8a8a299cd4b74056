// SPDX-License-Identifier: Apache-2.0
#include "masked/vec_plan.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "frame/windows.hpp"
#include "kip/host/kmath.h"
#include "lanes/piece.hpp"

namespace kip {

namespace {

[[nodiscard]] int32_t exponentOf(double value) {
  int32_t exponent = 0;
  (void)std::frexp(value, &exponent);
  return exponent;
}

[[nodiscard]] MaskedDivision divisionOf(double scale, double weights, double largestPixel) {
  const double largestSum = weights * largestPixel;
  if (isPowerOfTwo(scale)) {
    return isExactPowerOfTwo(scale) && scale * largestSum < 0x1p48 && weights < 0x1p31 ? MaskedDivision::gain
                                                                                       : MaskedDivision::inDoubles;
  }
  if (scale == 1.0) return MaskedDivision::plain;
  const bool fits = scale < 65536.0 && scale * largestPixel < 0x1p30 && (scale + 1.0) * largestSum < 0x1p52;
  return fits ? MaskedDivision::scaled : MaskedDivision::scaledExact;
}

// Whether a quotient may leave what the division gets right. `largestSum`: of 8-bit pixels.
[[nodiscard]] bool mayExceed(MaskedDivision division, const gauss_bandParams& band, double largestSum,
                             const MaskedRowsKernel& kernel) {
  if (division != MaskedDivision::plain && division != MaskedDivision::scaled) return false;
  const double limit = division == MaskedDivision::plain ? maskedFloatLimit : maskedDoubleLimit;
  if (band.params.scale * largestSum < limit) return false;
  for (int64_t row = 0; row < band.maskPlane.height; ++row) {
    if (kernel.hasEvenBytes(rowOf<uint8_t>(band.maskPlane, row), band.maskPlane.width)) return true;
  }
  return false;
}

}  // namespace

FixedPointFactor::FixedPointFactor(double factor, double largest, int32_t multiplierBits, int32_t valueBits) {
  int32_t exponent = 0;
  const double mantissa = std::frexp(factor, &exponent);
  const double most = std::ldexp(1.0, multiplierBits);
  multiplier = static_cast<uint32_t>(std::min(mantissa * most + 0.5, most - 1.0));
  pre = std::max(exponentOf(largest) - valueBits, 0);
  post = std::max(multiplierBits - exponent - pre, 0);
}

bool isPowerOfTwo(double scale) {
  return scale > 1.5 && kmath_double_epsilonEqual(scale, std::ldexp(1.0, exponentOf(scale) - 1), 1e-6) != 0;
}

bool isExactPowerOfTwo(double scale) {
  return scale == std::ldexp(1.0, exponentOf(scale) - 1);
}

int32_t exactGainBits(double scale) {
  return isPowerOfTwo(scale) && isExactPowerOfTwo(scale) ? exponentOf(scale) - 1 : -1;
}

template <typename Src, typename Dst>
MaskedRows planRows(const gauss_bandParams& band, bool all, const MaskedRowsKernel& kernel) {
  const kip_gaussParams& params = band.params;
  const LineGeometry geometry(band.imagePlane.width, band.mirror, band.padding, params.xSigma);
  const int64_t xBox = int64_t{params.xSigma} + 1;
  const int64_t yBox = int64_t{params.ySigma} + 1;
  const int64_t area = xBox * yBox;
  const int64_t weights = area * area * area;
  constexpr int64_t largestPixel = std::numeric_limits<Src>::max();
  const double largestSum = static_cast<double>(largestPixel) * static_cast<double>(weights);

  MaskedRows rows{};
  rows.width = geometry.width;
  rows.readable = std::max(geometry.width, kernel.block);
  rows.leftPad = geometry.leftPad;
  rows.rightPad = geometry.rightPad;
  rows.leftMirror = geometry.leftMirror;
  rows.rightMirror = geometry.rightMirror;
  rows.box = xBox;
  rows.sample = params.xSample;
  rows.outputs = band.band.width;

  constexpr int32_t firstWideSigma = 16;
  const bool isNarrow = sizeof(Src) == 1 && params.xSigma < firstWideSigma && params.ySigma < firstWideSigma;
  rows.division = divisionOf(params.scale, static_cast<double>(weights), static_cast<double>(largestPixel));
  const bool isSeenThrough = sizeof(Src) == 1 && !all;
  if (isSeenThrough && mayExceed(rows.division, band, largestSum, kernel)) rows.division = MaskedDivision::scaledExact;
  rows.gainBits = rows.division == MaskedDivision::gain ? exactGainBits(params.scale) : 0;
  const bool isPlain = rows.division == MaskedDivision::plain && sizeof(Src) == sizeof(Dst);
  const bool isGain = rows.division == MaskedDivision::gain;
  const bool fits32 = largestSum + static_cast<double>(weights) < 0x1p32 && (isNarrow || sizeof(Src) == 2);
  if (all) {
    rows.sums = MaskedSums::imageOnly;
  } else if ((isPlain || isGain) && fits32) {
    const bool isJoined = sizeof(Src) == 1 && weights <= maskedJoinedWeights &&
                          std::ldexp(largestSum, rows.gainBits) + static_cast<double>(weights) < 0x1p32;
    rows.sums = isJoined ? MaskedSums::joined : MaskedSums::narrow;
  } else {
    rows.sums = weights <= int64_t{UINT32_MAX} ? MaskedSums::wide : MaskedSums::widest;
  }
  rows.isJoinedDown = rows.sums == MaskedSums::joined || (sizeof(Src) == 1 && yBox <= maskedJoinedBox);
  rows.reach = reachOf(largestPixel * yBox * yBox * yBox, xBox);

  rows.isRounded = params.roundResult != 0;
  rows.weights = static_cast<uint64_t>(weights);
  rows.scale = params.scale;
  rows.fixedScale = all ? 0 : fixedPoint(params.scale);
  const double factor = (params.scale == 1.0 ? 1.0 : params.scale) / static_cast<double>(weights);
  const FixedPointFactor fixed(factor, largestSum, isNarrow ? 15 : 20, isNarrow ? 17 : 44);
  rows.pre = fixed.pre;
  rows.post = fixed.post;
  rows.multiplier = fixed.multiplier;

  rows.history = 3 * xBox;
  rows.piece = pieceWidth(rows.width, rows.leftPad, rows.rightPad, kernel.block);
  rows.maskLine = (rows.history + rows.leftPad + rows.piece + rows.rightPad) * kernel.rows;
  return rows;
}

template MaskedRows planRows<uint8_t, uint8_t>(const gauss_bandParams&, bool, const MaskedRowsKernel&);
template MaskedRows planRows<uint8_t, uint16_t>(const gauss_bandParams&, bool, const MaskedRowsKernel&);
template MaskedRows planRows<uint16_t, uint16_t>(const gauss_bandParams&, bool, const MaskedRowsKernel&);

}  // namespace kip
