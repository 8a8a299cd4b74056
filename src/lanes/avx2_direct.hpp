// SPDX-License-Identifier: Apache-2.0
// Only for the kernel files of the second level: what they share of 256-bit loads and stores. Everything is in an
// unnamed namespace and inlined, so that no object holds code that another could use in its place.
#pragma once

#include <immintrin.h>

#include <cstdint>

#define KIP_INLINE [[gnu::always_inline]] inline

namespace kip {

namespace {

using Vec = __m256i;

KIP_INLINE Vec load(const void* from) {
  return _mm256_loadu_si256(static_cast<const Vec*>(from));
}
// Stays in a register, however often it is used: loads are scarce.
KIP_INLINE Vec loadOnce(const void* from) {
  Vec value = load(from);
  asm("" : "+x"(value));
  return value;
}
KIP_INLINE void store(void* to, Vec value) {
  _mm256_storeu_si256(static_cast<Vec*>(to), value);
}
// The two halves of a vector from and to places of their own.
KIP_INLINE Vec loadHalves(const void* low, const void* high) {
  return _mm256_loadu2_m128i(static_cast<const __m128i*>(high), static_cast<const __m128i*>(low));
}
KIP_INLINE void storeHalves(void* low, void* high, Vec value) {
  _mm256_storeu2_m128i(static_cast<__m128i*>(high), static_cast<__m128i*>(low), value);
}
KIP_INLINE int64_t smaller(int64_t a, int64_t b) {
  return a < b ? a : b;
}

}  // namespace

}  // namespace kip
