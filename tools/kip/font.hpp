// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string_view>

#include "picture.hpp"

namespace kip::tool {

// A character's cell in font pixels, the gaps to the next character and line included.
constexpr int32_t kFontWidth = 6, kFontHeight = 10;

// Width in picture pixels of a line whose font pixels are squares of `zoom`.
inline int64_t textWidth(std::string_view text, int32_t zoom) {
  return static_cast<int64_t>(text.size()) * kFontWidth * zoom;
}

// Writes a line of ASCII text with its cell's corner at (x, y), other characters as boxes, into an 8-bit picture; what
// lies outside the picture is left out.
void drawText(Picture& picture, int32_t x, int32_t y, std::string_view text, int32_t zoom, uint8_t grey);

}  // namespace kip::tool
