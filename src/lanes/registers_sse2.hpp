// SPDX-License-Identifier: Apache-2.0
// 256 bits of lanes as two registers of 128, with nothing beyond SSE2. All operations keep the order of the lanes.
#pragma once

#include <emmintrin.h>

#include <cstdint>

namespace kip {

namespace {

struct Reg {
  __m128i lo, hi;
};
struct FloatReg {
  __m128 lo, hi;
};

inline __m128i loadHalf(const void* from) {
  return _mm_loadu_si128(static_cast<const __m128i*>(from));
}
inline Reg load(const void* from) {
  const __m128i* const at = static_cast<const __m128i*>(from);
  return {_mm_loadu_si128(at), _mm_loadu_si128(at + 1)};
}
inline void store(void* to, Reg r) {
  __m128i* const at = static_cast<__m128i*>(to);
  _mm_storeu_si128(at, r.lo);
  _mm_storeu_si128(at + 1, r.hi);
}
inline void storeLow(void* to, Reg r) {
  _mm_storeu_si128(static_cast<__m128i*>(to), r.lo);
}

inline Reg fill8(uint8_t value) {
  return {_mm_set1_epi8(static_cast<char>(value)), _mm_set1_epi8(static_cast<char>(value))};
}
inline Reg fill16(int16_t value) {
  return {_mm_set1_epi16(value), _mm_set1_epi16(value)};
}
inline Reg fill32(int32_t value) {
  return {_mm_set1_epi32(value), _mm_set1_epi32(value)};
}

#define KIP_LANES(name, intrinsic)                         \
  inline Reg name(Reg a, Reg b) {                          \
    return {intrinsic(a.lo, b.lo), intrinsic(a.hi, b.hi)}; \
  }
KIP_LANES(bitAnd, _mm_and_si128)
KIP_LANES(bitOr, _mm_or_si128)
KIP_LANES(bitXor, _mm_xor_si128)
KIP_LANES(add16, _mm_add_epi16)
KIP_LANES(add32, _mm_add_epi32)
KIP_LANES(sub32, _mm_sub_epi32)
KIP_LANES(mul16, _mm_mullo_epi16)
KIP_LANES(madd16, _mm_madd_epi16)
#undef KIP_LANES

template <int Bits>
Reg shl16(Reg r) {
  return {_mm_slli_epi16(r.lo, Bits), _mm_slli_epi16(r.hi, Bits)};
}
template <int Bits>
Reg shr16(Reg r) {
  return {_mm_srli_epi16(r.lo, Bits), _mm_srli_epi16(r.hi, Bits)};
}
template <int Bits>
Reg shl32(Reg r) {
  return {_mm_slli_epi32(r.lo, Bits), _mm_slli_epi32(r.hi, Bits)};
}
template <int Bits>
Reg shr32(Reg r) {
  return {_mm_srli_epi32(r.lo, Bits), _mm_srli_epi32(r.hi, Bits)};
}

// Each 16-bit lane: Even times its low byte plus Odd times its high one.
template <int Even, int Odd>
Reg pairs8(Reg r) {
  return add16(mul16(bitAnd(r, fill16(0xFF)), fill16(Even)), mul16(shr16<8>(r), fill16(Odd)));
}

// Two registers in a row: the last Bytes of the one before, and all but the last of the one after; all but the first
// Bytes of the one before, and the first of the one after.
template <int Bytes>
Reg shiftIn(Reg before, Reg after) {
  return {_mm_or_si128(_mm_srli_si128(before.hi, 16 - Bytes), _mm_slli_si128(after.lo, Bytes)),
          _mm_or_si128(_mm_srli_si128(after.lo, 16 - Bytes), _mm_slli_si128(after.hi, Bytes))};
}
template <int Bytes>
Reg shiftOut(Reg before, Reg after) {
  return {_mm_or_si128(_mm_srli_si128(before.lo, Bytes), _mm_slli_si128(before.hi, 16 - Bytes)),
          _mm_or_si128(_mm_srli_si128(before.hi, Bytes), _mm_slli_si128(after.lo, 16 - Bytes))};
}

// A times a's pixels plus B times b's, in lanes of twice the bits: one half of the pixels and the other half. 16-bit
// pixels are signed. The pixels are in order again when the halves are joined, shifted down and saturated.
template <int A, int B>
Reg firstSums8(Reg a, Reg b) {
  return add16(mul16(bitAnd(a, fill16(0xFF)), fill16(A)), mul16(bitAnd(b, fill16(0xFF)), fill16(B)));
}
template <int A, int B>
Reg lastSums8(Reg a, Reg b) {
  return add16(mul16(shr16<8>(a), fill16(A)), mul16(shr16<8>(b), fill16(B)));
}
template <int A, int B>
Reg firstSums16(Reg a, Reg b) {
  return madd16({_mm_unpacklo_epi16(a.lo, b.lo), _mm_unpacklo_epi16(a.hi, b.hi)}, fill32(A | B << 16));
}
template <int A, int B>
Reg lastSums16(Reg a, Reg b) {
  return madd16({_mm_unpackhi_epi16(a.lo, b.lo), _mm_unpackhi_epi16(a.hi, b.hi)}, fill32(A | B << 16));
}
template <int Shift>
Reg joinSums8(Reg first, Reg last) {
  return bitOr(shr16<Shift>(first), shl16<8>(shr16<Shift>(last)));
}
template <int Shift>
Reg joinSums16(Reg first, Reg last) {
  return {_mm_packs_epi32(_mm_srai_epi32(first.lo, Shift), _mm_srai_epi32(last.lo, Shift)),
          _mm_packs_epi32(_mm_srai_epi32(first.hi, Shift), _mm_srai_epi32(last.hi, Shift))};
}

// 16 bytes into 16-bit lanes; the first or the last 8 words into 32-bit lanes.
inline Reg widen8(const void* from) {
  const __m128i bytes = loadHalf(from), zero = _mm_setzero_si128();
  return {_mm_unpacklo_epi8(bytes, zero), _mm_unpackhi_epi8(bytes, zero)};
}
inline Reg widenFirst16(Reg r) {
  return {_mm_unpacklo_epi16(r.lo, _mm_setzero_si128()), _mm_unpackhi_epi16(r.lo, _mm_setzero_si128())};
}
inline Reg widenLast16(Reg r) {
  return {_mm_unpacklo_epi16(r.hi, _mm_setzero_si128()), _mm_unpackhi_epi16(r.hi, _mm_setzero_si128())};
}

// a's lanes, then b's, in half the bits; the values fit.
inline Reg narrow16(Reg a, Reg b) {
  return {_mm_packus_epi16(a.lo, a.hi), _mm_packus_epi16(b.lo, b.hi)};
}
inline Reg narrow32(Reg a, Reg b) {
  // there is no unsigned form: with the sign of the low word the signed one keeps all 16 bits
  const auto pack = [](Reg r) {
    return _mm_packs_epi32(_mm_srai_epi32(_mm_slli_epi32(r.lo, 16), 16), _mm_srai_epi32(_mm_slli_epi32(r.hi, 16), 16));
  };
  return {pack(a), pack(b)};
}

// Signed 32-bit lanes to floats; back to the nearest integer, ties to even.
inline FloatReg toFloat(Reg r) {
  return {_mm_cvtepi32_ps(r.lo), _mm_cvtepi32_ps(r.hi)};
}
inline Reg toInteger(FloatReg f) {
  return {_mm_cvtps_epi32(f.lo), _mm_cvtps_epi32(f.hi)};
}
inline FloatReg addFloat(FloatReg a, FloatReg b) {
  return {_mm_add_ps(a.lo, b.lo), _mm_add_ps(a.hi, b.hi)};
}
inline FloatReg divide(FloatReg a, FloatReg b) {
  return {_mm_div_ps(a.lo, b.lo), _mm_div_ps(a.hi, b.hi)};
}
inline FloatReg atLeast1(FloatReg f) {
  return {_mm_max_ps(f.lo, _mm_set1_ps(1)), _mm_max_ps(f.hi, _mm_set1_ps(1))};
}

}  // namespace

}  // namespace kip
