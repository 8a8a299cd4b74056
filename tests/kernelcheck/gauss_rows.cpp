// SPDX-License-Identifier: Apache-2.0
#include "kernelcheck/gauss_check.hpp"
#include "support/levels.hpp"

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
  return timePerPixel(int64_t{region.width} * region.height, [&] {
    ksVImage* out = nullptr;
    return kip_gauss(from.get(), to.get(), &params, nullptr, &out);
  });
}

template <typename Pixel>
Row makeRow(const std::string& kernel, const GaussLevel& level) {
  return {
      kernel + '/' + level.name,
      level.features,
      level.features == 0 ? 3000 : 2000,
      [level](uint64_t seed, int32_t index) { return level.draw(seed, index).describe(); },
      [level](uint64_t seed, int32_t index) { return checkGauss<Pixel>(level.draw(seed, index), kip_gauss, level); },
      [level] { return benchGauss<Pixel>(level); }};
}

}  // namespace

void addGaussRows(std::vector<Row>& rows) {
  for (const GaussLevel& level : {portable, level1, level2}) {
    if (level.features != 0 && !kiptest::hasVectors) continue;
    rows.push_back(makeRow<uint8_t>("gauss8_8", level));
    rows.push_back(makeRow<uint16_t>("gauss8_16", level));
  }
}

}  // namespace kernelcheck
