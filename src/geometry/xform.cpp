// SPDX-License-Identifier: Apache-2.0
#include "frame/cleanup.hpp"
#include "geometry/windows.hpp"

namespace kip {

namespace {

// Source pixels to the destination pixels whose kernels are centred on them.
[[nodiscard]] ksys_status inverseSampling(const kip_gaussParams& params, kmath_xformLinear& inverse) {
  kmath_xformLinear sampling;
  const ksys_status status =
      kmath_xformLinear_initMatrixTransElements(&sampling, params.xSample, 0.0, 0.0, params.ySample,
                                                xKernel(params).centreShift(), yKernel(params).centreShift());
  return failed(status) ? status : kmath_xformLinear_getInverse(&sampling, &inverse);
}

// set(image) for both destinations, the second one when there is one.
template <typename Set>
[[nodiscard]] ksys_status onBoth(kimg_image* dst, kimg_image* dst2, Set&& set) {
  const ksys_status status = set(dst);
  return failed(status) || dst2 == nullptr ? status : set(dst2);
}

}  // namespace

}  // namespace kip

ksys_status gauss_udpateDstXform(const kimg_imageConst* src, const kip_gaussParams* params, kimg_image* dst,
                                 kimg_image* dst2) {
  using kip::failed;
  // what the clean-up stack refers to outlives it
  kmath_xformPtrhConst source;
  kmath_xformPtrhConst sampling;
  kmath_xformPtrhConst composed;
  return kip::withCleanup<3>([&](kip::Cleanup& cleanup) -> ksys_status {
    kip::check(src != nullptr && dst != nullptr);
    kip::checkGeometryParams(params);
    ksys_status status = kip::constructXform(cleanup, source);
    if (failed(status)) return status;
    if (failed(status = kimg_imageConst_getImageFromClientXform(src, &source))) return status;
    int32_t isLinear = 0;
    if (failed(status = kmath_xformPtrhConst_getIsLinear(&source, &isLinear))) return status;
    kmath_xformLinear inverse;
    if (failed(status = kip::inverseSampling(*params, inverse))) return status;

    if (isLinear == 0) {
      if (failed(status = kip::constructXform(cleanup, sampling, inverse))) return status;
      if (failed(status = kip::constructXform(cleanup, composed))) return status;
      if (failed(status = kmath_xformPtrhConst_assignCompose(&composed, &sampling, &source))) return status;
      return kip::onBoth(dst, dst2,
                         [&](kimg_image* image) { return kimg_image_setImageFromClientXform(image, &composed); });
    }
    const double origin[2] = {0.0, 0.0};
    kmath_xformLinear linear;
    if (failed(status = kmath_xformPtrhConst_getLinear(&source, origin, &linear))) return status;
    kmath_xformLinear result;
    if (failed(status = kmath_xformLinear_initCompose(&result, &inverse, &linear))) return status;
    return kip::onBoth(dst, dst2,
                       [&](kimg_image* image) { return kimg_image_setLinearImageFromClientXform(image, &result); });
  });
}
