// SPDX-License-Identifier: Apache-2.0
#include "decode.hpp"

#include <algorithm>
#include <array>
#include <limits>

#include "support/draws.hpp"

namespace kiptest {

namespace {

constexpr int32_t most = std::numeric_limits<int32_t>::max();

// Takes a number from as few bytes as its range needs; 0 follows the last byte.
class Bytes {
 public:
  explicit Bytes(std::span<const uint8_t> bytes) : bytes_(bytes) {}

  int32_t between(int32_t low, int32_t high) {
    const uint32_t range = static_cast<uint32_t>(high - low) + 1;
    uint32_t value = next();
    if (range > 256) value = value << 8 | next();
    return low + static_cast<int32_t>(value % range);
  }
  bool flag() { return (next() & 1) != 0; }
  template <typename T>
  T pick(std::initializer_list<T> choices) {
    return choices.begin()[next() % choices.size()];
  }
  uint64_t seed() {
    const uint64_t high = next();
    return high << 8 | next();
  }

 private:
  uint8_t next() {
    if (bytes_.empty()) return 0;
    const uint8_t value = bytes_.front();
    bytes_ = bytes_.subspan(1);
    return value;
  }

  std::span<const uint8_t> bytes_;
};

int32_t floorOf(int32_t n, int32_t d) {
  return n / d - (n % d < 0 ? 1 : 0);
}

// Few pixels, also in long rows and columns; half of the sizes are those from which the second level has its own paths.
kstd_rect32 takeSource(Bytes& bytes, bool hostile) {
  const int32_t least = bytes.flag() ? 33 : 1;
  kstd_rect32 rect = {bytes.between(-60, 60), bytes.between(-60, 60), bytes.between(least, 3 * least + 31),
                      bytes.between(least, 3 * least + 31)};
  switch (bytes.between(0, 15)) {
    case 1:
      rect.width = bytes.between(64, 600);
      rect.height = std::min(rect.height, 12);
      break;
    case 2:
      rect.height = bytes.between(64, 300);
      rect.width = std::min(rect.width, 36);
      break;
    case 3:
      if (hostile) rect.width = rect.height = 0;
      break;
    default:
      break;
  }
  return rect;
}

kip_gaussParams takeParams(Bytes& bytes, bool hostile) {
  const auto sample = [&] { return bytes.pick({1, 1, 1, 1, 2, 2, 2, 3, 4, 5, 7, 12, hostile ? 0 : 1}); };
  const auto sigma = [&](int32_t worst) {
    const int32_t small = bytes.between(0, 9);
    return bytes.pick({1, 2, small, small, small, small, 16, 24, hostile ? 39 : 4, hostile ? worst : 3});
  };
  const int32_t worst = bytes.pick({-1, 63, 64, 100, most});
  kip_gaussParams params = {.xSample = sample(),
                            .ySample = sample(),
                            .xSigma = sigma(worst),
                            .ySigma = sigma(worst),
                            .scale = 1.0,
                            .roundResult = bytes.between(0, 1),
                            .filterMask = {bytes.between(0, 1), bytes.between(0, 1), 0.0}};
  if (bytes.flag()) params.ySigma = params.xSigma;
  params.scale = bytes.pick({1.0, 1.0, 1.0, 1.0, 0.5, 0.75, 2.0, 1.2, 256.0, 300.0, 0.01, 1e7, 1e12, 1.0000001});
  params.filterMask.minCoverage = bytes.pick({0.0, 0.5, 0.1, 0.9, 1.0});
  if (!hostile) return params;
  switch (bytes.between(0, 40)) {
    case 1:
      params.scale = bytes.pick({0.0, -1.0, std::numeric_limits<double>::quiet_NaN(),
                                 std::numeric_limits<double>::infinity(), 1e300, 1e-60, 1e-300});
      break;
    case 2:
      params.filterMask.minCoverage = bytes.pick({-0.1, 1.5, std::numeric_limits<double>::quiet_NaN()});
      break;
    case 3:
      params.filterMask.useCoverage = 2;
      break;
    default:
      break;
  }
  return params;
}

// What the other draws seldom bring together: any scale, masks of which next to nothing counts, pads longer than a
// piece of a line, and passes whose sums no double holds exactly.
void takeExtremes(Bytes& bytes, bool hostile, Request& r) {
  if (bytes.between(0, 3) == 1) r.params.scale = drawScale(bytes);
  if (!hostile) r.params.scale = std::clamp(r.params.scale, 0x1p-100, 0x1p100);
  r.isMostlyEven = r.hasSrcMask && bytes.between(0, 3) == 1;
  if (r.source.width == 0) return;
  if (r.function == Function::smooth && bytes.between(0, 7) == 1) {
    const LongRow row = drawLongRow(bytes);
    r.params.xSigma = row.sigma;
    r.source.width = row.width;
    r.source.height = std::min(r.source.height, 12);
  }
  if (r.function == Function::legacy && bytes.between(0, 2) == 1) {
    r.passes = bytes.between(9, 70);
    r.params.xSigma %= 3, r.params.ySigma %= 3;
    r.source.width = (r.passes + 1) * r.params.xSigma + bytes.between(1, 40);
    r.source.height = (r.passes + 1) * r.params.ySigma + bytes.between(1, 40);
  }
}

// As large as what the source supplies, or about so.
kstd_rect32 takeDestination(Bytes& bytes, bool hostile, const Request& r) {
  const bool alongX = r.function != Function::reduceY, alongY = r.function != Function::reduceX;
  int32_t xStep = std::max(r.params.xSample, 1), yStep = std::max(r.params.ySample, 1);
  if (r.isReduction()) xStep = alongX ? 2 : 1, yStep = alongY ? 2 : 1;
  if (r.function == Function::noSample || r.function == Function::legacy) xStep = yStep = 1;
  kstd_rect32 rect = {floorOf(r.source.x, xStep), floorOf(r.source.y, yStep), r.source.width / xStep,
                      r.source.height / yStep};
  if (bytes.flag()) {
    rect = {rect.x + bytes.between(-9, 9), rect.y + bytes.between(-9, 9), rect.width + bytes.between(-20, 9),
            rect.height + bytes.between(-20, 9)};
  }
  if (rect.width < 1 || rect.height < 1) rect.width = rect.height = bytes.between(hostile ? 0 : 1, 1);
  return rect;
}

}  // namespace

Request decode(std::span<const uint8_t> input, bool hostile) {
  Bytes bytes(input);
  Request r;
  r.function = static_cast<Function>(bytes.between(0, static_cast<int32_t>(Function::count) - 1));
  if (bytes.flag()) r.function = Function::masked;  // has the most paths
  r.form = static_cast<Form>(bytes.between(0, static_cast<int32_t>(Form::count) - 1));
  r.params = takeParams(bytes, hostile);
  const int32_t depth = bytes.between(0, 2);
  r.dstBytes = depth == 0 || r.function == Function::legacy || r.function == Function::resultMask ? 1 : 2;
  if (r.dstBytes == 2) r.srcBytes = r.isReduction() || (r.function == Function::masked && depth == 2) ? 2 : 1;
  r.source = takeSource(bytes, hostile);
  r.margin = bytes.between(0, 3);
  r.hasSrcMask = bytes.between(0, 3) != 0 || r.function == Function::resultMask;
  r.hasSampleMask = bytes.between(0, 3) == 0 && !r.isReduction();
  r.hasDstMask = bytes.flag() && (r.function == Function::masked || (r.isReduction() && r.hasSrcMask));
  r.placement = bytes.pick({Placement::surrounded, Placement::atStart, Placement::atEnd});
  r.seed = bytes.seed();
  r.passes = bytes.pick({2, 2, 2, 0, 1, 3, 4, 8, -1});
  r.peakNormalize = bytes.between(0, 1);
  r.inPlace = bytes.between(0, 3) == 1 && r.function == Function::legacy ? 1 : 0;

  const bool is16AlongOne = r.srcBytes == 2 && (r.function == Function::reduceX || r.function == Function::reduceY);
  const bool hasImagesAlone = is16AlongOne || r.function == Function::resultMask || r.function == Function::legacy;
  if (r.form == Form::window && hasImagesAlone) r.form = Form::bound;
  if (r.form != Form::window || r.source.width == 0) r.margin = 0;
  const int32_t corner = bytes.between(0, hostile ? 31 : 0);
  if (corner == 1) r.source.x = most - 2000;
  if (corner == 2) r.source.y = -most + 2000;
  if (r.isReduction()) {
    r.params.xSigma = std::clamp(r.params.xSigma, 0, 4);
    r.params.ySigma = std::clamp(r.params.ySigma, 0, 4);
  } else if (r.function == Function::legacy || r.function == Function::resultMask) {
    // what they refuse is a programming error
    r.params.xSample = std::max(r.params.xSample, 1), r.params.ySample = std::max(r.params.ySample, 1);
    const int32_t largest = r.function == Function::legacy ? 40 : most;
    r.params.xSigma = std::clamp(r.params.xSigma, 0, largest);
    r.params.ySigma = std::clamp(r.params.ySigma, 0, largest);
    if (!(r.params.filterMask.minCoverage >= 0.0 && r.params.filterMask.minCoverage <= 1.0)) {
      r.params.filterMask.minCoverage = 1.0;
    }
  }
  takeExtremes(bytes, hostile, r);
  r.destination = takeDestination(bytes, hostile, r);
  return r;
}

Request drawRequest(uint64_t seed, uint64_t index, bool hostile) {
  Random random(seed, index);
  std::array<uint8_t, 72> bytes;
  for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random.next());
  return decode(bytes, hostile);
}

}  // namespace kiptest
