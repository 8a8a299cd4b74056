// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <utility>

#include "binomial/kernels.hpp"
#include "binomial/rows.hpp"
#include "frame/attention.hpp"

namespace kip {

// Five lines of horizontal sums that go down a picture of `height` rows, so that each source row is filtered once.
// enter(row, line, shift) fills a line; next(n, nearest, lines) fills the last Step lines with the rows nearest(n + 3 -
// Step) ... nearest(n + 2) and makes a destination row of all five, those around source row n. Beyond the top and the
// bottom the nearest row stands in. With Step 2 odd rows enter times 4, so that the sum of the lines needs but one
// multiplication; it then takes two rows at least. With Step 1 pictures below five rows ask for no attention.
template <int64_t Step, typename Line, typename Enter, typename Next>
[[nodiscard]] ksys_status runRing(Line (&lines)[5], int64_t height, Enter&& enter, Next&& next) {
  const auto nearest = [height](int64_t row) { return std::clamp<int64_t>(row, 0, height - 1); };
  for (int64_t row = -2; row <= 2 - Step; ++row) {
    enter(nearest(row), lines[row + 2 + Step], Step == 2 && row == -1 ? 2 : 0);
  }
  const int64_t end = height - height % Step;
  const int64_t pollEnd = Step == 2 ? end : height < 5 ? 0 : height - 2;
  for (int64_t n = 0; n < end; n += Step) {
    if (n < pollEnd) {
      const ksys_status status = pollAttention<64>(n);
      if (failed(status)) return status;
    }
    for (int64_t turn = 0; turn < Step; ++turn) {
      for (int64_t k = 0; k < 4; ++k) std::swap(lines[k], lines[k + 1]);
    }
    next(n, nearest, lines);
  }
  return 0;
}

template <int64_t Step, typename Pixel>
[[nodiscard]] ksys_status runRing(const KernelCall<Pixel>& call, const RingRows<Pixel>& rows, Sum<Pixel>* (&lines)[5]) {
  return runRing<Step>(
      lines, call.height,
      [&](int64_t row, Sum<Pixel>* line, int32_t shift) { rows.enter(call.srcRow(row), call.width, line, shift); },
      [&](int64_t n, auto nearest, Sum<Pixel>* const* five) {
        const Pixel* src[size_t{Step}];
        for (int64_t k = 0; k < Step; ++k) src[k] = call.srcRow(nearest(n + 3 - Step + k));
        rows.next(src, call.width, five, call.dstRow(n / Step));
      });
}

template <int64_t Step, typename Pixel>
[[nodiscard]] ksys_status runRing(const KernelCall<Pixel>& call, const MaskedRingRows<Pixel>& rows,
                                  MaskedLine (&lines)[5], uint16_t* scratch) {
  return runRing<Step>(
      lines, call.height,
      [&](int64_t row, const MaskedLine& line, int32_t shift) {
        rows.enter(call.srcRow(row), call.srcMaskRow(row), call.width, line, scratch, shift);
      },
      [&](int64_t n, auto nearest, const MaskedLine* five) {
        const Pixel* src[size_t{Step}];
        const uint8_t* masks[size_t{Step}];
        for (int64_t k = 0; k < Step; ++k) {
          src[k] = call.srcRow(nearest(n + 3 - Step + k));
          masks[k] = call.srcMaskRow(nearest(n + 3 - Step + k));
        }
        rows.next(src, masks, call.width, five, scratch, call.dstRow(n / Step), call.dstMaskRow(n / Step));
      });
}

}  // namespace kip
