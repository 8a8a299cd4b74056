// SPDX-License-Identifier: Apache-2.0
// Weights 1, 3, 6, 7, 6, 3, 1 along either axis, which are three boxes of 3; 729 in all. Source rows are summed down
// the columns into a line of 16-bit sums. A vector walks along the line in two places at once, one in either half, so
// that neighbouring columns are a shift within the halves away.
#include "gauss/small_sigma_avx2.hpp"

namespace kip {

namespace {

constexpr int64_t taps = 7;
constexpr int64_t margin = 64;  // of the line
constexpr int64_t step = 8;     // columns of the line at once, in either place

// Sums down the columns are lowered so that two boxes of them fit in 16 bits with a sign.
constexpr int32_t offset = 13 * 256;
// A division by 729: times 11507, shifted right by 23.
constexpr int32_t reciprocal = 11507;

// ---- down the columns

template <Vec Unpack(Vec, Vec)>
KIP_INLINE Vec weigh(const Vec (&rows)[size_t{taps}]) {
  const Vec sums01 = weighPairs8<1, 3>(Unpack(rows[0], rows[1]));
  const Vec sums23 = weighPairs8<6, 7>(Unpack(rows[2], rows[3]));
  const Vec sums45 = weighPairs8<6, 3>(Unpack(rows[4], rows[5]));
  const Vec sums6 = Unpack(rows[6], _mm256_set1_epi8(static_cast<int8_t>(-offset / 256)));
  return _mm256_add_epi16(_mm256_add_epi16(sums01, sums23), _mm256_add_epi16(sums45, sums6));
}
KIP_INLINE Vec unpackLow(Vec a, Vec b) {
  return _mm256_unpacklo_epi8(a, b);
}
KIP_INLINE Vec unpackHigh(Vec a, Vec b) {
  return _mm256_unpackhi_epi8(a, b);
}

KIP_INLINE void sumColumns(const Sigma2Row& row, int64_t column, int16_t* to) {
  Vec rows[size_t{taps}];
  for (int64_t i = 0; i < taps; ++i) rows[i] = loadOnce(row.rows[i] + column);
  const Vec low = weigh<unpackLow>(rows);
  const Vec high = weigh<unpackHigh>(rows);
  storeHalves(to, to + 16, low);
  storeHalves(to + 8, to + 24, high);
}

// Places `from` to `to` of the line, mirrored at both ends; the first one at `line`.
KIP_INLINE void fillLine(const SmallSigmaRequest& request, const Sigma2Row& row, int64_t from, int64_t to,
                         int16_t* line) {
  const Sigma2Row local = row;
  const int64_t width = request.width;
  const int64_t shift = from - request.leftPad;
  const int64_t begin = shift < 0 ? 0 : shift;
  const int64_t end = smaller(to - request.leftPad, width);
  int16_t* const column = line - shift;
  for (int64_t c = begin; c + group <= end; c += group) {
    _mm_prefetch(local.next + c, _MM_HINT_T0);
    sumColumns(local, c, column + c);
  }
  if ((end - begin) % group != 0) sumColumns(local, end - group, column + (end - group));
  for (int64_t c = shift; c < 0; ++c) column[c] = column[-c - 1];
  for (int64_t c = width; c < to - request.leftPad; ++c) column[c] = column[2 * width - 1 - c];
}

// ---- along the line

// The columns that come `Count` later; `next` continues `line`.
template <int Count>
KIP_INLINE Vec later(Vec line, Vec next) {
  return _mm256_alignr_epi8(next, line, 2 * Count);
}
KIP_INLINE Vec sum3(Vec a, Vec b, Vec c) {
  return _mm256_add_epi16(_mm256_add_epi16(a, b), c);
}

// Every box is a vector behind what it sums.
class Along {
 public:
  KIP_INLINE Along(const int16_t* left, const int16_t* right, bool isRounded)
      : left_(left + step),
        right_(right + step),
        start_(_mm256_set1_epi32((27 * offset + (isRounded ? 364 : 0)) * reciprocal)),
        line_(loadHalves(left, right)) {
    next();
    next();
  }

  // The next results in either place.
  KIP_INLINE Vec next() {
    const Vec line = loadHalves(left_, right_);
    const Vec one = sum3(line_, later<1>(line_, line), later<2>(line_, line));
    const Vec two = sum3(one_, later<1>(one_, one), later<2>(one_, one));
    // the third box and the division, of even and of odd columns; they have the two columns in the middle in common
    const Vec both = _mm256_set1_epi32(reciprocal << 16 | reciprocal);
    const Vec low = _mm256_set1_epi32(reciprocal);
    const Vec high = _mm256_set1_epi32(reciprocal << 16);
    const Vec middle = _mm256_add_epi32(_mm256_madd_epi16(later<1>(two_, two), both), start_);
    const Vec even = _mm256_add_epi32(_mm256_madd_epi16(two_, low), middle);
    const Vec odd = _mm256_add_epi32(_mm256_madd_epi16(later<2>(two_, two), high), middle);
    left_ += step;
    right_ += step;
    line_ = line;
    one_ = one;
    two_ = two;
    return _mm256_blend_epi16(_mm256_srli_epi32(even, 23), _mm256_srli_epi32(odd, 7), 0xAA);
  }

 private:
  const int16_t* left_;
  const int16_t* right_;
  Vec start_;
  Vec line_;
  Vec one_ = _mm256_setzero_si256();
  Vec two_ = _mm256_setzero_si256();
};

// `count` results, at least a group. What the two places have in common in the middle is written twice.
KIP_INLINE void walk(const int16_t* line, int64_t count, bool isRounded, uint8_t* to) {
  const int64_t length = (count + group - 1) / group * (group / 2);
  const int64_t right = count - length;
  Along along(line, line + right, isRounded);
  for (int64_t at = 0; at < length; at += 2 * step) {
    const Vec first = along.next();
    const Vec second = along.next();
    storeHalves(to + at, to + right + at, _mm256_packus_epi16(first, second));
  }
}

template <Pick P>
void smoothRow(const SmallSigmaRequest& request, const Sigma2Row& row) {
  alignas(64) int16_t buffer[size_t{mostWaiting + 2 * margin}];
  uint8_t results[size_t{mostWaiting + 2 * group}];
  // source columns lie on whole vectors
  int16_t* const line = buffer + margin - request.leftPad;
  const bool isRounded = request.isRounded;
  const int64_t places = (request.outputs - 1) * request.sample + 1;
  for (int64_t from = 0; from < places; from += mostWaiting) {
    const int64_t count = smaller(mostWaiting, places - from);
    fillLine(request, row, from, from + count + taps - 1, line);
    if (P == Pick::all && !request.isScaled && count >= group) {
      walk(line, count, isRounded, row.out + from);
      continue;
    }
    walk(line, count < group ? group : count, isRounded, results);
    if (request.isScaled) {
      scaleBytes(results, count, request.scale, [&](__m256 values) {
        constexpr int nearest = _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC;
        return _mm256_cvttps_epi32(isRounded ? _mm256_round_ps(values, nearest) : values);
      });
    }
    writePicked<P>(request, results, from, count, row.out);
  }
}

}  // namespace

namespace KIP_LANES {
extern const SmallSigmaKernel<Sigma2Row> sigma2 = {smoothRow<Pick::all>, smoothRow<Pick::even>, smoothRow<Pick::any>};
}

}  // namespace kip
