// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>

#include "frame/attention.hpp"
#include "reduce2/kernels.hpp"
#include "reduce2/rows.hpp"

namespace kip {

// Five lines of horizontal sums that go down a picture of `height` rows, so that each source row is filtered once.
// filter(row, line, shift) fills a line, emit(lines, row) makes a destination row of the five around source row
// Step * row. Beyond the top and the bottom the nearest row stands in. With Step 2 odd rows enter times 4, so that emit
// needs but one multiplication; it then takes two rows at least. With Step 1 pictures below five rows ask for no
// attention.
template <int64_t Step, typename Line, typename Filter, typename Emit>
[[nodiscard]] ksys_status runRing(Line (&lines)[5], int64_t height, Filter&& filter, Emit&& emit) {
  const auto enter = [&](int64_t row, const Line& line) {
    filter(std::clamp<int64_t>(row, 0, height - 1), line, Step == 2 && (row & 1) != 0 ? 2 : 0);
  };
  for (int64_t k = 1; k < 5; ++k) enter(k - 3, lines[k]);
  const int64_t end = Step == 2 ? height - 1 : height;
  const int64_t pollEnd = Step == 2 ? end : height < 5 ? 0 : height - 2;
  for (int64_t n = 0; n < end; ++n) {
    if (n < pollEnd) {
      const ksys_status status = pollAttention<64>(n);
      if (failed(status)) return status;
    }
    std::rotate(lines, lines + 1, lines + 5);
    enter(n + 2, lines[4]);
    if (n % Step == 0) emit(lines, n / Step);
  }
  return 0;
}

template <int64_t Step, typename Pixel>
[[nodiscard]] ksys_status runRing(const KernelCall<Pixel>& call, const RingRows<Pixel>& rows, Sum<Pixel>* (&lines)[5]) {
  return runRing<Step>(
      lines, call.height,
      [&](int64_t row, Sum<Pixel>* line, int32_t shift) { rows.row(call.srcRow(row), call.width, line, shift); },
      [&](Sum<Pixel>* const* five, int64_t row) { rows.column(five, call.width / Step, call.dstRow(row)); });
}

template <int64_t Step, typename Pixel>
[[nodiscard]] ksys_status runRing(const KernelCall<Pixel>& call, const MaskedRingRows<Pixel>& rows,
                                  MaskedLine (&lines)[5], uint16_t* totals) {
  return runRing<Step>(
      lines, call.height,
      [&](int64_t row, const MaskedLine& line, int32_t shift) {
        rows.row(call.srcRow(row), call.srcMaskRow(row), call.width, line, shift);
      },
      [&](const MaskedLine* five, int64_t row) {
        rows.column(five, call.width / Step, totals, call.dstRow(row), call.dstMaskRow(row));
      });
}

}  // namespace kip
