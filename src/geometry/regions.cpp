// SPDX-License-Identifier: Apache-2.0
#include "geometry/regions.hpp"

namespace kip {

namespace {

AxisGeometry computeAxis(const AxisRequest& request) {
  const auto& [kernel, source, requested, extend] = request;
  const Span valid = extend ? source : erode(source, kernel.taps());
  if (valid.isNull()) return {};
  const Span reachable = kernel.destinationOf(valid);
  const Span destination = requested ? intersect(*requested, reachable) : reachable;
  if (destination.isNull()) return {};
  const Span needed = dilate(kernel.positionsOf(destination), kernel.taps());
  const Span read = intersect(needed, source);
  return {.destination = destination, .needed = needed, .source = read, .padding = erode(needed, read)};
}

}  // namespace

ksys_status computeAxes(const AxisRequest& xRequest, const AxisRequest& yRequest, AxisGeometry& x, AxisGeometry& y) {
  if (!xRequest.kernel.taps().fits32() || !yRequest.kernel.taps().fits32()) return KIP_STATUS_BAD_SIGMA;
  x = computeAxis(xRequest);
  y = computeAxis(yRequest);
  if (x.isNull() || y.isNull()) x = y = {};
  return x.fits32() && y.fits32() ? 0 : KIP_STATUS_BAD_SIGMA;
}

ksys_status computeRequest(const ksIRegion& source, const ksGaussParams& params, const ksIRegion* requested,
                           RequestGeometry& geometry) {
  AxisRequest xRequest = {.kernel = xKernel(params), .source = columns(source)};
  AxisRequest yRequest = {.kernel = yKernel(params), .source = rows(source)};
  if (requested != nullptr) {
    xRequest.requested = columns(*requested);
    yRequest.requested = rows(*requested);
  }
  xRequest.extend = yRequest.extend = params.extendBorder != 0 && params.peakNormalize == 0;
  AxisGeometry x, y;
  const ksys_status status = computeAxes(xRequest, yRequest, x, y);
  if (failed(status)) return status;
  geometry = {.kernel = makeRegion(xRequest.kernel.taps(), yRequest.kernel.taps()),
              .destination = makeRegion(x.destination, y.destination),
              .source = makeRegion(x.source, y.source),
              .padding = makeRegion(x.padding, y.padding)};
  return 0;
}

ksys_status gauss_computeDstRegion(const kstd_rect32& source, const ksGaussParams& params, ksIRegion& destination) {
  RequestGeometry geometry;
  const ksys_status status = computeRequest(makeRegion(columns(source), rows(source)), params, nullptr, geometry);
  if (!failed(status)) destination = geometry.destination;
  return status;
}

}  // namespace kip
