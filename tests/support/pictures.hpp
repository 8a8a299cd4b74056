// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <cstdio>
#include <ostream>
#include <string>
#include <vector>

#include "kip/host/kstd.h"
#include "support/random.hpp"

// Regions print and compare in tests.
inline bool operator==(const ksIRegion& a, const ksIRegion& b) {
  return a.x == b.x && a.y == b.y && a.width == b.width && a.height == b.height;
}
inline std::ostream& operator<<(std::ostream& out, const ksIRegion& r) {
  return out << r.width << 'x' << r.height << '@' << r.x << ',' << r.y;
}

namespace kiptest {

enum class Pattern { black, white, checker, impulses, ramp, bands, noise, count };

inline const char* nameOf(Pattern pattern) {
  static constexpr const char* names[] = {"black", "white", "checker", "impulses", "ramp", "bands", "noise"};
  return names[static_cast<int>(pattern)];
}

inline std::vector<uint8_t> drawPattern(Pattern pattern, const ksIRegion& region, Random& random) {
  std::vector<uint8_t> picture;
  for (int32_t y = 0; y < region.height; ++y) {
    for (int32_t x = 0; x < region.width; ++x) {
      const bool corner = (x == 0 || x == region.width - 1) && (y == 0 || y == region.height - 1);
      int32_t value = 0;
      switch (pattern) {
        case Pattern::white:
          value = 255;
          break;
        case Pattern::checker:
          value = (x + y) % 2 * 255;
          break;
        case Pattern::impulses:
          value = corner ? 255 : 0;
          break;
        case Pattern::ramp:
          value = 7 * x + 3 * y;
          break;
        case Pattern::bands:
          value = 13 * y + 8;
          break;
        case Pattern::noise:
          value = random.between(0, 255);
          break;
        default:
          break;
      }
      picture.push_back(static_cast<uint8_t>(value));
    }
  }
  return picture;
}

// Nothing when the pictures are equal, else where they differ: the first pixel and a map.
template <typename Pixel>
std::string difference(const std::vector<Pixel>& actual, const std::vector<Pixel>& expected, int32_t width) {
  if (actual == expected) return {};
  if (actual.size() != expected.size()) return "the pictures differ in size";
  const size_t columns = static_cast<size_t>(width);
  std::string first, map;
  size_t count = 0;
  for (size_t i = 0; i < actual.size(); ++i) {
    const bool differs = actual[i] != expected[i];
    if (differs && count++ == 0) {
      char text[99];
      std::snprintf(text, sizeof text, "first at column %zu, row %zu: %u instead of %u\n", i % columns, i / columns,
                    unsigned{actual[i]}, unsigned{expected[i]});
      first = text;
    }
    if (i / columns < 32 && i % columns < 100) map += differs ? 'x' : '.';
    if (i / columns < 32 && i % columns == columns - 1) map += '\n';
  }
  return std::to_string(count) + " of " + std::to_string(actual.size()) + " pixels differ, " + first + map;
}

}  // namespace kiptest
