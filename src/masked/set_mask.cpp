// SPDX-License-Identifier: Apache-2.0
#include "masked/set_mask.hpp"

#include "frame/optimized.hpp"
#include "masked/set_mask_vec.hpp"

namespace kip {

namespace {

template <typename Pixel>
ksys_status setMaskPortable(const kimg_window& imagePlane, const kimg_window8& maskPlane, const SourceRows& rows) {
  for (int64_t row = rows.top; row < rows.top + rows.count; ++row) {
    Pixel* const image = rowOf<Pixel>(imagePlane, row);
    uint8_t* const mask = rowOf<uint8_t>(maskPlane, row);
    for (int64_t x = 0; x < imagePlane.width; ++x) {
      image[x] = mask[x] != 0 ? image[x] : Pixel{0};
      mask[x] = mask[x] != 0;
    }
  }
  return 0;
}

template <typename Pixel, typename Vectorised>
ksys_status setMask(const wchar_t* name, Vectorised&& vectorised, const kimg_window& imagePlane,
                    const kimg_window8& maskPlane, const kstd_rect32& padding, bool& hasEvenBytes) {
  hasEvenBytes = false;
  const SourceRows rows(imagePlane, padding);
  const ksys_status status = runOptimized(
      name, [&] { return vectorised(imagePlane, maskPlane, rows, hasEvenBytes); },
      [&] { return setMaskPortable<Pixel>(imagePlane, maskPlane, rows); });
  if (failed(status)) return status;
  extendRows<Pixel>(imagePlane, padding);
  extendRows<uint8_t>(maskPlane, padding);
  return status;
}

}  // namespace

ksys_status gauss_setMaskResetMaskedWindow8(const kimg_window8& imagePlane, const kimg_window8& maskPlane,
                                            const kstd_rect32& padding, bool& hasEvenBytes) {
  return setMask<uint8_t>(L"gauss_setMaskResetMaskedWindow8", gauss_setMaskVec8, imagePlane, maskPlane, padding,
                          hasEvenBytes);
}
ksys_status gauss_setMaskResetMaskedWindow16(const kimg_window16& imagePlane, const kimg_window8& maskPlane,
                                             const kstd_rect32& padding, bool& hasEvenBytes) {
  return setMask<uint16_t>(L"gauss_setMaskResetMaskedWindow16", gauss_setMaskVec16, imagePlane, maskPlane, padding,
                           hasEvenBytes);
}

}  // namespace kip
