// SPDX-License-Identifier: Apache-2.0
#include "oracle/legacy_oracle.hpp"

#include <cmath>

namespace oracle {

namespace {

// What enters an axis: element - box i with weight i, as far as there are any.
template <typename Use>
void forTaps(size_t element, size_t box, size_t count, Use use) {
  for (size_t i = 0; i < count && i * box <= element; ++i) use(i, element - i * box);
}

double addRunning(std::vector<double>& sums, double value) {
  for (double& sum : sums) value = sum += value;
  return value;
}

double middleWeight(const std::vector<double>& weights, size_t box, size_t extent) {
  std::vector<double> sums(weights.size() - 1, 0.0);
  double result = 0.0;
  for (size_t i = 0; i <= extent / 2; ++i) result = addRunning(sums, i % box == 0 ? weights[i / box] : 0.0);
  return result;
}

}  // namespace

std::vector<uint8_t> smoothPasses(const Picture& source, const Passes& passes, const ksIRegion& computed) {
  std::vector<uint8_t> pixels;
  if (computed.width == 0) return pixels;
  const auto count = static_cast<size_t>(passes.n) + 1;
  const auto xBox = static_cast<size_t>(passes.xSigma) + 1, yBox = static_cast<size_t>(passes.ySigma) + 1;
  const size_t xExtent = count * (xBox - 1), yExtent = count * (yBox - 1);
  const auto sourceWidth = static_cast<size_t>(source.region.width);
  const auto left = static_cast<size_t>(computed.x - source.region.x) - xExtent / 2;
  const auto top = static_cast<size_t>(computed.y - source.region.y) - yExtent / 2;
  const auto width = static_cast<size_t>(computed.width) + xExtent;
  const auto height = static_cast<size_t>(computed.height) + yExtent;

  std::vector<double> weights = {1.0};
  for (size_t i = 1; i <= count; ++i) {
    weights.push_back(-weights.back() * static_cast<double>(count + 1 - i) / static_cast<double>(i));
  }
  const double divisor = passes.peakNormalize != 0
                             ? middleWeight(weights, xBox, xExtent) * middleWeight(weights, yBox, yExtent)
                             : std::pow(static_cast<double>(xBox) * static_cast<double>(yBox), count);

  std::vector<std::vector<double>> columns(width, std::vector<double>(count, 0.0));
  std::vector<double> last(width);
  for (size_t row = 0; row < height; ++row) {
    for (size_t x = 0; x < width; ++x) {
      std::vector<double>& sums = columns[x];
      forTaps(row, yBox, weights.size(),
              [&](size_t i, size_t y) { sums[0] += weights[i] * source.pixels[(top + y) * sourceWidth + left + x]; });
      for (size_t j = 1; j < count; ++j) sums[j] += sums[j - 1];
      last[x] = sums.back();
    }
    if (row < yExtent) continue;
    std::vector<double> running(count, 0.0);
    for (size_t x = 0; x < width; ++x) {
      double difference = 0.0;
      forTaps(x, xBox, weights.size(), [&](size_t i, size_t at) { difference += weights[i] * last[at]; });
      const double value = addRunning(running, difference) / divisor;
      const bool fits = std::fabs(value) < 0x1p63;
      if (x >= xExtent) pixels.push_back(static_cast<uint8_t>(fits ? static_cast<int64_t>(value) : 0));
    }
  }
  return pixels;
}

}  // namespace oracle
