// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>

#include "frame/status.hpp"
#include "gauss/source_rows.hpp"
#include "gauss/work.hpp"
#include "lanes/line_request.hpp"

namespace kip {

// Lets the padded rows of a request through a kernel: smooth(steps, count, out) takes those up to the next `group`
// output rows, at most 8, whose pixels are at outRow(row). poll(row) is asked before each group and at every 64th row,
// when no output row waits.
template <typename Pixel, typename Poll, typename OutRow, typename Smooth>
[[nodiscard]] ksys_status feedRows(const Work& work, const SourceRows& rows, int64_t group, Poll&& poll,
                                   OutRow&& outRow, Smooth&& smooth) {
  const RequestGeometry& geometry = work.geometry;
  constexpr int64_t mostSteps = 64;
  const int64_t top = geometry.padding.y;
  const int64_t end = top + geometry.source.height + geometry.padding.height - 1;
  const int64_t box = yKernel(work.params).box;
  int64_t toNextOutput = geometry.kernel.height;
  int32_t output = 0;
  for (int64_t row = top; row < end;) {
    const ksys_status status = poll(row);
    if (failed(status)) return status;
    const int64_t limit = std::min((row | (mostSteps - 1)) + 1, end);
    LineStep steps[mostSteps];
    Pixel* out[8] = {};
    int64_t count = 0;
    int64_t outputs = 0;
    for (; row < limit && outputs < group; ++row) {
      LineStep& step = steps[count++];
      for (int64_t i = 0; i < 4; ++i) {
        const int64_t index = row - i * box;
        step.row[i] = i > 0 && index < top ? rows.absent() : rows.at(index);
      }
      step.isOutput = --toNextOutput == 0;
      if (step.isOutput) {
        toNextOutput = work.params.ySample;
        out[outputs++] = outRow(output++);
      }
    }
    smooth(steps, count, out);
    work.finished += outputs;
  }
  return 0;
}

}  // namespace kip
