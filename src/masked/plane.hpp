// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "frame/images.hpp"
#include "frame/windows.hpp"
#include "kip/host/kpel.h"
#include "masked/band.hpp"
#include "masked/extend_rows.hpp"
#include "masked/prepare.hpp"

namespace kip {

// A new plane of a request: the columns of its source and every row that the taps touch.
template <typename Pixel>
[[nodiscard]] ksys_status constructPlane(Cleanup& cleanup, kimg_image& image, const PreparedRequest& request,
                                         kimg_window& plane) {
  const kstd_rect32 rect = {request.source.x, request.needed.y, request.source.width, request.needed.height};
  const ksys_status status = constructImage<Pixel>(cleanup, image, rect);
  return failed(status) ? status : kimg_window_init(&plane, &image);
}

// The same, with a copy of the source's or the mask's pixels.
template <typename Pixel>
[[nodiscard]] ksys_status makePlane(Cleanup& cleanup, kimg_image& image, const kimg_windowConst& from,
                                    const PreparedRequest& request, kimg_window& plane) {
  const ksys_status status = constructPlane<Pixel>(cleanup, image, request, plane);
  if (failed(status)) return status;
  return sizeof(Pixel) == 1 ? kip_pelCopyWindow8(&from, &plane) : kip_pelCopyWindow16(&from, &plane);
}

// The plane of the source's pixels with its padded rows filled.
template <typename Pixel>
[[nodiscard]] ksys_status makeExtendedPlane(Cleanup& cleanup, kimg_image& image, const PreparedRequest& request,
                                            kimg_window& plane) {
  const ksys_status status = makePlane<Pixel>(cleanup, image, request.windows.src, request, plane);
  if (!failed(status)) extendRows<Pixel>(plane, request.padding);
  return status;
}

// The request on its planes, as one band.
[[nodiscard]] inline gauss_bandParams wholeRequest(const PreparedRequest& request, const kip_gaussParams& params,
                                                   const kimg_window& imagePlane, const kimg_window& maskPlane) {
  const MaskedWindows& windows = request.windows;
  return {.src = windows.src,
          .imagePlane = asConst(imagePlane),
          .srcMask = windows.srcMask,
          .maskPlane = asConst(maskPlane),
          .sampleMask = windows.sampleMask,
          .params = params,
          .dst = windows.dst,
          .dstMask = windows.dstMask,
          .mirror = request.mirror,
          .padding = request.padding,
          .band = request.destination};
}

}  // namespace kip
