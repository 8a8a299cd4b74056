// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "gauss/pixel.hpp"
#include "geometry/regions.hpp"

namespace kip {

// A request after the set-up.
struct Work {
  const ksImage* source;
  ksVImage* destination;
  const ksGaussParams& params;
  const RequestGeometry& geometry;
  int64_t& finished;  // destination rows so far

  // Destination row `row` of those to compute.
  template <typename Pixel>
  [[nodiscard]] Pixel* outRow(int64_t row) const {
    return pixelAddress<Pixel>(destination, geometry.destination.x, static_cast<int32_t>(geometry.destination.y + row));
  }
};

// A result's grey values are the source's times `scale`, which a division by the largest weight leaves out.
inline void setZScale(const Work& work) {
  if (work.params.peakNormalize != 0) return;
  ksVImageSetClientZScale(work.destination, ksImageClientZScale(work.source) * work.params.scale);
}

}  // namespace kip
