// SPDX-License-Identifier: Apache-2.0
#include "masked/set_mask_vec.hpp"

#include "frame/processor.hpp"
#include "masked/set_mask_kernel.hpp"

namespace kip {

namespace {

template <typename Pixel, typename SetMaskRow>
ksys_status setMaskRows(SetMaskRow&& setMaskRow, const kimg_window& imagePlane, const kimg_window8& maskPlane,
                        const SourceRows& rows, bool& hasEvenBytes) {
  ksys_cpuinfo info;
  const ksys_status status = ksys_cpuinfo_init(&info);
  if (failed(status)) return status;
  if (!hasFeatures(info, ksys_cpuSse2Integer)) return statusFallback;
  for (int64_t row = rows.top; row < rows.top + rows.count; ++row) {
    const bool found = setMaskRow(rowOf<Pixel>(imagePlane, row), rowOf<uint8_t>(maskPlane, row), imagePlane.width);
    hasEvenBytes = hasEvenBytes || found;
  }
  return status;
}

}  // namespace

ksys_status gauss_setMaskVec8(const kimg_window8& imagePlane, const kimg_window8& maskPlane, const SourceRows& rows,
                              bool& hasEvenBytes) {
  return setMaskRows<uint8_t>(gauss_setMaskRow8, imagePlane, maskPlane, rows, hasEvenBytes);
}
ksys_status gauss_setMaskVec16(const kimg_window16& imagePlane, const kimg_window8& maskPlane, const SourceRows& rows,
                               bool& hasEvenBytes) {
  return setMaskRows<uint16_t>(gauss_setMaskRow16, imagePlane, maskPlane, rows, hasEvenBytes);
}

}  // namespace kip
