// SPDX-License-Identifier: Apache-2.0
#include "reduction.hpp"

#include <algorithm>
#include <bit>

#include "error.hpp"
#include "kip/gauss2.h"

namespace kip::tool {
namespace {

// The library's functions for 8 and 16 bits.
struct Functions {
  ksys_status (*plain[2])(const kimg_image*, kimg_image*);
  ksys_status (*masked[2])(const kimg_image*, const kimg_image*, kimg_image*, kimg_image*);
};

constexpr Functions kFunctions[] = {
    {{kip_gauss2_smooth8_8, kip_gauss2_smooth16_16}, {kip_gauss2_smoothMasked8_8, kip_gauss2_smoothMasked16_16}},
    {{kip_gauss2X_smooth8_8, kip_gauss2X_smooth16_16}, {kip_gauss2X_smoothMasked8_8, kip_gauss2X_smoothMasked16_16}},
    {{kip_gauss2Y_smooth8_8, kip_gauss2Y_smooth16_16}, {kip_gauss2Y_smoothMasked8_8, kip_gauss2Y_smoothMasked16_16}},
};

// How often a length can be halved, rounding down, before it is 0.
int32_t countHalvings(int32_t length) {
  return static_cast<int32_t>(std::bit_width(static_cast<uint32_t>(length))) - 1;
}

}  // namespace

void refuseMissingLevels(const std::string& name, const PictureSize& picture, Axes axes, int32_t levels) {
  const int32_t x = countHalvings(picture.width), y = countHalvings(picture.height);
  const int32_t most = axes == Axes::x ? x : axes == Axes::y ? y : std::min(x, y);
  if (levels <= most) return;
  throw Error(name + ": " + sizeText(picture.width, picture.height) + " pixels can be halved " + std::to_string(most) +
              " times, not " + std::to_string(levels));
}

MaskedPicture reduce(const std::string& name, MaskedPicture& source, Axes axes) {
  const Functions& functions = kFunctions[static_cast<size_t>(axes)];
  const size_t depth = source.picture.depth == 8 ? 0 : 1;
  return apply(name, source, [&](auto* src, auto* srcMask, auto* dst, auto* dstMask) {
    return srcMask == nullptr ? functions.plain[depth](src, dst) : functions.masked[depth](src, srcMask, dst, dstMask);
  });
}

BandRule makeReductionRule(const Sources& sources, Axes axes, int32_t levels) {
  const int32_t height = sources.size().height;
  const int32_t halvings = axes == Axes::x ? 0 : levels;
  BandRule rule{};
  rule.result = {0, height >> halvings};
  // the kernels of all levels together reach less than two rows of the result up and less than one down
  rule.sourceOf = [=](Rows band) -> Rows {
    if (halvings == 0) return band;
    const auto sourceRow = [&](int32_t row) {
      return std::min(int64_t{std::max(row, 0)} << halvings, int64_t{height});
    };
    const bool isLast = band.end == height >> halvings;
    return {static_cast<int32_t>(sourceRow(band.begin - 2)),
            isLast ? height : static_cast<int32_t>(sourceRow(band.end + 1))};
  };
  rule.leastRows = 8;  // below five rows some engines leave a level to others
  rule.fixedBytes = int64_t{sources.size().width} * 64;
  // the first level's result twice; along one axis, the unsampled result too
  const int64_t rowBytes = sources.rowBytes();
  rule.bytesPerRow = axes == Axes::both ? rowBytes + rowBytes / 2 + 2 : 3 * rowBytes;
  return rule;
}

}  // namespace kip::tool
