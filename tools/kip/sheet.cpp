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
  const auto columnCount = std::min(static_cast<size_t>(columns), entries.size());
  const size_t rowCount = (entries.size() + columnCount - 1) / columnCount;
  // The corners of the cells; the last ones are the sheet's size.
  std::vector<int64_t> lefts(columnCount + 1, kMargin), tops(rowCount + 1, kMargin);
  const auto widen = [](std::vector<int64_t>& corners, size_t i, int64_t size) {
    const int64_t missing = corners[i] + size + kMargin - corners[i + 1];
    for (size_t next = i + 1; missing > 0 && next < corners.size(); ++next) corners[next] += missing;
  };
  for (size_t i = 0; i < entries.size(); ++i) {
    const Picture& picture = *entries[i].picture;
    widen(lefts, i % columnCount, std::max(int64_t{picture.width}, textWidth(entries[i].caption, kZoom)));
    widen(tops, i / columnCount, int64_t{picture.height} + kGap + kCaptionHeight);
  }
  Picture sheet = Picture::make(lefts.back(), tops.back(), 8);
  std::fill(sheet.pixels8.begin(), sheet.pixels8.end(), kPaper);
  for (size_t i = 0; i < entries.size(); ++i) {
    const auto left = static_cast<int32_t>(lefts[i % columnCount]), top = static_cast<int32_t>(tops[i / columnCount]);
    drawPicture(sheet, left, top, entries[i]);
    drawText(sheet, left, top + entries[i].picture->height + kGap, entries[i].caption, kZoom, kInk);
  }
  return sheet;
}

}  // namespace kip::tool
