// SPDX-License-Identifier: Apache-2.0
#include "kmath_linear.hpp"

#include <cmath>
#include <initializer_list>

ksys_status kmath_xformLinear_initMatrixTransElements(kmath_xformLinear* out, double m00, double m01, double m10,
                                                      double m11, double tx, double ty) {
  *out = {tx, ty, m00, m01, m10, m11};
  return 0;
}

ksys_status kmath_xformLinear_getInverse(const kmath_xformLinear* in, kmath_xformLinear* out) {
  const kmath_xformLinear inverse = kiphost::inverted(*in);
  for (const double element :
       {kiphost::determinant(*in), inverse.tx, inverse.ty, inverse.m00, inverse.m01, inverse.m10, inverse.m11}) {
    if (!std::isfinite(element)) return KSYS_STATUS_NOT_INVERTIBLE;
  }
  *out = inverse;
  return 0;
}

ksys_status kmath_xformLinear_initCompose(kmath_xformLinear* out, const kmath_xformLinear* a,
                                          const kmath_xformLinear* b) {
  *out = kiphost::composed(*a, *b);
  return 0;
}
