// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kip {

// What vectorised masked smoothing does with the scale of a request.
enum class ScaleKind {
  one,
  gain,       // a power of two above 1.5: values are limited
  nearGain,   // nearly one of them: the same, but products are no shifts
  fixedPoint  // any other, taken as a multiple of 1 / 65536
};
[[nodiscard]] ScaleKind kindOf(double scale);

// The binary logarithm of a power of two.
[[nodiscard]] int32_t binaryLogarithm(double power);

[[nodiscard]] inline bool fitsFixedPoint(double scale) {
  return scale * 65536.0 < 0x1p63;
}
[[nodiscard]] inline uint64_t fixedPoint(double scale) {
  return static_cast<uint64_t>(scale * 65536.0);
}

// A real number as a fixed-point factor for integers of at most so many bits: (value >> pre) * multiplier >> post.
struct FixedPointFactor {
  uint32_t multiplier;
  int32_t pre, post;

  // `multiplierBits` for the multiplier, `valueBits` of the value are kept; no value is larger than `largest`.
  FixedPointFactor(double factor, double largest, int32_t multiplierBits, int32_t valueBits);
};

}  // namespace kip
