// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>

#include "frame/memory.hpp"
#include "kip/host/kimg.h"
#include "kip/params.h"

namespace kip {

// The columns of a plane and of what the taps reach past them.
struct LineGeometry {
  int64_t width;
  int64_t leftPad, rightPad;        // columns beyond either edge
  int64_t leftMirror, rightMirror;  // the nearest of them, which one reflection supplies; the others count as 0
  int64_t taps;

  LineGeometry(int64_t columns, const kstd_rect32& mirror, const kstd_rect32& padding, int32_t xSigma)
      : width(columns),
        leftPad(-int64_t{padding.x}),
        rightPad(padding.width - 1 - leftPad),
        leftMirror(std::min(-int64_t{mirror.x}, width)),
        rightMirror(std::min(mirror.width - 1 + int64_t{mirror.x}, width)),
        taps(3 * int64_t{xSigma} + 1) {}

  // Column 0 to the end of the right pad, and the left pad.
  [[nodiscard]] int64_t padded() const { return leftPad + width + rightPad; }
  // The positions at which the taps lie inside all that, from -leftPad on.
  [[nodiscard]] int64_t positions() const { return padded() - taps + 1; }
};

// One value for each column, 0 at first, with the pads and further zeros in front of them.
template <typename Value>
class Line {
 public:
  explicit Line(const LineGeometry& geometry) : geometry_(geometry) {}

  [[nodiscard]] ksys_status allocate(Cleanup& cleanup, int64_t zeros) {
    columns_ = zeros + geometry_.leftPad;
    return values_.allocateClear(cleanup, zeros + geometry_.padded());
  }

  // Column 0.
  [[nodiscard]] Value* columns() const { return values_.data() + columns_; }

  // Fills what the mirror reaches of the pads, the edge columns repeated.
  void reflect() {
    Value* const value = columns();
    const int64_t width = geometry_.width;
    for (int64_t i = 0; i < geometry_.leftMirror; ++i) value[-1 - i] = value[i];
    for (int64_t i = 0; i < geometry_.rightMirror; ++i) value[width + i] = value[width - 1 - i];
  }

 private:
  const LineGeometry& geometry_;
  Buffer<Value> values_;
  int64_t columns_ = 0;
};

// The rows of a plane that have entered once the taps of an output row are complete.
[[nodiscard]] inline int64_t rowsUpTo(int64_t output, const kip_gaussParams& params) {
  return output * params.ySample + 3 * int64_t{params.ySigma} + 1;
}

// Lets the rows of a plane enter in order and calls emit(row) whenever the taps of an output row are complete.
template <typename Enter, typename Emit>
void forEachOutputRow(int64_t outputs, const kip_gaussParams& params, Enter&& enter, Emit&& emit) {
  int64_t entered = 0;
  for (int64_t output = 0; output < outputs; ++output) {
    for (const int64_t end = rowsUpTo(output, params); entered < end; ++entered) enter(entered);
    emit(output);
  }
}

}  // namespace kip
