// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "frame/check.hpp"
#include "geometry/regions.hpp"
#include "geometry/windows.hpp"

namespace kip {

namespace {

// The padding along one axis, cut to what one reflection of the source supplies.
Span mirrorOf(const AxisGeometry& axis, Span source) {
  if (axis.isNull()) return {};
  const int64_t before = std::min(-axis.padding.start, source.size);
  const int64_t after = std::min(axis.padding.end() - 1, source.size);
  return {-before, before + after + 1};
}

[[nodiscard]] ksys_status initRect(kstd_rect32* rect, Span x, Span y) {
  const ksIRegion region = makeRegion(x, y);
  return kstd_rect32_init(rect, region.x, region.y, region.width, region.height);
}

}  // namespace

void checkGeometryParams(const kip_gaussParams* params) {
  check(params != nullptr);
  check(params->xSample >= 1 && params->ySample >= 1);
  check(params->xSigma >= 0 && params->ySigma >= 0);
}

ksys_status gauss_computeDstRect(const kstd_rect32& source, const kip_gaussParams& params, kstd_rect32& destination) {
  AxisGeometry x, y;
  const ksys_status status = computeAxes({.kernel = xKernel(params), .source = columns(source)},
                                         {.kernel = yKernel(params), .source = rows(source)}, x, y);
  return failed(status) ? status : initRect(&destination, x.destination, y.destination);
}

}  // namespace kip

ksys_status gauss_setup(const kstd_rect32* srcWindowRect, const kstd_rect32* requestedDst,
                        const kip_gaussParams* params, kstd_rect32* src, kstd_rect32* dst, kstd_rect32* mirror,
                        kstd_rect32* padding, kstd_rect32* needed) {
  using namespace kip;
  check(srcWindowRect != nullptr && requestedDst != nullptr && src != nullptr && dst != nullptr);
  check(mirror != nullptr && padding != nullptr && needed != nullptr);
  checkGeometryParams(params);
  const AxisRequest xRequest = {xKernel(*params), columns(*srcWindowRect), columns(*requestedDst)};
  const AxisRequest yRequest = {yKernel(*params), rows(*srcWindowRect), rows(*requestedDst)};
  AxisGeometry x, y;
  ksys_status status = computeAxes(xRequest, yRequest, x, y);
  if (failed(status)) return status;
  if (failed(status = initRect(src, x.source, y.source))) return status;
  if (failed(status = initRect(dst, x.destination, y.destination))) return status;
  if (failed(status = initRect(mirror, mirrorOf(x, xRequest.source), mirrorOf(y, yRequest.source)))) return status;
  if (failed(status = initRect(needed, x.needed, y.needed))) return status;
  return initRect(padding, x.padding, y.padding);
}
