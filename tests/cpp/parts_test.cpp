// SPDX-License-Identifier: Apache-2.0
// Pictures cut as kip/parts.h says, into parts as small as it allows: the pixels of the whole at every level.
#include <gtest/gtest.h>

#include <kip/host/kjob.h>

#include "cpp/drawn.hpp"
#include "support/draws.hpp"
#include "support/host_seams.hpp"
#include "support/levels.hpp"

namespace {

using namespace kiptest;

// Stretches along an axis, most of them as short as may be.
std::vector<kip_partRange> drawStretches(const kip_partAxis& axis, int64_t length, Random& random) {
  std::vector<kip_partRange> stretches;
  for (int64_t begin = 0, end; begin < length; begin = end) {
    end = (begin + axis.least + axis.align - 1) / axis.align * axis.align;
    if (random.chance(3)) end += random.between(0, 40) * axis.align;
    if (axis.isCut == 0 || length - end < axis.least) end = length;
    stretches.push_back({begin, end});
  }
  return stretches;
}

// The pixels of a result that the request makes of rectangles of the source, from `first` of the whole result on.
template <typename Pixel, typename Request>
void expectParts(const kip_parts& parts, const kip::rect& source, Random& random, const Request& request) {
  const std::vector<kip::image<Pixel>> whole = request(source);
  const auto rangeOf = [](const kip_partAxis& axis, kip_partRange own, int64_t length) {
    const kip_partRange needed = kip_partAxis_source(&axis, length, own);
    EXPECT_LE(needed.end, length);
    return needed;
  };
  const auto ySource = drawStretches(parts.y, source.height, random);
  for (const kip_partRange& x : drawStretches(parts.x, source.width, random)) {
    for (const kip_partRange& y : ySource) {
      const kip_partRange cut[] = {rangeOf(parts.x, x, source.width), rangeOf(parts.y, y, source.height)};
      const auto part =
          request({static_cast<int32_t>(cut[0].begin), static_cast<int32_t>(cut[1].begin),
                   static_cast<int32_t>(cut[0].end - cut[0].begin), static_cast<int32_t>(cut[1].end - cut[1].begin)});
      for (size_t i = 0; i < whole.size(); ++i) {
        const kip::point from = part[i].origin(), in = whole[i].origin();
        const int64_t xShift = cut[0].begin / parts.x.step + from.x, yShift = cut[1].begin / parts.y.step + from.y;
        for (int64_t v = 0; v < whole[i].height(); ++v) {
          const int64_t row = v + in.y;
          if (row < y.begin / parts.y.step || (y.end < source.height && row >= y.end / parts.y.step)) continue;
          for (int64_t u = 0; u < whole[i].width(); ++u) {
            const int64_t column = u + in.x;
            if (column < x.begin / parts.x.step || (x.end < source.width && column >= x.end / parts.x.step)) continue;
            const auto atRow = static_cast<int32_t>(row - yShift), atColumn = static_cast<int32_t>(column - xShift);
            ASSERT_TRUE(atRow >= 0 && atRow < part[i].height() && atColumn >= 0 && atColumn < part[i].width());
            ASSERT_EQ(part[i].row(atRow)[atColumn], whole[i].row(static_cast<int32_t>(v))[u])
                << (i == 0 ? "pixel " : "mask ") << column << ", " << row << " of a part from " << cut[0].begin
                << " to " << cut[0].end << ", " << cut[1].begin << " to " << cut[1].end;
          }
        }
      }
    }
  }
}

kip::rect drawSource(Random& random) {
  const auto length = [&] { return random.chance(4) ? random.between(1, 60) : random.between(60, 400); };
  return {0, 0, length(), length()};
}

template <typename Pair>
class Parts : public testing::Test {};
template <typename From, typename To>
struct Types {
  using Source = From;
  using Dest = To;
};
using Pairs = testing::Types<Types<uint8_t, uint8_t>, Types<uint8_t, uint16_t>, Types<uint16_t, uint16_t>>;
TYPED_TEST_SUITE(Parts, Pairs);

// Noise, or flat areas, which show whether an engine truncates.
template <typename Pixel>
std::vector<Pixel> drawPixels(const kip::rect& over, Random& random) {
  std::vector<Pixel> pixels(static_cast<size_t>(over.width) * static_cast<size_t>(over.height));
  const bool isFlat = random.chance(2);
  const auto first = static_cast<size_t>(random.between(0, 255));
  for (size_t i = 0; i < pixels.size(); ++i) {
    pixels[i] = static_cast<Pixel>(isFlat ? first + i % 400 / 20 * 11 : random.next());
  }
  return pixels;
}

TYPED_TEST(Parts, OfSmoothedPicturesHaveItsPixels) {
  using In = typename TypeParam::Source;
  using Out = typename TypeParam::Dest;
  ksys_jobThreads_setMaximum(1);
  int32_t cut = 0;
  for (const kip_level& level : usableLevels()) {
    const ProcessorOverride processor(level);
    for (uint64_t index = 0; index < 150; ++index) {
      Random random(41, index);
      const kip::rect source = drawSource(random);
      const Painted<In> picture({0, 0, source.width, source.height}, drawPixels<In>(source, random));
      const Painted<uint8_t> mask = madeValid(drawMask(picture.region(), random));
      kip::smooth_params params = {.truncate = random.chance(2)};
      params.x_sigma = random.pick({0, 1, 1, 2, 2, 3, 11, 38, 39});
      params.y_sigma = random.chance(3) ? random.pick({0, 1, 5, 24}) : params.x_sigma;
      params.x_sample = random.pick({1, 1, 1, 2, 3, 7});
      params.y_sample = random.chance(3) ? random.pick({1, 2, 5}) : params.x_sample;
      params.scale = random.pick({1.0, 1.0, 0.5, 2.0, 3.0, 100.0});
      // the portable engine takes smaller sigmas with masks
      const bool isMasked = std::max(params.x_sigma, params.y_sigma) <= 24 && random.chance(2);
      SCOPED_TRACE(std::string(level.title) + " case " + std::to_string(index) + " sigma " +
                   std::to_string(params.x_sigma) + ", " + std::to_string(params.y_sigma) + " sample " +
                   std::to_string(params.x_sample) + ", " + std::to_string(params.y_sample) +
                   (isMasked ? " masked" : ""));
      const kip_parts parts = kip::smoothing_parts<In>(params, isMasked);
      cut += parts.y.least * 2 <= source.height;
      expectParts<Out>(parts, source, random, [&](const kip::rect& piece) {
        std::vector<kip::image<Out>> made;
        const auto from = viewOf(picture).crop(piece);
        if (!isMasked) {
          made.push_back(kip::smooth<Out>(from, params));
        } else {
          made.push_back(kip::smooth_masked<Out>(from, viewOf(mask).crop(piece), params, {.min_coverage = 0.4}).pixels);
        }
        return made;
      });
      if (this->HasFatalFailure()) return;
    }
  }
  EXPECT_GT(cut, 100);
  ksys_jobThreads_setMaximum(0);
}

TYPED_TEST(Parts, OfReducedPicturesHaveItsPixels) {
  using Pixel = typename TypeParam::Dest;
  for (const kip_level& level : usableLevels()) {
    const ProcessorOverride processor(level);
    for (uint64_t index = 0; index < 60; ++index) {
      Random random(42, index);
      const kip::axes along = random.pick({kip::axes::both, kip::axes::x, kip::axes::y});
      const int32_t levels = random.between(1, 3);
      kip::rect source = drawSource(random);
      source.width = std::max(source.width, 1 << levels);
      source.height = std::max(source.height, 1 << levels);
      const Painted<Pixel> picture = drawPicture<Pixel>({0, 0, source.width, source.height}, random);
      const Painted<uint8_t> weights = drawPicture<uint8_t>(picture.region(), random);
      const bool isMasked = random.chance(2);
      SCOPED_TRACE(std::string(level.title) + " case " + std::to_string(index) + " axes " +
                   std::to_string(static_cast<int>(along)) + " levels " + std::to_string(levels) +
                   (isMasked ? " masked" : ""));
      expectParts<Pixel>(kip::reduction_parts(along, levels), source, random, [&](const kip::rect& piece) {
        std::vector<kip::image<Pixel>> made(1);
        const auto from = viewOf(picture).crop(piece);
        if (!isMasked) {
          made[0] = kip::reduce(from, along);
          for (int32_t i = 1; i < levels; ++i) made[0] = kip::reduce(made[0], along);
          return made;
        }
        auto result = kip::reduce(from, viewOf(weights).crop(piece), along, kip::mask_meaning::weight);
        for (int32_t i = 1; i < levels; ++i) {
          result = kip::reduce(result.pixels, result.mask, along, kip::mask_meaning::weight);
        }
        made[0] = std::move(result.pixels);
        return made;
      });
      if (this->HasFatalFailure()) return;
    }
  }
}

// The library cuts masked requests at rows / n, rounded up.
TEST(Parts, OfThreadsAreNotTooLow) {
  for (int32_t rows = 1; rows < 2000; ++rows) {
    const int32_t threads = kip_parts_threads(rows, 64);
    const int32_t height = (rows + threads - 1) / threads;
    ASSERT_TRUE(threads == 1 || rows - (threads - 1) * height >= 10) << rows;
    ASSERT_TRUE(threads >= 1 && threads <= 64);
  }
  EXPECT_EQ(kip_parts_threads(92, 7), 6);
}

}  // namespace
