// SPDX-License-Identifier: Apache-2.0
// The masked row kernel along the row: running sums of lines, and values of whatever kind from them at every output.
#pragma once

#include "masked/column_sums.hpp"
#include "masked/values.hpp"

namespace kip {

namespace {

// ---- the running sums of one line or two

struct JoinedLine {
  Sums32 joined;

  KIP_INLINE void add(int32_t* column, int64_t, int64_t box) { joined.add(column, box); }
  template <typename Value>
  [[nodiscard]] KIP_INLINE Vec output(const Value& value) const {
    Vec mask = maskPart(joined.sum);
    if constexpr (Value::dividesFull) {  // whose 0 is all of the weights, or stands under an output that is not valid
      mask = bitOr(mask, bitAnd(equal32(mask, zeros()), all32(int32_t{maskedJoinedWeights})));
    }
    return value(imagePart(joined.sum), mask);
  }
};

template <typename Image, typename Mask>
struct TwoLines {
  Image image;
  Mask mask;

  KIP_INLINE void add(int32_t* column, int64_t maskLine, int64_t box) {
    image.add(column, box);
    mask.add(column + maskLine, box);
  }
  template <typename Value>
  [[nodiscard]] KIP_INLINE Vec output(const Value& value) const {
    return value(image.sum, mask.sum);
  }
};

template <typename Image>
struct ImageLine {
  Image image;

  KIP_INLINE void add(int32_t* column, int64_t, int64_t box) { image.add(column, box); }
  template <typename Value>
  [[nodiscard]] KIP_INLINE Vec output(const Value& value) const {
    return value(image.sum);
  }
};

// Room for any of them, all 0 at first.
struct LineState {
  alignas(32) std::byte room[12 * sizeof(Vec)];

  KIP_INLINE LineState() {
    for (size_t i = 0; i < 12; ++i) store(room + i * sizeof(Vec), zeros());
  }
};

// ---- sums and values together

template <typename Sums, typename Value>
void outputsBy(const MaskedScale& scale, std::byte* state, int32_t* column, int64_t maskLine,
               const LineStretch& stretch, int32_t* values) {
  static_assert(sizeof(Sums) <= sizeof(LineState));
  auto* const saved = static_cast<Sums*>(static_cast<void*>(state));
  const Value value(scale);
  Sums sums = *saved;
  const auto [skipped, outputs, sample, columnsOfBox] = stretch;
  const int64_t box = columnsOfBox * lanes;
  const auto enter = [&](int64_t columns) {
    for (int64_t i = 0; i < columns; ++i, column += lanes) sums.add(column, maskLine, box);
  };
  enter(skipped);
  int32_t* const end = values + outputs * lanes;
  if (sample == 1) {
    for (; values != end; values += lanes, column += lanes) {
      sums.add(column, maskLine, box);
      store(values, sums.output(value));
    }
  } else {
    for (int64_t columns = 1; values != end; values += lanes, columns = sample) {
      enter(columns);
      store(values, sums.output(value));
    }
  }
  *saved = sums;
}

template <typename Value>
LineOutputs from32(ImageSums image, MaskSums mask) {
  if (image == ImageSums::joined && mask == MaskSums::none) return outputsBy<JoinedLine, Value>;
  if (image == ImageSums::in32 && mask == MaskSums::in32) return outputsBy<TwoLines<Sums32, Sums32>, Value>;
  return nullptr;
}
template <int Bits>
LineOutputs quotientsFrom32(bool isShort, ImageSums image, MaskSums mask) {
  return isShort ? from32<ProductOrQuotient<ShortProduct, FloatQuotient<Bits>>>(image, mask)
                 : from32<ProductOrQuotient<Product, FloatQuotient<Bits>>>(image, mask);
}

// Image sums in 64 bits of any kind with one of the mask's.
template <typename Value, template <Reach> typename Sums>
LineOutputs from64(ImageSums image) {
  switch (image) {
    case ImageSums::in64FromSeconds:
      return outputsBy<Sums<Reach::second>, Value>;
    case ImageSums::in64FromDifferences:
      return outputsBy<Sums<Reach::difference>, Value>;
    case ImageSums::in64:
      return outputsBy<Sums<Reach::nothing>, Value>;
    default:
      return nullptr;
  }
}
template <Reach R>
using Mask32 = TwoLines<Sums64<R>, Sums32>;
template <Reach R>
using Mask64 = TwoLines<Sums64<R>, Sums64<Reach::difference>>;
template <Reach R>
using NoMask = ImageLine<Sums64<R>>;

template <typename Value>
LineOutputs from64(ImageSums image, MaskSums mask) {
  if (mask == MaskSums::none) return nullptr;
  return mask == MaskSums::in32 ? from64<Value, Mask32>(image) : from64<Value, Mask64>(image);
}
template <typename Value>
LineOutputs from64And32(ImageSums image, MaskSums mask) {
  return mask == MaskSums::in32 ? from64<Value, Mask32>(image) : nullptr;
}

LineOutputs lineOutputs(MaskedValues values, bool isShort, ImageSums image, MaskSums mask) {
  const bool isImageIn32 = image == ImageSums::joined || image == ImageSums::in32;
  switch (values) {
    case MaskedValues::quotient24:
      return quotientsFrom32<24>(isShort, image, mask);
    case MaskedValues::quotient31:
      return quotientsFrom32<31>(isShort, image, mask);
    case MaskedValues::quotient32:
      return quotientsFrom32<32>(isShort, image, mask);
    case MaskedValues::quotient48:
      return from64And32<ProductOrQuotient<Product, FloatQuotient<48>>>(image, mask);
    case MaskedValues::gain31:
      return from32<Gain<31>>(image, mask);
    case MaskedValues::gain32:
      return from32<Gain<32>>(image, mask);
    case MaskedValues::gain48:
      return isImageIn32 ? from32<Gain<48>>(image, mask) : from64And32<Gain<48>>(image, mask);
    case MaskedValues::inDoubles:
      return from64<ProductOrQuotient<Product, DoubleQuotient<Unscaled>>>(image, mask);
    case MaskedValues::scaledInDoubles:
      return from64<ProductOrQuotient<Product, DoubleQuotient<Scaled>>>(image, mask);
    case MaskedValues::scaledIn128Bits:
      return from64<ProductOrQuotient<Product, Quotient128>>(image, mask);
    case MaskedValues::limitedInDoubles:
      return from64<LimitedInDoubles>(image, mask);
    case MaskedValues::product:
      return mask == MaskSums::none ? from64<Product, NoMask>(image) : nullptr;
  }
  return nullptr;
}

}  // namespace

}  // namespace kip
