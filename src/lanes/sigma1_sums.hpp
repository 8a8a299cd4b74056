// SPDX-License-Identifier: Apache-2.0
// Only for AVX2 kernel files for sigma 1, whose weights are 1, 3, 3, 1 along either axis, 64 in all: source rows are
// summed along the row from bytes, thirty-two columns at a time, and those sums down the columns while several output
// rows take shape.
#pragma once

#include "lanes/lanes.hpp"

namespace kip {

namespace {

// Sixteen columns of the source from anywhere, mirrored at the ends of its rows.
class Columns {
 public:
  KIP_INLINE Columns(int64_t column, int64_t width)
      : first_(column < 0 ? 0 : smaller(column, width - 16)), mirrored_(mirror(column - first_)) {}
  KIP_INLINE __m128i operator()(const uint8_t* row) const {
    return _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row + first_)), mirrored_);
  }

 private:
  // Where columns shift, shift + 1, ... are among sixteen, below 0 and above 15 mirrored; those further away anywhere.
  KIP_INLINE static __m128i mirror(int64_t shift) {
    const __m128i counting = _mm_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    __m128i at = _mm_add_epi8(counting, _mm_set1_epi8(static_cast<int8_t>(shift)));
    at = _mm_xor_si128(at, _mm_cmpgt_epi8(_mm_setzero_si128(), at));
    return _mm_min_epi8(at, _mm_sub_epi8(_mm_set1_epi8(31), at));
  }

  int64_t first_;
  __m128i mirrored_;
};

// The source columns that thirty-two results need, four vectors of them: of all places the columns under the kernel's
// four taps; of every second place, in either half, those under the first two taps and those under the last two.
template <bool IsEven>
constexpr int64_t offsets[4] = {0, 1, 2, 3};
template <>
constexpr int64_t offsets<true>[4] = {0, 2, 32, 34};

template <bool IsEven>
struct Inside {
  int64_t column;
  KIP_INLINE Vec operator()(const uint8_t* row, int i) const { return load(row + column + offsets<IsEven>[i]); }
};

template <bool IsEven>
class AtEdge {
 public:
  KIP_INLINE AtEdge(int64_t column, int64_t width)
      : vectors_{{column + offsets<IsEven>[0], width},
                 {column + offsets<IsEven>[1], width},
                 {column + offsets<IsEven>[2], width},
                 {column + offsets<IsEven>[3], width}} {}
  KIP_INLINE Vec operator()(const uint8_t* row, int i) const {
    return _mm256_set_m128i(vectors_[i].high(row), vectors_[i].low(row));
  }

 private:
  struct Columns32 {
    Columns low, high;
    KIP_INLINE Columns32(int64_t column, int64_t width) : low(column, width), high(column + 16, width) {}
  };
  Columns32 vectors_[4];
};

// 1, 3, 3, 1 as three sums of two, in lanes of 16 bits or 32.
struct Add16 {
  KIP_INLINE static Vec add(Vec a, Vec b) { return _mm256_add_epi16(a, b); }
};
struct Add32 {
  KIP_INLINE static Vec add(Vec a, Vec b) { return _mm256_add_epi32(a, b); }
};
template <typename Add>
class DownBy {
 public:
  KIP_INLINE Vec add(Vec sums) {
    const Vec twos = Add::add(sums, sums_);
    const Vec threes = Add::add(twos, twos_);
    const Vec fours = Add::add(threes, threes_);
    sums_ = sums;
    twos_ = twos;
    threes_ = threes;
    return fours;
  }

 private:
  Vec sums_ = _mm256_setzero_si256();
  Vec twos_ = _mm256_setzero_si256();
  Vec threes_ = _mm256_setzero_si256();
};
using Down = DownBy<Add16>;

// A division by 64: (sums * 2^9 + 2^14) >> 15 rounds.
template <bool IsRounded>
KIP_INLINE Vec divide(Vec sums) {
  return IsRounded ? _mm256_mulhrs_epi16(sums, _mm256_set1_epi16(512)) : _mm256_srli_epi16(sums, 6);
}

// Sums along a row of thirty-two results. Those of all places come apart as the unpacked bytes do, and packing puts
// them together again.
struct RowSums {
  Vec low, high;
};
template <bool IsEven>
KIP_INLINE RowSums sumRow(Vec a, Vec b, Vec c, Vec d) {
  const Vec w13 = _mm256_set1_epi16(0x0301);
  const Vec w31 = _mm256_set1_epi16(0x0103);
  if constexpr (IsEven) {
    return {_mm256_add_epi16(_mm256_maddubs_epi16(a, w13), _mm256_maddubs_epi16(b, w31)),
            _mm256_add_epi16(_mm256_maddubs_epi16(c, w13), _mm256_maddubs_epi16(d, w31))};
  } else {
    return {_mm256_add_epi16(_mm256_maddubs_epi16(_mm256_unpacklo_epi8(a, b), w13),
                             _mm256_maddubs_epi16(_mm256_unpacklo_epi8(d, c), w13)),
            _mm256_add_epi16(_mm256_maddubs_epi16(_mm256_unpackhi_epi8(a, b), w13),
                             _mm256_maddubs_epi16(_mm256_unpackhi_epi8(d, c), w13))};
  }
}

}  // namespace

}  // namespace kip
