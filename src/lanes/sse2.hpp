// SPDX-License-Identifier: Apache-2.0
// The vocabulary of lanes.hpp on x86 processors with SSE2 and nothing beyond: vectors of 128 bits, a single half.
#pragma once

#include <emmintrin.h>

#include <cstdint>

#define KIP_INLINE [[gnu::always_inline]] inline

namespace kip {

namespace {

using Vec = __m128i;
using VecFloat = __m128;
using VecDouble = __m128d;
using Shift = __m128i;
constexpr int64_t halves = 1;

// ---- memory

KIP_INLINE Vec load(const void* from) {
  return _mm_loadu_si128(static_cast<const Vec*>(from));
}
KIP_INLINE void store(void* to, Vec value) {
  _mm_storeu_si128(static_cast<Vec*>(to), value);
}
KIP_INLINE Vec loadHalves(const void* low, const void* /*high*/) {
  return load(low);
}
KIP_INLINE Vec loadBytes(const void* from) {
  return _mm_unpacklo_epi8(_mm_loadl_epi64(static_cast<const Vec*>(from)), _mm_setzero_si128());
}
KIP_INLINE void storeBytes(void* to, Vec words) {
  _mm_storel_epi64(static_cast<Vec*>(to), _mm_packus_epi16(words, words));
}
KIP_INLINE void storeWords(void* to, Vec value) {
  // there is no unsigned form: with the sign of the low word the signed one keeps all 16 bits
  const Vec words = _mm_srai_epi32(_mm_slli_epi32(value, 16), 16);
  _mm_storel_epi64(static_cast<Vec*>(to), _mm_packs_epi32(words, words));
}

// ---- the same for every lane

KIP_INLINE Vec zeros() {
  return _mm_setzero_si128();
}
KIP_INLINE Vec all8(int32_t value) {
  return _mm_set1_epi8(static_cast<char>(value));
}
KIP_INLINE Vec all16(int32_t value) {
  return _mm_set1_epi16(static_cast<int16_t>(value));
}
KIP_INLINE Vec all32(int32_t value) {
  return _mm_set1_epi32(value);
}
KIP_INLINE Vec all64(int64_t value) {
  return _mm_set1_epi64x(value);
}
KIP_INLINE VecDouble allDouble(double value) {
  return _mm_set1_pd(value);
}

// ---- two vectors, lane by lane

#define KIP_OPERATION(name, intrinsic) \
  KIP_INLINE Vec name(Vec a, Vec b) {  \
    return intrinsic(a, b);            \
  }
KIP_OPERATION(bitAnd, _mm_and_si128)
KIP_OPERATION(bitOr, _mm_or_si128)
KIP_OPERATION(bitXor, _mm_xor_si128)
KIP_OPERATION(add16, _mm_add_epi16)
KIP_OPERATION(add32, _mm_add_epi32)
KIP_OPERATION(add64, _mm_add_epi64)
KIP_OPERATION(sub32, _mm_sub_epi32)
KIP_OPERATION(sub64, _mm_sub_epi64)
KIP_OPERATION(smaller16, _mm_min_epi16)
KIP_OPERATION(multiply16, _mm_mullo_epi16)
KIP_OPERATION(multiplyPairs16, _mm_madd_epi16)
KIP_OPERATION(multiplyEven32, _mm_mul_epu32)
KIP_OPERATION(equal8, _mm_cmpeq_epi8)
KIP_OPERATION(equal32, _mm_cmpeq_epi32)
KIP_OPERATION(greater32, _mm_cmpgt_epi32)
KIP_OPERATION(interleaveLow8, _mm_unpacklo_epi8)
KIP_OPERATION(interleaveHigh8, _mm_unpackhi_epi8)
KIP_OPERATION(interleaveLow16, _mm_unpacklo_epi16)
KIP_OPERATION(interleaveHigh16, _mm_unpackhi_epi16)
KIP_OPERATION(interleaveLow32, _mm_unpacklo_epi32)
KIP_OPERATION(interleaveHigh32, _mm_unpackhi_epi32)
KIP_OPERATION(interleaveLow64, _mm_unpacklo_epi64)
KIP_OPERATION(interleaveHigh64, _mm_unpackhi_epi64)
KIP_OPERATION(saturate16, _mm_packs_epi32)
KIP_OPERATION(shiftRight32, _mm_srl_epi32)
KIP_OPERATION(shiftLeft32, _mm_sll_epi32)
KIP_OPERATION(shiftRight64, _mm_srl_epi64)
KIP_OPERATION(shiftLeft64, _mm_sll_epi64)
#undef KIP_OPERATION

KIP_INLINE Vec multiply32(Vec a, Vec b) {
  const Vec even = _mm_mul_epu32(a, b);
  const Vec odd = _mm_mul_epu32(_mm_srli_epi64(a, 32), _mm_srli_epi64(b, 32));
  return _mm_unpacklo_epi32(_mm_shuffle_epi32(even, 0x08), _mm_shuffle_epi32(odd, 0x08));
}
KIP_INLINE Vec select(Vec mask, Vec yes, Vec no) {
  return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
}

// ---- shifts

KIP_INLINE Shift shift32By(int32_t count) {
  return _mm_cvtsi64_si128(count);
}
KIP_INLINE Shift shift64By(int32_t count) {
  return _mm_cvtsi64_si128(count);
}
#define KIP_SHIFT(name, intrinsic)  \
  template <int Count>              \
  KIP_INLINE Vec name(Vec value) {  \
    return intrinsic(value, Count); \
  }
KIP_SHIFT(shiftLeft16, _mm_slli_epi16)
KIP_SHIFT(shiftRight16, _mm_srli_epi16)
KIP_SHIFT(shiftSigned16, _mm_srai_epi16)
KIP_SHIFT(shiftLeft32, _mm_slli_epi32)
KIP_SHIFT(shiftRight32, _mm_srli_epi32)
KIP_SHIFT(shiftSigned32, _mm_srai_epi32)
KIP_SHIFT(shiftRight64, _mm_srli_epi64)
KIP_SHIFT(shiftLeft64, _mm_slli_epi64)
#undef KIP_SHIFT

// ---- masks

KIP_INLINE int bitsOf(Vec mask) {
  return _mm_movemask_epi8(mask);
}
constexpr int allBits = 0xFFFF;

// ---- wider and narrower lanes

KIP_INLINE Vec firstWords(Vec words) {
  return _mm_unpacklo_epi16(words, _mm_setzero_si128());
}
KIP_INLINE Vec lastWords(Vec words) {
  return _mm_unpackhi_epi16(words, _mm_setzero_si128());
}
KIP_INLINE Vec joinBytes(Vec first, Vec last) {
  return _mm_packus_epi16(first, last);
}
KIP_INLINE Vec joinWords(Vec first, Vec last) {
  return _mm_packs_epi32(_mm_srai_epi32(_mm_slli_epi32(first, 16), 16), _mm_srai_epi32(_mm_slli_epi32(last, 16), 16));
}
KIP_INLINE Vec lowWords(Vec even, Vec odd) {
  return _mm_or_si128(_mm_and_si128(even, _mm_set1_epi32(0xFFFF)), _mm_slli_epi32(odd, 16));
}
KIP_INLINE Vec narrow(Vec low, Vec high) {
  return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(low), _mm_castsi128_ps(high), 0x88));
}

// ---- rows of pixels

template <int Bytes>
KIP_INLINE Vec shiftIn(Vec before, Vec after) {
  return _mm_or_si128(_mm_srli_si128(before, 16 - Bytes), _mm_slli_si128(after, Bytes));
}
template <int Bytes>
KIP_INLINE Vec shiftOut(Vec before, Vec after) {
  return _mm_or_si128(_mm_srli_si128(before, Bytes), _mm_slli_si128(after, 16 - Bytes));
}
template <int Even, int Odd>
KIP_INLINE Vec weighPairs8(Vec bytes) {
  return _mm_add_epi16(_mm_mullo_epi16(_mm_and_si128(bytes, all16(0xFF)), all16(Even)),
                       _mm_mullo_epi16(_mm_srli_epi16(bytes, 8), all16(Odd)));
}
struct Words {
  Vec low, high;
};
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
KIP_INLINE Vec fiveTaps8(Vec a, Vec b, Vec c, Vec d, Vec e) {
  const auto weigh = [](Vec a16, Vec b16, Vec c16, Vec d16, Vec e16) {
    const Vec outer = _mm_add_epi16(_mm_add_epi16(a16, e16), _mm_add_epi16(c16, c16));
    const Vec inner = _mm_add_epi16(_mm_add_epi16(b16, d16), c16);
    return _mm_add_epi16(_mm_add_epi16(outer, all16(8)), _mm_slli_epi16(inner, 2));
  };
  const auto even = [](Vec bytes) { return _mm_and_si128(bytes, all16(0xFF)); };
  const auto odd = [](Vec bytes) { return _mm_srli_epi16(bytes, 8); };
  const Vec evens = _mm_srli_epi16(weigh(even(a), even(b), even(c), even(d), even(e)), 4);
  const Vec odds = _mm_slli_epi16(weigh(odd(a), odd(b), odd(c), odd(d), odd(e)), 4);
  return _mm_or_si128(evens, _mm_and_si128(odds, all16(0xFF00)));
}

// ---- floats and doubles

KIP_INLINE VecFloat toFloats(Vec value) {
  return _mm_cvtepi32_ps(value);
}
KIP_INLINE VecFloat allFloat(float value) {
  return _mm_set1_ps(value);
}
KIP_INLINE VecFloat smaller(VecFloat a, VecFloat b) {
  return _mm_min_ps(a, b);
}
KIP_INLINE Vec truncate(VecFloat value) {
  return _mm_cvttps_epi32(value);
}
KIP_INLINE VecFloat atLeast1(VecFloat value) {
  return _mm_max_ps(value, _mm_set1_ps(1));
}
KIP_INLINE Vec nearest(VecFloat value) {
  return _mm_cvtps_epi32(value);
}
KIP_INLINE int32_t nearest(float value) {
  return _mm_cvtss_si32(_mm_set_ss(value));
}

struct Doubles {
  VecDouble low, high;
};
KIP_INLINE VecDouble smaller(VecDouble a, VecDouble b) {
  return _mm_min_pd(a, b);
}
KIP_INLINE VecDouble asDoubles(Vec bits) {
  return _mm_castsi128_pd(bits);
}
KIP_INLINE Doubles fromSigned(Vec value) {
  return {_mm_cvtepi32_pd(value), _mm_cvtepi32_pd(_mm_unpackhi_epi64(value, value))};
}
KIP_INLINE Vec toSigned(Doubles a) {
  return _mm_unpacklo_epi64(_mm_cvttpd_epi32(a.low), _mm_cvttpd_epi32(a.high));
}
KIP_INLINE Vec truncate(Doubles a) {
  return toSigned(a);
}
KIP_INLINE Vec equal(Doubles a, Doubles b) {
  return narrow(_mm_castpd_si128(_mm_cmpeq_pd(a.low, b.low)), _mm_castpd_si128(_mm_cmpeq_pd(a.high, b.high)));
}

// ---- division by an integer

KIP_INLINE Vec divide32(Vec sum, Vec multiplier, Shift evenShift, Shift oddShift) {
  const Vec even = _mm_srl_epi64(_mm_mul_epu32(sum, multiplier), evenShift);
  const Vec odd = _mm_srl_epi64(_mm_mul_epu32(_mm_srli_epi64(sum, 32), multiplier), oddShift);
  return _mm_or_si128(even, _mm_and_si128(odd, _mm_set1_epi64x(-0x100000000)));
}

// ---- rows to columns

KIP_INLINE void joinHalves(Vec* /*columns*/) {}

}  // namespace

}  // namespace kip
