// SPDX-License-Identifier: Apache-2.0
// 256 bits of lanes in one register. All operations keep the order of the lanes.
#pragma once

#include <immintrin.h>

#include <cstdint>

namespace kip {

namespace {

struct Reg {
  __m256i all;
};
struct FloatReg {
  __m256 all;
};

inline __m128i loadHalf(const void* from) {
  return _mm_loadu_si128(static_cast<const __m128i*>(from));
}
inline Reg load(const void* from) {
  return {_mm256_loadu_si256(static_cast<const __m256i*>(from))};
}
inline void store(void* to, Reg r) {
  _mm256_storeu_si256(static_cast<__m256i*>(to), r.all);
}
inline void storeLow(void* to, Reg r) {
  _mm_storeu_si128(static_cast<__m128i*>(to), _mm256_castsi256_si128(r.all));
}

inline Reg fill8(uint8_t value) {
  return {_mm256_set1_epi8(static_cast<char>(value))};
}
inline Reg fill16(int16_t value) {
  return {_mm256_set1_epi16(value)};
}
inline Reg fill32(int32_t value) {
  return {_mm256_set1_epi32(value)};
}

#define KIP_LANES(name, intrinsic)    \
  inline Reg name(Reg a, Reg b) {     \
    return {intrinsic(a.all, b.all)}; \
  }
KIP_LANES(bitAnd, _mm256_and_si256)
KIP_LANES(bitOr, _mm256_or_si256)
KIP_LANES(bitXor, _mm256_xor_si256)
KIP_LANES(add16, _mm256_add_epi16)
KIP_LANES(add32, _mm256_add_epi32)
KIP_LANES(sub32, _mm256_sub_epi32)
KIP_LANES(mul16, _mm256_mullo_epi16)
KIP_LANES(madd16, _mm256_madd_epi16)
#undef KIP_LANES

template <int Bits>
Reg shl16(Reg r) {
  return {_mm256_slli_epi16(r.all, Bits)};
}
template <int Bits>
Reg shr16(Reg r) {
  return {_mm256_srli_epi16(r.all, Bits)};
}
template <int Bits>
Reg shl32(Reg r) {
  return {_mm256_slli_epi32(r.all, Bits)};
}
template <int Bits>
Reg shr32(Reg r) {
  return {_mm256_srli_epi32(r.all, Bits)};
}

// Each 16-bit lane: Even times its low byte plus Odd times its high one.
template <int Even, int Odd>
Reg pairs8(Reg r) {
  return {_mm256_maddubs_epi16(r.all, _mm256_set1_epi16(Even | Odd << 8))};
}

// Two registers in a row: the last Bytes of the one before, and all but the last of the one after; all but the first
// Bytes of the one before, and the first of the one after.
template <int Bytes>
Reg shiftIn(Reg before, Reg after) {
  return {_mm256_alignr_epi8(after.all, _mm256_permute2x128_si256(before.all, after.all, 0x21), 16 - Bytes)};
}
template <int Bytes>
Reg shiftOut(Reg before, Reg after) {
  return {_mm256_alignr_epi8(_mm256_permute2x128_si256(before.all, after.all, 0x21), before.all, Bytes)};
}

// A times a's pixels plus B times b's, in lanes of twice the bits: one half of the pixels and the other half. 16-bit
// pixels are signed. The pixels are in order again when the halves are joined, shifted down and saturated.
template <int A, int B>
Reg firstSums8(Reg a, Reg b) {
  return pairs8<A, B>({_mm256_unpacklo_epi8(a.all, b.all)});
}
template <int A, int B>
Reg lastSums8(Reg a, Reg b) {
  return pairs8<A, B>({_mm256_unpackhi_epi8(a.all, b.all)});
}
template <int A, int B>
Reg firstSums16(Reg a, Reg b) {
  return madd16({_mm256_unpacklo_epi16(a.all, b.all)}, fill32(A | B << 16));
}
template <int A, int B>
Reg lastSums16(Reg a, Reg b) {
  return madd16({_mm256_unpackhi_epi16(a.all, b.all)}, fill32(A | B << 16));
}
template <int Shift>
Reg joinSums8(Reg first, Reg last) {
  return {_mm256_packus_epi16(_mm256_srli_epi16(first.all, Shift), _mm256_srli_epi16(last.all, Shift))};
}
template <int Shift>
Reg joinSums16(Reg first, Reg last) {
  return {_mm256_packs_epi32(_mm256_srai_epi32(first.all, Shift), _mm256_srai_epi32(last.all, Shift))};
}

// 16 bytes into 16-bit lanes; the first or the last 8 words into 32-bit lanes.
inline Reg widen8(const void* from) {
  return {_mm256_cvtepu8_epi16(loadHalf(from))};
}
inline Reg widenFirst16(Reg r) {
  return {_mm256_cvtepu16_epi32(_mm256_castsi256_si128(r.all))};
}
inline Reg widenLast16(Reg r) {
  return {_mm256_cvtepu16_epi32(_mm256_extracti128_si256(r.all, 1))};
}

// a's lanes, then b's, in half the bits; the values fit.
inline Reg narrow16(Reg a, Reg b) {
  return {_mm256_permute4x64_epi64(_mm256_packus_epi16(a.all, b.all), 0xD8)};
}
inline Reg narrow32(Reg a, Reg b) {
  return {_mm256_permute4x64_epi64(_mm256_packus_epi32(a.all, b.all), 0xD8)};
}

// Signed 32-bit lanes to floats; back to the nearest integer, ties to even.
inline FloatReg toFloat(Reg r) {
  return {_mm256_cvtepi32_ps(r.all)};
}
inline Reg toInteger(FloatReg f) {
  return {_mm256_cvtps_epi32(f.all)};
}
inline FloatReg addFloat(FloatReg a, FloatReg b) {
  return {_mm256_add_ps(a.all, b.all)};
}
inline FloatReg divide(FloatReg a, FloatReg b) {
  return {_mm256_div_ps(a.all, b.all)};
}
inline FloatReg atLeast1(FloatReg f) {
  return {_mm256_max_ps(f.all, _mm256_set1_ps(1))};
}

}  // namespace

}  // namespace kip
