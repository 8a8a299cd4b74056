// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstring>
#include <utility>

#include "kip/host/kmath.h"

namespace kiptest {

// Whether two plain records agree in every byte; tells -0 from +0.
template <class T>
bool same(const T& a, const T& b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

inline std::pair<double, double> mapped(const kmath_xformPtrhConst& handle, double x, double y) {
  double point[2] = {x, y};
  kmath_xformPtrhConst_mapPoint(&handle, point, point);
  return {point[0], point[1]};
}

// (x, y) -> (exp x, y + x); `releases` counts the calls for its release.
inline ksys_status constructBent(kmath_xformPtrhConst* handle, int* releases) {
  const auto bend = [](void*, const double in[2], double out[2]) {
    out[0] = std::exp(in[0]);
    out[1] = in[1] + in[0];
  };
  const auto unbend = [](void*, const double in[2], double out[2]) {
    out[0] = std::log(in[0]);
    out[1] = in[1] - out[0];
  };
  const auto count = [](void* context) { ++*static_cast<int*>(context); };
  return kmath_xformPtrhConst_constructFunction(handle, bend, unbend, releases, count);
}

}  // namespace kiptest
