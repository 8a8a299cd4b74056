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
