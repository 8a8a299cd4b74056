// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "kip/host/kmath.h"

int32_t kmath_double_ceil(double x) {
  return std::isnan(x) ? 0 : static_cast<int32_t>(std::clamp<double>(std::ceil(x), INT32_MIN, INT32_MAX));
}

int32_t kmath_double_epsilonEqual(double a, double b, double epsilon) {
  return std::abs(a - b) <= epsilon ? 1 : 0;
}
