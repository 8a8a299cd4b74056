// SPDX-License-Identifier: Apache-2.0
// The vocabulary of lanes.hpp on x86 processors with AVX2: vectors of 256 bits, two halves.
#pragma once

#include <immintrin.h>

#include <cstdint>

#define KIP_INLINE [[gnu::always_inline]] inline

namespace kip {

namespace {

using Vec = __m256i;
using VecFloat = __m256;
using VecDouble = __m256d;
using Shift = __m256i;
constexpr int64_t halves = 2;

// ---- memory

KIP_INLINE Vec load(const void* from) {
  return _mm256_loadu_si256(static_cast<const Vec*>(from));
}
KIP_INLINE void store(void* to, Vec value) {
  _mm256_storeu_si256(static_cast<Vec*>(to), value);
}
KIP_INLINE Vec loadHalves(const void* low, const void* high) {
  return _mm256_loadu2_m128i(static_cast<const __m128i*>(high), static_cast<const __m128i*>(low));
}
KIP_INLINE Vec loadBytes(const void* from) {
  return _mm256_cvtepu8_epi16(_mm_loadu_si128(static_cast<const __m128i*>(from)));
}
KIP_INLINE void storeBytes(void* to, Vec words) {
  const Vec bytes = _mm256_permute4x64_epi64(_mm256_packus_epi16(words, words), 0xD8);
  _mm_storeu_si128(static_cast<__m128i*>(to), _mm256_castsi256_si128(bytes));
}
KIP_INLINE void storeWords(void* to, Vec value) {
  const Vec words = _mm256_permute4x64_epi64(_mm256_packus_epi32(value, value), 0xD8);
  _mm_storeu_si128(static_cast<__m128i*>(to), _mm256_castsi256_si128(words));
}

// ---- the same for every lane

KIP_INLINE Vec zeros() {
  return _mm256_setzero_si256();
}
KIP_INLINE Vec all8(int32_t value) {
  return _mm256_set1_epi8(static_cast<char>(value));
}
KIP_INLINE Vec all16(int32_t value) {
  return _mm256_set1_epi16(static_cast<int16_t>(value));
}
KIP_INLINE Vec all32(int32_t value) {
  return _mm256_set1_epi32(value);
}
KIP_INLINE Vec all64(int64_t value) {
  return _mm256_set1_epi64x(value);
}
KIP_INLINE VecDouble allDouble(double value) {
  return _mm256_set1_pd(value);
}

// ---- two vectors, lane by lane

#define KIP_OPERATION(name, intrinsic) \
  KIP_INLINE Vec name(Vec a, Vec b) {  \
    return intrinsic(a, b);            \
  }
KIP_OPERATION(bitAnd, _mm256_and_si256)
KIP_OPERATION(bitOr, _mm256_or_si256)
KIP_OPERATION(bitXor, _mm256_xor_si256)
KIP_OPERATION(add16, _mm256_add_epi16)
KIP_OPERATION(add32, _mm256_add_epi32)
KIP_OPERATION(add64, _mm256_add_epi64)
KIP_OPERATION(sub32, _mm256_sub_epi32)
KIP_OPERATION(sub64, _mm256_sub_epi64)
KIP_OPERATION(smaller16, _mm256_min_epi16)
KIP_OPERATION(multiply16, _mm256_mullo_epi16)
KIP_OPERATION(multiply32, _mm256_mullo_epi32)
KIP_OPERATION(multiplyPairs16, _mm256_madd_epi16)
KIP_OPERATION(multiplyEven32, _mm256_mul_epu32)
KIP_OPERATION(equal8, _mm256_cmpeq_epi8)
KIP_OPERATION(equal32, _mm256_cmpeq_epi32)
KIP_OPERATION(greater32, _mm256_cmpgt_epi32)
KIP_OPERATION(interleaveLow8, _mm256_unpacklo_epi8)
KIP_OPERATION(interleaveHigh8, _mm256_unpackhi_epi8)
KIP_OPERATION(interleaveLow16, _mm256_unpacklo_epi16)
KIP_OPERATION(interleaveHigh16, _mm256_unpackhi_epi16)
KIP_OPERATION(interleaveLow32, _mm256_unpacklo_epi32)
KIP_OPERATION(interleaveHigh32, _mm256_unpackhi_epi32)
KIP_OPERATION(interleaveLow64, _mm256_unpacklo_epi64)
KIP_OPERATION(interleaveHigh64, _mm256_unpackhi_epi64)
KIP_OPERATION(saturate16, _mm256_packs_epi32)
KIP_OPERATION(shiftRight32, _mm256_srlv_epi32)
KIP_OPERATION(shiftLeft32, _mm256_sllv_epi32)
KIP_OPERATION(shiftRight64, _mm256_srlv_epi64)
KIP_OPERATION(shiftLeft64, _mm256_sllv_epi64)
#undef KIP_OPERATION

KIP_INLINE Vec select(Vec mask, Vec yes, Vec no) {
  return _mm256_blendv_epi8(no, yes, mask);
}

// ---- shifts

KIP_INLINE Shift shift32By(int32_t count) {
  return _mm256_set1_epi32(count);
}
KIP_INLINE Shift shift64By(int32_t count) {
  return _mm256_set1_epi64x(count);
}
#define KIP_SHIFT(name, intrinsic)  \
  template <int Count>              \
  KIP_INLINE Vec name(Vec value) {  \
    return intrinsic(value, Count); \
  }
KIP_SHIFT(shiftLeft16, _mm256_slli_epi16)
KIP_SHIFT(shiftRight16, _mm256_srli_epi16)
KIP_SHIFT(shiftSigned16, _mm256_srai_epi16)
KIP_SHIFT(shiftLeft32, _mm256_slli_epi32)
KIP_SHIFT(shiftRight32, _mm256_srli_epi32)
KIP_SHIFT(shiftSigned32, _mm256_srai_epi32)
KIP_SHIFT(shiftRight64, _mm256_srli_epi64)
KIP_SHIFT(shiftLeft64, _mm256_slli_epi64)
#undef KIP_SHIFT

// ---- masks

KIP_INLINE int bitsOf(Vec mask) {
  return _mm256_movemask_epi8(mask);
}
constexpr int allBits = -1;

// ---- wider and narrower lanes

KIP_INLINE Vec firstWords(Vec words) {
  return _mm256_cvtepu16_epi32(_mm256_castsi256_si128(words));
}
KIP_INLINE Vec lastWords(Vec words) {
  return _mm256_cvtepu16_epi32(_mm256_extracti128_si256(words, 1));
}
KIP_INLINE Vec joinBytes(Vec first, Vec last) {
  return _mm256_permute4x64_epi64(_mm256_packus_epi16(first, last), 0xD8);
}
KIP_INLINE Vec joinWords(Vec first, Vec last) {
  return _mm256_permute4x64_epi64(_mm256_packus_epi32(first, last), 0xD8);
}
KIP_INLINE Vec lowWords(Vec even, Vec odd) {
  return _mm256_blend_epi16(even, _mm256_slli_epi32(odd, 16), 0xAA);
}
KIP_INLINE Vec narrow(Vec low, Vec high) {
  return _mm256_castps_si256(_mm256_shuffle_ps(_mm256_castsi256_ps(low), _mm256_castsi256_ps(high), 0x88));
}

// ---- rows of pixels

template <int Bytes>
KIP_INLINE Vec shiftIn(Vec before, Vec after) {
  return _mm256_alignr_epi8(after, _mm256_permute2x128_si256(before, after, 0x21), 16 - Bytes);
}
template <int Bytes>
KIP_INLINE Vec shiftOut(Vec before, Vec after) {
  return _mm256_alignr_epi8(_mm256_permute2x128_si256(before, after, 0x21), before, Bytes);
}
template <int Even, int Odd>
KIP_INLINE Vec weighPairs8(Vec bytes) {
  return _mm256_maddubs_epi16(bytes, all16((Odd & 0xFF) << 8 | (Even & 0xFF)));
}
struct Words {
  Vec low, high;
};
KIP_INLINE Words difference(Vec a, Vec b, Vec c, Vec d) {
  const auto third = [](Vec ab, Vec cd) { return add16(weighPairs8<1, -3>(ab), weighPairs8<3, -1>(cd)); };
  return {third(_mm256_unpacklo_epi8(a, b), _mm256_unpacklo_epi8(c, d)),
          third(_mm256_unpackhi_epi8(a, b), _mm256_unpackhi_epi8(c, d))};
}
KIP_INLINE Vec fiveTaps8(Vec a, Vec b, Vec c, Vec d, Vec e) {
  const auto weigh = [](Vec ab, Vec cd, Vec e8) {
    return _mm256_srli_epi16(add16(add16(weighPairs8<1, 4>(ab), weighPairs8<6, 4>(cd)), weighPairs8<1, 1>(e8)), 4);
  };
  const Vec half = all8(8);
  return _mm256_packus_epi16(
      weigh(_mm256_unpacklo_epi8(a, b), _mm256_unpacklo_epi8(c, d), _mm256_unpacklo_epi8(e, half)),
      weigh(_mm256_unpackhi_epi8(a, b), _mm256_unpackhi_epi8(c, d), _mm256_unpackhi_epi8(e, half)));
}

// ---- floats and doubles

KIP_INLINE VecFloat toFloats(Vec value) {
  return _mm256_cvtepi32_ps(value);
}
KIP_INLINE VecFloat allFloat(float value) {
  return _mm256_set1_ps(value);
}
KIP_INLINE VecFloat smaller(VecFloat a, VecFloat b) {
  return _mm256_min_ps(a, b);
}
KIP_INLINE Vec truncate(VecFloat value) {
  return _mm256_cvttps_epi32(value);
}
KIP_INLINE VecFloat atLeast1(VecFloat value) {
  return _mm256_max_ps(value, _mm256_set1_ps(1));
}
KIP_INLINE Vec nearest(VecFloat value) {
  return _mm256_cvtps_epi32(value);
}
KIP_INLINE int32_t nearest(float value) {
  return _mm_cvtss_si32(_mm_set_ss(value));
}

struct Doubles {
  VecDouble low, high;
};
KIP_INLINE VecDouble smaller(VecDouble a, VecDouble b) {
  return _mm256_min_pd(a, b);
}
KIP_INLINE VecDouble asDoubles(Vec bits) {
  return _mm256_castsi256_pd(bits);
}
KIP_INLINE Doubles fromSigned(Vec value) {
  return {_mm256_cvtepi32_pd(_mm256_castsi256_si128(value)), _mm256_cvtepi32_pd(_mm256_extracti128_si256(value, 1))};
}
KIP_INLINE Vec toSigned(Doubles a) {
  return _mm256_set_m128i(_mm256_cvttpd_epi32(a.high), _mm256_cvttpd_epi32(a.low));
}
KIP_INLINE Vec truncate(Doubles a) {
  return _mm256_permute4x64_epi64(toSigned(a), 0xD8);
}
KIP_INLINE Vec equal(Doubles a, Doubles b) {
  return narrow(_mm256_castpd_si256(_mm256_cmp_pd(a.low, b.low, _CMP_EQ_OQ)),
                _mm256_castpd_si256(_mm256_cmp_pd(a.high, b.high, _CMP_EQ_OQ)));
}

// ---- division by an integer

KIP_INLINE Vec divide32(Vec sum, Vec multiplier, Shift evenShift, Shift oddShift) {
  const Vec even = _mm256_mul_epu32(sum, multiplier);
  const Vec odd = _mm256_mul_epu32(_mm256_shuffle_epi32(sum, 0xF5), multiplier);
  return _mm256_blend_epi32(_mm256_srlv_epi64(even, evenShift), _mm256_srlv_epi64(odd, oddShift), 0xAA);
}

// ---- rows to columns

KIP_INLINE void joinHalves(Vec* columns) {
  for (int64_t i = 0; i < 4; ++i) {
    const Vec low = columns[i], high = columns[i + 4];
    columns[i] = _mm256_permute2x128_si256(low, high, 0x20);
    columns[i + 4] = _mm256_permute2x128_si256(low, high, 0x31);
  }
}

// ---- for direct kernels, which are made for this set alone

// Stays in a register, however often it is used: loads are scarce.
KIP_INLINE Vec loadOnce(const void* from) {
  Vec value = load(from);
  asm("" : "+x"(value));
  return value;
}
KIP_INLINE void storeHalves(void* low, void* high, Vec value) {
  _mm256_storeu2_m128i(static_cast<__m128i*>(high), static_cast<__m128i*>(low), value);
}

}  // namespace

}  // namespace kip
