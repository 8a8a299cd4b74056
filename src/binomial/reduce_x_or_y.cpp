// SPDX-License-Identifier: Apache-2.0
#include "binomial/dispatch.hpp"
#include "binomial/images.hpp"

namespace kip {

namespace {

// Every second pixel of each row, or every second row, of the window.
template <typename Pixel>
void sample(const kimg_window& from, bool xFlag, Pixel* to, int64_t pitch) {
  const Pixel* const pixels = firstPixel<Pixel>(from);
  const int64_t fromPitch = from.stride;
  if (xFlag) {
    for (int64_t y = 0; y < from.height; ++y) {
      for (int64_t x = 0; x < from.width / 2; ++x) to[y * pitch + x] = pixels[y * fromPitch + 2 * x];
    }
  } else {
    constexpr int64_t bytes = sizeof(Pixel);
    ksys_memory_copyRect(to, pitch * bytes, pixels, 2 * fromPitch * bytes, static_cast<uint64_t>(from.width * bytes),
                         static_cast<uint64_t>(from.height / 2));
  }
}

template <typename Pixel, bool Masked>
ksys_status reduceXOrY(const KernelCall<Pixel>& call, bool xFlag, bool yFlag) {
  kimg_image image;
  kimg_image8 mask;
  constexpr size_t capacity = Masked ? 2 : 1;
  return withCleanup<capacity>([&](Cleanup& cleanup) -> ksys_status {
    check(xFlag != yFlag);
    if (call.width < (xFlag ? 2 : 1) || call.height < (yFlag ? 2 : 1)) return 0;
    const int32_t width = static_cast<int32_t>(call.width), height = static_cast<int32_t>(call.height);
    ksys_status status =
        adoptImage(cleanup, image, kimg_image_constructUntyped(&image, width, height, int32_t{sizeof(Pixel)}));
    if (failed(status)) return status;
    kimg_window window;
    if (failed(status = kimg_window_init(&window, &image))) return status;
    kimg_window8 maskWindow = {};
    if constexpr (Masked) {
      if (failed(status = adoptImage8(cleanup, mask, kimg_image8_construct(&mask, width, height)))) return status;
      if (failed(status = kimg_window8_init(&maskWindow, &mask))) return status;
    }

    KernelCall<Pixel> pass = call;
    setTarget(pass, window, Masked && call.dstMask != nullptr ? &maskWindow : nullptr);
    status = runPass<Pixel, Masked>(xFlag ? Pass::horizontal : Pass::vertical, pass);
    if (failed(status)) return status;
    sample(window, xFlag, call.dst, call.dstPitch);
    if (Masked && call.dstMask != nullptr) sample(maskWindow, xFlag, call.dstMask, call.dstMaskPitch);
    return status;
  });
}

}  // namespace

ksys_status gauss2_reduceXOrY8(const KernelCall<uint8_t>& call, bool xFlag, bool yFlag) {
  return reduceXOrY<uint8_t, false>(call, xFlag, yFlag);
}
ksys_status gauss2_reduceXOrY16(const KernelCall<uint16_t>& call, bool xFlag, bool yFlag) {
  return reduceXOrY<uint16_t, false>(call, xFlag, yFlag);
}
ksys_status gauss2_reduceMaskedXOrY8(const KernelCall<uint8_t>& call, bool xFlag, bool yFlag) {
  return reduceXOrY<uint8_t, true>(call, xFlag, yFlag);
}
ksys_status gauss2_reduceMaskedXOrY16(const KernelCall<uint16_t>& call, bool xFlag, bool yFlag) {
  return reduceXOrY<uint16_t, true>(call, xFlag, yFlag);
}

}  // namespace kip
