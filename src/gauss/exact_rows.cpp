// SPDX-License-Identifier: Apache-2.0
#include "gauss/exact_rows.hpp"

#include "lanes/line_kernel.hpp"

namespace kip {

namespace {

// ---- down the columns

// First sums that need more than 16 bits.
struct LongSums : WideColumnSums {
  using WideColumnSums::WideColumnSums;
  KIP_INLINE void add(const LineStep& step, int64_t column) {
    Vec third[4];
    widenSigned16(difference(step.row, column), third);
    WideColumnSums::add(third);
  }
  KIP_INLINE void spread(Vec (&sums)[4]) const {
    for (int64_t i = 0; i < 4; ++i) sums[i] = (*this)[i];
  }
};

// ---- along the row

// What the rows become along the line, column by column.

struct IntegerRow {
  struct Constants {
    int64_t box;
    Vec multiplier;
    Shift evenShift, oddShift;
  };
  static Constants constantsOf(const ExactLine& line) {
    return {line.line.box * lanes, all32(static_cast<int32_t>(line.multiplier)), shift64By(line.shift),
            shift64By(line.shift - 32)};
  }

  BoxSums boxes;
  Vec sum;

  explicit IntegerRow(const ExactLine& line) : sum(all32(static_cast<int32_t>(line.half))) {}
  KIP_INLINE void add(int32_t* column, const Constants& constants) {
    sum = add32(sum, boxes.add(column, constants.box));
  }
  [[nodiscard]] KIP_INLINE Vec value(const Constants& constants) const {
    return divide32(sum, constants.multiplier, constants.evenShift, constants.oddShift);
  }
};

// Quotients are products with a reciprocal, and the last sum is a double, as in the portable engine, operation by
// operation. The sums before it are integers, in 32 bits or in doubles.
struct DoubleRow {
  struct Constants {
    int64_t box;
    Doubles reciprocal;
  };
  static Constants constantsOf(const ExactLine& line) { return {line.line.box * lanes, all(1.0 / line.divisor)}; }

  Doubles third;

  explicit DoubleRow(const ExactLine& line) : third(all(line.isRounded ? 0.5 * line.divisor : 0.0)) {}
  [[nodiscard]] KIP_INLINE Vec value(const Constants& constants) const {
    return toSigned(third * constants.reciprocal);
  }
};

struct NarrowRow : DoubleRow {
  BoxSums boxes;

  using DoubleRow::DoubleRow;
  KIP_INLINE void add(int32_t* column, const Constants& constants) {
    third = third + fromSigned(boxes.add(column, constants.box));
  }
};

struct WideRow : DoubleRow {
  Doubles first = all(0.0), second = all(0.0);

  using DoubleRow::DoubleRow;
  KIP_INLINE void add(const int32_t* column, const Constants& constants) {
    addDifference(fromSigned(thirdDifference(column, constants.box)));
  }
  KIP_INLINE void addDifference(Doubles difference) {
    first = first + difference;
    second = second + first;
    third = third + second;
  }
};

struct WidestRow : WideRow {
  using WideRow::WideRow;
  KIP_INLINE void add(const int32_t* column, const Constants& constants) {
    const int64_t box = constants.box;
    const Doubles inner = fromSigned(load(column - 2 * box)) - fromSigned(load(column - box));
    const Doubles outer = fromSigned(load(column)) - fromSigned(load(column - 3 * box));
    addDifference(outer + all(3.0) * inner);
  }
};

// A box of one column: truncated quotients are true divisions.
struct SingleColumn {
  struct Constants {
    Doubles divisor, reciprocal;
    bool isRounded;
  };
  static Constants constantsOf(const ExactLine& line) {
    return {all(line.divisor), all(1.0 / line.divisor), line.isRounded};
  }

  Vec sum = zeros();

  explicit SingleColumn(const ExactLine&) {}
  KIP_INLINE void add(const int32_t* column, const Constants&) { sum = load(column); }
  [[nodiscard]] KIP_INLINE Vec value(const Constants& constants) const {
    const Doubles exact = fromSigned(sum);
    return toSigned(constants.isRounded ? exact * constants.reciprocal + all(0.5) : exact / constants.divisor);
  }
};

// ---- a group of output rows

template <typename Row, typename Pixel>
void smoothRowsWith(const ExactLine& request, const LineStep* steps, int64_t count, int32_t* memory,
                    Pixel* const* out) {
  const LineRequest& line = request.line;
  FinishedRows finished;
  const auto put = [](int32_t* to, Vec column) { store(to, column); };
  const auto addPiece = [&](int64_t first, int64_t columns, int32_t* start) {
    request.isShort ? addColumns<ShortSums>(steps, count, line.readable, first, columns, memory, finished, start, put)
                    : addColumns<LongSums>(steps, count, line.readable, first, columns, memory, finished, start, put);
  };
  smoothGroup(line, Row(request), Row::constantsOf(request), steps, count, memory + sumsSize(line, lineVectors), out,
              addPiece);
}

template <typename Pixel>
void smoothRows(const ExactLine& line, const LineStep* steps, int64_t count, int32_t* memory, Pixel* const* out) {
  switch (line.sums) {
    case ExactSums::none:
      return smoothRowsWith<SingleColumn>(line, steps, count, memory, out);
    case ExactSums::integer:
      return smoothRowsWith<IntegerRow>(line, steps, count, memory, out);
    case ExactSums::narrow:
      return smoothRowsWith<NarrowRow>(line, steps, count, memory, out);
    case ExactSums::wide:
      return smoothRowsWith<WideRow>(line, steps, count, memory, out);
    case ExactSums::widest:
      return smoothRowsWith<WidestRow>(line, steps, count, memory, out);
  }
}

}  // namespace

namespace KIP_LANES {
extern const ExactKernel exactRows = {lineVectors, smoothRows<uint8_t>, smoothRows<uint16_t>};
}

}  // namespace kip
