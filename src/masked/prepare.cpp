// SPDX-License-Identifier: Apache-2.0
#include "masked/prepare.hpp"

#include "api/geometry.hpp"
#include "masked/point_to.hpp"

namespace kip {

namespace {

ksys_status windowOf(const kimg_windowConst& window, kstd_rect32& rect) {
  return kimg_windowConst_getWindow(&window, &rect);
}
ksys_status windowOf(const kimg_window& window, kstd_rect32& rect) {
  return kimg_window_getWindow(&window, &rect);
}

// The rectangle of a window cut to those of its masks that are present.
template <typename Window, typename... Masks>
ksys_status commonRect(kstd_rect32& common, const Window& window, const Masks&... masks) {
  const auto cut = [&common](const Window& mask) -> ksys_status {
    if (mask.bound == 0) return 0;
    kstd_rect32 rect;
    const ksys_status status = windowOf(mask, rect);
    return failed(status) ? status : kstd_rect32_intersect(&common, &rect, &common);
  };
  ksys_status status = windowOf(window, common);
  (void)(!failed(status) && ... && !failed(status = cut(masks)));
  return status;
}

}  // namespace

ksys_status gauss_prepareMaskedWindows(const MaskedWindows& windows, const kip_gaussParams& params,
                                       PreparedRequest& prepared) {
  prepared.empty = false;
  if (windows.src.bound == 0 || windows.dst.bound == 0) return KIP_STATUS_NOT_BOUND;
  kstd_rect32 source;
  kstd_rect32 requested;
  ksys_status status = commonRect(source, windows.src, windows.srcMask, windows.sampleMask);
  if (failed(status)) return status;
  if (failed(status = commonRect(requested, windows.dst, windows.dstMask))) return status;
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

}  // namespace kip
