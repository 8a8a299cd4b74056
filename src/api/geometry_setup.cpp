// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "api/geometry.hpp"
#include "engine/regions.hpp"
#include "frame/check.hpp"

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

  [[nodiscard]] bool fits32() const {
    return geometry.destination.fits32() && geometry.needed.fits32() && geometry.padding.fits32();
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
  const auto all = [](const AxisKernel& kernel, Span span) { return Axis(kernel, span, kernel.destinationOf(span)); };
  const Axis x = all(xKernel(params), {source.x, source.width});
  const Axis y = all(yKernel(params), {source.y, source.height});
  if (x.geometry.isNull() || y.geometry.isNull()) return kstd_rect32_init(&destination, 0, 0, 0, 0);
  if (!x.fits32() || !y.fits32()) return KIP_STATUS_BAD_SIGMA;
  return initRect(&destination, x.geometry.destination, y.geometry.destination);
}

}  // namespace kip

ksys_status gauss_setup(const kstd_rect32* srcWindowRect, const kstd_rect32* requestedDst,
                        const kip_gaussParams* params, kstd_rect32* src, kstd_rect32* dst, kstd_rect32* mirror,
                        kstd_rect32* padding, kstd_rect32* needed) {
  using kip::Span;
  kip::check(srcWindowRect != nullptr && requestedDst != nullptr && src != nullptr && dst != nullptr);
  kip::check(mirror != nullptr && padding != nullptr && needed != nullptr);
  kip::checkGeometryParams(params);
  const kip::Axis x(kip::xKernel(*params), {srcWindowRect->x, srcWindowRect->width},
                    {requestedDst->x, requestedDst->width});
  const kip::Axis y(kip::yKernel(*params), {srcWindowRect->y, srcWindowRect->height},
                    {requestedDst->y, requestedDst->height});
  const bool null = x.geometry.isNull() || y.geometry.isNull();
  if (!null && (!x.fits32() || !y.fits32())) return KIP_STATUS_BAD_SIGMA;

  const auto write = [null](kstd_rect32* out, Span columns, Span rows) {
    return null ? kstd_rect32_init(out, 0, 0, 0, 0) : kip::initRect(out, columns, rows);
  };
  ksys_status status = write(src, x.geometry.source, y.geometry.source);
  if (kip::failed(status)) return status;
  if (kip::failed(status = write(dst, x.geometry.destination, y.geometry.destination))) return status;
  if (kip::failed(status = write(mirror, x.mirror, y.mirror))) return status;
  if (kip::failed(status = write(needed, x.geometry.needed, y.geometry.needed))) return status;
  return write(padding, x.geometry.padding, y.geometry.padding);
}
