// SPDX-License-Identifier: Apache-2.0
#include "binomial/kernels.hpp"
#include "binomial/levels.hpp"
#include "binomial/lines.hpp"
#include "binomial/ring.hpp"

namespace kip {

namespace {

// `select`, here and below: the row kernels, or a refusal.
template <typename Pixel, typename Select>
ksys_status smooth5x5(const KernelCall<Pixel>& call, const Select& select) {
  Buffer<Sum<Pixel>> block;
  return withCleanup<1>([&](Cleanup& cleanup) -> ksys_status {
    const RowKernels<Pixel>* rows = nullptr;
    ksys_status status = select(rows);
    if (failed(status)) return status;
    Sum<Pixel>* lines[5];
    status = allocateLines(cleanup, block, call.width, lines);
    return failed(status) ? status : runRing<1>(call, rows->smooth, lines);
  });
}

template <typename Pixel>
ksys_status smooth5x5Vec(const KernelCall<Pixel>& call) {
  return smooth5x5(call, [&call](const RowKernels<Pixel>*& rows) {
    return !hasVectorRows() || call.width <= 2 ? statusFallback : selectRows(rows);
  });
}

template <typename Pixel, typename Select>
ksys_status smoothMasked5x5(const KernelCall<Pixel>& call, const Select& select) {
  Buffer<uint32_t> block;
  return withCleanup<1>([&](Cleanup& cleanup) -> ksys_status {
    const RowKernels<Pixel>* rows = nullptr;
    ksys_status status = select(rows);
    if (failed(status)) return status;
    MaskedLine lines[5];
    uint16_t* scratch = nullptr;
    const int64_t scratchWords = maskedScratch<Pixel>(call.width);
    status = allocateLines(cleanup, block, call.width, scratchWords, lines, scratch);
    return failed(status) ? status : runRing<1>(call, rows->maskedSmooth, lines, scratch);
  });
}

template <typename Pixel>
ksys_status smoothMasked5x5Vec(const KernelCall<Pixel>& call) {
  return smoothMasked5x5(call, [&call](const RowKernels<Pixel>*& rows) {
    const ksys_status status = selectMaskedRows(rows);
    return failed(status) || call.height >= 5 ? status : statusFallback;
  });
}

}  // namespace

ksys_status gauss2_smooth5x5_8(const KernelCall<uint8_t>& call) {
  return smooth5x5(call, selectPortableRows<uint8_t>);
}
ksys_status gauss2_smooth5x5_16(const KernelCall<uint16_t>& call) {
  return smooth5x5(call, selectPortableRows<uint16_t>);
}
ksys_status gauss2_smooth5x5Vec8(const KernelCall<uint8_t>& call) {
  return smooth5x5Vec(call);
}
ksys_status gauss2_smooth5x5Vec16(const KernelCall<uint16_t>& call) {
  return smooth5x5Vec(call);
}
ksys_status gauss2_smoothMasked5x5_8(const KernelCall<uint8_t>& call) {
  return smoothMasked5x5(call, selectPortableRows<uint8_t>);
}
ksys_status gauss2_smoothMasked5x5_16(const KernelCall<uint16_t>& call) {
  return smoothMasked5x5(call, selectPortableRows<uint16_t>);
}
ksys_status gauss2_smoothMasked5x5Vec8(const KernelCall<uint8_t>& call) {
  return smoothMasked5x5Vec(call);
}
ksys_status gauss2_smoothMasked5x5Vec16(const KernelCall<uint16_t>& call) {
  return smoothMasked5x5Vec(call);
}

}  // namespace kip
