// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "binomial/kernels.hpp"
#include "binomial/levels.hpp"
#include "frame/attention.hpp"

namespace kip {

namespace {

// row(y, nearest): nearest(k) is the row of the picture nearest to y + k, -2 <= k <= 2. The first two and the last two
// rows and pictures below five rows ask for no attention.
template <typename Row>
ksys_status runRows(int64_t height, Row&& row) {
  for (int64_t y = 0; y < height; ++y) {
    if (y >= 2 && y < height - 2) {
      const ksys_status status = pollAttention<64>(y - 2);
      if (failed(status)) return status;
    }
    row(y, [=](int64_t k) { return std::clamp<int64_t>(y + k, 0, height - 1); });
  }
  return 0;
}

template <typename Pixel>
ksys_status smooth1x5(const KernelCall<Pixel>& call, const RowKernels<Pixel>& rows) {
  return runRows(call.height, [&](int64_t y, auto nearest) {
    const Pixel* five[5];
    for (int k = 0; k < 5; ++k) five[k] = call.srcRow(nearest(k - 2));
    rows.pass1x5(five, call.width, call.dstRow(y));
  });
}

template <typename Pixel>
ksys_status smooth1x5Vec(const KernelCall<Pixel>& call) {
  if (!hasVectorRows() || call.width <= 2) return statusFallback;
  const RowKernels<Pixel>* rows = nullptr;
  const ksys_status status = selectRows(rows);
  return failed(status) ? status : smooth1x5(call, *rows);
}

template <typename Pixel>
ksys_status smoothMasked1x5(const KernelCall<Pixel>& call, const RowKernels<Pixel>& rows) {
  return runRows(call.height, [&](int64_t y, auto nearest) {
    const Pixel* five[5];
    const uint8_t* masks[5];
    for (int k = 0; k < 5; ++k) {
      five[k] = call.srcRow(nearest(k - 2));
      masks[k] = call.srcMaskRow(nearest(k - 2));
    }
    rows.maskedPass1x5(five, masks, call.width, call.dstRow(y), call.dstMaskRow(y));
  });
}

template <typename Pixel>
ksys_status smoothMasked1x5Vec(const KernelCall<Pixel>& call) {
  const RowKernels<Pixel>* rows = nullptr;
  const ksys_status status = selectMaskedRows(rows);
  if (failed(status)) return status;
  return call.dstMask == nullptr || call.height < 5 ? statusFallback : smoothMasked1x5(call, *rows);
}

}  // namespace

ksys_status gauss2_smooth1x5_8(const KernelCall<uint8_t>& call) {
  return smooth1x5(call, portableRows<uint8_t>());
}
ksys_status gauss2_smooth1x5_16(const KernelCall<uint16_t>& call) {
  return smooth1x5(call, portableRows<uint16_t>());
}
ksys_status gauss2_smooth1x5Vec8(const KernelCall<uint8_t>& call) {
  return smooth1x5Vec(call);
}
ksys_status gauss2_smooth1x5Vec16(const KernelCall<uint16_t>& call) {
  return smooth1x5Vec(call);
}
ksys_status gauss2_smoothMasked1x5_8(const KernelCall<uint8_t>& call) {
  return smoothMasked1x5(call, portableRows<uint8_t>());
}
ksys_status gauss2_smoothMasked1x5_16(const KernelCall<uint16_t>& call) {
  return smoothMasked1x5(call, portableRows<uint16_t>());
}
ksys_status gauss2_smoothMasked1x5Vec8(const KernelCall<uint8_t>& call) {
  return smoothMasked1x5Vec(call);
}
ksys_status gauss2_smoothMasked1x5Vec16(const KernelCall<uint16_t>& call) {
  return smoothMasked1x5Vec(call);
}

}  // namespace kip
