// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "frame/status.hpp"
#include "geometry/kernel.hpp"
#include "geometry/span.hpp"
#include "kip/params.h"

namespace kip {

// The geometry of a request along one axis.
struct AxisGeometry {
  Span destination;  // the destination pixels to compute
  Span needed;       // every source position that their taps touch
  Span source;       // those that the source has
  Span padding;      // offsets by which `needed` reaches past `source`: {-before, before + after + 1}

  [[nodiscard]] bool isNull() const { return destination.isNull(); }
  [[nodiscard]] bool fits32() const { return destination.fits32() && needed.fits32() && padding.fits32(); }
};

// What a request asks for along one axis: the destination pixels in `requested`, or all that the source supplies. With
// `extend` positions may lie anywhere in the source, else only where all taps do.
struct AxisRequest {
  AxisKernel kernel;
  Span source;
  std::optional<Span> requested = {};
  bool extend = true;
};

// The geometry along both axes; all zeros when there is nothing to compute along one of them. KIP_STATUS_BAD_SIGMA
// when the kernel or anything else leaves 32 bits.
[[nodiscard]] ksys_status computeAxes(const AxisRequest& xRequest, const AxisRequest& yRequest, AxisGeometry& x,
                                      AxisGeometry& y);

// The geometry of a request. All but `kernel` are (0, 0, 0, 0) when there is nothing to compute.
struct RequestGeometry {
  ksIRegion kernel;
  ksIRegion destination;
  ksIRegion source;
  ksIRegion padding;
};

// For the destination pixels in `requested`, or, where that is null, all that the source supplies. Fails as
// computeAxes.
[[nodiscard]] ksys_status computeRequest(const ksIRegion& source, const ksGaussParams& params,
                                         const ksIRegion* requested, RequestGeometry& geometry);

// The destination of a request over all that the source supplies.
[[nodiscard]] ksys_status gauss_computeDstRegion(const kstd_rect32& source, const ksGaussParams& params,
                                                 ksIRegion& destination);

}  // namespace kip
