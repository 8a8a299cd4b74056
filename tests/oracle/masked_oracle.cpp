// SPDX-License-Identifier: Apache-2.0
#include "oracle/masked_oracle.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace oracle {

namespace {

struct Axis {
  int64_t sample, sigma, origin, size;  // origin and size: of the source

  [[nodiscard]] int64_t firstTap(int64_t pixel) const {
    return pixel * sample + sample / 2 + (sample & (sigma + 1) & 1) - 1 - 3 * sigma / 2;
  }
  // The source element under a tap, mirrored once; -1: none.
  [[nodiscard]] int64_t element(int64_t tap) const {
    const int64_t index = tap - origin;
    const int64_t mirrored = index < 0 ? -index - 1 : index < size ? index : 2 * size - 1 - index;
    return mirrored >= 0 && mirrored < size ? mirrored : -1;
  }
  // The source element at the sample position of the index-th pixel of a destination that begins at `first`.
  [[nodiscard]] int64_t sampleOf(int64_t first, int64_t index) const {
    return std::max<int64_t>(firstTap(first) - origin, 0) + index * sample;
  }
  // The source elements under a pixel's taps with their weights: those of three boxes, or 1.
  [[nodiscard]] std::vector<std::pair<size_t, int64_t>> taps(int64_t pixel, bool boxes) const {
    std::vector<std::pair<size_t, int64_t>> result;
    for (int64_t t = 0; t <= 3 * sigma; ++t) {
      int64_t weight = boxes ? 0 : 1;  // the ways to write t as a sum of three offsets in 0 ... sigma
      for (int64_t a = 0; boxes && a <= sigma; ++a) {
        weight += std::max<int64_t>(0, std::min(sigma, t - a) - std::max<int64_t>(0, t - a - sigma) + 1);
      }
      const int64_t at = element(firstTap(pixel) + t);
      if (at >= 0) result.emplace_back(static_cast<size_t>(at), weight);
    }
    return result;
  }
};

// For every destination pixel the weighted sum of the values over the source.
std::vector<int64_t> sums(const Axis& xs, const Axis& ys, const ksIRegion& destination, bool boxes,
                          const std::vector<int64_t>& values) {
  const auto width = static_cast<size_t>(xs.size);
  std::vector<std::vector<std::pair<size_t, int64_t>>> columns;
  for (int32_t u = 0; u < destination.width; ++u) columns.push_back(xs.taps(int64_t{destination.x} + u, boxes));
  std::vector<int64_t> result;
  for (int32_t v = 0; v < destination.height; ++v) {
    std::vector<int64_t> line(width, 0);
    for (const auto& [row, weight] : ys.taps(int64_t{destination.y} + v, boxes)) {
      for (size_t x = 0; x < width; ++x) line[x] += weight * values[row * width + x];
    }
    for (const auto& taps : columns) {
      int64_t sum = 0;
      for (const auto& [column, weight] : taps) sum += weight * line[column];
      result.push_back(sum);
    }
  }
  return result;
}

Axis xAxis(const MaskedRequest& r) {
  return {r.params.xSample, r.params.xSigma, r.region.x, r.region.width};
}
Axis yAxis(const MaskedRequest& r) {
  return {r.params.ySample, r.params.ySigma, r.region.y, r.region.height};
}

// Index of the element at a destination pixel's sample position, by the destination's rows.
std::vector<size_t> samples(const MaskedRequest& r, const ksIRegion& destination) {
  std::vector<size_t> result;
  for (int32_t v = 0; v < destination.height; ++v) {
    for (int32_t u = 0; u < destination.width; ++u) {
      const int64_t row = yAxis(r).sampleOf(destination.y, v);
      result.push_back(static_cast<size_t>(row * r.region.width + xAxis(r).sampleOf(destination.x, u)));
    }
  }
  return result;
}

int64_t threshold(const kip_gaussParams& p) {
  const double area = (3.0 * p.xSigma + 1.0) * (3.0 * p.ySigma + 1.0);
  return std::max<int64_t>(1, static_cast<int64_t>(std::floor(area * p.filterMask.minCoverage + 0.5)));
}

int32_t stored(const MaskedRequest& r, double value) {
  if (!(value >= 0.0)) return 0;
  return value >= r.largest ? r.largest : static_cast<int32_t>(value);
}

int32_t scaledSample(const MaskedRequest& r, size_t sample) {
  return stored(r, r.pixels[sample] * r.params.scale + (r.params.roundResult != 0 ? 0.5 : 0.0));
}

// What decides an output: the sums under the kernel, the sample and whether it is valid.
struct Measured {
  int64_t image, mask;
  size_t sample;
  bool valid;
};

std::vector<Measured> measure(const MaskedRequest& r, const ksIRegion& destination) {
  std::vector<int64_t> counts, seen;
  for (size_t i = 0; i < r.pixels.size(); ++i) {
    counts.push_back(r.byLowestBit ? r.srcMask[i] & 1 : r.srcMask[i] != 0);
    seen.push_back(r.seenThrough ? r.pixels[i] & r.srcMask[i] : counts[i] * r.pixels[i]);
  }
  const Axis xs = xAxis(r), ys = yAxis(r);
  const std::vector<int64_t> image = sums(xs, ys, destination, true, seen);
  const std::vector<int64_t> mask = sums(xs, ys, destination, true, counts);
  const std::vector<int64_t> coverage = sums(xs, ys, destination, false, counts);
  const std::vector<size_t> at = samples(r, destination);
  const kip_filterMaskParams& rule = r.params.filterMask;
  const std::vector<uint8_t>& restriction =
      r.sampleMask.empty() && rule.allowMaskedSample == 0 ? r.srcMask : r.sampleMask;
  std::vector<Measured> result;
  for (size_t i = 0; i < at.size(); ++i) {
    const bool valid = (rule.useCoverage != 0 ? coverage[i] >= threshold(r.params) : r.srcMask[at[i]] != 0) &&
                       (restriction.empty() || restriction[at[i]] != 0) && mask[i] > 0;
    result.push_back({image[i], mask[i], at[i], valid});
  }
  return result;
}

__extension__ using Natural = unsigned __int128;

// What a value is multiplied by in place of a division by the sum of all weights.
struct Factor {
  int pre, post;
  uint64_t multiplier;

  [[nodiscard]] Natural applyTo(int64_t sum, bool rounded) const {
    const Natural product = Natural{static_cast<uint64_t>(sum) >> pre} * multiplier;
    if (post > 100) return 0;
    return (product + (rounded && post > 0 ? Natural{1} << (post - 1) : 0)) >> post;
  }
};

Factor factorOf(const MaskedRequest& r, double weights) {
  const bool narrow = r.largestSource == 255 && std::max(r.params.xSigma, r.params.ySigma) < 16;
  const int bits = narrow ? 15 : 20, kept = narrow ? 17 : 44;
  int exponent = 0, exponentOfLargest = 0;
  const double mantissa = std::frexp(r.params.scale == 1.0 ? 1.0 / weights : r.params.scale / weights, &exponent);
  (void)std::frexp(r.largestSource * weights, &exponentOfLargest);
  Factor result{};
  result.multiplier = static_cast<uint64_t>(std::fmin(std::ldexp(mantissa, bits) + 0.5, std::ldexp(1.0, bits) - 1));
  result.pre = std::max(exponentOfLargest - kept, 0);
  result.post = std::max(bits - exponent - result.pre, 0);
  return result;
}

}  // namespace

MaskedResult smoothMasked(const MaskedRequest& r, const ksIRegion& destination) {
  const double half = r.params.roundResult != 0 ? 0.5 : 0.0;
  MaskedResult result;
  for (const Measured& of : measure(r, destination)) {
    const double mean = static_cast<double>(of.image) * r.params.scale / static_cast<double>(of.mask) + half;
    result.pixels.push_back(of.valid ? stored(r, mean) : scaledSample(r, of.sample));
    result.mask.push_back(of.valid ? 255 : 0);
  }
  return result;
}

MaskedResult smoothMaskedInIntegers(const MaskedRequest& r, const ksIRegion& destination) {
  const double scale = r.params.scale;
  int exponent = 0;
  (void)std::frexp(scale, &exponent);
  const bool isPowerOfTwo = scale > 1.5 && std::fabs(scale - std::ldexp(1.0, exponent - 1)) <= 1e-6;
  if (isPowerOfTwo && !r.isMaskless) return smoothMasked(r, destination);

  const double weights = std::pow((r.params.xSigma + 1.0) * (r.params.ySigma + 1.0), 3.0);
  const Factor factor = factorOf(r, weights);
  const Natural fixedScale = r.isMaskless ? 0 : static_cast<uint64_t>(scale * 65536.0);
  const bool rounded = r.params.roundResult != 0;
  const auto scaled = [&](int64_t value, Natural half) {
    return scale == 1.0 ? Natural{static_cast<uint64_t>(value)}
                        : (fixedScale * static_cast<uint64_t>(value) + half) >> 16;
  };
  MaskedResult result;
  for (const Measured& of : measure(r, destination)) {
    Natural value = 0;
    if (!of.valid) {
      value = scaled(r.pixels[of.sample], rounded ? 32768 : 0);
    } else if (of.mask == static_cast<int64_t>(weights)) {
      value = factor.applyTo(of.image, rounded);
    } else {
      const auto divisor = static_cast<uint64_t>(of.mask);
      value = (scaled(of.image, 0) + (rounded ? divisor / 2 : 0)) / divisor;
    }
    result.pixels.push_back(static_cast<int32_t>(value & static_cast<uint32_t>(r.largest)));
    result.mask.push_back(of.valid ? 255 : 0);
  }
  return result;
}

std::vector<uint8_t> resultMask(const MaskedRequest& r, const ksIRegion& destination) {
  std::vector<int64_t> counts;
  for (const uint8_t byte : r.srcMask) counts.push_back(byte >= 128);
  const std::vector<int64_t> coverage = sums(xAxis(r), yAxis(r), destination, false, counts);
  const std::vector<size_t> at = samples(r, destination);
  std::vector<uint8_t> result;
  for (size_t i = 0; i < at.size(); ++i) {
    const bool valid = coverage[i] >= threshold(r.params) && (r.sampleMask.empty() || r.sampleMask[at[i]] != 0);
    result.push_back(valid ? 255 : 0);
  }
  return result;
}

void repair(const MaskedRequest& r, const ksIRegion& destination, MaskedResult& smoothed) {
  const std::vector<size_t> at = samples(r, destination);
  smoothed.mask.assign(at.size(), 255);
  for (size_t i = 0; i < at.size() && !r.sampleMask.empty(); ++i) {
    smoothed.mask[i] = r.sampleMask[at[i]];
    if (smoothed.mask[i] == 0) smoothed.pixels[i] = scaledSample(r, at[i]);
  }
}

}  // namespace oracle
