// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstdint>

#include "kip/host/kmath.h"

int32_t kmath_idiv(int32_t n, int32_t d) {
  int64_t quotient = int64_t{n} / d;
  if (int64_t{n} % d < 0) quotient += d > 0 ? -1 : 1;
  return static_cast<int32_t>(std::min<int64_t>(quotient, INT32_MAX));
}

double kxfDMin(double a, double b) {
  return a < b ? a : b;
}

int32_t kxfIMax(int32_t a, int32_t b) {
  return std::max(a, b);
}

int32_t kxfILimit(int32_t value, int32_t low, int32_t high) {
  return std::max(low, std::min(value, high));
}
