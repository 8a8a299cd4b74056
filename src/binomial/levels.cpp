// SPDX-License-Identifier: Apache-2.0
#include "binomial/levels.hpp"

#include "levels/processor.hpp"

namespace kip {

namespace {

template <typename Pixel>
struct Level;

template <>
struct Level<uint8_t> {
  static constexpr int32_t feature = ksys_cpuSse2Integer;
  static constexpr const RowKernels<uint8_t>& sse2 = sse2Rows8;
  static constexpr const RowKernels<uint8_t>& avx2 = avx2Rows8;
};

template <>
struct Level<uint16_t> {
  static constexpr int32_t feature = ksys_cpuSse41;
  static constexpr const RowKernels<uint16_t>& sse2 = sse2Rows16;
  static constexpr const RowKernels<uint16_t>& avx2 = avx2Rows16;
};

}  // namespace

bool hasVectorRows() {
  return true;
}

template <typename Pixel>
ksys_status selectMaskedRows(const RowKernels<Pixel>*& rows) {
  ksys_cpuinfo info;
  const ksys_status status = ksys_cpuinfo_init(&info);
  if (failed(status)) return status;
  if (!hasFeatures(info, Level<Pixel>::feature)) return statusFallback;
  rows = hasFeatures(info, ksys_cpuAvx2) ? &Level<Pixel>::avx2 : &Level<Pixel>::sse2;
  return 0;
}

template <typename Pixel>
ksys_status selectRows(const RowKernels<Pixel>*& rows) {
  const ksys_status status = selectMaskedRows(rows);
  if (sizeof(Pixel) == 2 || status != statusFallback) return status;
  rows = &portableRows<Pixel>();
  return 0;
}

template ksys_status selectRows(const RowKernels<uint8_t>*& rows);
template ksys_status selectRows(const RowKernels<uint16_t>*& rows);
template ksys_status selectMaskedRows(const RowKernels<uint8_t>*& rows);
template ksys_status selectMaskedRows(const RowKernels<uint16_t>*& rows);

}  // namespace kip
