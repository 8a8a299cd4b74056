// SPDX-License-Identifier: Apache-2.0
// Every output of a row by the formulas: the reference of the vectorised kernels.
#include "reduce2/formulas.hpp"

namespace kip {

namespace {

template <int64_t Step, typename Pixel>
constexpr RingRows<Pixel> ring{
    .row = [](const Pixel* src, int64_t width, Sum<Pixel>* line,
              int32_t shift) { sumRow<Step>(src, width, 0, width / Step, line, shift); },
    .column = [](Sum<Pixel>* const lines[5], int64_t count, Pixel* dst) { sumColumn<Step>(lines, 0, count, dst); },
};

template <int64_t Step, typename Pixel>
constexpr MaskedRingRows<Pixel> maskedRing{
    .row = [](const Pixel* src, const uint8_t* mask, int64_t width, const MaskedLine& line,
              int32_t shift) { sumMaskedRow<Step>(src, mask, width, 0, width / Step, line, shift); },
    .column =
        [](const MaskedLine lines[5], int64_t count, uint16_t* totals, Pixel* dst, uint8_t* dstMask) {
          sumWeights<Step>(lines, 0, count, totals, dstMask);
          divideSums<Step>(lines, 0, count, totals, dst);
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
