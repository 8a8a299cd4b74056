// SPDX-License-Identifier: Apache-2.0
#include "geometry/regions.hpp"

namespace kip {

AxisGeometry computeAxis(const AxisKernel& kernel, Span source, Span valid, Span requested) {
  AxisGeometry axis;
  if (valid.isNull() || requested.isNull()) return axis;
  const Span reachable = kernel.destinationOf(valid);
  if (reachable.isNull()) return axis;
  const Span destination = intersect(requested, reachable);
  if (destination.isNull()) return axis;
  axis.destination = destination;
  axis.positions = kernel.positionsOf(destination);
  axis.needed = dilate(axis.positions, kernel.taps());
  axis.source = intersect(axis.needed, source);
  axis.padding = erode(axis.needed, axis.source);
  return axis;
}

ksys_status checkFits32(const AxisKernel& xKernel, const AxisKernel& yKernel, const AxisGeometry& x,
                        const AxisGeometry& y) {
  if (!xKernel.taps().fits32() || !yKernel.taps().fits32()) return KIP_STATUS_BAD_SIGMA;
  if (x.isNull() || y.isNull()) return 0;
  return x.fits32() && y.fits32() ? 0 : KIP_STATUS_BAD_SIGMA;
}

ksys_status computeRequest(const ksIRegion& source, const ksGaussParams& params,
                           const std::optional<ksIRegion>& requested, RequestGeometry& geometry) {
  const bool extend = params.extendBorder != 0 && params.peakNormalize == 0;
  const auto compute = [extend](const AxisKernel& kernel, Span sourceSpan, std::optional<Span> request) {
    const Span valid = extend ? sourceSpan : erode(sourceSpan, kernel.taps());
    return computeAxis(kernel, sourceSpan, valid, request ? *request : kernel.destinationOf(valid));
  };
  const AxisKernel xs = xKernel(params);
  const AxisKernel ys = yKernel(params);
  const AxisGeometry x = compute(xs, columns(source), requested ? std::optional(columns(*requested)) : std::nullopt);
  const AxisGeometry y = compute(ys, rows(source), requested ? std::optional(rows(*requested)) : std::nullopt);

  const ksys_status status = checkFits32(xs, ys, x, y);
  if (failed(status)) return status;
  geometry = {
      .kernel = makeRegion(xs.taps(), ys.taps()), .destination = {}, .positions = {}, .source = {}, .padding = {}};
  if (x.isNull() || y.isNull()) return 0;
  geometry.destination = makeRegion(x.destination, y.destination);
  geometry.positions = makeRegion(x.positions, y.positions);
  geometry.source = makeRegion(x.source, y.source);
  geometry.padding = makeRegion(x.padding, y.padding);
  return 0;
}

ksys_status gauss_computeDstRegion(const ksIRegion& source, const ksGaussParams& params, ksIRegion& destination) {
  RequestGeometry geometry;
  const ksys_status status = computeRequest(source, params, std::nullopt, geometry);
  if (!failed(status)) destination = geometry.destination;
  return status;
}

}  // namespace kip
