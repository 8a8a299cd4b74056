// SPDX-License-Identifier: Apache-2.0
#include "kimg_layout.hpp"
#include "kip/host/kimg.h"
#include "kmath_linear.hpp"

namespace {

// A view on the pixels of an image or of a window, with coordinates that cannot be set.
template <class Source>
ksys_status viewOf(const Source& source, int32_t type, ksVImage& legacy) {
  const int32_t pixelBytes = type == 0 ? 1 : 2;
  legacy = {nullptr, {}, 0, type, nullptr, 1.0f, 0};
  if (source.bound == 0) return 0;
  const ksIRegion region{source.x, source.y, source.width, source.height};
  const int64_t strideBytes = int64_t{source.stride} * pixelBytes;
  if (!kiphost::isRepresentable(region) || !kiphost::hasUsableStride(source) || source.pixelBytes != pixelBytes ||
      strideBytes > INT32_MAX) {
    return KSYS_STATUS_BAD_ARGUMENT;
  }
  legacy.pixels = const_cast<void*>(static_cast<const void*>(source.pixels));
  legacy.region = region;
  legacy.stride = static_cast<int32_t>(strideBytes);
  return 0;
}

ksys_status fromImage(const kimg_image& image, int32_t type, ksVImage& legacy, ksFXform& xform) {
  const ksys_status status = viewOf(image, type, legacy);
  if (status != 0) return status;
  int32_t isLinear;
  kmath_xformLinear linear = kiphost::kIdentity;
  kmath_xformPtrhConst_getIsLinear(&image.imageFromClient, &isLinear);
  if (isLinear != 0) {
    const double origin[2] = {0, 0};
    kmath_xformPtrhConst_getLinear(&image.imageFromClient, origin, &linear);
  }
  xform = kiphost::toFloat(linear);
  legacy.clientCoords = &xform;
  return 0;
}

}  // namespace

ksys_status generate_ksImage_from_kimg_image8Const(const kimg_image8Const* image, ksImage* legacy, ksFXform* xform) {
  return fromImage(*image, 0, *legacy, *xform);
}

ksys_status generate_ksUSImage_from_kimg_image16Const(const kimg_image16Const* image, ksUSImage* legacy,
                                                      ksFXform* xform) {
  return fromImage(*image, 8, *legacy, *xform);
}

ksys_status generate_ksImage_from_kimg_windowConst(const kimg_windowConst* window, ksImage* legacy) {
  return viewOf(*window, 0, *legacy);
}

ksys_status generate_ksUSImage_from_kimg_windowConst(const kimg_windowConst* window, ksUSImage* legacy) {
  return viewOf(*window, 8, *legacy);
}
