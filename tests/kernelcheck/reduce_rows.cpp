// SPDX-License-Identifier: Apache-2.0
#include "kernelcheck/reduce_check.hpp"

namespace kernelcheck {

namespace {

using namespace kiptest;

template <typename Pixel>
double benchReduce(const KernelRow<Pixel>& row, const Level& level) {
  constexpr int32_t width = 1920, height = 1080;
  Random random(1);
  const auto src = drawPicture<Pixel>(width, height, random);
  const Picture<uint8_t> mask(width, height, 200);
  Picture<Pixel> dst(width, height);
  Picture<uint8_t> dstMask(width, height);
  const KernelCall<Pixel> call = {width,
                                  height,
                                  src.pixels.data(),
                                  width,
                                  dst.pixels.data(),
                                  width,
                                  mask.pixels.data(),
                                  width,
                                  dstMask.pixels.data(),
                                  width};
  const ProcessorOverride processor(level.vendor, level.features);
  auto* const kernel = row.kernel(level.features != 0);
  return timePerPixel(int64_t{width} * height, [&] { return kernel(call); });
}

template <typename Pixel>
void addRows(std::vector<Row>& rows, const Level& level) {
  for (const KernelRow<Pixel>& row : kernelRows<Pixel>()) {
    const auto draw = [&row](uint64_t seed, int32_t index) { return drawReduceShape(seed, index, row.masked); };
    const auto check = [&row, level, draw](uint64_t seed, int32_t index) {
      const ReduceCase<Pixel> test = drawReduceCase<Pixel>(draw(seed, index), row.masked);
      const bool served = serves(row, level, test.src.width, test.src.height, test.wantsMask);
      return checkReduce(test, row, row.kernel(served), level, served);
    };
    rows.push_back({row.name + '/' + level.name, level.features, reduceCases,
                    [draw](uint64_t seed, int32_t index) { return draw(seed, index).describe(); }, check,
                    [&row, level] { return benchReduce(row, level); }});
  }
}

}  // namespace

void addReduceRows(std::vector<Row>& rows) {
  for (const Level& level : reduceLevels) {
    if (level.features != 0 && !kiptest::hasVectors) continue;
    addRows<uint8_t>(rows, level);
    addRows<uint16_t>(rows, level);
  }
}

}  // namespace kernelcheck
