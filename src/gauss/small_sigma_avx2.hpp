// SPDX-License-Identifier: Apache-2.0
// Only for the kernel files of the paths for sigma 1 and 2: which results become pixels, and their scale.
#pragma once

#include <cstring>

#include "gauss/small_sigma_rows.hpp"
#include "lanes/lanes.hpp"

namespace kip {

namespace {

// Results at once; kernels make at least so many of a row, wherever its end is.
constexpr int64_t group = 32;
// Results that wait to be picked; a multiple of the sample factor 2.
constexpr int64_t mostWaiting = 2048;

// Which results a sample factor keeps.
enum class Pick { all, even, any };

// Scales results in place, limits them to a byte and rounds. Convert: from float to integer.
template <typename Convert>
KIP_INLINE void scaleBytes(uint8_t* bytes, int64_t count, float scale, Convert&& convert) {
  const __m256 factor = _mm256_set1_ps(scale);
  const __m256 limit = _mm256_set1_ps(255.0f);
  const Vec lowBytes = _mm256_set1_epi32(0x0C080400);
  for (int64_t i = 0; i < count; i += 8) {
    const __m128i eight = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(bytes + i));
    const __m256 values = _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(eight));
    const Vec scaled = _mm256_shuffle_epi8(convert(_mm256_min_ps(_mm256_mul_ps(values, factor), limit)), lowBytes);
    const __m128i result = _mm_unpacklo_epi32(_mm256_castsi256_si128(scaled), _mm256_extracti128_si256(scaled, 1));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(bytes + i), result);
  }
}

KIP_INLINE Vec evenBytes(const uint8_t* bytes) {
  const Vec mask = _mm256_set1_epi16(0xFF);
  const Vec packed =
      _mm256_packus_epi16(_mm256_and_si256(load(bytes), mask), _mm256_and_si256(load(bytes + group), mask));
  return _mm256_permute4x64_epi64(packed, 0xD8);
}

// Writes the pixels that are kept of results `from` to `from + count`.
template <Pick P>
KIP_INLINE void writePicked(const SmallSigmaRequest& request, const uint8_t* results, int64_t from, int64_t count,
                            uint8_t* out) {
  int64_t next = (from + request.sample - 1) / request.sample;
  if constexpr (P == Pick::all) {
    std::memcpy(out + next, results, static_cast<size_t>(count));
  } else if constexpr (P == Pick::even) {
    const int64_t end = next + (count + 1) / 2;
    for (; next + group <= end; next += group, results += 2 * group) store(out + next, evenBytes(results));
    store(request.tail, evenBytes(results));
    std::memcpy(out + next, request.tail, static_cast<size_t>(end - next));
  } else {
    for (; next * request.sample < from + count; ++next) out[next] = results[next * request.sample - from];
  }
}

}  // namespace

}  // namespace kip
