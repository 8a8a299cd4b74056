// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "frame/images.hpp"
#include "frame/windows.hpp"
#include "gauss/destination.hpp"
#include "gauss/portable.hpp"
#include "geometry/regions.hpp"
#include "kip/gauss.h"
#include "params/legacy_params.hpp"

namespace kip {

namespace {

// The destination takes new pixels exactly over the region.
template <typename Pixel>
[[nodiscard]] ksys_status bindDestination(Cleanup& cleanup, kimg_image& fresh, kimg_image* dst,
                                          const ksIRegion& region) {
  ksys_status status = constructImage<Pixel>(cleanup, fresh, {region.x, region.y, region.width, region.height});
  if (failed(status)) return status;
  status = kimg_image_assign(dst, &fresh);
  if (failed(status)) return status;
  cleanup.releaseTop(status);
  return status;
}

struct Xforms {
  kmath_xformPtrhConst source;
  int32_t isLinear = 0;
  ksFXform engine;  // what the engine gives the destination
  kmath_xformPtrhConst inverseSampling, composed;
};

// Gives the destination the engine's transform, composed after the source's own when that one is not linear and the
// engine therefore worked from the identity.
[[nodiscard]] ksys_status setTransform(Cleanup& cleanup, Xforms& xforms, kimg_image* dst) {
  auto& [source, isLinear, engine, inverseSampling, composed] = xforms;
  const kmath_xformLinear linear = {engine.tx, engine.ty, engine.m00, engine.m01, engine.m10, engine.m11};
  if (isLinear != 0) return kimg_image_setLinearImageFromClientXform(dst, &linear);
  ksys_status status = constructXform(cleanup, inverseSampling, linear);
  if (failed(status)) return status;
  if (failed(status = constructXform(cleanup, composed))) return status;
  if (failed(status = kmath_xformPtrhConst_assignCompose(&composed, &inverseSampling, &source))) return status;
  return kimg_image_setImageFromClientXform(dst, &composed);
}

// Of a destination that the call has bound: the rows from `first` on, which the call has not come to, are 0. Passes the
// call's failure on.
template <typename Pixel>
[[nodiscard]] ksys_status clearRows(const kimg_image* dst, int64_t first, ksys_status failure) {
  kimg_window window;
  if (failed(kimg_window_init(&window, dst)) || window.bound == 0) return failure;
  for (int64_t row = first; row < window.height; ++row) std::fill_n(rowOf<Pixel>(window, row), window.width, Pixel{0});
  return failure;
}

// Through legacy images over both images' pixels.
template <typename Pixel>
[[nodiscard]] ksys_status smoothPixels(const kimg_image8* src, const kimg_image* dst, const ksGaussParams& params,
                                       ksIRegion& region, Xforms& xforms, int64_t& finished) {
  ksImage legacySrc;
  ksFXform legacySrcXform;
  ksys_status status = generate_ksImage_from_kimg_image8Const(src, &legacySrc, &legacySrcXform);
  if (failed(status)) return status;
  if (failed(status = kimg_imageConst_getImageFromClientXform(src, &xforms.source))) return status;
  if (failed(status = kmath_xformPtrhConst_getIsLinear(&xforms.source, &xforms.isLinear))) return status;
  if (xforms.isLinear == 0)
    legacySrcXform = {.tx = 0.0f, .ty = 0.0f, .m00 = 1.0f, .m01 = 0.0f, .m10 = 0.0f, .m11 = 1.0f};
  ksVImage legacyDst;
  ksFXform legacyDstXform;
  if (failed(status = DestinationOf<Pixel>::fromImage(dst, &legacyDst, &legacyDstXform))) return status;

  ksVImage* smoothed = nullptr;
  status = dispatch(&legacySrc, &legacyDst, &params, &region, &smoothed, finished);
  if (!failed(status)) xforms.engine = *ksVImageClientCoords(smoothed);
  return status;
}

template <typename Pixel>
ksys_status smoothImage(const kimg_image8* src, kimg_image* dst, const kip_gaussParams* params) {
  using Destination = DestinationOf<Pixel>;
  // what the clean-up stack refers to outlives it
  kimg_image fresh;
  Xforms xforms;
  return withCleanup<4>([&](Cleanup& cleanup) -> ksys_status {
    check(src != nullptr && dst != nullptr && params != nullptr);
    ksys_status status = constructXform(cleanup, xforms.source);
    if (failed(status)) return status;
    if (failed(status = kip_gaussParams_validate(params))) return status;
    ksGaussParams legacy;
    if (failed(status = makeLegacyParams(*params, Destination::legacyTemplate, legacy))) return status;

    int32_t srcBound = 0;
    if (failed(status = kimg_imageConst_getIsBound(src, &srcBound))) return status;
    if (srcBound == 0) return KIP_STATUS_NOT_BOUND;
    if constexpr (Destination::refusesShared) {
      kimg_windowConst srcWindow;
      kimg_window dstWindow;
      if (failed(status = kimg_windowConst_init(&srcWindow, src))) return status;
      if (failed(status = kimg_window_init(&dstWindow, dst))) return status;
      if (failed(status = checkSeparate(srcWindow, asConst(dstWindow)))) return status;
    }
    int32_t dstBound = 0;
    if (failed(status = kimg_image_getIsBound(dst, &dstBound))) return status;

    kstd_rect32 srcRect;
    if (failed(status = kimg_imageConst_getWindow(src, &srcRect))) return status;
    ksIRegion region;
    if (failed(status = gauss_computeDstRegion(srcRect, legacy, region))) return status;
    if (isNull(region)) return 0;
    const bool binds = dstBound == 0;
    if (binds) status = bindDestination<Pixel>(cleanup, fresh, dst, region);
    int64_t finished = 0;
    if (!failed(status)) status = smoothPixels<Pixel>(src, dst, legacy, region, xforms, finished);
    if (failed(status)) return binds ? clearRows<Pixel>(dst, finished, status) : status;
    return setTransform(cleanup, xforms, dst);
  });
}

}  // namespace

}  // namespace kip

ksys_status kip_gauss_smooth8_8(const kimg_image8* src, kimg_image8* dst, const kip_gaussParams* params) {
  return kip::smoothImage<uint8_t>(src, dst, params);
}

ksys_status kip_gauss_smooth8_16(const kimg_image8* src, kimg_image16* dst, const kip_gaussParams* params) {
  return kip::smoothImage<uint16_t>(src, dst, params);
}
