// SPDX-License-Identifier: Apache-2.0
// What requests are drawn from, for every suite.
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "oracle/binomial.hpp"

namespace kiptest {

// Any gain there is, from the smallest double to infinity: powers of two, what is next to one or nearly one, others.
template <typename Generator>
double drawScale(Generator& from) {
  using Limits = std::numeric_limits<double>;
  const int32_t exponent = from.between(0, 2) != 0 ? from.between(-20, 70) : from.between(-1074, 1023);
  const double power = std::ldexp(1.0, exponent);
  switch (from.between(0, 7)) {
    case 0:
      return std::nextafter(power, Limits::infinity());
    case 1:
      return power + from.pick({5e-7, 2e-6});
    case 2:
      return power * (1.0 + from.between(0, 65535) / 65536.0);
    case 3:
      return from.pick({Limits::denorm_min(), Limits::min(), Limits::max(), Limits::infinity()});
    default:
      return power;
  }
}

// The same for records that hold floats, which must be finite and above 0.
template <typename Generator>
float drawFloatScale(Generator& from) {
  using Limits = std::numeric_limits<float>;
  return static_cast<float>(std::clamp(drawScale(from), double{Limits::denorm_min()}, double{Limits::max()}));
}

// A row and a sigma along it for which the last piece of a line, as the kernels take it, is shorter than what is
// mirrored at its end.
struct LongRow {
  int32_t width, sigma;
};
template <typename Generator>
LongRow drawLongRow(Generator& from) {
  constexpr int32_t piece = 256;
  return {piece * from.between(1, 3) + from.between(1, 100), from.between(76, 140)};
}

// All, nothing, blocks, holes, islands, or any bytes.
inline std::vector<uint8_t> drawMask(int32_t width, int32_t height, Random& random) {
  const int32_t kind = random.between(0, 6), block = random.between(1, 9), density = random.between(2, 40);
  if (kind > 4) return drawPicture<uint8_t>(width, height, random).pixels;
  std::vector<uint8_t> mask;
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      bool valid = kind == 0;
      if (kind == 2) valid = (x / block + y / block) % 2 == 0;
      if (kind > 2) valid = random.chance(density) == (kind == 3);
      mask.push_back(valid ? 255 : 0);
    }
  }
  return mask;
}

// Leaves one odd byte: where the lowest bit decides next to nothing counts, though the others let pixels through.
inline void makeMostlyEven(std::vector<uint8_t>& mask, Random& random) {
  for (uint8_t& byte : mask) byte &= 0xFE;
  if (!mask.empty()) mask[static_cast<size_t>(random.next() % mask.size())] |= 1;
}

}  // namespace kiptest
