// SPDX-License-Identifier: Apache-2.0
#include "kernelcheck/reduce_check.hpp"

namespace kernelcheck {

namespace {

using namespace kiptest;

constexpr int32_t features128 = ksys_cpuMmxSse2 | ksys_cpuSse2Integer | ksys_cpuSse41;
constexpr Level portable = {"portable", 0, 0}, vectors128 = {"128", 1, features128},
                vectors256 = {"256", 5, features128 | ksys_cpuAvx2};

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
  const bool isPortable = level.features == 0;
  for (const KernelRow<Pixel>& row : kernelRows<Pixel>()) {
    const bool mayDropMask = isPortable || serves(row, level, longWidth, longHeight, false);
    const auto draw = [&row, mayDropMask](uint64_t seed, int32_t index) {
      return drawReduceCase<Pixel>(seed, index, row.masked, mayDropMask);
    };
    const auto check = [&row, level, isPortable, draw](uint64_t seed, int32_t index) {
      const ReduceCase<Pixel> test = draw(seed, index);
      const bool served = !isPortable && serves(row, level, test.src.width, test.src.height, test.wantsMask);
      return checkReduce(test, row, row.kernel(served), level, served);
    };
    rows.push_back({std::string(row.name) + '/' + level.name, level.features, reduceCases,
                    [draw](uint64_t seed, int32_t index) { return draw(seed, index).describe(); }, check,
                    [&row, level] { return benchReduce(row, level); }});
  }
}

}  // namespace

void addReduceRows(std::vector<Row>& rows) {
  for (const Level& level : {portable, vectors128, vectors256}) {
    if (level.features != 0 && !kip::hasVectorRows()) continue;
    addRows<uint8_t>(rows, level);
    addRows<uint16_t>(rows, level);
  }
}

}  // namespace kernelcheck
