// SPDX-License-Identifier: Apache-2.0
#include "gauss/level2.hpp"

#include "frame/check.hpp"
#include "gauss/exact.hpp"
#include "gauss/portable.hpp"
#include "gauss/small_sigma.hpp"
#include "geometry/setup.hpp"

namespace kip {

namespace {

bool isSigma(const ksGaussParams& params, int32_t sigma) {
  return params.xSigma == sigma && params.ySigma == sigma;
}

using Path = ksys_status(const Level& level, const Work& work);

// Null: the portable engine serves the request.
Path* choosePath(const Level& level, const ksGaussParams& params, const RequestGeometry& geometry, bool is8) {
  // The kernels read whole vectors of columns, and the rows under a kernel lie within one reflection.
  constexpr int32_t minWidth = 32;
  constexpr int32_t minSigma2Height = 7;
  const bool isWide = geometry.source.width >= minWidth;
  if (is8 && isSigma(params, 1) && params.xSample < 4 && params.ySample < 4) {
    return isWide ? gauss_vec2Sigma1 : nullptr;
  }
  if (is8 && isSigma(params, 2)) {
    return isWide && geometry.source.height >= minSigma2Height ? gauss_vec2Sigma2 : nullptr;
  }
  return servesExactly(level, params, geometry) ? gauss_vec2General : nullptr;
}

}  // namespace

ksys_status gauss_vec2Smooth(const Level& level, const ksImage* source, ksVImage* destination,
                             const ksGaussParams* params, ksIRegion* requested, ksVImage** out, int64_t& finished) {
  check(out != nullptr);
  RequestGeometry geometry;
  const ksys_status status = gauss_engineSetup(source, &destination, params, requested, geometry);
  if (failed(status)) return status;
  handOut(destination, out);
  if (isNull(geometry.destination)) return 0;

  constexpr int32_t maxSmallSize = 32;
  const bool isSmall = requested != nullptr && (requested->width <= maxSmallSize || requested->height <= maxSmallSize);
  Path* const path = isSmall ? nullptr : choosePath(level, *params, geometry, ksVImageType(destination) == 0);
  if (path != nullptr) return path(level, {source, destination, *params, geometry, finished});
  return gauss_genericSmooth(source, destination, params, requested, out, finished);
}

}  // namespace kip
