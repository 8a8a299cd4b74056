// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "masked/band.hpp"
#include "masked/line.hpp"
#include "masked/vec_rows.hpp"

namespace kip {

// A real number as a fixed-point factor for integers of at most so many bits: (value >> pre) * multiplier >> post.
struct FixedPointFactor {
  uint32_t multiplier;
  int32_t pre, post;

  // `multiplierBits` for the multiplier, `valueBits` of the value are kept; no value is larger than `largest`.
  FixedPointFactor(double factor, double largest, int32_t multiplierBits, int32_t valueBits);
};

// The scale of a request: a power of two above 1.5, or what is nearly one, as it is, others as a multiple of 1 / 65536.
[[nodiscard]] bool isPowerOfTwo(double scale);
[[nodiscard]] bool isExactPowerOfTwo(double scale);
// The binary logarithm of a scale that is a power of two above 1.5 exactly; -1 of others.
[[nodiscard]] int32_t exactGainBits(double scale);
[[nodiscard]] inline bool fitsFixedPoint(double scale) {
  return scale * 65536.0 < 0x1p63;
}
[[nodiscard]] inline uint64_t fixedPoint(double scale) {
  return static_cast<uint64_t>(scale * 65536.0);
}

// The kernel's view of a band, without its working memory. `all`: every pixel counts.
template <typename Src, typename Dst>
[[nodiscard]] MaskedRows planRows(const gauss_bandParams& band, bool all, const MaskedRowsKernel& kernel);

}  // namespace kip
