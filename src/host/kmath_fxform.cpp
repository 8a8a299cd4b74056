// SPDX-License-Identifier: Apache-2.0
#include "kmath_linear.hpp"

using kiphost::toDouble;
using kiphost::toFloat;

void ksFXformElemCT(ksFXform* out, float m00, float m01, float m10, float m11, float tx, float ty) {
  *out = toFloat({tx, ty, m00, m01, m10, m11});
}

void ksFXformInv(const ksFXform* in, ksFXform* out) {
  *out = toFloat(kiphost::inverted(toDouble(*in)));
}

void ksFXformCompose(const ksFXform* a, const ksFXform* b, ksFXform* out) {
  *out = toFloat(kiphost::composed(toDouble(*a), toDouble(*b)));
}
