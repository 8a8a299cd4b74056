// SPDX-License-Identifier: Apache-2.0
// Weights 1, 3, 3, 1 along either axis, 64 in all. Thirty-two columns at a time, source rows are summed along the row
// from bytes, and those sums down the columns while several output rows take shape.
#include "simd/vec2_pick.hpp"

namespace kip {

namespace {

constexpr int64_t taps = 4;
constexpr int64_t prefetchDistance = 256;  // columns

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

// 1, 3, 3, 1 as three sums of two.
class Down {
 public:
  KIP_INLINE Vec add(Vec sums) {
    const Vec twos = _mm256_add_epi16(sums, sums_);
    const Vec threes = _mm256_add_epi16(twos, twos_);
    const Vec fours = _mm256_add_epi16(threes, threes_);
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

template <bool IsEven, bool IsRounded, typename LoadColumns>
KIP_INLINE void smoothColumns(const Vec2Sigma1Group& rows, const LoadColumns& loadColumns, int64_t ahead,
                              uint8_t* const* out, int64_t at) {
  Down low;
  Down high;
  int64_t toNext = taps;
  const uint8_t* const* row = rows.rows;
  for (uint8_t* const* const end = out + rows.count; out != end; ++row) {
    _mm_prefetch(*row + ahead, _MM_HINT_T0);
    const RowSums sums =
        sumRow<IsEven>(loadColumns(*row, 0), loadColumns(*row, 1), loadColumns(*row, 2), loadColumns(*row, 3));
    const Vec lows = low.add(sums.low);
    const Vec highs = high.add(sums.high);
    if (--toNext == 0) {
      toNext = rows.distance;
      const Vec bytes = _mm256_packus_epi16(divide<IsRounded>(lows), divide<IsRounded>(highs));
      store(*out++ + at, IsEven ? _mm256_permute4x64_epi64(bytes, 0xD8) : bytes);
    }
  }
}

// Results `from` to `from + count`, at least a group, of all places or of every second one.
template <bool IsEven, bool IsRounded>
void smoothRows(const Vec2Request& request, const Vec2Sigma1Group& rows, int64_t from, int64_t count,
                uint8_t* const* out) {
  constexpr int64_t distance = IsEven ? 2 : 1;
  for (int64_t i = 0; i < count; i += group) {
    const int64_t at = smaller(i, count - group);
    const int64_t column = (from + at) * distance - request.leftPad;
    const int64_t ahead = smaller(column < 0 ? 0 : column + prefetchDistance, request.width - 1);
    if (column >= 0 && column + offsets<IsEven>[3] + group <= request.width) {
      smoothColumns<IsEven, IsRounded>(rows, Inside<IsEven>{column}, ahead, out, at);
    } else {
      smoothColumns<IsEven, IsRounded>(rows, AtEdge<IsEven>(column, request.width), ahead, out, at);
    }
  }
}

template <Pick P>
void smoothGroup(const Vec2Request& request, const Vec2Sigma1Group& rows) {
  constexpr bool isEven = P == Pick::even;
  const auto run = [&](int64_t from, int64_t count, uint8_t* const* out) {
    request.isRounded ? smoothRows<isEven, true>(request, rows, from, count, out)
                      : smoothRows<isEven, false>(request, rows, from, count, out);
  };
  const int64_t results = P == Pick::any ? (request.outputs - 1) * request.sample + 1 : request.outputs;
  if (P != Pick::any && !request.isScaled && results >= group) return run(0, results, rows.out);

  uint8_t waiting[size_t{vec2Sigma1Rows}][size_t{mostWaiting + 2 * group}];
  uint8_t* out[size_t{vec2Sigma1Rows}];
  for (int64_t i = 0; i < vec2Sigma1Rows; ++i) out[i] = waiting[i];
  for (int64_t from = 0; from < results; from += mostWaiting) {
    const int64_t count = smaller(mostWaiting, results - from);
    run(from, count < group ? group : count, out);
    for (int64_t i = 0; i < rows.count; ++i) {
      if (request.isScaled) {
        scaleBytes(out[i], count, request.scale, [](__m256 values) { return _mm256_cvtps_epi32(values); });
      }
      if constexpr (P == Pick::any) {
        writePicked<P>(request, out[i], from, count, rows.out[i]);
      } else {
        std::memcpy(rows.out[i] + from, out[i], static_cast<size_t>(count));
      }
    }
  }
}

}  // namespace

void vec2Sigma1X1(const Vec2Request& request, const Vec2Sigma1Group& rows) {
  smoothGroup<Pick::all>(request, rows);
}
void vec2Sigma1X2(const Vec2Request& request, const Vec2Sigma1Group& rows) {
  smoothGroup<Pick::even>(request, rows);
}
void vec2Sigma1XN(const Vec2Request& request, const Vec2Sigma1Group& rows) {
  smoothGroup<Pick::any>(request, rows);
}

}  // namespace kip
