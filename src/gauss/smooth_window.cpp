// SPDX-License-Identifier: Apache-2.0
#include "frame/check.hpp"
#include "frame/windows.hpp"
#include "gauss/destination.hpp"
#include "geometry/regions.hpp"
#include "kip/gauss.h"
#include "params/legacy_params.hpp"

namespace kip {

namespace {

template <typename Pixel>
ksys_status smoothWindow(const kimg_windowConst* src, const kimg_window* dst, const kip_gaussParams* params) {
  using Destination = DestinationOf<Pixel>;
  check(src != nullptr && dst != nullptr && params != nullptr);
  ksys_status status = kip_gaussParams_validate(params);
  if (failed(status)) return status;
  ksGaussParams legacy;
  if (failed(status = makeLegacyParams(*params, Destination::legacyTemplate, legacy))) return status;

  if (src->bound == 0 || dst->bound == 0) return KIP_STATUS_NOT_BOUND;
  if (src->width <= 0 || src->height <= 0 || dst->width <= 0 || dst->height <= 0) return KIP_STATUS_NOT_BOUND;
  const kimg_windowConst readableDst = asConst(*dst);
  if constexpr (Destination::refusesShared) {
    if (failed(status = checkSeparate(*src, readableDst))) return status;
  }

  kstd_rect32 srcRect;
  if (failed(status = kimg_windowConst_getWindow(src, &srcRect))) return status;
  ksIRegion region;
  if (failed(status = gauss_computeDstRegion(srcRect, legacy, region))) return status;
  if (isNull(region)) return 0;

  ksImage legacySrc;
  if (failed(status = generate_ksImage_from_kimg_windowConst(src, &legacySrc))) return status;
  ksVImage legacyDst;
  if (failed(status = Destination::fromWindow(&readableDst, &legacyDst))) return status;
  if constexpr (Destination::refusesShared) {
    if (failed(status = ksys_attention_check())) return status;
  }
  ksVImage* smoothed = nullptr;
  return kip_gauss(&legacySrc, &legacyDst, &legacy, &region, &smoothed);
}

}  // namespace

}  // namespace kip

ksys_status kip_gauss_smoothWindow8_8(const kimg_window8Const* src, const kimg_window8* dst,
                                      const kip_gaussParams* params) {
  return kip::smoothWindow<uint8_t>(src, dst, params);
}

ksys_status kip_gauss_smoothWindow8_16(const kimg_window8Const* src, const kimg_window16* dst,
                                       const kip_gaussParams* params) {
  return kip::smoothWindow<uint16_t>(src, dst, params);
}
