// SPDX-License-Identifier: Apache-2.0
#include "masked/plan.hpp"

#include <algorithm>
#include <limits>

#include "frame/check.hpp"
#include "frame/windows.hpp"
#include "lanes/reach.hpp"
#include "masked/line.hpp"
#include "masked/scale.hpp"

namespace kip {

namespace {

// The largest numbers of a request.
struct Extremes {
  int64_t weights;  // the sum of the kernel's
  double sum;       // of white pixels
};

// What quotients must stay below: 20 bits and a correction come out of floats, 31 bits of doubles.
constexpr double floatLimit = 0x1p20, doubleLimit = 0x1p31;

// Whether quotients may come to a limit. Only bits of pixels that even bytes of the mask let through make them larger
// than pixels, since nothing counts those; the mask is searched when the largest sum alone would be too much.
[[nodiscard]] bool mayReach(double limit, const gauss_bandParams& band, double largestSum,
                            const MaskedRowsKernel& kernel) {
  if (band.params.scale * largestSum < limit) return false;
  for (int64_t row = 0; row < band.maskPlane.height; ++row) {
    if (kernel.hasUncounted(rowOf<uint8_t>(band.maskPlane, row), band.maskPlane.width)) return true;
  }
  return false;
}

// `isIn32`: sums fit in 32 bits. `mayReach(limit)`: of quotients.
template <typename MayReach>
[[nodiscard]] MaskedValues valuesFor(double scale, const Extremes& largest, double largestPixel, bool isIn32,
                                     MayReach&& mayReach) {
  const auto weights = static_cast<double>(largest.weights);
  const double dividend = scale * largest.sum + weights / 2;
  switch (kindOf(scale)) {
    case ScaleKind::one:
      if (mayReach(floatLimit)) return MaskedValues::scaledIn128Bits;
      if (weights >= 0x1p31) return MaskedValues::inDoubles;
      if (!isIn32) return MaskedValues::quotient48;
      if (dividend < 0x1p24) return MaskedValues::quotient24;
      return dividend < 0x1p31 ? MaskedValues::quotient31 : MaskedValues::quotient32;
    case ScaleKind::gain:
      if (scale * largest.sum >= 0x1p48 || weights >= 0x1p31) return MaskedValues::limitedInDoubles;
      if (!isIn32 || dividend >= 0x1p32) return MaskedValues::gain48;
      return dividend < 0x1p31 ? MaskedValues::gain31 : MaskedValues::gain32;
    case ScaleKind::nearGain:
      return MaskedValues::limitedInDoubles;
    case ScaleKind::fixedPoint:
      break;
  }
  const bool fits = scale < 65536.0 && scale * largestPixel < 0x1p30 && (scale + 1.0) * largest.sum < 0x1p52;
  return fits && !mayReach(doubleLimit) ? MaskedValues::scaledInDoubles : MaskedValues::scaledIn128Bits;
}

// By Reach.
constexpr ImageSums in64By[] = {ImageSums::in64FromSeconds, ImageSums::in64FromDifferences, ImageSums::in64};

}  // namespace

template <typename Src, typename Dst>
MaskedRows planRows(const gauss_bandParams& band, bool all, const MaskedRowsKernel& kernel) {
  const kip_gaussParams& params = band.params;
  const LineGeometry geometry(band.imagePlane.width, band.mirror, band.padding, params.xSigma);
  constexpr bool isByte = sizeof(Src) == 1;
  constexpr int64_t largestPixel = std::numeric_limits<Src>::max();
  const int64_t xBox = int64_t{params.xSigma} + 1;
  const int64_t yBox = int64_t{params.ySigma} + 1;
  const int64_t area = xBox * yBox;
  const int64_t weights = area * area * area;
  const Extremes largest = {weights, static_cast<double>(largestPixel) * static_cast<double>(weights)};

  MaskedRows rows{};
  rows.line = {.width = geometry.width,
               .readable = std::max(geometry.width, kernel.vectors.block),
               .leftPad = geometry.leftPad,
               .rightPad = geometry.rightPad,
               .leftMirror = geometry.leftMirror,
               .rightMirror = geometry.rightMirror,
               .box = xBox,
               .sample = params.xSample,
               .outputs = band.band.width};

  // products of 8-bit pixels below sigma 16 are in 32 bits, whatever their sums are
  constexpr int32_t firstLongSigma = 16;
  const bool isShort = isByte && params.xSigma < firstLongSigma && params.ySigma < firstLongSigma;
  const bool fits32 = largest.sum + static_cast<double>(weights) < 0x1p32 && (isShort || !isByte);
  const auto mayReachLimit = [&](double limit) { return isByte && !all && mayReach(limit, band, largest.sum, kernel); };
  const MaskedValues values =
      all ? MaskedValues::product : valuesFor(params.scale, largest, largestPixel, fits32, mayReachLimit);

  const bool isIn32 = fits32 && values <= MaskedValues::gain48;
  const bool isJoined = isByte && isIn32 && weights <= maskedJoinedWeights;
  const ImageSums image = isJoined ? ImageSums::joined
                          : isIn32 ? ImageSums::in32
                                   : in64By[static_cast<size_t>(reachOf(largestPixel * yBox * yBox * yBox, xBox))];
  const MaskSums mask = all || isJoined                  ? MaskSums::none
                        : weights <= int64_t{UINT32_MAX} ? MaskSums::in32
                                                         : MaskSums::in64;
  rows.columns = all                                 ? MaskedColumns::imageOnly
                 : isJoined                          ? MaskedColumns::joined
                 : isByte && yBox <= maskedJoinedBox ? MaskedColumns::split
                                                     : MaskedColumns::apart;
  rows.outputs = kernel.lineOutputs(values, isShort, image, mask);
  check(rows.outputs != nullptr);

  const double factor = params.scale / static_cast<double>(weights);
  const FixedPointFactor fixed(factor, largest.sum, isShort ? 15 : 20, isShort ? 17 : 44);
  rows.scale = {.isRounded = params.roundResult != 0,
                .weights = static_cast<uint64_t>(isJoined ? weights % maskedJoinedWeights : weights),
                .scale = params.scale,
                .fixedScale = all ? 0 : fixedPoint(params.scale),
                .gainBits = kindOf(params.scale) == ScaleKind::gain ? binaryLogarithm(params.scale) : 0,
                .largest = std::numeric_limits<Dst>::max(),
                .pre = fixed.pre,
                .post = fixed.post,
                .multiplier = fixed.multiplier};
  return rows;
}

template MaskedRows planRows<uint8_t, uint8_t>(const gauss_bandParams&, bool, const MaskedRowsKernel&);
template MaskedRows planRows<uint8_t, uint16_t>(const gauss_bandParams&, bool, const MaskedRowsKernel&);
template MaskedRows planRows<uint16_t, uint16_t>(const gauss_bandParams&, bool, const MaskedRowsKernel&);

}  // namespace kip
