// SPDX-License-Identifier: Apache-2.0
#include "gauss/exact_rows.hpp"

#include "lanes/line_kernel.hpp"

namespace kip {

namespace {

static_assert(vec2Vectors.rows == lanes && vec2Vectors.block == block);

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
    Vec evenShift, oddShift;
  };
  static Constants constantsOf(const Vec2Line& line) {
    return {line.line.box * lanes, all32(static_cast<int32_t>(line.multiplier)), all64(line.shift),
            all64(line.shift - 32)};
  }

  BoxSums boxes;
  Vec sum;

  explicit IntegerRow(const Vec2Line& line) : sum(all32(static_cast<int32_t>(line.half))) {}
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
  static Constants constantsOf(const Vec2Line& line) { return {line.line.box * lanes, all(1.0 / line.divisor)}; }

  Doubles third;

  explicit DoubleRow(const Vec2Line& line) : third(all(line.isRounded ? 0.5 * line.divisor : 0.0)) {}
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
  static Constants constantsOf(const Vec2Line& line) {
    return {all(line.divisor), all(1.0 / line.divisor), line.isRounded};
  }

  Vec sum = zeros();

  explicit SingleColumn(const Vec2Line&) {}
  KIP_INLINE void add(const int32_t* column, const Constants&) { sum = load(column); }
  [[nodiscard]] KIP_INLINE Vec value(const Constants& constants) const {
    const Doubles exact = fromSigned(sum);
    return toSigned(constants.isRounded ? exact * constants.reciprocal + all(0.5) : exact / constants.divisor);
  }
};

// ---- a group of output rows

template <typename Row, typename Pixel>
void smoothRows(const Vec2Line& request, const LineStep* steps, int64_t count, int32_t* memory, Pixel* const* out) {
  const LineRequest& line = request.line;
  FinishedRows finished;
  const auto put = [](int32_t* to, Vec column) { store(to, column); };
  const auto addPiece = [&](int64_t first, int64_t columns, int32_t* start) {
    request.isShort ? addColumns<ShortSums>(steps, count, line.readable, first, columns, memory, finished, start, put)
                    : addColumns<LongSums>(steps, count, line.readable, first, columns, memory, finished, start, put);
  };
  smoothGroup(line, Row(request), Row::constantsOf(request), steps, count, memory + sumsSize(line, vec2Vectors), out,
              addPiece);
}

template <typename Pixel>
void smoothRows(const Vec2Line& line, const LineStep* steps, int64_t count, int32_t* memory, Pixel* const* out) {
  switch (line.sums) {
    case Vec2Sums::none:
      return smoothRows<SingleColumn>(line, steps, count, memory, out);
    case Vec2Sums::integer:
      return smoothRows<IntegerRow>(line, steps, count, memory, out);
    case Vec2Sums::narrow:
      return smoothRows<NarrowRow>(line, steps, count, memory, out);
    case Vec2Sums::wide:
      return smoothRows<WideRow>(line, steps, count, memory, out);
    case Vec2Sums::widest:
      return smoothRows<WidestRow>(line, steps, count, memory, out);
  }
}

}  // namespace

void vec2SmoothRows8(const Vec2Line& line, const LineStep* steps, int64_t count, int32_t* memory, uint8_t* const* out) {
  smoothRows(line, steps, count, memory, out);
}

void vec2SmoothRows16(const Vec2Line& line, const LineStep* steps, int64_t count, int32_t* memory,
                      uint16_t* const* out) {
  smoothRows(line, steps, count, memory, out);
}

}  // namespace kip
