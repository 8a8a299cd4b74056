// SPDX-License-Identifier: Apache-2.0
// The table of the vectorised row kernels; include the lanes of an instruction set first.
#pragma once

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

}  // namespace kip
