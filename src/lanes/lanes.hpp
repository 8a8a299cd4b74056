// SPDX-License-Identifier: Apache-2.0
// Only for kernel files that are compiled once for 128-bit vectors (SSE2) and once for 256-bit ones (AVX2): one text
// for both. Everything is in an unnamed namespace and inlined, so that no object holds code that another could use in
// its place. Vectors of 256 bits are two lanes of 128 bits, and unpacking stays within them.
#pragma once

#include <immintrin.h>

#include <cstdint>

#define KIP_INLINE [[gnu::always_inline]] inline
#ifdef __AVX2__
#define KIP_MM(operation) _mm256_##operation
#else
#define KIP_MM(operation) _mm_##operation
#endif

namespace kip {

namespace {

#ifdef __AVX2__
using Vec = __m256i;
using VecFloat = __m256;
using VecDouble = __m256d;
#else
using Vec = __m128i;
using VecFloat = __m128;
using VecDouble = __m128d;
#endif
constexpr int64_t lanes = sizeof(Vec) / 4;  // of 32 bits

KIP_INLINE int64_t smaller(int64_t a, int64_t b) {
  return a < b ? a : b;
}

// ---- memory

#ifdef __AVX2__
KIP_INLINE Vec load(const void* from) {
  return _mm256_loadu_si256(static_cast<const Vec*>(from));
}
KIP_INLINE void store(void* to, Vec value) {
  _mm256_storeu_si256(static_cast<Vec*>(to), value);
}
// Sixteen bytes to each half.
KIP_INLINE Vec loadHalves(const void* low, const void* high) {
  return _mm256_loadu2_m128i(static_cast<const __m128i*>(high), static_cast<const __m128i*>(low));
}
#else
KIP_INLINE Vec load(const void* from) {
  return _mm_loadu_si128(static_cast<const Vec*>(from));
}
KIP_INLINE void store(void* to, Vec value) {
  _mm_storeu_si128(static_cast<Vec*>(to), value);
}
// There is but one half.
KIP_INLINE Vec loadHalves(const void* low, const void*) {
  return load(low);
}
#endif

// ---- bits

KIP_INLINE Vec zeros() {
#ifdef __AVX2__
  return _mm256_setzero_si256();
#else
  return _mm_setzero_si128();
#endif
}
KIP_INLINE Vec bitAnd(Vec a, Vec b) {
#ifdef __AVX2__
  return _mm256_and_si256(a, b);
#else
  return _mm_and_si128(a, b);
#endif
}
KIP_INLINE Vec bitOr(Vec a, Vec b) {
#ifdef __AVX2__
  return _mm256_or_si256(a, b);
#else
  return _mm_or_si128(a, b);
#endif
}
// yes where the mask's bits are set, else no.
KIP_INLINE Vec select(Vec mask, Vec yes, Vec no) {
#ifdef __AVX2__
  return _mm256_blendv_epi8(no, yes, mask);
#else
  return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
#endif
}
// The bits of a mask's bytes, none or all of them.
KIP_INLINE int bitsOf(Vec mask) {
  return KIP_MM(movemask_epi8)(mask);
}
constexpr int allBits = sizeof(Vec) == 32 ? -1 : 0xFFFF;

// Logical shifts whose count is known at run time; counts past the width give 0.
#ifdef __AVX2__
using Shift = Vec;
KIP_INLINE Shift shift32By(int32_t count) {
  return _mm256_set1_epi32(count);
}
KIP_INLINE Shift shift64By(int32_t count) {
  return _mm256_set1_epi64x(count);
}
KIP_INLINE Vec shiftRight32(Vec value, Shift count) {
  return _mm256_srlv_epi32(value, count);
}
KIP_INLINE Vec shiftLeft32(Vec value, Shift count) {
  return _mm256_sllv_epi32(value, count);
}
KIP_INLINE Vec shiftRight64(Vec value, Shift count) {
  return _mm256_srlv_epi64(value, count);
}
KIP_INLINE Vec shiftLeft64(Vec value, Shift count) {
  return _mm256_sllv_epi64(value, count);
}
#else
using Shift = __m128i;
KIP_INLINE Shift shift32By(int32_t count) {
  return _mm_cvtsi64_si128(count);
}
KIP_INLINE Shift shift64By(int32_t count) {
  return _mm_cvtsi64_si128(count);
}
KIP_INLINE Vec shiftRight32(Vec value, Shift count) {
  return _mm_srl_epi32(value, count);
}
KIP_INLINE Vec shiftLeft32(Vec value, Shift count) {
  return _mm_sll_epi32(value, count);
}
KIP_INLINE Vec shiftRight64(Vec value, Shift count) {
  return _mm_srl_epi64(value, count);
}
KIP_INLINE Vec shiftLeft64(Vec value, Shift count) {
  return _mm_sll_epi64(value, count);
}
#endif

// ---- products

// The low 32 bits.
KIP_INLINE Vec multiply32(Vec a, Vec b) {
#ifdef __AVX2__
  return _mm256_mullo_epi32(a, b);
#else
  const Vec even = _mm_mul_epu32(a, b);
  const Vec odd = _mm_mul_epu32(_mm_srli_epi64(a, 32), _mm_srli_epi64(b, 32));
  return _mm_unpacklo_epi32(_mm_shuffle_epi32(even, 0x08), _mm_shuffle_epi32(odd, 0x08));
#endif
}
// The low 64 bits of 64-bit values times one of less than 2^32.
KIP_INLINE Vec multiply64(Vec value, Vec factor) {
  const Vec high = KIP_MM(mul_epu32)(KIP_MM(srli_epi64)(value, 32), factor);
  return KIP_MM(add_epi64)(KIP_MM(mul_epu32)(value, factor), KIP_MM(slli_epi64)(high, 32));
}

// ---- eight lanes of 64 bits: the first and the second two of each half of a vector of 32-bit lanes

struct Wide {
  Vec low, high;
};
struct Doubles {
  VecDouble low, high;
};

KIP_INLINE Wide widen(Vec value, Vec upper) {
  return {KIP_MM(unpacklo_epi32)(value, upper), KIP_MM(unpackhi_epi32)(value, upper)};
}
KIP_INLINE Wide widenUnsigned(Vec value) {
  return widen(value, zeros());
}
KIP_INLINE Wide widenSigned(Vec value) {
  return widen(value, KIP_MM(srai_epi32)(value, 31));
}
KIP_INLINE Wide operator+(Wide a, Wide b) {
  return {KIP_MM(add_epi64)(a.low, b.low), KIP_MM(add_epi64)(a.high, b.high)};
}
KIP_INLINE Wide operator-(Wide a, Wide b) {
  return {KIP_MM(sub_epi64)(a.low, b.low), KIP_MM(sub_epi64)(a.high, b.high)};
}
KIP_INLINE Wide operator&(Wide a, Vec bits) {
  return {bitAnd(a.low, bits), bitAnd(a.high, bits)};
}
KIP_INLINE Wide operator*(Wide a, Vec factor) {
  return {multiply64(a.low, factor), multiply64(a.high, factor)};
}
KIP_INLINE Wide operator>>(Wide a, Shift count) {
  return {shiftRight64(a.low, count), shiftRight64(a.high, count)};
}
// The low 32 bits of each.
KIP_INLINE Vec narrow(Wide a) {
#ifdef __AVX2__
  return _mm256_castps_si256(_mm256_shuffle_ps(_mm256_castsi256_ps(a.low), _mm256_castsi256_ps(a.high), 0x88));
#else
  return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(a.low), _mm_castsi128_ps(a.high), 0x88));
#endif
}

KIP_INLINE Doubles operator+(Doubles a, Doubles b) {
  return {KIP_MM(add_pd)(a.low, b.low), KIP_MM(add_pd)(a.high, b.high)};
}
KIP_INLINE Doubles operator-(Doubles a, Doubles b) {
  return {KIP_MM(sub_pd)(a.low, b.low), KIP_MM(sub_pd)(a.high, b.high)};
}
KIP_INLINE Doubles operator*(Doubles a, Doubles b) {
  return {KIP_MM(mul_pd)(a.low, b.low), KIP_MM(mul_pd)(a.high, b.high)};
}
KIP_INLINE Doubles operator/(Doubles a, Doubles b) {
  return {KIP_MM(div_pd)(a.low, b.low), KIP_MM(div_pd)(a.high, b.high)};
}
KIP_INLINE Doubles all(double value) {
  return {KIP_MM(set1_pd)(value), KIP_MM(set1_pd)(value)};
}
// Not-a-number gives the limit.
KIP_INLINE Doubles limited(Doubles a, double limit) {
  return {KIP_MM(min_pd)(a.low, KIP_MM(set1_pd)(limit)), KIP_MM(min_pd)(a.high, KIP_MM(set1_pd)(limit))};
}
// The magic number 2^52: an integer below it in the low bits of its own is the double 2^52 + integer.
constexpr double magic = 4503599627370496.0;
KIP_INLINE VecDouble asDoubles(Vec bits) {
#ifdef __AVX2__
  return _mm256_castsi256_pd(bits);
#else
  return _mm_castsi128_pd(bits);
#endif
}
// Integers below 2^52.
KIP_INLINE Doubles toDoubles(Wide a) {
  const Vec bits = KIP_MM(set1_epi64x)(0x4330000000000000);
  return Doubles{asDoubles(bitOr(a.low, bits)), asDoubles(bitOr(a.high, bits))} - all(magic);
}
// Truncated, to 32-bit lanes; what does not fit gives any value.
KIP_INLINE Vec truncate(Doubles a) {
#ifdef __AVX2__
  const Vec halves = _mm256_set_m128i(_mm256_cvttpd_epi32(a.high), _mm256_cvttpd_epi32(a.low));
  return _mm256_permute4x64_epi64(halves, 0xD8);
#else
  return _mm_unpacklo_epi64(_mm_cvttpd_epi32(a.low), _mm_cvttpd_epi32(a.high));
#endif
}
// Where they are equal, for 32-bit lanes.
KIP_INLINE Vec equal(Doubles a, Doubles b) {
#ifdef __AVX2__
  return narrow({_mm256_castpd_si256(_mm256_cmp_pd(a.low, b.low, _CMP_EQ_OQ)),
                 _mm256_castpd_si256(_mm256_cmp_pd(a.high, b.high, _CMP_EQ_OQ))});
#else
  return narrow({_mm_castpd_si128(_mm_cmpeq_pd(a.low, b.low)), _mm_castpd_si128(_mm_cmpeq_pd(a.high, b.high))});
#endif
}

// ---- sums and neighbours

KIP_INLINE Vec add16(Vec a, Vec b) {
  return KIP_MM(add_epi16)(a, b);
}
KIP_INLINE Vec add32(Vec a, Vec b) {
  return KIP_MM(add_epi32)(a, b);
}
KIP_INLINE Vec sub32(Vec a, Vec b) {
  return KIP_MM(sub_epi32)(a, b);
}
KIP_INLINE Vec all32(int32_t value) {
  return KIP_MM(set1_epi32)(value);
}
KIP_INLINE Vec all64(int64_t value) {
  return KIP_MM(set1_epi64x)(value);
}
// All bits of a lane of 16 bits are its sign.
KIP_INLINE Vec signs16(Vec a) {
  return KIP_MM(srai_epi16)(a, 15);
}
KIP_INLINE Vec interleaveLow16(Vec a, Vec b) {
  return KIP_MM(unpacklo_epi16)(a, b);
}
KIP_INLINE Vec interleaveHigh16(Vec a, Vec b) {
  return KIP_MM(unpackhi_epi16)(a, b);
}
// In 32-bit lanes: the products of pairs of 16-bit lanes, added.
KIP_INLINE Vec multiplyPairs16(Vec a, Vec b) {
  return KIP_MM(madd_epi16)(a, b);
}
// Signed lanes of 32 bits, not above a limit of 16 bits.
template <int Limit>
KIP_INLINE Vec limited16(Vec value) {
  const Vec saturated = KIP_MM(min_epi16)(KIP_MM(packs_epi32)(value, value), KIP_MM(set1_epi16)(Limit));
  return KIP_MM(unpacklo_epi16)(saturated, zeros());
}

// The third difference of a block of bytes, in 16 bits: its first half and its second half of each vector half.
struct Words {
  Vec low, high;
};

#ifdef __AVX2__
KIP_INLINE Vec bytePairs(int first, int second) {
  return _mm256_set1_epi16(static_cast<int16_t>((second & 0xFF) << 8 | (first & 0xFF)));
}
KIP_INLINE Words difference(Vec a, Vec b, Vec c, Vec d) {
  const auto third = [](Vec ab, Vec cd) {
    return _mm256_add_epi16(_mm256_maddubs_epi16(ab, bytePairs(1, -3)), _mm256_maddubs_epi16(cd, bytePairs(3, -1)));
  };
  return {third(_mm256_unpacklo_epi8(a, b), _mm256_unpacklo_epi8(c, d)),
          third(_mm256_unpackhi_epi8(a, b), _mm256_unpackhi_epi8(c, d))};
}
#else
KIP_INLINE Words difference(Vec a, Vec b, Vec c, Vec d) {
  const auto third = [](Vec a16, Vec b16, Vec c16, Vec d16) {
    const Vec inner = _mm_sub_epi16(c16, b16);
    return _mm_add_epi16(_mm_sub_epi16(a16, d16), _mm_add_epi16(inner, _mm_add_epi16(inner, inner)));
  };
  const Vec zero = zeros();
  return {third(_mm_unpacklo_epi8(a, zero), _mm_unpacklo_epi8(b, zero), _mm_unpacklo_epi8(c, zero),
                _mm_unpacklo_epi8(d, zero)),
          third(_mm_unpackhi_epi8(a, zero), _mm_unpackhi_epi8(b, zero), _mm_unpackhi_epi8(c, zero),
                _mm_unpackhi_epi8(d, zero))};
}
#endif
// What comes next of a row; where that is past the row nothing is read.
KIP_INLINE void prefetch(const uint8_t* at) {
  _mm_prefetch(at + 256, _MM_HINT_T0);
}

// Neighbouring columns of values as pixels in 32 bits, with the low bits of each.
KIP_INLINE Vec lowWords(Vec a, Vec b) {
#ifdef __AVX2__
  return _mm256_blend_epi16(a, _mm256_slli_epi32(b, 16), 0xAA);
#else
  return bitOr(bitAnd(a, _mm_set1_epi32(0xFFFF)), _mm_slli_epi32(b, 16));
#endif
}
KIP_INLINE Vec lowBytes(Vec even, Vec odd) {
  return bitOr(bitAnd(even, KIP_MM(set1_epi16)(0xFF)), KIP_MM(slli_epi16)(odd, 8));
}

#ifdef __AVX2__
// Eight doubles, as the lanes follow one another.
KIP_INLINE Doubles fromSigned(Vec value) {
  return {_mm256_cvtepi32_pd(_mm256_castsi256_si128(value)), _mm256_cvtepi32_pd(_mm256_extracti128_si256(value, 1))};
}
KIP_INLINE Vec toSigned(Doubles a) {
  return _mm256_set_m128i(_mm256_cvttpd_epi32(a.high), _mm256_cvttpd_epi32(a.low));
}
// Unsigned sums times a multiplier, shifted right by the shift, of at least 32.
KIP_INLINE Vec divide32(Vec sum, Vec multiplier, Vec evenShift, Vec oddShift) {
  const Vec even = _mm256_mul_epu32(sum, multiplier);
  const Vec odd = _mm256_mul_epu32(_mm256_shuffle_epi32(sum, 0xF5), multiplier);
  return _mm256_blend_epi32(_mm256_srlv_epi64(even, evenShift), _mm256_srlv_epi64(odd, oddShift), 0xAA);
}
#endif

// ---- rows to columns, for groups of `lanes` rows

// Four neighbours of every row, whose quads are `pitch` apart, become four vectors, each a column: first, third,
// second, fourth at `to`, `to` + 2 lanes, ... in the order of columns.
KIP_INLINE void transposeQuads(const int32_t* rows, int64_t pitch, Vec (&column)[4]) {
  Vec row[4];
  for (int64_t j = 0; j < 4; ++j) row[j] = loadHalves(rows + j * pitch, rows + (j + 4) * pitch);
  const Vec low01 = KIP_MM(unpacklo_epi32)(row[0], row[1]);
  const Vec low23 = KIP_MM(unpacklo_epi32)(row[2], row[3]);
  const Vec high01 = KIP_MM(unpackhi_epi32)(row[0], row[1]);
  const Vec high23 = KIP_MM(unpackhi_epi32)(row[2], row[3]);
  column[0] = KIP_MM(unpacklo_epi64)(low01, low23);
  column[1] = KIP_MM(unpackhi_epi64)(low01, low23);
  column[2] = KIP_MM(unpacklo_epi64)(high01, high23);
  column[3] = KIP_MM(unpackhi_epi64)(high01, high23);
}

// A square of 32-bit lanes.
KIP_INLINE void transpose(Vec (&rows)[lanes]) {
  Vec pairs[lanes];
  for (int64_t i = 0; i < lanes / 2; ++i) {
    pairs[2 * i] = KIP_MM(unpacklo_epi32)(rows[2 * i], rows[2 * i + 1]);
    pairs[2 * i + 1] = KIP_MM(unpackhi_epi32)(rows[2 * i], rows[2 * i + 1]);
  }
  Vec fours[lanes];
  for (int64_t i = 0; i < lanes / 4; ++i) {
    for (int64_t j = 0; j < 2; ++j) {
      fours[4 * i + 2 * j] = KIP_MM(unpacklo_epi64)(pairs[4 * i + j], pairs[4 * i + j + 2]);
      fours[4 * i + 2 * j + 1] = KIP_MM(unpackhi_epi64)(pairs[4 * i + j], pairs[4 * i + j + 2]);
    }
  }
  for (int64_t i = 0; i < 4; ++i) {
#ifdef __AVX2__
    rows[i] = _mm256_permute2x128_si256(fours[i], fours[i + 4], 0x20);
    rows[i + 4] = _mm256_permute2x128_si256(fours[i], fours[i + 4], 0x31);
#else
    rows[i] = fours[i];
#endif
  }
}

}  // namespace

}  // namespace kip
