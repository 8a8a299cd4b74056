// SPDX-License-Identifier: Apache-2.0
#include "masked/set_mask.hpp"

#include "frame/optimized.hpp"
#include "masked/extend_rows.hpp"
#include "masked/lanes_engine.hpp"

namespace kip {

namespace {

ksys_status setWholeBytes(const kimg_window8& maskPlane, const PlaneRows& rows) {
  for (int64_t row = rows.top; row < rows.top + rows.count; ++row) {
    uint8_t* const mask = rowOf<uint8_t>(maskPlane, row);
    for (int64_t x = 0; x < maskPlane.width; ++x) mask[x] = mask[x] != 0 ? 255 : 0;
  }
  return 0;
}

template <typename Pixel>
ksys_status setMask(const wchar_t* name, const kimg_window& imagePlane, const kimg_window8& maskPlane,
                    const kstd_rect32& padding) {
  const ksys_status status =
      runOptimized(name, gauss_setMaskVec, [&] { return setWholeBytes(maskPlane, PlaneRows(maskPlane, padding)); });
  if (failed(status)) return status;
  extendRows<Pixel>(imagePlane, padding);
  extendRows<uint8_t>(maskPlane, padding);
  return status;
}

}  // namespace

ksys_status gauss_setMaskResetMaskedWindow8(const kimg_window8& imagePlane, const kimg_window8& maskPlane,
                                            const kstd_rect32& padding) {
  return setMask<uint8_t>(L"gauss_setMaskResetMaskedWindow8", imagePlane, maskPlane, padding);
}
ksys_status gauss_setMaskResetMaskedWindow16(const kimg_window16& imagePlane, const kimg_window8& maskPlane,
                                             const kstd_rect32& padding) {
  return setMask<uint16_t>(L"gauss_setMaskResetMaskedWindow16", imagePlane, maskPlane, padding);
}

}  // namespace kip
