// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "kip/host/kmath.h"

namespace kiphost {

inline constexpr kmath_xformLinear kIdentity = {0, 0, 1, 0, 0, 1};

// out(p) = a(b(p))
inline kmath_xformLinear composed(const kmath_xformLinear& a, const kmath_xformLinear& b) {
  return {a.m00 * b.tx + a.m01 * b.ty + a.tx, a.m10 * b.tx + a.m11 * b.ty + a.ty, a.m00 * b.m00 + a.m01 * b.m10,
          a.m00 * b.m01 + a.m01 * b.m11,      a.m10 * b.m00 + a.m11 * b.m10,      a.m10 * b.m01 + a.m11 * b.m11};
}

inline double determinant(const kmath_xformLinear& x) {
  return x.m00 * x.m11 - x.m01 * x.m10;
}

// Elements that are not finite when the matrix is singular.
inline kmath_xformLinear inverted(const kmath_xformLinear& x) {
  const double det = determinant(x);
  return {(x.m01 * x.ty - x.m11 * x.tx) / det,
          (x.m10 * x.tx - x.m00 * x.ty) / det,
          x.m11 / det,
          -x.m01 / det,
          -x.m10 / det,
          x.m00 / det};
}

inline void mapBy(const kmath_xformLinear& x, const double in[2], double out[2]) {
  const double px = in[0], py = in[1];
  out[0] = x.m00 * px + x.m01 * py + x.tx;
  out[1] = x.m10 * px + x.m11 * py + x.ty;
}

inline kmath_xformLinear toDouble(const ksFXform& x) {
  return {x.tx, x.ty, x.m00, x.m01, x.m10, x.m11};
}

// Rounds each element once. The sum turns a translation of -0 into +0.
inline ksFXform toFloat(const kmath_xformLinear& x) {
  return {static_cast<float>(x.tx) + 0.0f, static_cast<float>(x.ty) + 0.0f, static_cast<float>(x.m00),
          static_cast<float>(x.m01),       static_cast<float>(x.m10),       static_cast<float>(x.m11)};
}

}  // namespace kiphost
