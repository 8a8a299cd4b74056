// SPDX-License-Identifier: Apache-2.0
#include "binomial/kernels.hpp"
#include "binomial/levels.hpp"
#include "frame/attention.hpp"

namespace kip {

namespace {

template <typename Row>
ksys_status runRows(int64_t height, Row&& row) {
  for (int64_t y = 0; y < height; ++y) {
    const ksys_status status = pollAttention<64>(y);
    if (failed(status)) return status;
    row(y);
  }
  return 0;
}

template <typename Pixel>
ksys_status smooth5x1(const KernelCall<Pixel>& call, const RowKernels<Pixel>& rows) {
  return runRows(call.height, [&](int64_t y) { rows.pass5x1(call.srcRow(y), call.width, call.dstRow(y)); });
}

template <typename Pixel>
ksys_status smooth5x1Vec(const KernelCall<Pixel>& call) {
  if (!hasVectorRows() || call.width <= 2) return statusFallback;
  const RowKernels<Pixel>* rows = nullptr;
  const ksys_status status = selectRows(rows);
  return failed(status) ? status : smooth5x1(call, *rows);
}

template <typename Pixel>
ksys_status smoothMasked5x1(const KernelCall<Pixel>& call, const RowKernels<Pixel>& rows) {
  return runRows(call.height, [&](int64_t y) {
    rows.maskedPass5x1(call.srcRow(y), call.srcMaskRow(y), call.width, call.dstRow(y), call.dstMaskRow(y));
  });
}

template <typename Pixel>
ksys_status smoothMasked5x1Vec(const KernelCall<Pixel>& call) {
  const RowKernels<Pixel>* rows = nullptr;
  const ksys_status status = selectMaskedRows(rows);
  if (failed(status)) return status;
  return call.dstMask == nullptr || call.width <= 2 ? statusFallback : smoothMasked5x1(call, *rows);
}

}  // namespace

ksys_status gauss2_smooth5x1_8(const KernelCall<uint8_t>& call) {
  return smooth5x1(call, portableRows<uint8_t>());
}
ksys_status gauss2_smooth5x1_16(const KernelCall<uint16_t>& call) {
  return smooth5x1(call, portableRows<uint16_t>());
}
ksys_status gauss2_smooth5x1Vec8(const KernelCall<uint8_t>& call) {
  return smooth5x1Vec(call);
}
ksys_status gauss2_smooth5x1Vec16(const KernelCall<uint16_t>& call) {
  return smooth5x1Vec(call);
}
ksys_status gauss2_smoothMasked5x1_8(const KernelCall<uint8_t>& call) {
  return smoothMasked5x1(call, portableRows<uint8_t>());
}
ksys_status gauss2_smoothMasked5x1_16(const KernelCall<uint16_t>& call) {
  return smoothMasked5x1(call, portableRows<uint16_t>());
}
ksys_status gauss2_smoothMasked5x1Vec8(const KernelCall<uint8_t>& call) {
  return smoothMasked5x1Vec(call);
}
ksys_status gauss2_smoothMasked5x1Vec16(const KernelCall<uint16_t>& call) {
  return smoothMasked5x1Vec(call);
}

}  // namespace kip
