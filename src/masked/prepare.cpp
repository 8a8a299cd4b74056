// SPDX-License-Identifier: Apache-2.0
#include "masked/prepare.hpp"

#include "frame/images.hpp"
#include "geometry/windows.hpp"
#include "masked/point_to.hpp"

namespace kip {

namespace {

// The rectangle of a window cut to those of its masks that are present.
template <typename Pixel, typename Window, typename... Masks>
ksys_status commonRect(kstd_rect32& common, const Window& window, const Masks&... masks) {
  const auto cut = [&common](const Window& mask) -> ksys_status {
    if (mask.bound == 0) return 0;
    kstd_rect32 rect;
    const ksys_status status = getWindow<uint8_t>(mask, rect);
    return failed(status) ? status : kstd_rect32_intersect(&common, &rect, &common);
  };
  ksys_status status = getWindow<Pixel>(window, common);
  (void)(!failed(status) && ... && !failed(status = cut(masks)));
  return status;
}

}  // namespace

template <typename Src, typename Dst>
ksys_status gauss_prepareMaskedWindows(const MaskedWindows& windows, const kip_gaussParams& params,
                                       PreparedRequest& prepared) {
  prepared.empty = false;
  if (windows.src.bound == 0 || windows.dst.bound == 0) return KIP_STATUS_NOT_BOUND;
  kstd_rect32 source;
  kstd_rect32 requested;
  ksys_status status = commonRect<Src>(source, windows.src, windows.srcMask, windows.sampleMask);
  if (failed(status)) return status;
  if (failed(status = commonRect<Dst>(requested, windows.dst, windows.dstMask))) return status;
  status = gauss_setup(&source, &requested, &params, &prepared.source, &prepared.destination, &prepared.mirror,
                       &prepared.padding, &prepared.needed);
  if (failed(status)) return status;
  prepared.empty = isNull(prepared.source) || isNull(prepared.destination);
  if (prepared.empty) return 0;

  prepared.windows = windows;
  MaskedWindows& clipped = prepared.windows;
  if (failed(status = pointTo(prepared.destination, clipped.dst))) return status;
  status = pointTo(prepared.source, clipped.src, clipped.srcMask, clipped.sampleMask);
  return failed(status) ? status : pointTo(prepared.destination, clipped.dstMask);
}

template ksys_status gauss_prepareMaskedWindows<uint8_t, uint8_t>(const MaskedWindows&, const kip_gaussParams&,
                                                                  PreparedRequest&);
template ksys_status gauss_prepareMaskedWindows<uint8_t, uint16_t>(const MaskedWindows&, const kip_gaussParams&,
                                                                   PreparedRequest&);
template ksys_status gauss_prepareMaskedWindows<uint16_t, uint16_t>(const MaskedWindows&, const kip_gaussParams&,
                                                                    PreparedRequest&);

}  // namespace kip
