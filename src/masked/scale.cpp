// SPDX-License-Identifier: Apache-2.0
#include "masked/scale.hpp"

#include <algorithm>
#include <cmath>

#include "kip/host/kmath.h"

namespace kip {

namespace {

[[nodiscard]] int32_t exponentOf(double value) {
  int32_t exponent = 0;
  (void)std::frexp(value, &exponent);
  return exponent;
}

}  // namespace

int32_t binaryLogarithm(double power) {
  return exponentOf(power) - 1;
}

ScaleKind kindOf(double scale) {
  if (scale == 1.0) return ScaleKind::one;
  const double power = std::ldexp(1.0, exponentOf(scale) - 1);
  if (scale <= 1.5 || kmath_double_epsilonEqual(scale, power, 1e-6) == 0) return ScaleKind::fixedPoint;
  return scale == power ? ScaleKind::gain : ScaleKind::nearGain;
}

FixedPointFactor::FixedPointFactor(double factor, double largest, int32_t multiplierBits, int32_t valueBits) {
  int32_t exponent = 0;
  const double mantissa = std::frexp(factor, &exponent);
  const double most = std::ldexp(1.0, multiplierBits);
  multiplier = static_cast<uint32_t>(std::min(mantissa * most + 0.5, most - 1.0));
  pre = std::max(exponentOf(largest) - valueBits, 0);
  post = std::max(multiplierBits - exponent - pre, 0);
}

}  // namespace kip
