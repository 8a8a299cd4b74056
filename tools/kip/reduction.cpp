// SPDX-License-Identifier: Apache-2.0
#include "reduction.hpp"

#include <algorithm>
#include <bit>

#include "error.hpp"

namespace kip::tool {
namespace {

// How often a length can be halved, rounding down, before it is 0.
int32_t countHalvings(int32_t length) {
  return static_cast<int32_t>(std::bit_width(static_cast<uint32_t>(length))) - 1;
}

}  // namespace

void refuseMissingLevels(const std::string& name, const PictureSize& picture, axes along, int32_t levels) {
  const int32_t x = countHalvings(picture.width), y = countHalvings(picture.height);
  const int32_t most = along == axes::x ? x : along == axes::y ? y : std::min(x, y);
  if (levels <= most) return;
  throw Error(name + ": " + sizeText(picture.width, picture.height) + " pixels can be halved " + std::to_string(most) +
              " times, not " + std::to_string(levels));
}

MaskedPicture reduce(const std::string& name, const MaskedPicture& source, axes along) {
  const rect size = reduced_rect({0, 0, source.picture.width, source.picture.height}, along);
  return make(name, source, size, [&](auto src, auto mask, auto dst, auto dstMask) {
    return mask.is_empty() ? try_reduce(src, dst, along)
                           : try_reduce(src, mask, dst, dstMask, along, mask_meaning::weight);
  });
}

BandRule makeReductionRule(const Sources& sources, axes along, int32_t levels) {
  const kip_partAxis axis = reduction_parts(along, levels).y;
  BandRule rule = makeBandRule(axis, sources.size().height);
  rule.result = {0, static_cast<int32_t>(sources.size().height / axis.step)};
  rule.fixedBytes = int64_t{sources.size().width} * 64;
  // the first level's result twice; along one axis, the unsampled result too
  const int64_t rowBytes = sources.rowBytes();
  rule.bytesPerRow = along == axes::both ? rowBytes + rowBytes / 2 + 2 : 3 * rowBytes;
  return rule;
}

}  // namespace kip::tool
