// SPDX-License-Identifier: Apache-2.0
#include "masked/sigma1.hpp"

#include "lanes/sigma1_sums.hpp"

namespace kip {

namespace {

constexpr int64_t prefetchDistance = 256;  // columns

// Eight quotients of dividends below 2^24, which floats tell from the next integer, and divisors up to 64.
KIP_INLINE Vec divideWords(Vec dividends, Vec divisors) {
  return _mm256_cvttps_epi32(_mm256_div_ps(_mm256_cvtepi32_ps(dividends), _mm256_cvtepi32_ps(divisors)));
}

// Sixteen values from the sums of image and mask, by kind of the outputs.

template <bool IsRounded>
KIP_INLINE Vec valuesOf(const MaskedSigma1Group<uint8_t, uint8_t>&, Vec image, Vec mask) {
  if (_mm256_movemask_epi8(_mm256_cmpeq_epi16(mask, _mm256_set1_epi16(64))) == -1) return divide<IsRounded>(image);
  const Vec zero = _mm256_setzero_si256();
  const Vec dividends = IsRounded ? _mm256_add_epi16(image, _mm256_srli_epi16(mask, 1)) : image;
  const Vec quotients =
      _mm256_packus_epi32(divideWords(_mm256_unpacklo_epi16(dividends, zero), _mm256_unpacklo_epi16(mask, zero)),
                          divideWords(_mm256_unpackhi_epi16(dividends, zero), _mm256_unpackhi_epi16(mask, zero)));
  // even bytes of the mask let bits of pixels through that they do not count
  return _mm256_and_si256(quotients, _mm256_set1_epi16(0xFF));
}

template <bool IsRounded>
KIP_INLINE Vec valuesOf(const MaskedSigma1Group<uint8_t, uint16_t>& group, Vec image, Vec mask) {
  const Vec zero = _mm256_setzero_si256();
  const Vec gain = _mm256_set1_epi32(group.gainBits);
  const auto quotients = [gain](Vec images, Vec masks) {
    const Vec products = _mm256_sllv_epi32(images, gain);
    return divideWords(IsRounded ? _mm256_add_epi32(products, _mm256_srli_epi32(masks, 1)) : products, masks);
  };
  return _mm256_packus_epi32(quotients(_mm256_unpacklo_epi16(image, zero), _mm256_unpacklo_epi16(mask, zero)),
                             quotients(_mm256_unpackhi_epi16(image, zero), _mm256_unpackhi_epi16(mask, zero)));
}

// Thirty-two values, which come apart as the unpacked bytes of a row do.
KIP_INLINE void storeValues(uint8_t* to, Vec low, Vec high) {
  store(to, _mm256_packus_epi16(low, high));
}
KIP_INLINE void storeValues(uint16_t* to, Vec low, Vec high) {
  store(to, _mm256_permute2x128_si256(low, high, 0x20));
  store(to + 16, _mm256_permute2x128_si256(low, high, 0x31));
}

template <bool IsRounded, typename Dst, typename LoadColumns>
KIP_INLINE void smoothColumns(const MaskedSigma1Group<uint8_t, Dst>& group, const LoadColumns& loadColumns,
                              int64_t ahead, int64_t at) {
  Down image[2];
  Down mask[2];
  for (int64_t row = 0; row < group.count + maskedSigma1Taps - 1; ++row) {
    _mm_prefetch(group.image[row] + ahead, _MM_HINT_T0);
    _mm_prefetch(group.mask[row] + ahead, _MM_HINT_T0);
    Vec pixels[4];
    Vec bits[4];
    for (int i = 0; i < 4; ++i) {
      const Vec bytes = loadColumns(group.mask[row], i);
      pixels[i] = _mm256_and_si256(loadColumns(group.image[row], i), bytes);
      bits[i] = _mm256_and_si256(bytes, _mm256_set1_epi8(1));
    }
    const RowSums images = sumRow<false>(pixels[0], pixels[1], pixels[2], pixels[3]);
    const RowSums masks = sumRow<false>(bits[0], bits[1], bits[2], bits[3]);
    const Vec imageLow = image[0].add(images.low);
    const Vec imageHigh = image[1].add(images.high);
    const Vec maskLow = mask[0].add(masks.low);
    const Vec maskHigh = mask[1].add(masks.high);
    const int64_t output = row - (maskedSigma1Taps - 1);
    if (output < 0) continue;
    storeValues(group.out[output] + at, valuesOf<IsRounded>(group, imageLow, maskLow),
                valuesOf<IsRounded>(group, imageHigh, maskHigh));
  }
}

template <bool IsRounded, typename Dst>
void smoothRows(const MaskedSigma1Group<uint8_t, Dst>& group) {
  forEachBlock<maskedSigma1Columns, prefetchDistance>(
      group,
      [&](int64_t at, int64_t column, int64_t ahead) {
        smoothColumns<IsRounded>(group, Inside<false>{column}, ahead, at);
      },
      [&](int64_t at, int64_t column, int64_t ahead) {
        smoothColumns<IsRounded>(group, AtEdge<false>(column, group.width), ahead, at);
      });
}

template <typename Dst>
void smoothGroup(const MaskedSigma1Group<uint8_t, Dst>& group) {
  group.isRounded ? smoothRows<true>(group) : smoothRows<false>(group);
}

}  // namespace

namespace KIP_LANES {
MaskedSigma1Smooth<uint16_t, uint16_t> maskedSigma1_16;  // in a file of its own
extern const MaskedSigma1Kernel maskedSigma1 = {smoothGroup<uint8_t>, smoothGroup<uint16_t>, maskedSigma1_16};
}  // namespace KIP_LANES

}  // namespace kip
