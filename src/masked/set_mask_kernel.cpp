// SPDX-License-Identifier: Apache-2.0
#include "masked/set_mask_kernel.hpp"

#include <emmintrin.h>

namespace kip {

void gauss_setMaskRow8(uint8_t* image, uint8_t* mask, int64_t count) {
  const __m128i one = _mm_set1_epi8(1);
  int64_t x = 0;
  for (; x + 32 <= count; x += 32) {
    for (int64_t half = x; half < x + 32; half += 16) {
      void* const i = image + half;
      void* const m = mask + half;
      const __m128i bits = _mm_loadu_si128(static_cast<const __m128i*>(m));
      const __m128i pixels = _mm_loadu_si128(static_cast<const __m128i*>(i));
      _mm_storeu_si128(static_cast<__m128i*>(i), _mm_and_si128(pixels, bits));
      _mm_storeu_si128(static_cast<__m128i*>(m), _mm_and_si128(bits, one));
    }
  }
  for (; x < count; ++x) {
    image[x] &= mask[x];
    mask[x] &= 1;
  }
}

}  // namespace kip
