// SPDX-License-Identifier: Apache-2.0
#include "binomial/kernels.hpp"

#include "binomial/pass_1x5.hpp"
#include "binomial/pass_5x1.hpp"
#include "binomial/pass_5x5.hpp"
#include "binomial/reduce_x_or_y.hpp"
#include "binomial/reduce_xy.hpp"

namespace kip {

namespace {

// By mask, pixel size and axes.
using Names = const wchar_t* [2][2][3];
constexpr Names smoothingNames = {
    {{L"gauss2NoSample5x5", L"gauss2NoSample5x1", L"gauss2NoSample1x5"},
     {L"gauss2NoSample5x516", L"gauss2NoSample5x116", L"gauss2NoSample1x516"}},
    {{L"gauss2NoSample5x5Mask", L"gauss2NoSample5x1Mask", L"gauss2NoSample1x5Mask"},
     {L"gauss2NoSample5x5Mask16", L"gauss2NoSample5x1Mask16", L"gauss2NoSample1x5Mask16"}},
};
constexpr Names reductionNames = {
    {{L"gauss2", L"gauss2X", L"gauss2Y"}, {L"gauss2_16", L"gauss2X_16", L"gauss2Y_16"}},
    {{L"gauss2Masked", L"gauss2XMasked", L"gauss2YMasked"},
     {L"gauss2Masked_16", L"gauss2XMasked_16", L"gauss2YMasked_16"}},
};

template <typename Pixel, bool Masked>
constexpr const wchar_t* nameOf(const Names& names, Axes axes) {
  return names[Masked ? 1 : 0][sizeof(Pixel) - 1][static_cast<int>(axes)];
}

// In the order of Axes.
template <typename Pixel, bool Masked>
constexpr Versions<Pixel> smoothings[] = {
    {nameOf<Pixel, Masked>(smoothingNames, Axes::both), smooth5x5<Pixel, Masked, true>,
     smooth5x5<Pixel, Masked, false>},
    {nameOf<Pixel, Masked>(smoothingNames, Axes::x), smooth5x1<Pixel, Masked, true>, smooth5x1<Pixel, Masked, false>},
    {nameOf<Pixel, Masked>(smoothingNames, Axes::y), smooth1x5<Pixel, Masked, true>, smooth1x5<Pixel, Masked, false>},
};
// Along one axis the work is a smoothing's, which has its own versions.
template <typename Pixel, bool Masked>
constexpr Versions<Pixel> reductions[] = {
    {nameOf<Pixel, Masked>(reductionNames, Axes::both), reduceXY<Pixel, Masked, true>, reduceXY<Pixel, Masked, false>},
    {nameOf<Pixel, Masked>(reductionNames, Axes::x), nullptr, reduceXOrY<Pixel, Masked, Axes::x>},
    {nameOf<Pixel, Masked>(reductionNames, Axes::y), nullptr, reduceXOrY<Pixel, Masked, Axes::y>},
};

}  // namespace

template <typename Pixel, bool Masked>
const Versions<Pixel>& smoothing(Axes axes) {
  return smoothings<Pixel, Masked>[static_cast<int>(axes)];
}
template <typename Pixel, bool Masked>
const Versions<Pixel>& reduction(Axes axes) {
  return reductions<Pixel, Masked>[static_cast<int>(axes)];
}

template const Versions<uint8_t>& smoothing<uint8_t, false>(Axes axes);
template const Versions<uint8_t>& smoothing<uint8_t, true>(Axes axes);
template const Versions<uint16_t>& smoothing<uint16_t, false>(Axes axes);
template const Versions<uint16_t>& smoothing<uint16_t, true>(Axes axes);
template const Versions<uint8_t>& reduction<uint8_t, false>(Axes axes);
template const Versions<uint8_t>& reduction<uint8_t, true>(Axes axes);
template const Versions<uint16_t>& reduction<uint16_t, false>(Axes axes);
template const Versions<uint16_t>& reduction<uint16_t, true>(Axes axes);

}  // namespace kip
