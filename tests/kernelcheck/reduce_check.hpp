// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "binomial/kernel_rows.hpp"
#include "kernelcheck/row.hpp"
#include "support/canvas.hpp"
#include "support/host_seams.hpp"
#include "support/pictures.hpp"

namespace kernelcheck {

template <typename Pixel>
struct ReduceCase {
  kiptest::Picture<Pixel> src;
  kiptest::Picture<uint8_t> mask;
  bool wantsMask;  // a result mask
};

// A case without its pictures, which the generator goes on to draw.
struct ReduceShape {
  kiptest::Random random;
  ksIRegion size;
  bool wantsMask;

  [[nodiscard]] std::string describe() const {
    return std::to_string(size.width) + 'x' + std::to_string(size.height) + (wantsMask ? "_result_mask" : "");
  }
};

// All sizes up to 24 x 24, then every width up to 140, every height up to 64 and large sizes next to any other.
inline constexpr int32_t smallSize = 24, longWidth = 140, longHeight = 64, largeCases = 6;
inline constexpr int32_t reduceCases =
    smallSize * smallSize + (longWidth - smallSize) + (longHeight - smallSize) + largeCases;

inline ksIRegion drawSize(int32_t index, kiptest::Random& random) {
  if (index < smallSize * smallSize) return {0, 0, 1 + index % smallSize, 1 + index / smallSize};
  const int32_t other = random.between(1, random.pick({8, 64}));
  const int32_t width = index - smallSize * smallSize + smallSize + 1;
  if (width <= longWidth) return {0, 0, width, other};
  const int32_t height = width - longWidth + smallSize;
  if (height <= longHeight) return {0, 0, other, height};
  return {0, 0, random.between(141, 400), random.between(65, 200)};
}

inline ReduceShape drawReduceShape(uint64_t seed, int32_t index, bool masked, bool mayDropMask = true) {
  kiptest::Random random(seed, static_cast<uint64_t>(index));
  const ksIRegion size = drawSize(index, random);
  const bool wantsMask = masked && !(mayDropMask && random.chance(4));
  return {random, size, wantsMask};
}

template <typename Pixel>
ReduceCase<Pixel> drawReduceCase(ReduceShape shape, bool masked) {
  const auto [width, height] = std::pair(shape.size.width, shape.size.height);
  auto src = kiptest::drawPicture<Pixel>(width, height, shape.random);
  auto mask = kiptest::drawPicture<uint8_t>(masked ? width : 0, masked ? height : 0, shape.random);
  return {std::move(src), std::move(mask), shape.wantsMask};
}

// Runs the kernel twice, with different surroundings, fills and positions in memory, and compares with what it must
// produce: quotients where `served` by a hook with masks, integers elsewhere. The row's own hook must serve exactly
// what it says and refuse the rest before it writes.
template <typename Pixel>
Verdict checkReduce(const ReduceCase<Pixel>& test, const kiptest::KernelRow<Pixel>& row, kip::Kernel<Pixel>* kernel,
                    const kiptest::Level& level, bool served) {
  using namespace kiptest;
  const ksIRegion from = {0, 0, test.src.width, test.src.height};
  const ksIRegion fromMask = row.masked ? from : ksIRegion{0, 0, 0, 0};
  ksIRegion to = {0, 0, from.width / row.plan.xStep, from.height / row.plan.yStep};
  if (to.width == 0 || to.height == 0) to = {0, 0, 0, 0};
  const ksIRegion toMask = test.wantsMask ? to : ksIRegion{0, 0, 0, 0};
  MaskedPicture<Pixel> expected = {{0, 0}, {0, 0}};
  if (row.masked) {
    expected = filteredMasked(test.src, test.mask, row.plan,
                              [&](int32_t x, int32_t width) { return served && isQuotient(row, x, width); });
  } else {
    expected.image = filtered(test.src, row.plan);
  }
  for (const bool second : {false, true}) {
    const auto place = [second](Placement first, Placement other) { return second ? other : first; };
    Canvas<Pixel> src(from, static_cast<Pixel>(second ? 0xC3C3 : 0x5A5A), place(Placement::atEnd, Placement::atStart));
    Canvas<uint8_t> srcMask(fromMask, second ? 0xC3 : 0x5A, place(Placement::atStart, Placement::atEnd));
    const Canvas<Pixel> dst(to, static_cast<Pixel>(second ? 0xFFFF : 0),
                            place(Placement::surrounded, Placement::atEnd));
    const Canvas<uint8_t> dstMask(toMask, second ? 0xFF : 0, place(Placement::surrounded, Placement::atEnd));
    src.paint(test.src.pixels);
    srcMask.paint(test.mask.pixels);
    const kip::KernelCall<Pixel> call = {.width = from.width,
                                         .height = from.height,
                                         .src = src.pixels(),
                                         .srcPitch = src.stride(),
                                         .dst = dst.pixels(),
                                         .dstPitch = dst.stride(),
                                         .srcMask = row.masked ? srcMask.pixels() : nullptr,
                                         .srcMaskPitch = srcMask.stride(),
                                         .dstMask = test.wantsMask ? dstMask.pixels() : nullptr,
                                         .dstMaskPitch = dstMask.stride()};
    ksys_status status = 0, refusal = KSYS_STATUS(0x80000601);
    bool untouched = true;
    const ProcessorOverride processor(level.vendor, level.features);
    const AttentionProbe attention;
    const Fault fault = runGuarded([&] {
      if (!served && row.versions.hook != nullptr) {
        refusal = row.versions.hook(call);
        untouched = attention.count() == 0 && dst.intactOutside({}) && dstMask.intactOutside({});
      }
      status = kernel(call);
    });
    if (refusal != KSYS_STATUS(0x80000601) || !untouched) return {Fault::wrongEngine, "the hook did not refuse"};
    if (fault != Fault::none) return verdictOn(fault);
    if (status != 0) return {Fault::status, "status " + std::to_string(status)};
    if (to.width > 0 && attention.count() != attentionChecks(row, from.height)) {
      return {Fault::wrongEngine, "attention was polled " + std::to_string(attention.count()) + " times"};
    }
    if (!dst.intactOutside(to)) return {Fault::wroteOutside, "wrote outside the destination"};
    if (!dstMask.intactOutside(toMask)) return {Fault::wroteOutside, "wrote outside the result mask"};
    if (!src.intactOutside(from) || src.crop(from) != test.src.pixels || !srcMask.intactOutside(fromMask) ||
        srcMask.crop(fromMask) != test.mask.pixels) {
      return {Fault::wroteOutside, "wrote to the source or its mask"};
    }
    std::string map = difference(dst.crop(to), expected.image.pixels, to.width);
    if (!map.empty()) return {Fault::pixels, std::move(map)};
    if (!test.wantsMask) continue;
    map = difference(dstMask.crop(to), expected.mask.pixels, to.width);
    if (!map.empty()) return {Fault::pixels, "result mask: " + map};
  }
  return {};
}

}  // namespace kernelcheck
