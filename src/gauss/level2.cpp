// SPDX-License-Identifier: Apache-2.0
#include "gauss/level2.hpp"

#include "frame/check.hpp"
#include "gauss/level2_paths.hpp"
#include "gauss/portable.hpp"
#include "geometry/setup.hpp"

namespace kip {

namespace {

bool isSigma(const ksGaussParams& params, int32_t sigma) {
  return params.xSigma == sigma && params.ySigma == sigma;
}

}  // namespace

ksys_status gauss_vec2Smooth(const ksImage* source, ksVImage* destination, const ksGaussParams* params,
                             ksIRegion* requested, ksVImage** out, int64_t& finished) {
  check(out != nullptr);
  RequestGeometry geometry;
  const ksys_status status = gauss_engineSetup(source, &destination, params, requested, geometry);
  if (failed(status)) return status;
  handOut(destination, out);
  if (isNull(geometry.destination)) return 0;

  const auto generic = [&] { return gauss_genericSmooth(source, destination, params, requested, out, finished); };
  constexpr int32_t maxSmallSize = 32;
  if (requested != nullptr && (requested->width <= maxSmallSize || requested->height <= maxSmallSize)) return generic();

  // The kernels read whole vectors of columns, and the rows under a kernel lie within one reflection.
  constexpr int32_t minWidth = 32;
  constexpr int32_t minSigma2Height = 7;
  const bool is8 = ksVImageType(destination) == 0;
  if (is8 && isSigma(*params, 1) && params->xSample < 4 && params->ySample < 4) {
    return geometry.source.width < minWidth ? generic()
                                            : gauss_vec2Sigma1(source, destination, *params, geometry, finished);
  }
  if (is8 && isSigma(*params, 2)) {
    if (geometry.source.width < minWidth || geometry.source.height < minSigma2Height) return generic();
    const auto path = params->xSample == 1   ? gauss_vec2Sigma2X1
                      : params->xSample == 2 ? gauss_vec2Sigma2X2
                                             : gauss_vec2Sigma2XN;
    return path(source, destination, *params, geometry, finished);
  }
  return gauss_vec2ServesGeneral(*params, geometry)
             ? gauss_vec2General(source, destination, *params, geometry, finished)
             : generic();
}

}  // namespace kip
