// SPDX-License-Identifier: Apache-2.0
// The masked row kernel's last step, row by row: what stands where outputs are not valid.
#pragma once

#include <limits>
#include <type_traits>

#include "lanes/lanes.hpp"
#include "masked/row_kernel.hpp"

namespace kip {

namespace {

// The byte, or 0 when it is odd.
KIP_INLINE uint8_t ifEven(uint8_t byte) {
  return static_cast<uint8_t>(byte & ((byte & 1) - 1));
}
bool hasUncounted(const uint8_t* mask, int64_t width) {
  uint8_t even = 0;
  for (int64_t x = 0; x < width; ++x) even |= ifEven(mask[x]);
  return even != 0;
}

template <typename Src, typename Dst>
bool replaceInvalid(const uint8_t* __restrict mask, const Src* __restrict source, int32_t gainBits, Dst* __restrict out,
                    uint8_t* __restrict valid, int64_t width) {
  uint8_t even = 0;
  for (int64_t x = 0; x < width; ++x) {
    const Dst value = out[x];
    Dst pixel = source[x];
    if constexpr (sizeof(Src) < sizeof(Dst)) pixel = static_cast<Dst>(pixel << gainBits);
    out[x] = mask[x] != 0 ? value : pixel;
    valid[x] = mask[x] != 0 ? 255 : 0;
    even |= ifEven(mask[x]);
  }
  return even != 0;
}

template <typename Word, typename Src, typename Dst, typename Step>
KIP_INLINE void scaleInvalidIn(const uint8_t* __restrict valid, const Src* __restrict samples, Step step,
                               const SampleScale& scale, Dst* __restrict out, int64_t width) {
  const auto factor = static_cast<Word>(scale.factor);
  const auto half = static_cast<Word>(scale.half);
  const auto limit = static_cast<Word>(scale.limit);
  for (int64_t x = 0; x < width; ++x) {
    const Word scaled = (factor * samples[x * step] + half) >> 16;
    const Dst sample = static_cast<Dst>(scaled < limit ? scaled : limit);
    const Dst kept = out[x];
    out[x] = valid[x] != 0 ? kept : sample;
  }
}

template <typename Src, typename Dst>
void scaleInvalid(const uint8_t* valid, const Src* samples, int64_t step, const SampleScale& scale, Dst* out,
                  int64_t width) {
  constexpr uint64_t white = std::numeric_limits<Src>::max();
  constexpr uint64_t most = std::numeric_limits<uint32_t>::max();
  if (step != 1) return scaleInvalidIn<uint64_t>(valid, samples, step, scale, out, width);
  constexpr std::integral_constant<int64_t, 1> one;
  scale.factor <= (most - scale.half) / white ? scaleInvalidIn<uint32_t>(valid, samples, one, scale, out, width)
                                              : scaleInvalidIn<uint64_t>(valid, samples, one, scale, out, width);
}

}  // namespace

}  // namespace kip
