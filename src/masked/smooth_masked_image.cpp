// SPDX-License-Identifier: Apache-2.0
#include "frame/check.hpp"
#include "geometry/windows.hpp"
#include "masked/checks.hpp"
#include "masked/pair.hpp"
#include "masked/prepare.hpp"

namespace kip {

namespace {

using WindowFunction = ksys_status (*)(const kimg_windowConst*, const kimg_windowConst*, const kimg_windowConst*,
                                       const kip_gaussParams*, const kimg_window*, const kimg_window*);

// The window of a mask that must lie over the image's; refers to no pixels for a mask that is absent.
[[nodiscard]] ksys_status takeMask(const kimg_image& image, const kimg_image8* mask, kimg_windowConst& window) {
  if (mask == nullptr) return kimg_windowConst_initUnbound(&window);
  int32_t match = 0;
  int32_t bound = 0;
  const ksys_status status = gauss_checkImageWindowMatch(&image, mask, &match, &bound);
  if (failed(status)) return status;
  return match != 0 ? kimg_window8Const_init(&window, mask) : KIP_STATUS_MASK_MISMATCH;
}

// Binds the destination, and the result mask if there is one, to new pixels over what the source supplies; nothing
// happens when that is nothing.
template <typename Src, typename Dst>
[[nodiscard]] ksys_status bindDestinations(const kimg_image& src, const kip_gaussParams& params, kimg_image& dst,
                                           kimg_image8* dstMask, bool& empty) {
  ksys_status status = 0;
  if (dstMask != nullptr) {
    int32_t bound = 0;
    if (failed(status = kimg_image_getIsBound(dstMask, &bound))) return status;
    if (bound != 0) return KIP_STATUS_MASK_MISMATCH;
  }
  kstd_rect32 srcRect;
  if (failed(status = kimg_imageConst_getWindow(&src, &srcRect))) return status;
  kstd_rect32 rect;
  if (failed(status = gauss_computeDstRect(srcRect, params, rect))) return status;
  empty = isNull(rect);
  if (empty) return 0;
  if (failed(status = MaskedPair<Src, Dst>::assignNewRect(&dst, &rect))) return status;
  return dstMask != nullptr ? kimg_image8_assignNewRect(dstMask, &rect) : 0;
}

// A result mask given with a bound destination must be bound over the same rectangle.
[[nodiscard]] ksys_status checkResultMask(const kimg_image& dst, const kimg_image8* dstMask) {
  if (dstMask == nullptr) return 0;
  int32_t match = 0;
  int32_t bound = 0;
  const ksys_status status = gauss_checkImageWindowMatch(&dst, dstMask, &match, &bound);
  if (failed(status)) return status;
  return match != 0 && bound != 0 ? 0 : KIP_STATUS_MASK_MISMATCH;
}

template <typename Src, typename Dst>
ksys_status smoothMaskedImage(WindowFunction smoothWindow, const kimg_image* src, const kimg_image8* srcMask,
                              const kimg_image8* sampleMask, const kip_gaussParams* params, kimg_image* dst,
                              kimg_image8* dstMask) {
  check(src != nullptr && params != nullptr && dst != nullptr);
  ksys_status status = validateMasked(*params, MaskedPair<Src, Dst>::maxSigma);
  if (failed(status)) return status;
  int32_t bound = 0;
  if (failed(status = kimg_imageConst_getIsBound(src, &bound))) return status;
  if (bound == 0) return KIP_STATUS_NOT_BOUND;
  MaskedWindows windows;
  if (failed(status = kimg_windowConst_init(&windows.src, src))) return status;
  if (failed(status = takeMask(*src, srcMask, windows.srcMask))) return status;
  if (failed(status = takeMask(*src, sampleMask, windows.sampleMask))) return status;

  if (failed(status = kimg_image_getIsBound(dst, &bound))) return status;
  bool empty = false;
  status =
      bound == 0 ? bindDestinations<Src, Dst>(*src, *params, *dst, dstMask, empty) : checkResultMask(*dst, dstMask);
  if (failed(status) || empty) return status;
  if (failed(status = kimg_window_init(&windows.dst, dst))) return status;
  status =
      dstMask != nullptr ? kimg_window8_init(&windows.dstMask, dstMask) : kimg_window_initUnbound(&windows.dstMask);
  if (failed(status)) return status;

  PreparedRequest request;
  if (failed(status = gauss_prepareMaskedWindows<Src, Dst>(windows, *params, request))) return status;
  if (request.empty) return 0;
  const auto present = [](const auto& mask) { return mask.bound != 0 ? &mask : nullptr; };
  status = smoothWindow(&windows.src, present(windows.srcMask), present(windows.sampleMask), params, &windows.dst,
                        present(windows.dstMask));
  if (failed(status)) return status;
  return gauss_udpateDstXform(src, params, dst, dstMask);
}

}  // namespace

}  // namespace kip

ksys_status kip_gauss_smoothMasked8_8(const kimg_image8* src, const kimg_image8* srcMask, const kimg_image8* sampleMask,
                                      const kip_gaussParams* params, kimg_image8* dst, kimg_image8* dstMask) {
  return kip::smoothMaskedImage<uint8_t, uint8_t>(kip_gauss_smoothMaskedWindow8_8, src, srcMask, sampleMask, params,
                                                  dst, dstMask);
}

ksys_status kip_gauss_smoothMasked8_16(const kimg_image8* src, const kimg_image8* srcMask,
                                       const kimg_image8* sampleMask, const kip_gaussParams* params, kimg_image16* dst,
                                       kimg_image8* dstMask) {
  return kip::smoothMaskedImage<uint8_t, uint16_t>(kip_gauss_smoothMaskedWindow8_16, src, srcMask, sampleMask, params,
                                                   dst, dstMask);
}

ksys_status kip_gauss_smoothMasked16_16(const kimg_image16* src, const kimg_image8* srcMask,
                                        const kimg_image8* sampleMask, const kip_gaussParams* params, kimg_image16* dst,
                                        kimg_image8* dstMask) {
  return kip::smoothMaskedImage<uint16_t, uint16_t>(kip_gauss_smoothMaskedWindow16_16, src, srcMask, sampleMask, params,
                                                    dst, dstMask);
}
