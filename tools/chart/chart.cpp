// SPDX-License-Identifier: Apache-2.0
#include "chart.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "font.hpp"

namespace kip::tool {
namespace {

constexpr int32_t kWidth = 640, kHeight = 480;
constexpr uint8_t kPaper = 226, kInk = 24;
constexpr int32_t kParts = 8;  // edges are drawn in kParts x kParts parts of a pixel

struct Box {
  int32_t x, y, width, height;
};

// Sets every pixel of the box to the value of paint(x, y), counted from the box's corner.
template <typename Paint>
void fill(Picture& chart, const Box& box, const Paint& paint) {
  for (int32_t y = 0; y < box.height; ++y) {
    for (int32_t x = 0; x < box.width; ++x) chart.row(box.y + y)[box.x + x] = static_cast<uint8_t>(paint(x, y));
  }
}

void fill(Picture& chart, const Box& box, uint8_t grey) {
  fill(chart, box, [grey](int32_t, int32_t) { return grey; });
}

// The grey of a pixel of which inside(x, y), asked at odd 2 kParts-ths of a pixel, covers a share.
template <typename Inside>
int32_t mix(int32_t x, int32_t y, int32_t outsideGrey, int32_t insideGrey, const Inside& inside) {
  int32_t count = 0;
  for (int32_t j = 0; j < kParts; ++j) {
    for (int32_t i = 0; i < kParts; ++i) {
      if (inside(2 * (x * kParts + i) + 1, 2 * (y * kParts + j) + 1)) ++count;
    }
  }
  return outsideGrey + (insideGrey - outsideGrey) * count / (kParts * kParts);
}

// Concentric rings that get finer outwards, to just over two pixels a ring in the corners.
void drawZonePlate(Picture& chart, int32_t left, int32_t top, int32_t side) {
  std::array<uint8_t, 1024> wave;
  for (size_t i = 0; i < wave.size(); ++i) {
    const double phase = 2 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(wave.size());
    wave[i] = static_cast<uint8_t>(std::lround(127.5 + 120 * std::cos(phase)));
  }
  // A turn of the wave is 12 sides of the squared doubled distance from the centre.
  const int32_t turn = 12 * side;
  fill(chart, {left, top, side, side}, [&](int32_t x, int32_t y) {
    const int32_t dx = 2 * x + 1 - side, dy = 2 * y + 1 - side;
    return wave[static_cast<size_t>((dx * dx + dy * dy) % turn * 1024 / turn)];
  });
}

// A star of alternating sectors between straight lines through its centre.
void drawStar(Picture& chart, int32_t left, int32_t top, int32_t side) {
  constexpr int32_t kLines = 24;
  std::array<int32_t, kLines> cosine, sine;
  for (size_t i = 0; i < kLines; ++i) {
    const double angle = std::numbers::pi * (static_cast<double>(i) + 0.5) / kLines;
    cosine[i] = static_cast<int32_t>(std::lround(4096 * std::cos(angle)));
    sine[i] = static_cast<int32_t>(std::lround(4096 * std::sin(angle)));
  }
  const int32_t centre = side * kParts, radius = centre - 2 * kParts;
  fill(chart, {left, top, side, side}, [&](int32_t px, int32_t py) {
    return mix(px, py, kPaper, kInk, [&](int32_t x, int32_t y) {
      const int32_t dx = x - centre, dy = y - centre;
      if (dx * dx + dy * dy > radius * radius) return false;
      bool dark = false;
      for (size_t i = 0; i < kLines; ++i) dark ^= dx * sine[i] > dy * cosine[i];
      return dark;
    });
  });
}

// Bars whose period grows from 2 pixels, upright or lying.
void drawGrating(Picture& chart, const Box& box, bool upright) {
  const auto isDark = [](int32_t position) {
    int32_t start = 0;
    for (int32_t period = 2;; period += 2) {
      const int32_t length = period * 3;
      if (position < start + length) return (position - start) % period < period / 2;
      start += length;
    }
  };
  fill(chart, box, [&](int32_t x, int32_t y) { return isDark(upright ? x : y) ? kInk : kPaper; });
}

void drawCheckerboards(Picture& chart, int32_t left, int32_t top, int32_t side) {
  for (int32_t i = 0; i < 4; ++i) {
    const Box box = {left + i % 2 * side, top + i / 2 * side, side, side};
    fill(chart, box, [&](int32_t x, int32_t y) { return ((x >> i) + (y >> i)) % 2 == 0 ? kInk : kPaper; });
  }
}

void drawDisc(Picture& chart, int32_t centreX, int32_t centreY, int32_t radius, uint8_t around, uint8_t grey) {
  const Box box = {centreX - radius - 1, centreY - radius - 1, 2 * radius + 2, 2 * radius + 2};
  const int32_t centre = box.width * kParts, limit = 2 * kParts * radius;
  fill(chart, box, [&](int32_t px, int32_t py) {
    return mix(px, py, around, grey, [&](int32_t x, int32_t y) {
      return (x - centre) * (x - centre) + (y - centre) * (y - centre) <= limit * limit;
    });
  });
}

// A dark half behind an edge that runs one pixel sideways every 10 rows.
void drawSlantedEdge(Picture& chart, const Box& box) {
  fill(chart, box, [&](int32_t px, int32_t py) {
    return mix(px, py, 190, 70,
               [&](int32_t x, int32_t y) { return 10 * (x - box.width * kParts) > y - box.height * kParts; });
  });
}

// A seeded linear congruential generator of the chart's own.
class Noise {
 public:
  // About normal: the sum of four draws, 0 in the middle, at most 2 spread away.
  int32_t draw(uint32_t spread) {
    uint32_t sum = 0;
    for (int i = 0; i < 4; ++i) {
      state_ = state_ * 1664525u + 1013904223u;
      sum += (state_ >> 16) % (spread + 1);
    }
    return static_cast<int32_t>(sum) - 2 * static_cast<int32_t>(spread);
  }

 private:
  uint32_t state_ = 2024;
};

void drawNoise(Picture& chart, const Box& box, Noise& noise) {
  fill(chart, box, [&](int32_t, int32_t) { return 128 + noise.draw(60); });
}

// From black to white: smooth, in 16 steps, and under noise.
void drawGradients(Picture& chart, const Box& box, Noise& noise) {
  const int32_t last = box.width - 1, band = box.height / 3;
  fill(chart, {box.x, box.y, box.width, band}, [&](int32_t x, int32_t) { return x * 255 / last; });
  fill(chart, {box.x, box.y + band, box.width, band}, [&](int32_t x, int32_t) { return x * 16 / box.width * 17; });
  fill(chart, {box.x, box.y + 2 * band, box.width, band},
       [&](int32_t x, int32_t) { return std::clamp(x * 255 / last + noise.draw(16), 0, 255); });
}

// Lone pixels, then 2 x 2 blocks, row by row further apart.
void drawIsolatedPixels(Picture& chart, const Box& box, uint8_t ground, uint8_t dot) {
  fill(chart, box, ground);
  for (int32_t row = 0, y = 8; y + 8 <= box.height; y += 10, ++row) {
    const int32_t size = row < 4 ? 1 : 2;
    for (int32_t x = 8; x + 8 <= box.width; x += 5 + 3 * (row % 4))
      fill(chart, {box.x + x, box.y + y, size, size}, dot);
  }
}

void drawDiscs(Picture& chart, const Box& box, uint8_t ground, uint8_t grey) {
  fill(chart, box, ground);
  int32_t x = box.x + 10;
  for (const int32_t radius : {1, 2, 3, 5, 8, 12, 17}) {
    drawDisc(chart, x + radius, box.y + box.height / 2, radius, ground, grey);
    x += 2 * radius + 14;
  }
}

void drawTextBlock(Picture& chart, int32_t x, int32_t y) {
  drawText(chart, x, y, "smoothing", 3, kInk);
  drawText(chart, x, y + 34, "Three boxes an", 2, kInk);
  drawText(chart, x, y + 56, "axis: 1 3 3 1", 2, 110);
  drawText(chart, x, y + 82, "The quick brown fox jumps", 1, kInk);
  drawText(chart, x, y + 93, "over 1234567890 lazy dogs;", 1, kInk);
  drawText(chart, x, y + 104, "(a + b) * c = {x; y} [7%] @", 1, 110);
}

}  // namespace

Picture makeChart() {
  Picture chart = Picture::make(kWidth, kHeight, 8);
  fill(chart, {0, 0, kWidth, kHeight}, kPaper);
  Noise noise;

  drawZonePlate(chart, 16, 16, 208);
  drawStar(chart, 240, 16, 160);
  drawGrating(chart, {240, 192, 160, 32}, true);
  drawGrating(chart, {416, 16, 24, 208}, false);
  drawTextBlock(chart, 456, 18);
  drawNoise(chart, {456, 144, 76, 80}, noise);
  drawSlantedEdge(chart, {548, 144, 76, 80});

  drawIsolatedPixels(chart, {16, 240, 128, 96}, 20, 240);
  drawIsolatedPixels(chart, {160, 240, 128, 96}, 245, 10);
  drawDiscs(chart, {304, 240, 208, 48}, kPaper, kInk);
  drawDiscs(chart, {304, 288, 208, 48}, kInk, kPaper);
  drawCheckerboards(chart, 528, 240, 48);

  drawGradients(chart, {16, 352, 608, 111}, noise);
  return chart;
}

}  // namespace kip::tool
