// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "frame/check.hpp"
#include "geometry/regions.hpp"
#include "geometry/windows.hpp"

namespace kip {

namespace {

// Along one axis: the request's geometry, and the padding cut to what one reflection of the source supplies.
struct Axis {
  AxisGeometry geometry;
  Span mirror;

  Axis(const AxisKernel& kernel, Span source, Span requested)
      : geometry(computeAxis(kernel, source, source, requested)) {
    const int64_t before = std::min(-geometry.padding.start, source.size);
    const int64_t after = std::min(geometry.padding.end() - 1, source.size);
    mirror = {-before, before + after + 1};
  }
};

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
  const AxisKernel xs = xKernel(params);
  const AxisKernel ys = yKernel(params);
  const auto all = [](const AxisKernel& kernel, Span span) {
    return computeAxis(kernel, span, span, kernel.destinationOf(span));
  };
  const AxisGeometry x = all(xs, {source.x, source.width});
  const AxisGeometry y = all(ys, {source.y, source.height});
  const ksys_status status = checkFits32(xs, ys, x, y);
  if (failed(status)) return status;
  if (x.isNull() || y.isNull()) return kstd_rect32_init(&destination, 0, 0, 0, 0);
  return initRect(&destination, x.destination, y.destination);
}

}  // namespace kip

ksys_status gauss_setup(const kstd_rect32* srcWindowRect, const kstd_rect32* requestedDst,
                        const kip_gaussParams* params, kstd_rect32* src, kstd_rect32* dst, kstd_rect32* mirror,
                        kstd_rect32* padding, kstd_rect32* needed) {
  using kip::Span;
  kip::check(srcWindowRect != nullptr && requestedDst != nullptr && src != nullptr && dst != nullptr);
  kip::check(mirror != nullptr && padding != nullptr && needed != nullptr);
  kip::checkGeometryParams(params);
  const kip::AxisKernel xs = kip::xKernel(*params);
  const kip::AxisKernel ys = kip::yKernel(*params);
  const kip::Axis x(xs, {srcWindowRect->x, srcWindowRect->width}, {requestedDst->x, requestedDst->width});
  const kip::Axis y(ys, {srcWindowRect->y, srcWindowRect->height}, {requestedDst->y, requestedDst->height});
  ksys_status status = kip::checkFits32(xs, ys, x.geometry, y.geometry);
  if (kip::failed(status)) return status;

  const bool null = x.geometry.isNull() || y.geometry.isNull();
  const auto write = [null](kstd_rect32* out, Span columns, Span rows) {
    return null ? kstd_rect32_init(out, 0, 0, 0, 0) : kip::initRect(out, columns, rows);
  };
  status = write(src, x.geometry.source, y.geometry.source);
  if (kip::failed(status)) return status;
  if (kip::failed(status = write(dst, x.geometry.destination, y.geometry.destination))) return status;
  if (kip::failed(status = write(mirror, x.mirror, y.mirror))) return status;
  if (kip::failed(status = write(needed, x.geometry.needed, y.geometry.needed))) return status;
  return write(padding, x.geometry.padding, y.geometry.padding);
}
