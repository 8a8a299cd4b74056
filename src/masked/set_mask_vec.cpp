// SPDX-License-Identifier: Apache-2.0
#include "masked/set_mask_vec.hpp"

#include "frame/processor.hpp"
#include "masked/set_mask_kernel.hpp"

namespace kip {

ksys_status gauss_setMaskVec8(const kimg_window8& imagePlane, const kimg_window8& maskPlane, const SourceRows& rows) {
  ksys_cpuinfo info;
  const ksys_status status = ksys_cpuinfo_init(&info);
  if (failed(status)) return status;
  if (!hasFeatures(info, ksys_cpuSse2Integer)) return statusFallback;
  for (int64_t row = rows.top; row < rows.top + rows.count; ++row) {
    gauss_setMaskRow8(rowOf<uint8_t>(imagePlane, row), rowOf<uint8_t>(maskPlane, row), imagePlane.width);
  }
  return status;
}

}  // namespace kip
