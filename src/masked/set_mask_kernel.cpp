// SPDX-License-Identifier: Apache-2.0
#include "masked/set_mask_kernel.hpp"

#include <emmintrin.h>

namespace kip {

namespace {

// Collects the bytes of a mask that are not 0 but whose bit 0 is.
class EvenBytes {
 public:
  // `low`: bit 0 of each.
  void add(__m128i bytes, __m128i low) {
    found_ = _mm_or_si128(found_, _mm_and_si128(bytes, _mm_cmpeq_epi8(low, _mm_setzero_si128())));
  }
  void add(uint8_t byte) { last_ |= (byte & 1) != 0 ? 0 : byte; }
  [[nodiscard]] bool any() const {
    return last_ != 0 || _mm_movemask_epi8(_mm_cmpeq_epi8(found_, _mm_setzero_si128())) != 0xFFFF;
  }

 private:
  __m128i found_ = _mm_setzero_si128();
  int last_ = 0;
};

}  // namespace

bool gauss_setMaskRow8(uint8_t* image, uint8_t* mask, int64_t count) {
  const __m128i one = _mm_set1_epi8(1);
  EvenBytes even;
  int64_t x = 0;
  for (; x + 16 <= count; x += 16) {
    void* const i = image + x;
    void* const m = mask + x;
    const __m128i bytes = _mm_loadu_si128(static_cast<const __m128i*>(m));
    const __m128i pixels = _mm_loadu_si128(static_cast<const __m128i*>(i));
    const __m128i low = _mm_and_si128(bytes, one);
    _mm_storeu_si128(static_cast<__m128i*>(i), _mm_and_si128(pixels, bytes));
    _mm_storeu_si128(static_cast<__m128i*>(m), low);
    even.add(bytes, low);
  }
  for (; x < count; ++x) {
    even.add(mask[x]);
    image[x] &= mask[x];
    mask[x] &= 1;
  }
  return even.any();
}

bool gauss_setMaskRow16(uint16_t* image, uint8_t* mask, int64_t count) {
  const __m128i one = _mm_set1_epi8(1);
  EvenBytes even;
  int64_t x = 0;
  for (; x + 16 <= count; x += 16) {
    void* const m = mask + x;
    void* const lowHalf = image + x;
    void* const highHalf = image + x + 8;
    const __m128i bytes = _mm_loadu_si128(static_cast<const __m128i*>(m));
    const __m128i low = _mm_and_si128(bytes, one);
    const __m128i keep = _mm_cmpeq_epi8(low, one);
    const __m128i lowPixels = _mm_loadu_si128(static_cast<const __m128i*>(lowHalf));
    const __m128i highPixels = _mm_loadu_si128(static_cast<const __m128i*>(highHalf));
    _mm_storeu_si128(static_cast<__m128i*>(m), low);
    _mm_storeu_si128(static_cast<__m128i*>(lowHalf), _mm_and_si128(lowPixels, _mm_unpacklo_epi8(keep, keep)));
    _mm_storeu_si128(static_cast<__m128i*>(highHalf), _mm_and_si128(highPixels, _mm_unpackhi_epi8(keep, keep)));
    even.add(bytes, low);
  }
  for (; x < count; ++x) {
    even.add(mask[x]);
    mask[x] &= 1;
    image[x] = mask[x] != 0 ? image[x] : uint16_t{0};
  }
  return even.any();
}

}  // namespace kip
