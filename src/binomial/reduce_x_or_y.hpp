// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "binomial/images.hpp"

namespace kip {

// Every second pixel of each row, or every second row, of the window.
template <Axes Along, typename Pixel>
void sample(const kimg_window& from, Pixel* to, int64_t pitch) {
  const Pixel* const pixels = firstPixel<Pixel>(from);
  const int64_t fromPitch = from.stride;
  if constexpr (Along == Axes::x) {
    for (int64_t y = 0; y < from.height; ++y) {
      for (int64_t x = 0; x < from.width / 2; ++x) to[y * pitch + x] = pixels[y * fromPitch + 2 * x];
    }
  } else {
    constexpr int64_t bytes = sizeof(Pixel);
    ksys_memory_copyRect(to, pitch * bytes, pixels, 2 * fromPitch * bytes, static_cast<uint64_t>(from.width * bytes),
                         static_cast<uint64_t>(from.height / 2));
  }
}

// Along one axis: smoothed whole into an image of its own, then sampled.
template <typename Pixel, bool Masked, Axes Along>
[[nodiscard]] ksys_status reduceXOrY(const KernelCall<Pixel>& call) {
  kimg_image image;
  kimg_image8 mask;
  constexpr size_t capacity = Masked ? 2 : 1;
  return withCleanup<capacity>([&](Cleanup& cleanup) -> ksys_status {
    if (call.width < (alongX(Along) ? 2 : 1) || call.height < (alongY(Along) ? 2 : 1)) return 0;
    const int32_t width = static_cast<int32_t>(call.width), height = static_cast<int32_t>(call.height);
    ksys_status status =
        adoptImage(cleanup, image, kimg_image_constructUntyped(&image, width, height, int32_t{sizeof(Pixel)}));
    if (failed(status)) return status;
    kimg_window window;
    if (failed(status = kimg_window_init(&window, &image))) return status;
    kimg_window8 maskWindow = {};
    if constexpr (Masked) {
      status = adoptImage<uint8_t>(cleanup, mask, kimg_image8_construct(&mask, width, height));
      if (failed(status)) return status;
      if (failed(status = kimg_window8_init(&maskWindow, &mask))) return status;
    }

    const bool wantsMask = Masked && call.dstMask != nullptr;
    KernelCall<Pixel> pass = call;
    setTarget(pass, window, wantsMask ? &maskWindow : nullptr);
    if (failed(status = run(smoothing<Pixel, Masked>(Along), pass))) return status;
    sample<Along>(window, call.dst, call.dstPitch);
    if (wantsMask) sample<Along>(maskWindow, call.dstMask, call.dstMaskPitch);
    return status;
  });
}

}  // namespace kip
