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
  Span positions;    // their source positions, first to last
  Span needed;       // every source position that their taps touch
  Span source;       // those that the source has
  Span padding;      // offsets by which `needed` reaches past `source`: {-before, before + after + 1}

  [[nodiscard]] bool isNull() const { return destination.isNull(); }
  [[nodiscard]] bool fits32() const { return destination.fits32() && needed.fits32() && padding.fits32(); }
};

// `valid`: where positions may lie; `requested`: the destination pixels asked for.
[[nodiscard]] AxisGeometry computeAxis(const AxisKernel& kernel, Span source, Span valid, Span requested);

// Whether a request stays within 32 bits, with KIP_STATUS_BAD_SIGMA when it does not: first the kernel, then, unless
// there is nothing to compute, everything else.
[[nodiscard]] ksys_status checkFits32(const AxisKernel& xKernel, const AxisKernel& yKernel, const AxisGeometry& x,
                                      const AxisGeometry& y);

// The geometry of a request. All but `kernel` are (0, 0, 0, 0) when there is nothing to compute.
struct RequestGeometry {
  ksIRegion kernel;
  ksIRegion destination;
  ksIRegion positions;
  ksIRegion source;
  ksIRegion padding;
};

// For the destination pixels in `requested`, or all that the source supplies. Fails as checkFits32.
[[nodiscard]] ksys_status computeRequest(const ksIRegion& source, const ksGaussParams& params,
                                         const std::optional<ksIRegion>& requested, RequestGeometry& geometry);

// The destination of a request over all that the source supplies.
[[nodiscard]] ksys_status gauss_computeDstRegion(const ksIRegion& source, const ksGaussParams& params,
                                                 ksIRegion& destination);

}  // namespace kip
