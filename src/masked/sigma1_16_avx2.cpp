// SPDX-License-Identifier: Apache-2.0
#include "lanes/sigma1_sums.hpp"
#include "masked/sigma1.hpp"

namespace kip {

namespace {

using Group = MaskedSigma1Group<uint16_t, uint16_t>;

constexpr int64_t block = 16;              // outputs at once
constexpr int64_t prefetchDistance = 128;  // columns

// Sixteen columns of a row from a tap on: pixels, and 1 for each that counts, else 0.

struct WordsInside {
  int64_t column;

  KIP_INLINE void enter(const uint16_t*, const uint8_t*) {}
  KIP_INLINE Vec pixels(const uint16_t* row, int64_t tap) const { return load(row + column + tap); }
  KIP_INLINE Vec counted(const uint8_t* row, int64_t tap) const { return countedOf(row + column + tap); }

  KIP_INLINE static Vec countedOf(const uint8_t* bytes) {
    const __m128i sixteen = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    return _mm256_and_si256(_mm256_cvtepu8_epi16(sixteen), _mm256_set1_epi16(1));
  }
};

// The same at an end of the rows, where columns are mirrored: out of copies.
class WordsAtEdge {
 public:
  WordsAtEdge(int64_t column, int64_t width) {
    for (int64_t i = 0; i < columns; ++i) {
      int64_t at = column + i;
      if (at < 0) at = -at - 1;
      if (at >= width) at = 2 * width - 1 - at;
      at_[i] = at < 0 ? 0 : at;  // no output needs those that are still outside
    }
  }
  KIP_INLINE void enter(const uint16_t* image, const uint8_t* mask) {
    for (int64_t i = 0; i < columns; ++i) pixels_[i] = image[at_[i]];
    for (int64_t i = 0; mask != nullptr && i < columns; ++i) mask_[i] = mask[at_[i]];
  }
  KIP_INLINE Vec pixels(const uint16_t*, int64_t tap) const { return load(pixels_ + tap); }
  KIP_INLINE Vec counted(const uint8_t*, int64_t tap) const { return WordsInside::countedOf(mask_ + tap); }

 private:
  static constexpr int64_t columns = block + maskedSigma1Taps - 1;

  int64_t at_[columns];
  uint16_t pixels_[columns];
  uint8_t mask_[columns] = {};
};

// 1, 3, 3, 1 along the row: of the pixels less 2^15, which makes them signed, in the order of unpacked lanes; of what
// counts.
struct ImageSums {
  Vec low, high;

  KIP_INLINE explicit ImageSums(const Vec (&pixels)[4]) {
    const Vec w13 = _mm256_set1_epi32(0x00030001);
    const Vec w31 = _mm256_set1_epi32(0x00010003);
    low = Add32::add(_mm256_madd_epi16(_mm256_unpacklo_epi16(pixels[0], pixels[1]), w13),
                     _mm256_madd_epi16(_mm256_unpacklo_epi16(pixels[2], pixels[3]), w31));
    high = Add32::add(_mm256_madd_epi16(_mm256_unpackhi_epi16(pixels[0], pixels[1]), w13),
                      _mm256_madd_epi16(_mm256_unpackhi_epi16(pixels[2], pixels[3]), w31));
  }
};
KIP_INLINE Vec countSums(const Vec (&counted)[4]) {
  const Vec inner = Add16::add(counted[1], counted[2]);
  return Add16::add(Add16::add(counted[0], counted[3]), Add16::add(inner, Add16::add(inner, inner)));
}

// Eight values, quotients of less than 2^24, which floats tell from the next integer.
template <bool IsRounded>
KIP_INLINE Vec valuesOf(Vec image, Vec mask) {
  const Vec dividend = IsRounded ? Add32::add(image, _mm256_srli_epi32(mask, 1)) : image;
  return _mm256_cvttps_epi32(_mm256_div_ps(_mm256_cvtepi32_ps(dividend), _mm256_cvtepi32_ps(mask)));
}
template <bool IsRounded>
KIP_INLINE Vec valuesOf(Vec image) {
  return _mm256_srli_epi32(IsRounded ? Add32::add(image, _mm256_set1_epi32(32)) : image, 6);
}

template <bool IsRounded, bool All, typename Columns>
KIP_INLINE void smoothColumns(const Group& group, Columns columns, int64_t ahead, int64_t at) {
  const Vec sign = _mm256_set1_epi16(INT16_MIN);
  const Vec bias = _mm256_set1_epi32(64 << 15);
  DownBy<Add32> low;
  DownBy<Add32> high;
  Down counts;
  for (int64_t row = 0; row < group.count + maskedSigma1Taps - 1; ++row) {
    const uint8_t* const mask = All ? nullptr : group.mask[row];
    _mm_prefetch(group.image[row] + ahead, _MM_HINT_T0);
    columns.enter(group.image[row], mask);
    Vec pixels[4];
    Vec counted[4];
    for (int64_t i = 0; i < 4; ++i) {
      pixels[i] = columns.pixels(group.image[row], i);
      if constexpr (!All) {
        counted[i] = columns.counted(mask, i);
        pixels[i] = _mm256_and_si256(pixels[i], _mm256_sub_epi16(_mm256_setzero_si256(), counted[i]));
      }
      pixels[i] = _mm256_xor_si256(pixels[i], sign);
    }
    const ImageSums sums(pixels);
    const Vec imageLow = Add32::add(low.add(sums.low), bias);
    const Vec imageHigh = Add32::add(high.add(sums.high), bias);
    Vec count;
    if constexpr (!All) count = counts.add(countSums(counted));
    const int64_t output = row - (maskedSigma1Taps - 1);
    if (output < 0) continue;
    Vec values;
    if constexpr (All) {
      values = _mm256_packus_epi32(valuesOf<IsRounded>(imageLow), valuesOf<IsRounded>(imageHigh));
    } else {
      values =
          _mm256_packus_epi32(valuesOf<IsRounded>(imageLow, _mm256_unpacklo_epi16(count, _mm256_setzero_si256())),
                              valuesOf<IsRounded>(imageHigh, _mm256_unpackhi_epi16(count, _mm256_setzero_si256())));
    }
    store(group.out[output] + at, values);
  }
}

template <bool IsRounded, bool All>
void smoothRows(const Group& group) {
  forEachBlock<block, prefetchDistance>(
      group,
      [&](int64_t at, int64_t column, int64_t ahead) {
        smoothColumns<IsRounded, All>(group, WordsInside{column}, ahead, at);
      },
      [&](int64_t at, int64_t column, int64_t ahead) {
        smoothColumns<IsRounded, All>(group, WordsAtEdge(column, group.width), ahead, at);
      });
}

}  // namespace

namespace KIP_LANES {
void maskedSigma1_16(const Group& group) {
  if (group.mask[0] == nullptr) {
    group.isRounded ? smoothRows<true, true>(group) : smoothRows<false, true>(group);
  } else {
    group.isRounded ? smoothRows<true, false>(group) : smoothRows<false, false>(group);
  }
}
}  // namespace KIP_LANES

}  // namespace kip
