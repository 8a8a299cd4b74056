// SPDX-License-Identifier: Apache-2.0
#include "api/destination.hpp"
#include "engine/regions.hpp"
#include "frame/images.hpp"
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

// Gives the destination the transform that the engine left in the legacy image, composed after the source's own when
// that one is not linear and the engine therefore worked from the identity.
[[nodiscard]] ksys_status setTransform(Cleanup& cleanup, const ksFXform& engine, const kmath_xformPtrhConst& source,
                                       bool isLinear, kmath_xformPtrhConst& inverseSampling,
                                       kmath_xformPtrhConst& composed, kimg_image* dst) {
  const kmath_xformLinear linear = {engine.tx, engine.ty, engine.m00, engine.m01, engine.m10, engine.m11};
  if (isLinear) return kimg_image_setLinearImageFromClientXform(dst, &linear);
  ksys_status status = constructXform(cleanup, inverseSampling, linear);
  if (failed(status)) return status;
  if (failed(status = constructXform(cleanup, composed))) return status;
  if (failed(status = kmath_xformPtrhConst_assignCompose(&composed, &inverseSampling, &source))) return status;
  return kimg_image_setImageFromClientXform(dst, &composed);
}

template <typename Pixel>
ksys_status smoothImage(const kimg_image8* src, kimg_image* dst, const kip_gaussParams* params) {
  using Destination = DestinationOf<Pixel>;
  // what the clean-up stack refers to outlives it
  kimg_image fresh;
  kmath_xformPtrhConst srcXform;
  kmath_xformPtrhConst inverseSampling;
  kmath_xformPtrhConst composed;
  return withCleanup<4>([&](Cleanup& cleanup) -> ksys_status {
    check(src != nullptr && dst != nullptr && params != nullptr);
    ksys_status status = constructXform(cleanup, srcXform);
    if (failed(status)) return status;
    if (failed(status = kip_gaussParams_validate(params))) return status;
    ksGaussParams legacy;
    if (failed(status = makeLegacyParams(*params, Destination::legacyTemplate, legacy))) return status;

    int32_t srcBound = 0;
    if (failed(status = kimg_imageConst_getIsBound(src, &srcBound))) return status;
    if (srcBound == 0) return KIP_STATUS_NOT_BOUND;
    if constexpr (Destination::mayShareSource) {
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
    status = gauss_computeDstRegion({srcRect.x, srcRect.y, srcRect.width, srcRect.height}, legacy, region);
    if (failed(status)) return status;
    if (isNull(region)) return 0;
    if (dstBound == 0 && failed(status = bindDestination<Pixel>(cleanup, fresh, dst, region))) return status;

    ksImage legacySrc;
    ksFXform legacySrcXform;
    if (failed(status = generate_ksImage_from_kimg_image8Const(src, &legacySrc, &legacySrcXform))) return status;
    if (failed(status = kimg_imageConst_getImageFromClientXform(src, &srcXform))) return status;
    int32_t isLinear = 0;
    if (failed(status = kmath_xformPtrhConst_getIsLinear(&srcXform, &isLinear))) return status;
    if (isLinear == 0) legacySrcXform = {.tx = 0.0f, .ty = 0.0f, .m00 = 1.0f, .m01 = 0.0f, .m10 = 0.0f, .m11 = 1.0f};
    ksVImage legacyDst;
    ksFXform legacyDstXform;
    if (failed(status = Destination::fromImage(dst, &legacyDst, &legacyDstXform))) return status;

    ksVImage* smoothed = nullptr;
    if (failed(status = kip_gauss(&legacySrc, &legacyDst, &legacy, &region, &smoothed))) return status;
    return setTransform(cleanup, *ksVImageClientCoords(smoothed), srcXform, isLinear != 0, inverseSampling, composed,
                        dst);
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
