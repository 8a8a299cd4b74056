// SPDX-License-Identifier: Apache-2.0
// Whole calls whose pixels must not change unnoticed, each with why it is here and its seed, from which noise is drawn.
#include "cases.hpp"

namespace golden {

using namespace kiptest;

namespace {

constexpr kstd_rect32 plain = {0, 0, 61, 47}, wide = {-7, 12, 330, 35}, odd = {-3, 5, 63, 41};
constexpr kip_gaussParams uneven = {3, 2, 2, 5, 1.0, 0, {0, 0, 0.0}}, alongX = {1, 1, 6, 0, 1.0, 1, {0, 0, 0.0}};
constexpr kip_gaussParams radii = {1, 1, 3, 1, 1.0, 0, {0, 0, 0.0}}, unevenBoxes = {1, 1, 3, 2, 1.0, 0, {0, 0, 0.0}};

kip_gaussParams by(int32_t sigma, int32_t sample = 1, double scale = 1.0, int32_t round = 1,
                   kip_filterMaskParams rule = {0, 0, 0.0}) {
  return {sample, sample, sigma, sigma, scale, round, rule};
}

enum Masks { none = 0, source = 1, samples = 2, result = 4 };

// `depths`: 88, 816 or 1616.
Request request(Function function, int32_t depths, const kip_gaussParams& params, const kstd_rect32& rect,
                int32_t masks, uint64_t seed) {
  Request r;
  r.function = function;
  r.srcBytes = depths == 1616 ? 2 : 1;
  r.dstBytes = depths == 88 ? 1 : 2;
  r.params = params;
  r.source = r.destination = rect;
  r.hasSrcMask = (masks & source) != 0;
  r.hasSampleMask = (masks & samples) != 0;
  r.hasDstMask = (masks & result) != 0;
  r.seed = seed;
  return r;
}
Request boxes(const kip_gaussParams& params, int32_t passes, bool inPlaceByPeak, uint64_t seed) {
  Request r = request(Function::legacy, 88, params, plain, none, seed);
  r.passes = passes;
  r.inPlace = r.peakNormalize = inPlaceByPeak ? 1 : 0;
  return r;
}
Request window(Request r, const kstd_rect32& destination) {
  r.form = Form::window;
  r.destination = destination;
  r.margin = 3;
  return r;
}

}  // namespace

const std::vector<Case>& cases() {
  using enum Function;
  static const std::vector<Case> list = {
      {"smooth_default", "as initialised", request(smooth, 88, by(1, 1, 1.0, 0), plain, none, 19)},
      {"smooth_sigma1", "the path for sigma 1", request(smooth, 88, by(1), wide, none, 20)},
      {"smooth_sigma1_by3", "the same, sampled", request(smooth, 88, by(1, 3), wide, none, 24)},
      {"smooth_sigma2", "the path for sigma 2", request(smooth, 88, by(2), wide, none, 31)},
      {"smooth_sigma2_by2", "the same, sampled", request(smooth, 88, by(2, 2, 1.0, 0), wide, none, 33)},
      {"smooth_half", "a power of two in fixed point", request(smooth, 88, by(7, 1, 0.5, 0), wide, none, 38)},
      {"smooth_overflow", "results beyond a byte", request(smooth, 88, by(3, 1, 2.0, 0), wide, none, 49)},
      {"smooth_uneven", "axes of their own", request(smooth, 88, uneven, wide, none, 55)},
      {"smooth_along_x", "no kernel down the columns", request(smooth, 88, alongX, wide, none, 59)},
      {"smooth_large", "taps beyond one reflection", request(smooth, 88, by(24), plain, none, 62)},
      {"smooth16_gain", "eight fractional bits", request(smooth, 816, by(4, 1, 256.0), wide, none, 67)},
      {"smooth16_window", "mirrored at the window", window(request(smooth, 816, by(5), plain, none, 72), odd)},
      {"masked_default", "samples decide", request(masked, 88, by(2), plain, source | result, 75)},
      {"masked_coverage", "coverage decides",
       request(masked, 88, by(3, 1, 1.0, 1, {1, 1, 0.5}), wide, source | samples | result, 84)},
      {"masked_scaled", "the fixed-point factor", request(masked, 88, by(6, 2, 1.2), wide, source, 87)},
      {"masked_maskless", "unmasked, then repaired", request(masked, 88, by(2), wide, samples | result, 102)},
      {"masked8_16_gain", "eight fractional bits", request(masked, 816, by(4, 1, 256.0), plain, source, 103)},
      {"masked8_16_large", "the largest portable sigma", request(masked, 816, by(24), wide, source, 109)},
      {"masked16_16_large", "the widest sums", request(masked, 1616, by(39), wide, source | result, 115)},
      {"masked16_16_maskless", "unmasked 16-bit smoothing", request(masked, 1616, by(3), wide, result, 117)},
      {"result_mask", "coverage alone",
       request(resultMask, 88, by(2, 2, 1.0, 0, {0, 1, 0.4}), plain, source | samples, 135)},
      {"legacy_four_boxes", "boxes of odd and even width", boxes(unevenBoxes, 3, false, 144)},
      {"legacy_peak_in_place", "by the largest weight, over the source", boxes(by(1), 1, true, 160)},
      {"reduce", "both axes, one rounding", request(reduceXY, 88, by(1), odd, none, 161)},
      {"reduce16_masked", "means weighted by a mask", request(reduceXY, 1616, by(1), odd, source | result, 170)},
      {"reduce_x_part", "of an image from an even column on",
       window(request(reduceX, 88, by(1), odd, none, 172), {2, 4, 21, 13})},
      {"reduce_y_masked", "rows only", request(reduceY, 88, by(1), odd, source | result, 175)},
      {"binomial", "three passes, two along x alone", request(noSample, 88, radii, odd, none, 180)},
      {"binomial16", "16-bit sums", request(noSample, 1616, radii, odd, none, 192)},
      {"binomial_masked", "passes on passes", request(noSample, 88, by(2), odd, source | result, 206)},
  };
  return list;
}

}  // namespace golden
