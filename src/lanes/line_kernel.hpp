// SPDX-License-Identifier: Apache-2.0
// What the kernels share that smooth by running sums. Down the columns, the rows of a plane enter with the signs of a
// third difference, which three running sums turn into the vertical sums of three boxes. A group of finished rows then
// goes through the same along the row, one row a lane: the line, which holds for every column a vector of the rows'
// sums.
#pragma once

#include <cstring>

#include "lanes/lanes.hpp"
#include "lanes/line_request.hpp"
#include "lanes/reach.hpp"

namespace kip {

namespace {

// ---- down the columns

constexpr int64_t block = 4 * lanes;  // columns that enter at once
constexpr LineVectors lineVectors = {.block = block, .rows = lanes};

// Of a block of each row as row(i) loads it.
template <typename Row>
KIP_INLINE Words differenceOf(Row&& row) {
  return difference(row(0), row(1), row(2), row(3));
}
KIP_INLINE Words difference(const uint8_t* const (&row)[4], int64_t column) {
  return differenceOf([&](int64_t i) { return load(row[i] + column); });
}

// 16 bits to 32, of which the upper ones are given: four columns to a half, as in everything that follows.
KIP_INLINE void widen16(Vec words, Vec upper, Vec* sums) {
  sums[0] = interleaveLow16(words, upper);
  sums[1] = interleaveHigh16(words, upper);
}
KIP_INLINE void widenSigned16(Words words, Vec (&sums)[4]) {
  widen16(words.low, signs16(words.low), sums);
  widen16(words.high, signs16(words.high), sums + 2);
}

// The first running sums of a block of bytes, in 16 bits.
class ByteSums {
 public:
  KIP_INLINE explicit ByteSums(const int32_t* state) : sums_{load(state), load(state + lanes)} {}
  KIP_INLINE void save(int32_t* state) const {
    store(state, sums_.low);
    store(state + lanes, sums_.high);
  }
  KIP_INLINE void add(const uint8_t* const (&row)[4], int64_t column) {
    add(difference(row, column));
    prefetch(row[0] + column);
  }
  KIP_INLINE void add(const Words& words) {
    sums_.low = add16(sums_.low, words.low);
    sums_.high = add16(sums_.high, words.high);
  }
  [[nodiscard]] KIP_INLINE const Words& words() const { return sums_; }

 private:
  Words sums_;
};

// The same of a step, spread out to 32 bits.
struct ShortSums : ByteSums {
  using ByteSums::ByteSums;
  KIP_INLINE void add(const LineStep& step, int64_t column) { ByteSums::add(step.row, column); }
  KIP_INLINE void spread(Vec (&sums)[4]) const { widenSigned16(words(), sums); }
};

// The running sums of a block in 32 bits.
class WideColumnSums {
 public:
  KIP_INLINE explicit WideColumnSums(const int32_t* state) {
    for (int64_t i = 0; i < 4; ++i) sums_[i] = load(state + i * lanes);
  }
  KIP_INLINE void save(int32_t* state) const {
    for (int64_t i = 0; i < 4; ++i) store(state + i * lanes, sums_[i]);
  }
  KIP_INLINE void add(const Vec (&values)[4]) {
    for (int64_t i = 0; i < 4; ++i) sums_[i] = add32(sums_[i], values[i]);
  }
  [[nodiscard]] KIP_INLINE Vec operator[](int64_t i) const { return sums_[i]; }

 private:
  Vec sums_[4];
};

// The steps for one block of columns; output rows go to `rows`, a block each. `First`, the first running sums, takes a
// step with add(step, column) and gives its sums with spread(sums). `state`: the sums of the block, three elements a
// column.
template <typename First, typename Step>
void addBlock(const Step* steps, int64_t count, int64_t column, int32_t* state, int32_t* rows) {
  int32_t* const third = state + 2 * block;
  First first(state);
  WideColumnSums second(state + block);
  const int32_t* from = third;
  int32_t* to = rows;
  for (const Step* step = steps; step != steps + count; ++step) {
    first.add(*step, column);
    Vec sums[4];
    first.spread(sums);
    second.add(sums);
    for (int64_t i = 0; i < 4; ++i) store(to + i * lanes, add32(load(from + i * lanes), second[i]));
    from = to;
    to += step->isOutput ? block : 0;
  }
  first.save(state);
  second.save(state + block);
  for (int64_t i = 0; i < 4; ++i) store(third + i * lanes, load(from + i * lanes));
}

// A block of output rows to columns of the line: put(to, column) stores one.
template <typename Put>
KIP_INLINE void transposeBlock(const int32_t* rows, int32_t* line, Put&& put) {
#pragma GCC unroll 8
  for (int64_t quad = 0; quad < lanes; ++quad) {
    const int64_t first = quad % halves * 16 + quad / halves * 4;  // of its half
    Vec column[4];
    transposeQuads(rows + quad * 4, block, column);
    for (int64_t i = 0; i < 4; ++i) put(line + (first + i) * lanes, column[i]);
  }
}

// Room for a block of a group of output rows, and for the sums that are none yet.
struct FinishedRows {
  alignas(32) int32_t rows[size_t{(lanes + 1) * block}] = {};
};

// The steps for `columns` columns of a plane from `first` on; finished rows go to the line from `start` on with `put`,
// or nowhere. `readable`: the columns that the rows have, at least a block.
template <typename First, typename Step, typename Put>
KIP_INLINE void addColumns(const Step* steps, int64_t count, int64_t readable, int64_t first, int64_t columns,
                           int32_t* state, FinishedRows& finished, int32_t* start, Put&& put) {
  state += first * 3;
  for (int64_t at = 0; at < columns; at += block, state += 3 * block) {
    // the last block ends with the row and has sums of its own for the columns that it shares with the one before
    const int64_t column = smaller(first + at, readable - block);
    addBlock<First>(steps, count, column, state, finished.rows);
    if (start != nullptr) transposeBlock(finished.rows, start + (column - first) * lanes, put);
  }
}

// ---- along the row

KIP_INLINE Vec thirdDifference(const int32_t* column, int64_t box) {
  const Vec inner = sub32(load(column - 2 * box), load(column - box));
  const Vec outer = sub32(load(column), load(column - 3 * box));
  return add32(add32(outer, inner), add32(inner, inner));
}

// Three boxes along the line. Sums of one box and of two, for when they leave the next box, go where the column before
// has done its service.
struct BoxSums {
  Vec one = zeros(), two = zeros();

  // What the next column, `box` elements after its like, adds to the sum of three boxes.
  KIP_INLINE Vec add(int32_t* column, int64_t box) {
    const Vec leavingTwo = load(column - 2 * box);
    const Vec leavingThree = load(column - 3 * box);
    one = add32(one, sub32(load(column), load(column - box)));
    store(column - box, one);
    two = add32(two, sub32(one, leavingTwo));
    store(column - 2 * box, two);
    return sub32(two, leavingThree);
  }
};

// The sum of three boxes, in 32 bits or 64.

struct Sums32 {
  BoxSums boxes;
  Vec sum = zeros();

  KIP_INLINE void add(int32_t* column, int64_t box) { sum = add32(sum, boxes.add(column, box)); }
};

template <Reach R>
struct Sums64 {
  Wide first = widenUnsigned(zeros()), second = first, sum = first;

  KIP_INLINE void add(const int32_t* column, int64_t box) {
    if constexpr (R == Reach::nothing) {
      const Wide inner = widenUnsigned(load(column - 2 * box)) - widenUnsigned(load(column - box));
      const Wide outer = widenUnsigned(load(column)) - widenUnsigned(load(column - 3 * box));
      first = first + ((outer + inner) + (inner + inner));
    } else {
      first = first + widenSigned(thirdDifference(column, box));
    }
    second = second + first;
    sum = sum + second;
  }
};

template <>
struct Sums64<Reach::second> {
  BoxSums boxes;
  Wide sum = widenUnsigned(zeros());

  KIP_INLINE void add(int32_t* column, int64_t box) { sum = sum + widenSigned(boxes.add(column, box)); }
};

template <typename Pixel>
KIP_INLINE Vec joinColumns(const int32_t* columns) {
  if constexpr (sizeof(Pixel) == 2) {
    return lowWords(load(columns), load(columns + lanes));
  } else {
    const Vec even = lowWords(load(columns), load(columns + 2 * lanes));
    const Vec odd = lowWords(load(columns + lanes), load(columns + 3 * lanes));
    return lowBytes(even, odd);
  }
}

// The output rows of a group on their way out: pixels wait, a vector of 32-bit lanes for each column, until there is a
// vector of them in every row.
template <typename Pixel>
class OutputRows {
 public:
  OutputRows(Pixel* const* out, int64_t rows, int64_t outputs) : out_(out), rows_(rows), outputs_(outputs) {}

  [[nodiscard]] KIP_INLINE bool isComplete() const { return written_ + waiting_ == outputs_; }
  // Room for the next pixels, `room()` of them at most, which add() then counts.
  [[nodiscard]] KIP_INLINE int32_t* next() { return pixels_ + waiting_ * lanes; }
  [[nodiscard]] KIP_INLINE int64_t room() const { return smaller(capacity, outputs_ - written_) - waiting_; }
  KIP_INLINE void add(int64_t pixels) {
    waiting_ += pixels;
    if (waiting_ == capacity) flush();
  }

  // Writes the pixels that wait.
  void flush() {
    for (int64_t at = 0; at < waiting_; at += perVector) {
      Vec pixels[lanes];
      for (int64_t i = 0; i < lanes; ++i) pixels[i] = joinColumns<Pixel>(pixels_ + at * lanes + i * perVector);
      transpose(pixels);
      const int64_t width = smaller(waiting_ - at, perVector);
      for (int64_t i = 0; i < rows_; ++i) writePixels(out_[i] + written_ + at, pixels[i], width);
    }
    written_ += waiting_;
    waiting_ = 0;
  }

 private:
  static constexpr int64_t perVector = int64_t{sizeof(Vec) / sizeof(Pixel)};
  static constexpr int64_t capacity = 128;

  KIP_INLINE static void writePixels(Pixel* to, Vec pixels, int64_t width) {
    if (width == perVector) {
      store(to, pixels);
    } else {
      Pixel buffer[size_t{perVector}];
      store(buffer, pixels);
      std::memcpy(to, buffer, static_cast<size_t>(width) * sizeof(Pixel));
    }
  }

  Pixel* const* out_;
  int64_t rows_, outputs_;
  int64_t waiting_ = 0;  // outputs in the buffer
  int64_t written_ = 0;
  alignas(32) int32_t pixels_[size_t{capacity * lanes}];
};

// Computes output rows, piece by piece of the line. `Row`, running sums, takes a column with add(column, constants) and
// gives the rows' pixels with value(constants).
template <typename Row, typename Constants, typename Pixel>
class RowWriter {
 public:
  // The first output takes `taps` columns, each further one `sample` more.
  RowWriter(const Row& row, const Constants& constants, int64_t taps, int64_t sample, int64_t outputs,
            Pixel* const* out, int64_t rows)
      : row_(row), constants_(constants), sample_(sample), toSkip_(taps - 1), pixels_(out, rows, outputs) {}

  // The next `columns` columns of the line, the first one at `column`.
  KIP_INLINE void take(int32_t* column, int64_t columns) {
    Row row = row_;
    const Constants constants = constants_;
    const int64_t sample = sample_;
    int32_t* const end = column + columns * lanes;
    while (column != end && !pixels_.isComplete()) {
      const int64_t left = (end - column) / lanes;
      const int64_t skipped = smaller(toSkip_, left);
      for (int64_t i = 0; i < skipped; ++i, column += lanes) row.add(column, constants);
      toSkip_ -= skipped;
      if (skipped == left) break;

      const int64_t pixels = smaller(pixels_.room(), (left - skipped + sample - 1) / sample);
      int32_t* to = pixels_.next();
      int32_t* const last = to + (pixels - 1) * lanes;
      if (sample == 1) {
        for (; to <= last; to += lanes, column += lanes) {
          row.add(column, constants);
          store(to, row.value(constants));
        }
      } else {
        for (;; to += lanes) {
          row.add(column, constants);
          column += lanes;
          store(to, row.value(constants));
          if (to == last) break;
          for (int64_t i = 1; i < sample; ++i, column += lanes) row.add(column, constants);
        }
      }
      pixels_.add(pixels);
      toSkip_ = sample - 1;
    }
    row_ = row;
  }

  void flush() { pixels_.flush(); }

 private:
  Row row_;
  Constants constants_;
  int64_t sample_;
  int64_t toSkip_;  // columns until the next output
  OutputRows<Pixel> pixels_;
};

constexpr LineVectors vectors = {.block = block, .rows = lanes};

// Lets the pieces of a request's lines pass: `lines` of them, which lie behind one another in `memory` and go along
// together. Each begins with the columns that were before, as far as a third difference reaches, or zeros, and the left
// pad. Calls addColumns(first, columns, start) for every piece, which fills it from `start` on in the first line and at
// the same place in the others, and then take(column, columns) with the columns that are new.
template <typename AddColumns, typename Take>
KIP_INLINE void forEachPiece(const LineRequest& line, int32_t* memory, int64_t lines, AddColumns&& addColumns,
                             Take&& take) {
  const int64_t history = 3 * line.box;
  const int64_t piece = pieceWidth(line.width, line.leftPad, line.rightPad, block);
  const int64_t distance = lineSize(line, vectors);
  int32_t* const start = memory + (history + line.leftPad) * lanes;
  const auto ofEach = [&](auto&& change) {
    for (int64_t i = 0; i < lines; ++i) change(start + i * distance);
  };
  ofEach([&](int32_t* at) {
    int32_t* const before = at - (history + line.leftPad) * lanes;
    std::memset(before, 0, static_cast<size_t>(at - before) * sizeof(int32_t));
  });
  for (int64_t first = 0; first < line.width; first += piece) {
    const int64_t columns = smaller(piece, line.width - first);
    const bool isLast = first + columns == line.width;
    addColumns(first, columns, start);
    if (first == 0) {
      ofEach([&](int32_t* at) {
        for (int64_t i = 0; i < line.leftMirror; ++i) store(at - (i + 1) * lanes, load(at + i * lanes));
      });
    }
    if (isLast) {
      ofEach([&](int32_t* at) {
        int32_t* const end = at + columns * lanes;
        for (int64_t i = 0; i < line.rightPad; ++i) {
          store(end + i * lanes, i < line.rightMirror ? load(end - (i + 1) * lanes) : zeros());
        }
      });
    }
    const int64_t leftPad = first == 0 ? line.leftPad : 0;
    take(start - leftPad * lanes, leftPad + columns + (isLast ? line.rightPad : 0));
    if (isLast) return;
    ofEach([&](int32_t* at) {
      std::memmove(at - history * lanes, at + (columns - history) * lanes,
                   static_cast<size_t>(history * lanes) * sizeof(int32_t));
    });
  }
}

// The steps of a group of rows without masks: addPiece(first, columns, start) brings columns to the line, or nowhere.
template <typename Row, typename Constants, typename Pixel, typename AddPiece>
KIP_INLINE void smoothGroup(const LineRequest& line, const Row& row, const Constants& constants, const LineStep* steps,
                            int64_t count, int32_t* memory, Pixel* const* out, AddPiece&& addPiece) {
  int64_t rows = 0;
  for (int64_t i = 0; i < count; ++i) rows += steps[i].isOutput ? 1 : 0;
  if (rows == 0) return addPiece(0, line.width, nullptr);

  RowWriter<Row, Constants, Pixel> writer(row, constants, 3 * line.box - 2, line.sample, line.outputs, out, rows);
  forEachPiece(line, memory, 1, addPiece, [&](int32_t* column, int64_t columns) { writer.take(column, columns); });
  writer.flush();
}

}  // namespace

}  // namespace kip
