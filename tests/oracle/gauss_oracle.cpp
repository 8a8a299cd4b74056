// SPDX-License-Identifier: Apache-2.0
#include "oracle/gauss_oracle.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace oracle {

int64_t Axis::position(int64_t pixel) const {
  return pixel * sample + sample / 2 + (sample & (sigma + 1) & 1) - 1;
}

std::vector<int64_t> Axis::weights() const {
  std::vector<int64_t> kernel = {1};
  for (int pass = 0; pass < 3; ++pass) {
    std::vector<int64_t> wider(kernel.size() + static_cast<size_t>(sigma), 0);
    for (size_t i = 0; i < kernel.size(); ++i) {
      for (size_t j = 0; j <= static_cast<size_t>(sigma); ++j) wider[i + j] += kernel[i];
    }
    kernel = wider;
  }
  return kernel;
}

namespace {

Axis xAxis(const ksGaussParams& params) {
  return {params.xSample, params.xSigma};
}
Axis yAxis(const ksGaussParams& params) {
  return {params.ySample, params.ySigma};
}

// The element that an index stands for in `size` elements mirrored once at either end; -1: none.
int64_t mirrored(int64_t index, int64_t size) {
  const int64_t element = index < 0 ? -index - 1 : index >= size ? 2 * size - 1 - index : index;
  return element >= 0 && element < size ? element : -1;
}

struct Run {
  int64_t first = 0, count = 0;
};

Run existing(const Axis& axis, bool extend, int64_t start, int64_t size, const Run* requested) {
  int64_t low = start / axis.sample - 4, high = (start + size) / axis.sample + 4;
  if (requested != nullptr) {
    low = std::max(low, requested->first);
    high = std::min(high, requested->first + requested->count - 1);
  }
  Run run;
  for (int64_t pixel = low; pixel <= high; ++pixel) {
    const int64_t from = extend ? axis.position(pixel) : axis.firstTap(pixel);
    const int64_t to = extend ? axis.position(pixel) : axis.lastTap(pixel);
    if (from < start || to >= start + size) continue;
    if (run.count++ == 0) run.first = pixel;
  }
  return run;
}

double divisorOf(const ksGaussParams& params, const std::vector<int64_t>& cx, const std::vector<int64_t>& cy) {
  if (params.peakNormalize != 0) return static_cast<double>(cx[cx.size() / 2] * cy[cy.size() / 2]);
  const int64_t sum =
      std::accumulate(cx.begin(), cx.end(), int64_t{0}) * std::accumulate(cy.begin(), cy.end(), int64_t{0});
  return static_cast<double>(sum) / static_cast<double>(params.scale);
}

template <typename Pixel>
Pixel stored(double value) {
  if (!(std::fabs(value) < 0x1p63)) return 0;
  return static_cast<Pixel>(static_cast<uint64_t>(static_cast<int64_t>(value)));
}

// Hands over, for each row of the destination, the weighted sums that end at each column under a tap: the first ones,
// short of taps, too.
template <typename Use>
void forEachLine(const Picture& source, const ksGaussParams& params, const ksIRegion& destination, Use use) {
  const Axis xs = xAxis(params), ys = yAxis(params);
  const std::vector<int64_t> cx = xs.weights(), cy = ys.weights();
  const auto width = static_cast<size_t>(source.region.width);
  const int64_t leftmost = xs.firstTap(destination.x);
  const auto columns = static_cast<size_t>(xs.lastTap(int64_t{destination.x} + destination.width - 1) - leftmost + 1);
  std::vector<int64_t> vertical(width), line(columns), sums(columns);
  for (int32_t v = 0; v < destination.height; ++v) {
    std::fill(vertical.begin(), vertical.end(), 0);
    for (size_t b = 0; b < cy.size(); ++b) {
      const int64_t row = mirrored(ys.firstTap(int64_t{destination.y} + v) + static_cast<int64_t>(b) - source.region.y,
                                   source.region.height);
      if (row < 0) continue;
      const uint8_t* const pixels = source.pixels.data() + static_cast<size_t>(row) * width;
      for (size_t j = 0; j < width; ++j) vertical[j] += cy[b] * pixels[j];
    }
    for (size_t i = 0; i < columns; ++i) {
      const int64_t column = mirrored(leftmost + static_cast<int64_t>(i) - source.region.x, source.region.width);
      line[i] = column < 0 ? 0 : vertical[static_cast<size_t>(column)];
    }
    for (size_t last = 0; last < columns; ++last) {
      sums[last] = 0;
      for (size_t i = 0; i < std::min(last + 1, cx.size()); ++i) sums[last] += cx[i] * line[last - i];
    }
    use(sums);
  }
}

}  // namespace

ksGaussParams legacyOf(const kip_gaussParams& params) {
  return {.xSample = params.xSample,
          .ySample = params.ySample,
          .xSigma = params.xSigma,
          .ySigma = params.ySigma,
          .peakNormalize = 0,
          .extendBorder = 1,
          .roundResult = params.roundResult,
          .scale = static_cast<float>(params.scale),
          .dstTemplate = nullptr,
          .reserved = nullptr};
}

ksIRegion destinationOf(const ksIRegion& source, const ksGaussParams& params, const ksIRegion* requested) {
  const bool extend = params.extendBorder != 0 && params.peakNormalize == 0;
  const Run wantedX = requested != nullptr ? Run{requested->x, requested->width} : Run{};
  const Run wantedY = requested != nullptr ? Run{requested->y, requested->height} : Run{};
  const Run x = existing(xAxis(params), extend, source.x, source.width, requested != nullptr ? &wantedX : nullptr);
  const Run y = existing(yAxis(params), extend, source.y, source.height, requested != nullptr ? &wantedY : nullptr);
  if (x.count == 0 || y.count == 0) return {0, 0, 0, 0};
  return {static_cast<int32_t>(x.first), static_cast<int32_t>(y.first), static_cast<int32_t>(x.count),
          static_cast<int32_t>(y.count)};
}

std::vector<int64_t> weightedSums(const Picture& source, const ksGaussParams& params, const ksIRegion& destination) {
  std::vector<int64_t> result;
  const auto taps = static_cast<size_t>(3 * params.xSigma + 1), step = static_cast<size_t>(params.xSample);
  if (destination.width == 0) return result;
  forEachLine(source, params, destination, [&](const std::vector<int64_t>& sums) {
    for (size_t last = taps - 1; last < sums.size(); last += step) result.push_back(sums[last]);
  });
  return result;
}

template <typename Pixel>
std::vector<Pixel> smooth(const Picture& source, const ksGaussParams& params, const ksIRegion& destination) {
  std::vector<Pixel> result;
  if (destination.width == 0) return result;
  const auto taps = static_cast<size_t>(3 * params.xSigma + 1), step = static_cast<size_t>(params.xSample);
  const double divisor = divisorOf(params, xAxis(params).weights(), yAxis(params).weights());
  const double reciprocal = 1.0 / divisor;
  const bool round = params.roundResult != 0;
  forEachLine(source, params, destination, [&](const std::vector<int64_t>& sums) {
    // One half of the divisor need not be exact next to a large sum, so the sum grows from it column by column, by the
    // exact change that each column brings.
    double running = 0.5 * divisor;
    for (size_t last = 0; last < sums.size(); ++last) {
      running += static_cast<double>(sums[last] - (last > 0 ? sums[last - 1] : 0));
      if (last + 1 < taps || (last + 1 - taps) % step != 0) continue;
      const auto sum = static_cast<double>(sums[last]);
      double value = (round ? running : sum) * reciprocal;
      if (params.xSigma == 0) value = round ? sum * reciprocal + 0.5 : sum / divisor;
      result.push_back(stored<Pixel>(value));
    }
  });
  return result;
}

template std::vector<uint8_t> smooth(const Picture&, const ksGaussParams&, const ksIRegion&);
template std::vector<uint16_t> smooth(const Picture&, const ksGaussParams&, const ksIRegion&);

int64_t attentionChecks(const ksIRegion& source, const ksGaussParams& params, const ksIRegion& destination) {
  if (destination.width == 0) return 0;
  const Axis ys = yAxis(params);
  const int64_t first = ys.firstTap(destination.y);
  const int64_t last = ys.lastTap(int64_t{destination.y} + destination.height - 1);
  const int64_t origin = std::max<int64_t>(first, source.y);
  int64_t checks = 1;
  for (int64_t row = first; row <= last; ++row) checks += (row - origin) % 64 == 0;
  return checks;
}

}  // namespace oracle
