// SPDX-License-Identifier: Apache-2.0
#include <chrono>

#include "kernelcheck/gauss_check.hpp"

namespace kernelcheck {

namespace {

using namespace kiptest;

template <typename Pixel>
double benchGauss(const GaussLevel& level) {
  const ksIRegion region = {0, 0, 1024, 768};
  Canvas<uint8_t> source(region, 0);
  const Canvas<Pixel> destination(region, 0);
  Random random(1);
  source.paint(drawPattern(Pattern::noise, region, random));
  const LegacyImage from = legacyOn(source);
  const LegacyImage to = legacyOn(destination);
  ksGaussParams params = *ksGaussParamsNull();
  params.xSigma = params.ySigma = 2;
  params.extendBorder = 1;
  const ProcessorOverride processor(level.vendor, level.features);

  using Clock = std::chrono::steady_clock;
  double best = 1e9;
  for (const auto end = Clock::now() + std::chrono::milliseconds(500); Clock::now() < end;) {
    const auto start = Clock::now();
    ksVImage* out = nullptr;
    if (kip_gauss(from.get(), to.get(), &params, nullptr, &out) != 0) return -1;
    best = std::min(best, std::chrono::duration<double, std::nano>(Clock::now() - start).count());
  }
  return best / (double{1024} * 768);
}

template <typename Pixel>
Row makeRow(const std::string& kernel, const GaussLevel& level) {
  const auto draw = [](uint64_t seed, int32_t index) { return drawGaussCase(seed, index, false); };
  return {
      kernel + '/' + level.name, 3000, [draw](uint64_t seed, int32_t index) { return draw(seed, index).describe(); },
      [draw, level](uint64_t seed, int32_t index) { return checkGauss<Pixel>(draw(seed, index), kip_gauss, level); },
      [level] { return benchGauss<Pixel>(level); }};
}

}  // namespace

void addGaussRows(std::vector<Row>& rows) {
  rows.push_back(makeRow<uint8_t>("gauss8_8", portable));
  rows.push_back(makeRow<uint16_t>("gauss8_16", portable));
}

}  // namespace kernelcheck
