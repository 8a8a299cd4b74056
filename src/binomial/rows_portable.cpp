// SPDX-License-Identifier: Apache-2.0
// Every output of a row by the formulas: the reference of the vectorised kernels.
#include "binomial/formulas.hpp"

namespace kip {

namespace {

template <int64_t Step, typename Pixel>
void enterRow(const Pixel* src, int64_t width, Sum<Pixel>* line, int32_t shift) {
  sumRow<Step>(src, width, 0, width / Step, line, shift);
}
template <int64_t Step, typename Pixel>
void enterRow(const Pixel* src, const uint8_t* mask, int64_t width, const MaskedLine& line, uint16_t* /*scratch*/,
              int32_t shift) {
  sumMaskedRow<Step>(src, mask, width, 0, width / Step, line, shift);
}

template <int64_t Step, typename Pixel>
constexpr RingRows<Pixel> ring{
    .enter = enterRow<Step, Pixel>,
    .next =
        [](const Pixel* const src[], int64_t width, Sum<Pixel>* const lines[5], Pixel* dst) {
          if constexpr (Step == 2) enterRow<2>(src[0], width, lines[3], 2);
          enterRow<Step>(src[Step - 1], width, lines[4], 0);
          sumColumn<Step>(lines, 0, width / Step, dst);
        },
};

template <int64_t Step, typename Pixel>
constexpr MaskedRingRows<Pixel> maskedRing{
    .enter = enterRow<Step, Pixel>,
    .next =
        [](const Pixel* const src[], const uint8_t* const masks[], int64_t width, const MaskedLine lines[5],
           uint16_t* totals, Pixel* dst, uint8_t* dstMask) {
          if constexpr (Step == 2) enterRow<2>(src[0], masks[0], width, lines[3], totals, 2);
          enterRow<Step>(src[Step - 1], masks[Step - 1], width, lines[4], totals, 0);
          sumWeights<Step>(lines, 0, width / Step, totals, dstMask);
          divideSums<Step>(lines, 0, width / Step, totals, dst);
        },
};

template <typename Pixel>
constexpr RowKernels<Pixel> portableRows{
    .reduce = ring<2, Pixel>,
    .smooth = ring<1, Pixel>,
    .pass5x1 = [](const Pixel* src, int64_t width, Pixel* dst) { smoothAlong(src, width, 0, width, dst); },
    .pass1x5 = [](const Pixel* const rows[5], int64_t width, Pixel* dst) { smoothDown(rows, 0, width, dst); },
    .maskedReduce = maskedRing<2, Pixel>,
    .maskedSmooth = maskedRing<1, Pixel>,
    .maskedPass5x1 = [](const Pixel* src, const uint8_t* mask, int64_t width, Pixel* dst,
                        uint8_t* dstMask) { smoothMaskedAlong(src, mask, width, 0, width, dst, dstMask); },
    .maskedPass1x5 = [](const Pixel* const rows[5], const uint8_t* const masks[5], int64_t width, Pixel* dst,
                        uint8_t* dstMask) { smoothMaskedDown(rows, masks, 0, width, dst, dstMask); },
};

}  // namespace

const RowKernels<uint8_t> portableRows8 = portableRows<uint8_t>;
const RowKernels<uint16_t> portableRows16 = portableRows<uint16_t>;

}  // namespace kip
