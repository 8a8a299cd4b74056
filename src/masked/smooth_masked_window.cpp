// SPDX-License-Identifier: Apache-2.0
#include "frame/optimized.hpp"
#include "geometry/windows.hpp"
#include "kip/host/kpel.h"
#include "masked/bands.hpp"
#include "masked/checks.hpp"
#include "masked/pair.hpp"
#include "masked/plane.hpp"

namespace kip {

namespace {

using kip::asConst;
[[nodiscard]] const kimg_windowConst& asConst(const kimg_windowConst& window) {
  return window;
}

// Takes the mask of a window, if one is given that refers to pixels.
template <typename Window>
[[nodiscard]] ksys_status takeMask(const Window& image, const Window* given, Window& mask) {
  mask = {};
  if (given == nullptr) return 0;
  const kimg_windowConst readableImage = asConst(image);
  const kimg_windowConst readable = asConst(*given);
  int32_t match = 0;
  int32_t bound = 0;
  const ksys_status status = gauss_checkWindowMatch(&readableImage, &readable, &match, &bound);
  if (failed(status)) return status;
  if (match == 0) return KIP_STATUS_MASK_MISMATCH;
  if (bound != 0) mask = *given;
  return status;
}

[[nodiscard]] ksys_status takeWindows(const kimg_windowConst* src, const kimg_windowConst* srcMask,
                                      const kimg_windowConst* sampleMask, const kimg_window* dst,
                                      const kimg_window* dstMask, MaskedWindows& windows) {
  int32_t null = 0;
  ksys_status status = kimg_windowConst_getIsNull(src, &null);
  if (failed(status)) return status;
  if (null != 0) return KIP_STATUS_NOT_BOUND;
  if (failed(status = kimg_window_getIsNull(dst, &null))) return status;
  if (null != 0) return KIP_STATUS_NOT_BOUND;
  windows.src = *src;
  windows.dst = *dst;
  if (failed(status = takeMask(*src, srcMask, windows.srcMask))) return status;
  if (failed(status = takeMask(*src, sampleMask, windows.sampleMask))) return status;
  return takeMask(*dst, dstMask, windows.dstMask);
}

// Refuses destinations that share pixels with anything else.
[[nodiscard]] ksys_status checkSeparate(const MaskedWindows& windows) {
  const kimg_windowConst dst = asConst(windows.dst);
  const kimg_windowConst dstMask = asConst(windows.dstMask);
  const struct {
    const kimg_windowConst &a, &b;
  } pairs[] = {{windows.src, dst},     {windows.srcMask, dst},     {windows.sampleMask, dst},    {dstMask, dst},
               {windows.src, dstMask}, {windows.srcMask, dstMask}, {windows.sampleMask, dstMask}};
  for (const auto& pair : pairs) {
    if (pair.a.bound == 0 || pair.b.bound == 0) continue;
    const ksys_status status = kip_pelfunc_checkMemoryOverlap(&pair.a, &pair.b);
    if (failed(status)) return status;
  }
  return 0;
}

template <typename Src, typename Dst>
[[nodiscard]] ksys_status runEngine(const gauss_bandParams& band) {
  using Pair = MaskedPair<Src, Dst>;
  return runOptimized(
      Pair::inhibitName, [&] { return Pair::vectorised(band); }, [&] { return Pair::portable(band); });
}

template <typename Src, typename Dst>
ksys_status smoothMaskedBand(const ksys_jobParams* params) {
  const void* record = nullptr;
  const ksys_status status = ksys_jobParams_getDataConst(params, &record);
  if (failed(status)) return status;
  check(record != nullptr);
  return runEngine<Src, Dst>(*static_cast<const gauss_bandParams*>(record));
}

template <typename Src, typename Dst>
ksys_status smoothMaskedWindow(const kimg_windowConst* src, const kimg_windowConst* srcMask,
                               const kimg_windowConst* sampleMask, const kip_gaussParams* params,
                               const kimg_window* dst, const kimg_window* dstMask) {
  using Pair = MaskedPair<Src, Dst>;
  // what the clean-up stack refers to outlives it
  kimg_image imagePlane;
  kimg_image maskPlane;
  BandJobs jobs;
  return withCleanup<20>([&](Cleanup& cleanup) -> ksys_status {
    check(src != nullptr && params != nullptr && dst != nullptr);
    ksys_status status = validateMasked(*params, Pair::maxSigma);
    if (failed(status)) return status;
    MaskedWindows windows;
    if (failed(status = takeWindows(src, srcMask, sampleMask, dst, dstMask, windows))) return status;
    if (failed(status = checkSeparate(windows))) return status;
    PreparedRequest request;
    if (failed(status = gauss_prepareMaskedWindows<Src, Dst>(windows, *params, request))) return status;
    if (request.empty) return 0;
    const MaskedWindows& clipped = request.windows;
    if (clipped.srcMask.bound == 0) return Pair::withoutSrcMask(request, *params);

    kimg_window image;
    kimg_window mask;
    status = makePlane<Src>(cleanup, imagePlane, clipped.src, request, image);
    if (failed(status)) return status;
    status = makePlane<uint8_t>(cleanup, maskPlane, clipped.srcMask, request, mask);
    if (failed(status)) return status;
    if (failed(status = Pair::setMask(image, mask, request.padding))) return status;

    int32_t bands = 0;
    if (failed(status = constructGroup(cleanup, jobs, bands))) return status;
    if (bands > 1) {
      bands = gauss_computeBandCount(*params, request.source, request.padding, request.destination, bands);
    }
    const gauss_bandParams whole = wholeRequest(request, *params, image, mask);
    if (bands < 2) return runEngine<Src, Dst>(whole);
    return runBands(cleanup, jobs, whole, request.source, bands, smoothMaskedBand<Src, Dst>);
  });
}

}  // namespace

}  // namespace kip

ksys_status kip_gauss_smoothMaskedWindow8_8(const kimg_window8Const* src, const kimg_window8Const* srcMask,
                                            const kimg_window8Const* sampleMask, const kip_gaussParams* params,
                                            const kimg_window8* dst, const kimg_window8* dstMask) {
  return kip::smoothMaskedWindow<uint8_t, uint8_t>(src, srcMask, sampleMask, params, dst, dstMask);
}

ksys_status kip_gauss_smoothMaskedWindow8_16(const kimg_window8Const* src, const kimg_window8Const* srcMask,
                                             const kimg_window8Const* sampleMask, const kip_gaussParams* params,
                                             const kimg_window16* dst, const kimg_window8* dstMask) {
  return kip::smoothMaskedWindow<uint8_t, uint16_t>(src, srcMask, sampleMask, params, dst, dstMask);
}

ksys_status kip_gauss_smoothMaskedWindow16_16(const kimg_window16Const* src, const kimg_window8Const* srcMask,
                                              const kimg_window8Const* sampleMask, const kip_gaussParams* params,
                                              const kimg_window16* dst, const kimg_window8* dstMask) {
  return kip::smoothMaskedWindow<uint16_t, uint16_t>(src, srcMask, sampleMask, params, dst, dstMask);
}
