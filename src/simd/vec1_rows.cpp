// SPDX-License-Identifier: Apache-2.0
// Down the columns, the rows of the source enter with the signs of a third difference, which three running sums turn
// into the vertical sum of three boxes. Four finished rows then go along the row together, one row a lane, through the
// same again. Everything lives in an unnamed namespace: an inline function shared with other files could end up here.
#include "simd/vec1_rows.hpp"

#include <emmintrin.h>

namespace kip {

namespace {

using Vec = __m128i;
constexpr int64_t block = 16;  // columns that enter at once

#define KIP_INLINE [[gnu::always_inline]] inline

KIP_INLINE Vec load(const void* from) {
  return _mm_loadu_si128(static_cast<const Vec*>(from));
}
KIP_INLINE void store(void* to, Vec value) {
  _mm_storeu_si128(static_cast<Vec*>(to), value);
}
KIP_INLINE int64_t smaller(int64_t a, int64_t b) {
  return a < b ? a : b;
}

// ---- down the columns

// The rows that enter and leave the three boxes at one step.
struct Taps {
  const uint8_t* row[4];
};

// The third difference of eight columns: |value| <= 1020.
KIP_INLINE Vec difference(Vec a, Vec b, Vec c, Vec d) {
  const Vec inner = _mm_sub_epi16(c, b);
  return _mm_add_epi16(_mm_sub_epi16(a, d), _mm_add_epi16(inner, _mm_add_epi16(inner, inner)));
}

// Four columns of the second and third sum.
KIP_INLINE void addSecond(Vec firstSum, int32_t* second, const int32_t* from, int32_t* to) {
  const Vec sum = _mm_add_epi32(load(second), firstSum);
  store(second, sum);
  store(to, _mm_add_epi32(load(from), sum));
}

// Eight columns of the three sums.
KIP_INLINE void addDifference(Vec value, int16_t* first, int32_t* second, const int32_t* from, int32_t* to) {
  const Vec sum = _mm_add_epi16(load(first), value);
  store(first, sum);
  const Vec sign = _mm_srai_epi16(sum, 15);
  addSecond(_mm_unpacklo_epi16(sum, sign), second, from, to);
  addSecond(_mm_unpackhi_epi16(sum, sign), second + 4, from + 4, to + 4);
}

// A block of columns. `at`: the first one's place in the sums, `column`: in the rows.
KIP_INLINE void addBlock(const Vec1Request& r, const Taps& taps, int64_t column, int64_t at, const int32_t* from,
                         int32_t* to) {
  const Vec zero = _mm_setzero_si128();
  const Vec a = load(taps.row[0] + column);
  const Vec b = load(taps.row[1] + column);
  const Vec c = load(taps.row[2] + column);
  const Vec d = load(taps.row[3] + column);
  addDifference(difference(_mm_unpacklo_epi8(a, zero), _mm_unpacklo_epi8(b, zero), _mm_unpacklo_epi8(c, zero),
                           _mm_unpacklo_epi8(d, zero)),
                r.first + at, r.second + at, from + at, to + at);
  addDifference(difference(_mm_unpackhi_epi8(a, zero), _mm_unpackhi_epi8(b, zero), _mm_unpackhi_epi8(c, zero),
                           _mm_unpackhi_epi8(d, zero)),
                r.first + at + 8, r.second + at + 8, from + at + 8, to + at + 8);
}

// One row enters; the third sums of `from` grow into those of `to`. The last columns, short of a block, are part of a
// block that ends with the row and has sums of its own.
void addRow(const Vec1Request& r, const Taps& taps, const int32_t* from, int32_t* to) {
  int64_t at = 0;
  for (; at + block <= r.width; at += block) addBlock(r, taps, at, at, from, to);
  if (at == r.width) return;
  if (at != 0) {
    addBlock(r, taps, r.width - block, at, from, to);
    return;
  }
  uint8_t copy[4][block] = {};
  for (int64_t i = 0; i < 4 * r.width; ++i) copy[i % 4][i / 4] = taps.row[i % 4][i / 4];
  addBlock(r, {{copy[0], copy[1], copy[2], copy[3]}}, 0, 0, from, to);
}

// Padded row `index`: mirrored once at either edge of the source rectangle, zero beyond.
const uint8_t* paddedRow(const Vec1Request& r, int64_t index) {
  if (index < 0) return r.zeros;
  int64_t row = index - r.topPad;
  if (row < 0) {
    row = -row - 1;
  } else if (row >= r.height) {
    row = 2 * r.height - 1 - row;
  }
  return row >= 0 && row < r.height ? r.source + row * r.sourceStride : r.zeros;
}

// ---- along the row

// Output rows that wait for each other: their third sums and where they go. With fewer than four, the last one repeats.
struct Group {
  const int32_t* sums[vec1Rows];
  uint8_t* out[vec1Rows];
};

// Four columns of four rows become four vectors, each a column.
KIP_INLINE void transpose(const Group& group, int64_t at, int32_t* line) {
  const Vec r0 = load(group.sums[0] + at);
  const Vec r1 = load(group.sums[1] + at);
  const Vec r2 = load(group.sums[2] + at);
  const Vec r3 = load(group.sums[3] + at);
  const Vec low01 = _mm_unpacklo_epi32(r0, r1);
  const Vec low23 = _mm_unpacklo_epi32(r2, r3);
  const Vec high01 = _mm_unpackhi_epi32(r0, r1);
  const Vec high23 = _mm_unpackhi_epi32(r2, r3);
  store(line, _mm_unpacklo_epi64(low01, low23));
  store(line + 4, _mm_unpackhi_epi64(low01, low23));
  store(line + 8, _mm_unpacklo_epi64(high01, high23));
  store(line + 12, _mm_unpackhi_epi64(high01, high23));
}

// The padded rows of the group; column 0 of the source rectangle is at `line`. What lies in front of the mirrored
// columns is 0 and stays so.
void buildLine(const Vec1Request& r, const Group& group, int32_t* line) {
  const int64_t whole = r.width < block ? block : r.width / block * block;
  for (int64_t at = 0; at < whole; at += 4) transpose(group, at, line + 4 * at);
  if (whole < r.width) {
    int32_t* const last = line + 4 * (r.width - block);
    for (int64_t at = 0; at < block; at += 4) transpose(group, whole + at, last + 4 * at);
  }
  int32_t* const end = line + 4 * r.width;
  for (int64_t i = 0; i < smaller(r.leftPad, r.width); ++i) store(line - 4 * (i + 1), load(line + 4 * i));
  for (int64_t i = 0; i < r.rightPad; ++i) {
    store(end + 4 * i, i < r.width ? load(end - 4 * (i + 1)) : _mm_setzero_si128());
  }
}

// The third difference at a position of the line, at the box width. Fits in 32 signed bits where `Sums64` is needed.
KIP_INLINE Vec difference(const int32_t* at, int64_t box) {
  const Vec inner = _mm_sub_epi32(load(at - 8 * box), load(at - 4 * box));
  return _mm_add_epi32(_mm_sub_epi32(load(at), load(at - 12 * box)), _mm_add_epi32(inner, _mm_add_epi32(inner, inner)));
}

// Running sums of four rows.
class Sums32 {
 public:
  explicit Sums32(const Vec1Request& r) : shift_(_mm_cvtsi32_si128(r.shift)) {}
  KIP_INLINE void add(Vec value) {
    first_ = _mm_add_epi32(first_, value);
    second_ = _mm_add_epi32(second_, first_);
    third_ = _mm_add_epi32(third_, second_);
  }
  KIP_INLINE Vec shifted() const { return _mm_srl_epi32(third_, shift_); }

 private:
  Vec shift_, first_ = {}, second_ = {}, third_ = {};
};

class Sums64 {
 public:
  explicit Sums64(const Vec1Request& r)
      : shift_(_mm_cvtsi32_si128(r.shift)), third_{_mm_set1_epi64x(static_cast<int64_t>(r.half)), third_[0]} {}
  KIP_INLINE void add(Vec value) {
    const Vec sign = _mm_srai_epi32(value, 31);
    add(0, _mm_unpacklo_epi32(value, sign));
    add(1, _mm_unpackhi_epi32(value, sign));
  }
  KIP_INLINE Vec shifted() const {
    const Vec low = _mm_srl_epi64(third_[0], shift_);
    const Vec high = _mm_srl_epi64(third_[1], shift_);
    return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(low), _mm_castsi128_ps(high), _MM_SHUFFLE(2, 0, 2, 0)));
  }

 private:
  KIP_INLINE void add(int half, Vec value) {
    first_[half] = _mm_add_epi64(first_[half], value);
    second_[half] = _mm_add_epi64(second_[half], first_[half]);
    third_[half] = _mm_add_epi64(third_[half], second_[half]);
  }

  Vec shift_, first_[2] = {}, second_[2] = {}, third_[2];
};

// Unsampled values saturate, sampled ones keep their low bits.
template <bool Sampled>
KIP_INLINE Vec narrow32(Vec a, Vec b) {
  if constexpr (!Sampled) return _mm_packs_epi32(a, b);
  return _mm_packs_epi32(_mm_srai_epi32(_mm_slli_epi32(a, 16), 16), _mm_srai_epi32(_mm_slli_epi32(b, 16), 16));
}
template <bool Sampled>
KIP_INLINE Vec narrow16(Vec a, Vec b) {
  const Vec low = _mm_set1_epi16(0xFF);
  return Sampled ? _mm_packus_epi16(_mm_and_si128(a, low), _mm_and_si128(b, low)) : _mm_packus_epi16(a, b);
}

// Walks along the line and gives the four rows' values of one destination column after the other.
template <typename Sums, bool Sampled>
class Walk {
 public:
  Walk(const Vec1Request& r, const int32_t* line)
      : sums_(r),
        at_(line - 4 * r.leftPad),
        box_(r.xBox),
        sample_(r.xSample),
        multiplier_(_mm_set1_epi32(r.multiplier)),
        finalShift_(_mm_cvtsi32_si128(r.finalShift)) {
    for (int64_t i = 3 * (r.xBox - 1); i > 0; --i) advance();
  }
  KIP_INLINE Vec next() {
    advance();
    if constexpr (Sampled) {
      for (; toSkip_ > 0; --toSkip_) advance();
      toSkip_ = sample_ - 1;
    }
    return _mm_srl_epi32(_mm_madd_epi16(sums_.shifted(), multiplier_), finalShift_);
  }
  // Two columns in 16 bits.
  KIP_INLINE Vec nextPair() {
    const Vec left = next();
    return narrow32<Sampled>(left, next());
  }

 private:
  KIP_INLINE void advance() {
    sums_.add(difference(at_, box_));
    at_ += 4;
  }

  Sums sums_;
  const int32_t* at_;
  int64_t box_, sample_, toSkip_ = 0;
  Vec multiplier_, finalShift_;
};

// Eight columns of four rows. A pair holds two columns, four rows each.
template <bool Is16, bool Sampled>
KIP_INLINE void storeColumns(Vec pair01, Vec pair23, Vec pair45, Vec pair67, uint8_t* const (&out)[vec1Rows],
                             int64_t offset) {
  const Vec column04 = _mm_unpacklo_epi16(pair01, pair45);
  const Vec column15 = _mm_unpackhi_epi16(pair01, pair45);
  const Vec column26 = _mm_unpacklo_epi16(pair23, pair67);
  const Vec column37 = _mm_unpackhi_epi16(pair23, pair67);
  const Vec even01 = _mm_unpacklo_epi16(column04, column26);
  const Vec even23 = _mm_unpackhi_epi16(column04, column26);
  const Vec odd01 = _mm_unpacklo_epi16(column15, column37);
  const Vec odd23 = _mm_unpackhi_epi16(column15, column37);
  const Vec row0 = _mm_unpacklo_epi16(even01, odd01);
  const Vec row1 = _mm_unpackhi_epi16(even01, odd01);
  const Vec row2 = _mm_unpacklo_epi16(even23, odd23);
  const Vec row3 = _mm_unpackhi_epi16(even23, odd23);
  if constexpr (Is16) {
    store(out[0] + offset, row0);
    store(out[1] + offset, row1);
    store(out[2] + offset, row2);
    store(out[3] + offset, row3);
  } else {
    const Vec rows01 = narrow16<Sampled>(row0, row1);
    const Vec rows23 = narrow16<Sampled>(row2, row3);
    _mm_storeu_si64(out[0] + offset, rows01);
    _mm_storeu_si64(out[1] + offset, _mm_unpackhi_epi64(rows01, rows01));
    _mm_storeu_si64(out[2] + offset, rows23);
    _mm_storeu_si64(out[3] + offset, _mm_unpackhi_epi64(rows23, rows23));
  }
}

// Sums, converts and stores the group's rows.
template <typename Sums, bool Is16, bool Sampled>
void emit(const Vec1Request& r, const Group& group, const int32_t* line) {
  constexpr int64_t pixelBytes = Is16 ? 2 : 1;
  constexpr int64_t columns = 8;
  Walk<Sums, Sampled> walk(r, line);
  int64_t column = 0;
  for (; column + columns <= r.destinationWidth; column += columns) {
    const Vec pair01 = walk.nextPair();
    const Vec pair23 = walk.nextPair();
    const Vec pair45 = walk.nextPair();
    const Vec pair67 = walk.nextPair();
    storeColumns<Is16, Sampled>(pair01, pair23, pair45, pair67, group.out, column * pixelBytes);
  }
  if (column == r.destinationWidth) return;
  Vec value[columns] = {};
  for (int64_t i = 0; column + i < r.destinationWidth; ++i) value[i] = walk.next();
  uint8_t last[vec1Rows][sizeof(Vec)];
  uint8_t* const rows[vec1Rows] = {last[0], last[1], last[2], last[3]};
  storeColumns<Is16, Sampled>(narrow32<Sampled>(value[0], value[1]), narrow32<Sampled>(value[2], value[3]),
                              narrow32<Sampled>(value[4], value[5]), narrow32<Sampled>(value[6], value[7]), rows, 0);
  for (int64_t row = 0; row < vec1Rows; ++row) {
    for (int64_t i = column * pixelBytes; i < r.destinationWidth * pixelBytes; ++i) {
      group.out[row][i] = last[row][i - column * pixelBytes];
    }
  }
}

// ---- the request

template <typename Sums>
void sumRows(const Vec1Request& r) {
  const auto emitGroup = r.is16 ? (r.xSample == 1 ? emit<Sums, true, false> : emit<Sums, true, true>)
                                : (r.xSample == 1 ? emit<Sums, false, false> : emit<Sums, false, true>);
  int32_t* const line = r.line + 4 * (3 * r.xBox + r.leftPad);
  for (int32_t* at = r.line; at < line; ++at) *at = 0;

  Group group;
  int64_t waiting = 0;
  int64_t finished = 0;
  const int32_t* third = r.third;
  int64_t toGo = 3 * (r.yBox - 1) + 1;
  const int64_t rows = r.topPad + r.height + r.bottomPad;
  for (int64_t row = 0; row < rows; ++row) {
    int32_t* const next = r.third + waiting * r.columns;  // the third sums of the rows that wait are kept
    addRow(r,
           {{paddedRow(r, row), paddedRow(r, row - r.yBox), paddedRow(r, row - 2 * r.yBox),
             paddedRow(r, row - 3 * r.yBox)}},
           third, next);
    third = next;
    if (--toGo > 0) continue;
    toGo = r.ySample;
    uint8_t* const out = static_cast<uint8_t*>(r.destination) + finished++ * r.destinationStride;
    for (int64_t i = waiting; i < vec1Rows; ++i) {
      group.sums[i] = third;
      group.out[i] = out;
    }
    if (++waiting < vec1Rows && row + r.ySample < rows) continue;
    buildLine(r, group, line);
    emitGroup(r, group, line);
    waiting = 0;
  }
}

}  // namespace

void gauss_vec1Rows32(const Vec1Request& request) {
  sumRows<Sums32>(request);
}

void gauss_vec1Rows64(const Vec1Request& request) {
  sumRows<Sums64>(request);
}

}  // namespace kip
