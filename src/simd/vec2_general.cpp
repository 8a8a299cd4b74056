// SPDX-License-Identifier: Apache-2.0
#include "simd/vec2_general.hpp"

#include <cstring>

#include "simd/vec2_intrinsics.hpp"

namespace kip {

namespace {

// ---- down the columns

constexpr int64_t lanes = 8;
constexpr int64_t vectors = vec2Block / lanes;

KIP_INLINE Vec bytePairs(int first, int second) {
  return _mm256_set1_epi16(static_cast<int16_t>((second & 0xFF) << 8 | (first & 0xFF)));
}
// The even or the odd elements, with their signs.
KIP_INLINE Vec evenWords(Vec words) {
  return _mm256_madd_epi16(words, _mm256_set1_epi32(1));
}
KIP_INLINE Vec oddWords(Vec words) {
  return _mm256_madd_epi16(words, _mm256_set1_epi32(1 << 16));
}

// Running sums of sixteen columns: the even ones, then the odd ones. First sums are 16 bits or 32.
template <bool IsShort>
class Sums {
 public:
  KIP_INLINE Sums(const int32_t* first, const int32_t* second)
      : first_{load(first), load(first + lanes)}, second_{load(second), load(second + lanes)} {}
  KIP_INLINE void save(int32_t* first, int32_t* second) const {
    for (int64_t i = 0; i < 2; ++i) {
      store(first + i * lanes, first_[i]);
      store(second + i * lanes, second_[i]);
    }
  }
  // Third sums move on from row to row.
  KIP_INLINE void add(Vec difference, const int32_t* from, int32_t* to) {
    if constexpr (IsShort) {
      first_[0] = _mm256_add_epi16(first_[0], difference);
      second_[0] = _mm256_add_epi32(second_[0], evenWords(first_[0]));
      second_[1] = _mm256_add_epi32(second_[1], oddWords(first_[0]));
    } else {
      first_[0] = _mm256_add_epi32(first_[0], evenWords(difference));
      first_[1] = _mm256_add_epi32(first_[1], oddWords(difference));
      for (int64_t i = 0; i < 2; ++i) second_[i] = _mm256_add_epi32(second_[i], first_[i]);
    }
    for (int64_t i = 0; i < 2; ++i) store(to + i * lanes, _mm256_add_epi32(load(from + i * lanes), second_[i]));
  }

 private:
  Vec first_[2];
  Vec second_[2];
};

// a - 3b + 3c - d of sixteen columns.
KIP_INLINE Vec difference(Vec ab, Vec cd) {
  return _mm256_add_epi16(_mm256_maddubs_epi16(ab, bytePairs(1, -3)), _mm256_maddubs_epi16(cd, bytePairs(3, -1)));
}

// The steps for one block of columns. Output rows go to `rows`, in the order of columns that unpacking leaves.
template <bool IsShort>
void addBlock(const Vec2Step* steps, int64_t count, int64_t column, int64_t ahead, int32_t* sums, int32_t* rows) {
  constexpr int64_t half = vec2Block / 2;
  int32_t* const first = sums;
  int32_t* const second = first + vec2Block;
  int32_t* const third = second + vec2Block;
  Sums<IsShort> low(first, second);
  Sums<IsShort> high(first + half, second + half);
  const int32_t* from = third;
  int32_t* to = rows;
  for (const Vec2Step* step = steps; step != steps + count; ++step) {
    const Vec a = load(step->row[0] + column);
    const Vec b = load(step->row[1] + column);
    const Vec c = load(step->row[2] + column);
    const Vec d = load(step->row[3] + column);
    _mm_prefetch(step->row[0] + ahead, _MM_HINT_T0);
    low.add(difference(_mm256_unpacklo_epi8(a, b), _mm256_unpacklo_epi8(c, d)), from, to);
    high.add(difference(_mm256_unpackhi_epi8(a, b), _mm256_unpackhi_epi8(c, d)), from + half, to + half);
    from = to;
    to += step->isOutput ? vec2Block : 0;
  }
  low.save(first, second);
  high.save(first + half, second + half);
  for (int64_t i = 0; i < vectors; ++i) store(third + i * lanes, load(from + i * lanes));
}

// Output rows to columns. Four neighbours in a row are every other column of eight.
void transposeBlock(const int32_t* rows, int32_t* line) {
  for (int64_t i = 0; i < 2 * vectors; ++i) {
    const int32_t* const from = rows + i * 4;
    int32_t* const to = line + (i / 4 * 8 + i / 2 % 2 + i % 2 * 16) * vec2Rows;
    Vec row[4];
    for (int64_t j = 0; j < 4; ++j) row[j] = loadHalves(from + j * vec2Block, from + (j + 4) * vec2Block);
    const Vec low01 = _mm256_unpacklo_epi32(row[0], row[1]);
    const Vec low23 = _mm256_unpacklo_epi32(row[2], row[3]);
    const Vec high01 = _mm256_unpackhi_epi32(row[0], row[1]);
    const Vec high23 = _mm256_unpackhi_epi32(row[2], row[3]);
    store(to, _mm256_unpacklo_epi64(low01, low23));
    store(to + 2 * vec2Rows, _mm256_unpackhi_epi64(low01, low23));
    store(to + 4 * vec2Rows, _mm256_unpacklo_epi64(high01, high23));
    store(to + 6 * vec2Rows, _mm256_unpackhi_epi64(high01, high23));
  }
}

// ---- along the row

// The magic number 2^52: an integer below 2^32 in the low half of its bits is the double 2^52 + integer.
constexpr double magic = 4503599627370496.0;
constexpr double bias = 2147483648.0;  // 2^31 makes a signed integer an unsigned one

struct Doubles {
  __m256d low, high;
};

KIP_INLINE Doubles operator+(Doubles a, Doubles b) {
  return {_mm256_add_pd(a.low, b.low), _mm256_add_pd(a.high, b.high)};
}
KIP_INLINE Doubles operator-(Doubles a, Doubles b) {
  return {_mm256_sub_pd(a.low, b.low), _mm256_sub_pd(a.high, b.high)};
}
KIP_INLINE Doubles operator*(Doubles a, Doubles b) {
  return {_mm256_mul_pd(a.low, b.low), _mm256_mul_pd(a.high, b.high)};
}
KIP_INLINE Doubles operator/(Doubles a, Doubles b) {
  return {_mm256_div_pd(a.low, b.low), _mm256_div_pd(a.high, b.high)};
}
KIP_INLINE Doubles all(double value) {
  return {_mm256_set1_pd(value), _mm256_set1_pd(value)};
}
// 2^52 + value, value unsigned: lanes 0, 1, 4, 5 and 2, 3, 6, 7.
KIP_INLINE Doubles addMagic(Vec value) {
  const Vec upper = _mm256_set1_epi32(0x43300000);
  return {_mm256_castsi256_pd(_mm256_unpacklo_epi32(value, upper)),
          _mm256_castsi256_pd(_mm256_unpackhi_epi32(value, upper))};
}
KIP_INLINE void storeTruncated(int32_t* to, Doubles values) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm256_cvttpd_epi32(values.low));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 4), _mm256_cvttpd_epi32(values.high));
}

// The third difference of the line at a column.
KIP_INLINE Vec thirdDifference(const int32_t* column, int64_t box) {
  const Vec inner = _mm256_sub_epi32(load(column - 2 * box), load(column - box));
  const Vec outer = _mm256_sub_epi32(load(column), load(column - 3 * box));
  return _mm256_add_epi32(_mm256_add_epi32(outer, inner), _mm256_add_epi32(inner, inner));
}

// What the rows become along the line, column by column. `order`: the rows in the order in which quotients are stored.

class IntegerSums {
 public:
  static constexpr int order[vec2Rows] = {0, 1, 2, 3, 4, 5, 6, 7};

  KIP_INLINE explicit IntegerSums(const Vec2Line& line)
      : third_(_mm256_set1_epi32(static_cast<int32_t>(line.half))),
        multiplier_(_mm256_set1_epi32(static_cast<int32_t>(line.multiplier))),
        evenShift_(_mm256_set1_epi64x(line.shift)),
        oddShift_(_mm256_set1_epi64x(line.shift - 32)) {}
  KIP_INLINE void add(const int32_t* column, int64_t box) {
    first_ = _mm256_add_epi32(first_, thirdDifference(column, box));
    second_ = _mm256_add_epi32(second_, first_);
    third_ = _mm256_add_epi32(third_, second_);
  }
  KIP_INLINE void storeQuotient(int32_t* to) const {
    const Vec even = _mm256_mul_epu32(third_, multiplier_);
    const Vec odd = _mm256_mul_epu32(_mm256_shuffle_epi32(third_, 0xF5), multiplier_);
    store(to, _mm256_blend_epi32(_mm256_srlv_epi64(even, evenShift_), _mm256_srlv_epi64(odd, oddShift_), 0xAA));
  }

 private:
  Vec first_ = _mm256_setzero_si256();
  Vec second_ = _mm256_setzero_si256();
  Vec third_;
  Vec multiplier_;
  Vec evenShift_, oddShift_;
};

// Second and third sum as in the portable engine, operation by operation; the first one is an exact integer.
class NarrowSums {
 public:
  static constexpr int order[vec2Rows] = {0, 1, 4, 5, 2, 3, 6, 7};

  KIP_INLINE explicit NarrowSums(const Vec2Line& line)
      : third_(all(line.isRounded ? 0.5 * line.divisor : 0.0)), reciprocal_(all(1.0 / line.divisor)) {}
  KIP_INLINE void add(const int32_t* column, int64_t box) {
    first_ = _mm256_add_epi32(first_, thirdDifference(column, box));
    second_ = second_ + (addMagic(first_) - all(magic + bias));
    third_ = third_ + second_;
  }
  KIP_INLINE void storeQuotient(int32_t* to) const { storeTruncated(to, third_ * reciprocal_); }

 private:
  Vec first_ = _mm256_set1_epi32(INT32_MIN);  // biased
  Doubles second_ = all(0.0);
  Doubles third_;
  Doubles reciprocal_;
};

// All as in the portable engine.
class WideSums {
 public:
  static constexpr int order[vec2Rows] = {0, 1, 4, 5, 2, 3, 6, 7};

  KIP_INLINE explicit WideSums(const Vec2Line& line)
      : third_(all(line.isRounded ? 0.5 * line.divisor : 0.0)), reciprocal_(all(1.0 / line.divisor)) {}
  KIP_INLINE void add(const int32_t* column, int64_t box) {
    const Doubles inner = addMagic(load(column - 2 * box)) - addMagic(load(column - box));
    const Doubles outer = addMagic(load(column)) - addMagic(load(column - 3 * box));
    first_ = first_ + (outer + all(3.0) * inner);
    second_ = second_ + first_;
    third_ = third_ + second_;
  }
  KIP_INLINE void storeQuotient(int32_t* to) const { storeTruncated(to, third_ * reciprocal_); }

 private:
  Doubles first_ = all(0.0);
  Doubles second_ = all(0.0);
  Doubles third_;
  Doubles reciprocal_;
};

// A box of one column: truncated quotients are true divisions.
class NoSums {
 public:
  static constexpr int order[vec2Rows] = {0, 1, 4, 5, 2, 3, 6, 7};

  KIP_INLINE explicit NoSums(const Vec2Line& line)
      : divisor_(all(line.divisor)), reciprocal_(all(1.0 / line.divisor)), isRounded_(line.isRounded) {}
  KIP_INLINE void add(const int32_t* column, int64_t) { value_ = addMagic(load(column)) - all(magic); }
  KIP_INLINE void storeQuotient(int32_t* to) const {
    storeTruncated(to, isRounded_ ? value_ * reciprocal_ + all(0.5) : value_ / divisor_);
  }

 private:
  Doubles value_ = all(0.0);
  Doubles divisor_;
  Doubles reciprocal_;
  bool isRounded_;
};

// ---- pixels

// Neighbouring columns of quotients as pixels in 32 bits.
KIP_INLINE Vec lowWords(Vec a, Vec b) {
  return _mm256_blend_epi16(a, _mm256_slli_epi32(b, 16), 0xAA);
}
template <typename Pixel>
KIP_INLINE Vec joinColumns(const int32_t* columns) {
  if constexpr (sizeof(Pixel) == 2) {
    return lowWords(load(columns), load(columns + vec2Rows));
  } else {
    const Vec even = lowWords(load(columns), load(columns + 2 * vec2Rows));
    const Vec odd = lowWords(load(columns + vec2Rows), load(columns + 3 * vec2Rows));
    return _mm256_or_si256(_mm256_and_si256(even, _mm256_set1_epi16(0xFF)), _mm256_slli_epi16(odd, 8));
  }
}

KIP_INLINE void transpose8(Vec (&rows)[8]) {
  Vec pairs[8];
  for (int64_t i = 0; i < 4; ++i) {
    pairs[2 * i] = _mm256_unpacklo_epi32(rows[2 * i], rows[2 * i + 1]);
    pairs[2 * i + 1] = _mm256_unpackhi_epi32(rows[2 * i], rows[2 * i + 1]);
  }
  Vec fours[8];
  for (int64_t i = 0; i < 2; ++i) {
    for (int64_t j = 0; j < 2; ++j) {
      fours[4 * i + 2 * j] = _mm256_unpacklo_epi64(pairs[4 * i + j], pairs[4 * i + j + 2]);
      fours[4 * i + 2 * j + 1] = _mm256_unpackhi_epi64(pairs[4 * i + j], pairs[4 * i + j + 2]);
    }
  }
  for (int64_t i = 0; i < 4; ++i) {
    rows[i] = _mm256_permute2x128_si256(fours[i], fours[i + 4], 0x20);
    rows[i + 4] = _mm256_permute2x128_si256(fours[i], fours[i + 4], 0x31);
  }
}

// ---- a group of output rows

// Writes output rows, piece by piece of the line. Pixels wait column by column until there is a vector of them in every
// row.
template <typename LineSums, typename Pixel>
class RowWriter {
 public:
  RowWriter(const Vec2Line& line, Pixel* const* out, int64_t rows)
      : sums_(line),
        box_(line.box * vec2Rows),
        sample_(line.sample),
        outputs_(line.outputs),
        out_(out),
        rows_(rows),
        toSkip_(3 * (line.box - 1)) {}

  // The next `columns` columns of the line, the first one at `column`.
  KIP_INLINE void take(const int32_t* column, int64_t columns) {
    LineSums sums = sums_;
    const int64_t box = box_;
    const int64_t sample = sample_;
    const int32_t* const end = column + columns * vec2Rows;
    while (column != end && written_ + waiting_ != outputs_) {
      const int64_t left = (end - column) / vec2Rows;
      const int64_t skipped = smaller(toSkip_, left);
      for (int64_t i = 0; i < skipped; ++i, column += vec2Rows) sums.add(column, box);
      toSkip_ -= skipped;
      if (skipped == left) break;

      const int64_t room = smaller(capacity - waiting_, outputs_ - written_ - waiting_);
      const int64_t count = smaller(room, (left - skipped + sample - 1) / sample);
      int32_t* to = block_ + waiting_ * vec2Rows;
      int32_t* const last = to + (count - 1) * vec2Rows;
      for (;; to += vec2Rows) {
        sums.add(column, box);
        column += vec2Rows;
        sums.storeQuotient(to);
        if (to == last) break;
        for (int64_t i = 1; i < sample; ++i, column += vec2Rows) sums.add(column, box);
      }
      waiting_ += count;
      toSkip_ = sample - 1;
      if (waiting_ == capacity) flush();
    }
    sums_ = sums;
  }

  // Writes the pixels that wait.
  void flush() {
    for (int64_t at = 0; at < waiting_; at += perVector) {
      Vec rows[vec2Rows];
      for (int64_t i = 0; i < vec2Rows; ++i) {
        rows[i] = joinColumns<Pixel>(block_ + at * vec2Rows + i * perVector);
      }
      transpose8(rows);
      const int64_t pixels = smaller(waiting_ - at, perVector);
      for (int64_t i = 0; i < vec2Rows; ++i) {
        if (LineSums::order[i] < rows_) writePixels(out_[LineSums::order[i]] + written_ + at, rows[i], pixels);
      }
    }
    written_ += waiting_;
    waiting_ = 0;
  }

 private:
  static constexpr int64_t perVector = int64_t{sizeof(Vec) / sizeof(Pixel)};
  static constexpr int64_t capacity = 128;

  KIP_INLINE static void writePixels(Pixel* to, Vec pixels, int64_t count) {
    if (count == perVector) {
      store(to, pixels);
    } else {
      Pixel buffer[size_t{perVector}];
      store(buffer, pixels);
      std::memcpy(to, buffer, static_cast<size_t>(count) * sizeof(Pixel));
    }
  }

  LineSums sums_;
  int64_t box_, sample_, outputs_;
  Pixel* const* out_;
  int64_t rows_;
  int64_t toSkip_;       // columns until the next output
  int64_t waiting_ = 0;  // outputs in the block
  int64_t written_ = 0;
  alignas(32) int32_t block_[size_t{capacity * vec2Rows}];
};

// The working memory: the sums of all blocks, then columns of the line: zeros or those that were before, the left pad,
// the piece at hand, the right pad.
int64_t sumsSize(const Vec2Line& line) {
  return (line.width + vec2Block - 1) / vec2Block * 3 * vec2Block;
}
int64_t historyWidth(const Vec2Line& line) {
  return 3 * line.box + vec2Block;
}
int64_t pieceWidth(const Vec2Line& line) {
  constexpr int64_t least = 256;  // such a piece stays in the first-level cache
  const int64_t width = line.leftPad < least ? least : line.leftPad;
  return (width + vec2Block - 1) / vec2Block * vec2Block;
}

// The steps for columns `first` to `first + columns`, to the line from `start` on.
KIP_INLINE void addColumns(const Vec2Line& line, const Vec2Step* steps, int64_t count, int64_t first, int64_t columns,
                           int32_t* sums, int32_t* start) {
  constexpr int64_t prefetchDistance = 256;
  alignas(32) int32_t rows[size_t{(vec2Rows + 1) * vec2Block}] = {};
  for (int64_t at = 0; at < columns; at += vec2Block, sums += 3 * vec2Block) {
    // the last block ends with the row and has sums of its own for the columns that it shares with the one before
    const int64_t column = smaller(first + at, line.width - vec2Block);
    const int64_t ahead = smaller(column + prefetchDistance, line.width - 1);
    line.isShort ? addBlock<true>(steps, count, column, ahead, sums, rows)
                 : addBlock<false>(steps, count, column, ahead, sums, rows);
    if (start != nullptr) transposeBlock(rows, start + (column - first) * vec2Rows);
  }
}

// One reflection, zeros beyond. `end` follows the last column.
KIP_INLINE void mirrorLeft(const Vec2Line& line, int32_t* start) {
  for (int64_t i = 0; i < smaller(line.leftPad, line.width); ++i) {
    store(start - (i + 1) * vec2Rows, load(start + i * vec2Rows));
  }
}
KIP_INLINE void mirrorRight(const Vec2Line& line, int32_t* end) {
  for (int64_t i = 0; i < line.rightPad; ++i) {
    store(end + i * vec2Rows, i < line.width ? load(end - (i + 1) * vec2Rows) : _mm256_setzero_si256());
  }
}

template <typename LineSums, typename Pixel>
void smoothRows(const Vec2Line& line, const Vec2Step* steps, int64_t count, int32_t* memory, Pixel* const* out) {
  int64_t rows = 0;
  for (int64_t i = 0; i < count; ++i) rows += steps[i].isOutput ? 1 : 0;
  if (rows == 0) return addColumns(line, steps, count, 0, line.width, memory, nullptr);

  RowWriter<LineSums, Pixel> writer(line, out, rows);
  const int64_t history = historyWidth(line);
  const int64_t piece = pieceWidth(line);
  int32_t* const before = memory + sumsSize(line);
  int32_t* const start = before + (history + line.leftPad) * vec2Rows;
  std::memset(before, 0, static_cast<size_t>(start - before) * sizeof(int32_t));
  for (int64_t first = 0; first < line.width; first += piece) {
    const int64_t columns = smaller(piece, line.width - first);
    addColumns(line, steps, count, first, columns, memory + first * 3, start);
    const int64_t leftPad = first == 0 ? line.leftPad : 0;
    if (first == 0) mirrorLeft(line, start);
    if (first + columns == line.width) {
      mirrorRight(line, start + columns * vec2Rows);
      writer.take(start - leftPad * vec2Rows, leftPad + columns + line.rightPad);
    } else {
      writer.take(start - leftPad * vec2Rows, leftPad + columns);
      std::memmove(start - history * vec2Rows, start + (columns - history) * vec2Rows,
                   static_cast<size_t>(history * vec2Rows) * sizeof(int32_t));
    }
  }
  writer.flush();
}

template <typename Pixel>
void smoothRows(const Vec2Line& line, const Vec2Step* steps, int64_t count, int32_t* memory, Pixel* const* out) {
  switch (line.sums) {
    case Vec2Sums::none:
      return smoothRows<NoSums>(line, steps, count, memory, out);
    case Vec2Sums::integer:
      return smoothRows<IntegerSums>(line, steps, count, memory, out);
    case Vec2Sums::narrow:
      return smoothRows<NarrowSums>(line, steps, count, memory, out);
    case Vec2Sums::wide:
      return smoothRows<WideSums>(line, steps, count, memory, out);
  }
}

}  // namespace

int64_t vec2MemorySize(const Vec2Line& line) {
  return sumsSize(line) + (historyWidth(line) + line.leftPad + pieceWidth(line) + line.rightPad) * vec2Rows;
}

void vec2SmoothRows8(const Vec2Line& line, const Vec2Step* steps, int64_t count, int32_t* memory, uint8_t* const* out) {
  smoothRows(line, steps, count, memory, out);
}

void vec2SmoothRows16(const Vec2Line& line, const Vec2Step* steps, int64_t count, int32_t* memory,
                      uint16_t* const* out) {
  smoothRows(line, steps, count, memory, out);
}

}  // namespace kip
