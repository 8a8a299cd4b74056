// SPDX-License-Identifier: Apache-2.0
#include "sheet.hpp"

#include <algorithm>
#include <cmath>

#include "font.hpp"

namespace kip::tool {
namespace {

constexpr int32_t kMargin = 16, kGap = 8, kZoom = 2, kCaptionHeight = kFontHeight * kZoom;
constexpr uint8_t kPaper = 245, kInk = 30;

void drawPicture(Picture& sheet, int32_t left, int32_t top, const SheetEntry& entry) {
  const Picture& picture = *entry.picture;
  for (int32_t y = 0; y < picture.height; ++y) {
    uint8_t* out = sheet.row(top + y) + left;
    for (int32_t x = 0; x < picture.width; ++x) {
      const double value = picture.at(x, y);
      const double shown = picture.depth == 8 ? value : std::min(255.0, std::round(value * 255 / entry.white));
      out[x] = static_cast<uint8_t>(shown);
    }
  }
}

}  // namespace

Picture makeSheet(const std::vector<SheetEntry>& entries, int32_t columns) {
  int64_t cellWidth = 1, cellHeight = 1;
  for (const SheetEntry& entry : entries) {
    cellWidth = std::max({cellWidth, int64_t{entry.picture->width}, textWidth(entry.caption, kZoom)});
    cellHeight = std::max(cellHeight, int64_t{entry.picture->height});
  }
  const auto count = static_cast<int64_t>(entries.size());
  const int64_t rows = (count + columns - 1) / columns;
  const int64_t stepX = cellWidth + kMargin, stepY = cellHeight + kGap + kCaptionHeight + kMargin;
  Picture sheet = Picture::make(std::min<int64_t>(columns, count) * stepX + kMargin, rows * stepY + kMargin, 8);
  std::fill(sheet.pixels8.begin(), sheet.pixels8.end(), kPaper);
  for (int64_t i = 0; i < count; ++i) {
    const SheetEntry& entry = entries[static_cast<size_t>(i)];
    const auto left = static_cast<int32_t>(i % columns * stepX + kMargin);
    const auto top = static_cast<int32_t>(i / columns * stepY + kMargin);
    drawPicture(sheet, left, top, entry);
    drawText(sheet, left, top + entry.picture->height + kGap, entry.caption, kZoom, kInk);
  }
  return sheet;
}

}  // namespace kip::tool
