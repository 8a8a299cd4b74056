// SPDX-License-Identifier: Apache-2.0
// The masked row kernel's values: what the sums of image and mask under outputs become, or that of an image alone.
#pragma once

#include "lanes/lanes.hpp"
#include "masked/row_kernel.hpp"

namespace kip {

namespace {

KIP_INLINE Wide toWide(Vec sum) {
  return widenUnsigned(sum);
}
KIP_INLINE Wide toWide(Wide sum) {
  return sum;
}

// ---- products: outputs all of whose pixels are valid

// For products below 2^32.
class ShortProduct {
 public:
  KIP_INLINE explicit ShortProduct(const MaskedScale& scale)
      : multiplier_(all32(static_cast<int32_t>(scale.multiplier))),
        half_(all32(scale.isRounded ? 1 << (scale.post - 1) : 0)),
        pre_(shift32By(scale.pre)),
        post_(shift32By(scale.post)) {}

  [[nodiscard]] KIP_INLINE Vec operator()(Vec image) const {
    return shiftRight32(add32(multiply32(shiftRight32(image, pre_), multiplier_), half_), post_);
  }

 private:
  Vec multiplier_, half_;
  Shift pre_, post_;
};

class Product {
 public:
  KIP_INLINE explicit Product(const MaskedScale& scale)
      : multiplier_(all64(int64_t{scale.multiplier})),
        isRounded_(all64(scale.isRounded ? 1 : 0)),
        pre_(shift64By(scale.pre)),
        post_(shift64By(scale.post)),
        lastPost_(shift64By(scale.post - 1)) {}

  template <typename Image>
  [[nodiscard]] KIP_INLINE Vec operator()(Image image) const {
    const Wide product = (toWide(image) >> pre_) * multiplier_;
    return narrow((product >> post_) + ((product >> lastPost_) & isRounded_));
  }

 private:
  Vec multiplier_, isRounded_;
  Shift pre_, post_, lastPost_;
};

// ---- quotients in floats

// The exact quotient, which is at most 2^20, from one in floats and the dividend's low 32 bits. The divisor is below
// 2^31.
KIP_INLINE Vec exactQuotient(VecFloat quotient, Vec dividend, Vec divisor) {
  // at most one too large, and the rest then negative
  const Vec most = truncate(quotient * allFloat(1.0f + 0x1p-21f));
  const Vec rest = sub32(dividend, multiply32(most, divisor));
  return add32(most, signs32(rest));
}
// The parts of a number that each fit a float, together.
KIP_INLINE VecFloat joinFloats(Vec high, float unit, Vec low) {
  return toFloats(high) * allFloat(unit) + toFloats(low);
}

// (image + half) / mask for dividends below 2 to the power of Bits. `IsLimited`: what lies above the limit, which is
// above the largest pixel, stays above that.
template <int Bits, bool IsLimited, typename Image>
KIP_INLINE Vec divide(Image image, Vec half, Vec mask) {
  VecFloat whole;
  Vec dividend;
  if constexpr (Bits == 48) {
    const Vec lowBits = narrow(image);
    const Vec low = add32(bitAnd(lowBits, all32((1 << 24) - 1)), half);
    whole = joinFloats(narrow(shiftRight64<24>(image)), 0x1p24f, low);
    dividend = add32(lowBits, half);
  } else {
    dividend = add32(image, half);
    whole = Bits == 32 ? joinFloats(shiftRight32<16>(dividend), 65536.0f, bitAnd(dividend, all32(0xFFFF)))
                       : toFloats(dividend);
  }
  VecFloat quotient = whole / toFloats(mask);
  if constexpr (IsLimited) quotient = limited(quotient, 70000.0f);
  return Bits == 24 ? truncate(quotient) : exactQuotient(quotient, dividend, mask);
}

// At scale 1.
template <int Bits>
class FloatQuotient {
 public:
  KIP_INLINE explicit FloatQuotient(const MaskedScale& scale) : toHalf_(shift32By(scale.isRounded ? 1 : 32)) {}
  template <typename Image>
  [[nodiscard]] KIP_INLINE Vec operator()(Image image, Vec mask) const {
    return divide<Bits, false>(image, shiftRight32(mask, toHalf_), mask);
  }

 private:
  Shift toHalf_;
};

// At a scale of a power of two, and nothing above the largest pixel.
template <int Bits>
class Gain {
 public:
  static constexpr bool dividesFull = true;

  KIP_INLINE explicit Gain(const MaskedScale& scale)
      : gain_(Bits == 48 ? shift64By(scale.gainBits) : shift32By(scale.gainBits)),
        toHalf_(shift32By(scale.isRounded ? 1 : 32)),
        largest_(all32(scale.largest)) {}

  template <typename Image>
  [[nodiscard]] KIP_INLINE Vec operator()(Image image, Vec mask) const {
    const Vec half = shiftRight32(mask, toHalf_);
    Vec quotient;
    if constexpr (Bits == 48) {
      quotient = divide<Bits, true>(toWide(image) << gain_, half, mask);
    } else {
      quotient = divide<Bits, true>(shiftLeft32(image, gain_), half, mask);
    }
    return select(greater32(quotient, largest_), largest_, quotient);
  }

 private:
  Shift gain_, toHalf_;
  Vec largest_;
};

// ---- quotients in doubles, and beyond

// At a scale of any size, and nothing above the largest pixel.
class LimitedInDoubles {
 public:
  KIP_INLINE explicit LimitedInDoubles(const MaskedScale& scale)
      : scale_(all(scale.scale)), half_(all(scale.isRounded ? 0.5 : 0.0)), largest_(scale.largest) {}

  template <typename Mask>
  [[nodiscard]] KIP_INLINE Vec operator()(Wide image, Mask mask) const {
    return truncate(limited(toDoubles(image) * scale_ / toDoubles(toWide(mask)) + half_, largest_));
  }

 private:
  Doubles scale_, half_;
  double largest_;
};

struct Unscaled {
  KIP_INLINE explicit Unscaled(const MaskedScale&) {}
  KIP_INLINE Wide operator()(Wide image) const { return image; }
};
// Times a fixed-point number below 2^32.
class Scaled {
 public:
  KIP_INLINE explicit Scaled(const MaskedScale& scale) : factor_(all64(static_cast<int64_t>(scale.fixedScale))) {}
  KIP_INLINE Wide operator()(Wide image) const {
    const Wide low = (image & all64(0xFFFF)) * factor_;
    return (image >> shift64By(16)) * factor_ + (low >> shift64By(16));
  }

 private:
  Vec factor_;
};

template <typename Dividend>
class DoubleQuotient {
 public:
  KIP_INLINE explicit DoubleQuotient(const MaskedScale& scale)
      : dividend_(scale), isRounded_(all32(scale.isRounded ? -1 : 0)) {}

  template <typename Mask>
  [[nodiscard]] KIP_INLINE Vec operator()(Wide image, Mask mask) const {
    const Wide divisor = toWide(mask);
    const Wide half = shiftRight64<1>(divisor) & isRounded_;
    return truncate(toDoubles(dividend_(image) + half) / toDoubles(divisor));
  }

 private:
  Dividend dividend_;
  Vec isRounded_;
};

class Quotient128 {
 public:
  KIP_INLINE explicit Quotient128(const MaskedScale& scale)
      : fixedScale_(scale.fixedScale), isRounded_(scale.isRounded) {}

  template <typename Mask>
  [[nodiscard]] KIP_INLINE Vec operator()(Wide image, Mask mask) const {
    return divide(image, toWide(mask));
  }

 private:
  __extension__ using Uint128 = unsigned __int128;

  [[nodiscard]] Vec divide(Wide image, Wide mask) const {
    uint64_t images[lanes];
    uint64_t masks[lanes];
    store(images, image.low);
    store(images + lanes / 2, image.high);
    store(masks, mask.low);
    store(masks + lanes / 2, mask.high);
    for (int64_t i = 0; i < lanes; ++i) {
      const uint64_t half = isRounded_ ? masks[i] >> 1 : 0;
      const auto scaled = static_cast<Uint128>(images[i]) * fixedScale_ >> 16;
      images[i] = masks[i] == 0 ? 0 : static_cast<uint64_t>((scaled + half) / masks[i]);
    }
    return narrow({load(images), load(images + lanes / 2)});
  }

  uint64_t fixedScale_;
  bool isRounded_;
};

// ---- products where all pixels are valid, quotients elsewhere

class IsFull {
 public:
  KIP_INLINE explicit IsFull(const MaskedScale& scale)
      : weights32_(all32(static_cast<int32_t>(scale.weights))), weights_(all(static_cast<double>(scale.weights))) {}

  [[nodiscard]] KIP_INLINE Vec operator()(Vec mask) const { return equal32(mask, weights32_); }
  [[nodiscard]] KIP_INLINE Vec operator()(Wide mask) const { return equal(toDoubles(mask), weights_); }

 private:
  Vec weights32_;
  Doubles weights_;
};

template <typename FullProduct, typename Quotient>
class ProductOrQuotient {
 public:
  static constexpr bool dividesFull = false;

  KIP_INLINE explicit ProductOrQuotient(const MaskedScale& scale)
      : isFull_(scale),
        product_(scale),
        quotient_(scale),
        // a quotient by a power of two is the same as the product, unless the power shows as 0
        differs_(scale.scale == 1.0 && scale.weights != 0 && (scale.weights & (scale.weights - 1)) == 0 ? 0 : allBits) {
  }

  template <typename Image, typename Mask>
  [[nodiscard]] KIP_INLINE Vec operator()(Image image, Mask mask) const {
    const Vec isFull = isFull_(mask);
    const int bits = bitsOf(isFull);
    if (bits == allBits) return product_(image);
    const Vec quotient = quotient_(image, mask);
    return (bits & differs_) == 0 ? quotient : select(isFull, product_(image), quotient);
  }

 private:
  IsFull isFull_;
  FullProduct product_;
  Quotient quotient_;
  int differs_;
};

}  // namespace

}  // namespace kip
