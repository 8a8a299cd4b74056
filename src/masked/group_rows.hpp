// SPDX-License-Identifier: Apache-2.0
// The text of the masked row kernel, for the files that compile it for a vector size.
#pragma once

#include "masked/column_sums.hpp"
#include "masked/invalid_outputs.hpp"
#include "masked/line_outputs.hpp"

namespace kip {

namespace {

// Turns pieces of the lines into output rows.
template <typename Dst>
class LinesToRows {
 public:
  LinesToRows(const MaskedRows& rows, Dst* const* out, int64_t count)
      : rows_(rows), pixels_(out, count, rows.line.outputs), toSkip_(3 * rows.line.box - 3) {}

  // The next `columns` columns, the first one of the first line at `column`.
  void take(int32_t* column, int64_t columns) {
    const int64_t sample = rows_.line.sample;
    while (columns != 0 && !pixels_.isComplete()) {
      const int64_t skipped = smaller(toSkip_, columns);
      const int64_t outputs = smaller(pixels_.room(), (columns - skipped + sample - 1) / sample);
      const LineStretch stretch = {skipped, outputs, sample, rows_.line.box};
      rows_.outputs(rows_.scale, state_.room, column, rows_.maskLine, stretch, pixels_.next());
      pixels_.add(outputs);
      const int64_t taken = skipped + (outputs == 0 ? 0 : 1 + (outputs - 1) * sample);
      toSkip_ = outputs == 0 ? toSkip_ - skipped : sample - 1;
      column += taken * lanes;
      columns -= taken;
    }
  }

  void flush() { pixels_.flush(); }

 private:
  const MaskedRows& rows_;
  OutputRows<Dst> pixels_;
  int64_t toSkip_;  // columns until the next output
  LineState state_;
};

template <typename Src, typename Dst>
void smoothGroup(const MaskedRows& rows, const MaskedStep* steps, int64_t count, Dst* const* out) {
  int64_t outputs = 0;
  for (int64_t i = 0; i < count; ++i) outputs += steps[i].isOutput ? 1 : 0;
  FinishedRows finished;
  if (outputs == 0) return addPiece<Src>(rows, steps, count, 0, rows.line.width, finished, nullptr);

  LinesToRows<Dst> toRows(rows, out, outputs);
  const auto add = [&](int64_t first, int64_t columns, int32_t* start) {
    addPiece<Src>(rows, steps, count, first, columns, finished, start);
  };
  forEachPiece(rows.line, rows.lines, linesOf(rows.columns), add,
               [&](int32_t* column, int64_t columns) { toRows.take(column, columns); });
  toRows.flush();
}

template <typename Src, typename Dst>
constexpr MaskedPairKernel<Src, Dst> pairKernel = {smoothGroup<Src, Dst>, replaceInvalid<Src, Dst>,
                                                   scaleInvalid<Src, Dst>};

constexpr MaskedRowsKernel kernel = {vectors,
                                     lineOutputs,
                                     hasUncounted,
                                     pairKernel<uint8_t, uint8_t>,
                                     pairKernel<uint8_t, uint16_t>,
                                     pairKernel<uint16_t, uint16_t>};

}  // namespace

}  // namespace kip
