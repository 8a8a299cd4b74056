// SPDX-License-Identifier: Apache-2.0
#include "binomial/dispatch.hpp"

#include "frame/check.hpp"
#include "frame/optimized.hpp"

namespace kip {

namespace {

template <typename Pixel>
struct Choice {
  const wchar_t* name;
  Kernel<Pixel>* optimized;
  Kernel<Pixel>* generic;
};

template <typename Pixel>
ksys_status run(const Choice<Pixel>& choice, const KernelCall<Pixel>& call) {
  return runOptimized(
      choice.name, [&] { return choice.optimized(call); }, [&] { return choice.generic(call); });
}

// In the order of Pass.
template <typename Pixel, bool Masked>
constexpr Choice<Pixel> passes[3];
template <>
constexpr Choice<uint8_t> passes<uint8_t, false>[] = {{L"gauss2NoSample5x5", gauss2_smooth5x5Vec8, gauss2_smooth5x5_8},
                                                      {L"gauss2NoSample5x1", gauss2_smooth5x1Vec8, gauss2_smooth5x1_8},
                                                      {L"gauss2NoSample1x5", gauss2_smooth1x5Vec8, gauss2_smooth1x5_8}};
template <>
constexpr Choice<uint16_t> passes<uint16_t, false>[] = {
    {L"gauss2NoSample5x516", gauss2_smooth5x5Vec16, gauss2_smooth5x5_16},
    {L"gauss2NoSample5x116", gauss2_smooth5x1Vec16, gauss2_smooth5x1_16},
    {L"gauss2NoSample1x516", gauss2_smooth1x5Vec16, gauss2_smooth1x5_16}};
template <>
constexpr Choice<uint8_t> passes<uint8_t, true>[] = {
    {L"gauss2NoSample5x5Mask", gauss2_smoothMasked5x5Vec8, gauss2_smoothMasked5x5_8},
    {L"gauss2NoSample5x1Mask", gauss2_smoothMasked5x1Vec8, gauss2_smoothMasked5x1_8},
    {L"gauss2NoSample1x5Mask", gauss2_smoothMasked1x5Vec8, gauss2_smoothMasked1x5_8}};
template <>
constexpr Choice<uint16_t> passes<uint16_t, true>[] = {
    {L"gauss2NoSample5x5Mask16", gauss2_smoothMasked5x5Vec16, gauss2_smoothMasked5x5_16},
    {L"gauss2NoSample5x1Mask16", gauss2_smoothMasked5x1Vec16, gauss2_smoothMasked5x1_16},
    {L"gauss2NoSample1x5Mask16", gauss2_smoothMasked1x5Vec16, gauss2_smoothMasked1x5_16}};

// The reductions along one axis have names but no hooks: their passes have.
template <typename Pixel>
ksys_status noHook(const KernelCall<Pixel>& /*call*/) {
  return statusFallback;
}

template <typename Pixel>
using KernelXOrY = ksys_status(const KernelCall<Pixel>& call, bool xFlag, bool yFlag);

template <typename Pixel, KernelXOrY<Pixel>* Reduce, bool XFlag>
ksys_status along(const KernelCall<Pixel>& call) {
  return Reduce(call, XFlag, !XFlag);
}

template <typename Pixel, bool Masked>
constexpr Choice<Pixel> reductions[3];
template <>
constexpr Choice<uint8_t> reductions<uint8_t, false>[] = {
    {L"gauss2", gauss2_reduceXYVec8, gauss2_reduceXY8},
    {L"gauss2X", noHook<uint8_t>, along<uint8_t, gauss2_reduceXOrY8, true>},
    {L"gauss2Y", noHook<uint8_t>, along<uint8_t, gauss2_reduceXOrY8, false>}};
template <>
constexpr Choice<uint16_t> reductions<uint16_t, false>[] = {
    {L"gauss2_16", gauss2_reduceXYVec16, gauss2_reduceXY16},
    {L"gauss2X_16", noHook<uint16_t>, along<uint16_t, gauss2_reduceXOrY16, true>},
    {L"gauss2Y_16", noHook<uint16_t>, along<uint16_t, gauss2_reduceXOrY16, false>}};
template <>
constexpr Choice<uint8_t> reductions<uint8_t, true>[] = {
    {L"gauss2Masked", gauss2_reduceMaskedXYVec8, gauss2_reduceMaskedXY8},
    {L"gauss2XMasked", noHook<uint8_t>, along<uint8_t, gauss2_reduceMaskedXOrY8, true>},
    {L"gauss2YMasked", noHook<uint8_t>, along<uint8_t, gauss2_reduceMaskedXOrY8, false>}};
template <>
constexpr Choice<uint16_t> reductions<uint16_t, true>[] = {
    {L"gauss2Masked_16", gauss2_reduceMaskedXYVec16, gauss2_reduceMaskedXY16},
    {L"gauss2XMasked_16", noHook<uint16_t>, along<uint16_t, gauss2_reduceMaskedXOrY16, true>},
    {L"gauss2YMasked_16", noHook<uint16_t>, along<uint16_t, gauss2_reduceMaskedXOrY16, false>}};

}  // namespace

template <typename Pixel, bool Masked>
ksys_status runPass(Pass pass, const KernelCall<Pixel>& call) {
  return run(passes<Pixel, Masked>[static_cast<int>(pass)], call);
}

template <typename Pixel, bool Masked>
ksys_status runReduction(bool xFlag, bool yFlag, const KernelCall<Pixel>& call) {
  check(xFlag || yFlag);
  const Pass pass = xFlag && yFlag ? Pass::both : xFlag ? Pass::horizontal : Pass::vertical;
  return run(reductions<Pixel, Masked>[static_cast<int>(pass)], call);
}

template ksys_status runPass<uint8_t, false>(Pass pass, const KernelCall<uint8_t>& call);
template ksys_status runPass<uint16_t, false>(Pass pass, const KernelCall<uint16_t>& call);
template ksys_status runPass<uint8_t, true>(Pass pass, const KernelCall<uint8_t>& call);
template ksys_status runPass<uint16_t, true>(Pass pass, const KernelCall<uint16_t>& call);
template ksys_status runReduction<uint8_t, false>(bool xFlag, bool yFlag, const KernelCall<uint8_t>& call);
template ksys_status runReduction<uint16_t, false>(bool xFlag, bool yFlag, const KernelCall<uint16_t>& call);
template ksys_status runReduction<uint8_t, true>(bool xFlag, bool yFlag, const KernelCall<uint8_t>& call);
template ksys_status runReduction<uint16_t, true>(bool xFlag, bool yFlag, const KernelCall<uint16_t>& call);

}  // namespace kip
