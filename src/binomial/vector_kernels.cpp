// SPDX-License-Identifier: Apache-2.0
#include "binomial/vector_masked_rows.hpp"
#include "binomial/vector_rows.hpp"

namespace kip {

namespace {

template <typename Pixel>
constexpr RowKernels<Pixel> vectorRows{
    .reduce = {.enter = enterReduced<Pixel>, .next = reduceNext<Pixel>},
    .smooth = {.enter = enterSmooth<Pixel>, .next = smoothNext<Pixel>},
    .pass5x1 = pass5x1<Pixel>,
    .pass1x5 = pass1x5<Pixel>,
    .maskedReduce = {.enter = enterMaskedReduced<Pixel>, .next = reduceMaskedNext<Pixel>},
    .maskedSmooth = {.enter = enterMaskedSmooth<Pixel>, .next = smoothMaskedNext<Pixel>},
    .maskedPass5x1 = maskedPass5x1<Pixel>,
    .maskedPass1x5 = maskedPass1x5<Pixel>,
};

}  // namespace

namespace KIP_LANES {
extern const RowKernels<uint8_t> binomialRows8 = vectorRows<uint8_t>;
extern const RowKernels<uint16_t> binomialRows16 = vectorRows<uint16_t>;
}  // namespace KIP_LANES

}  // namespace kip
