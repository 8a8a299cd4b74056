// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "frame/memory.hpp"
#include "frame/windows.hpp"
#include "masked/line.hpp"

namespace kip {

// The number of valid pixels, each counted once, that make an output valid by coverage; at least one.
[[nodiscard]] inline int64_t coverageThreshold(const kip_gaussParams& params) {
  const int64_t area = (3 * int64_t{params.xSigma} + 1) * (3 * int64_t{params.ySigma} + 1);
  const auto threshold = static_cast<int64_t>(static_cast<double>(area) * params.filterMask.minCoverage + 0.5);
  return threshold == 0 ? 1 : threshold;
}

// Counts the pixels of a mask plane, by bit 0 of its bytes, under the kernel.
class gauss_coverageRows {
 public:
  gauss_coverageRows(const kimg_windowConst& plane, const LineGeometry& geometry, const kip_gaussParams& params)
      : plane_(plane), geometry_(geometry), yTaps_(3 * int64_t{params.ySigma} + 1), columns_(geometry) {}

  [[nodiscard]] ksys_status allocate(Cleanup& cleanup) {
    ksys_status status = columns_.allocate(cleanup, 0);
    if (failed(status)) return status;
    return counts_.allocate(cleanup, geometry_.positions());
  }

  // Row y of the plane enters, and the one that leaves the kernel leaves; rows enter in order, from 0 on.
  void enter(int64_t y) {
    int32_t* __restrict const columns = columns_.columns();
    const uint8_t* const entering = rowOf<uint8_t>(plane_, y);
    for (int64_t x = 0; x < geometry_.width; ++x) columns[x] += entering[x] & 1;
    if (y < yTaps_) return;
    const uint8_t* const leaving = rowOf<uint8_t>(plane_, y - yTaps_);
    for (int64_t x = 0; x < geometry_.width; ++x) columns[x] -= leaving[x] & 1;
  }

  // The counts for the rows at hand, one for each position of the kernel along x.
  [[nodiscard]] const int64_t* countRow() {
    columns_.reflect();
    const int32_t* const line = columns_.columns() - geometry_.leftPad;
    int64_t* __restrict const counts = counts_.data();
    int64_t count = 0;
    for (int64_t x = 0; x < geometry_.taps; ++x) count += line[x];
    counts[0] = count;
    const int64_t positions = geometry_.positions();
    for (int64_t i = 1; i < positions; ++i) {
      count += line[i + geometry_.taps - 1] - line[i - 1];
      counts[i] = count;
    }
    return counts;
  }

 private:
  const kimg_windowConst& plane_;
  const LineGeometry& geometry_;
  int64_t yTaps_;
  Line<int32_t> columns_;
  Buffer<int64_t> counts_;
};

}  // namespace kip
