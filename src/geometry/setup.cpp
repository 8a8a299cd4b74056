// SPDX-License-Identifier: Apache-2.0
#include "geometry/setup.hpp"

#include "frame/check.hpp"

namespace kip {

namespace {

// Client coordinates that keep every destination pixel on the client point of its kernel's centre.
void setClientCoords(const ksImage* source, const ksGaussParams& params, ksVImage* destination) {
  ksFXform xform;
  ksFXformElemCT(&xform, static_cast<float>(params.xSample), 0.0f, 0.0f, static_cast<float>(params.ySample),
                 xKernel(params).centreShift(), yKernel(params).centreShift());
  ksFXformInv(&xform, &xform);
  ksFXformCompose(&xform, ksImageClientCoords(source), &xform);
  ksVImageSetClientCoords(destination, &xform);
}

}  // namespace

ksys_status gauss_engineSetup(const ksImage* source, ksVImage** destination, const ksGaussParams* params,
                              ksIRegion* requested, RequestGeometry& geometry) {
  check(source != nullptr && destination != nullptr && params != nullptr);
  check(params->xSample >= 1 && params->ySample >= 1);
  check(params->xSigma >= 0 && params->ySigma >= 0);
  check(params->scale > 0.0f);

  const ksIRegion* const decides = *destination != nullptr ? ksVImageRegion(*destination) : requested;
  const ksys_status status = computeRequest(*ksImageRegion(source), *params, decides, geometry);
  if (failed(status)) return status;

  if (requested != nullptr) *requested = geometry.destination;
  if (*destination == nullptr) {
    check(params->dstTemplate != nullptr);
    *destination = ksVImageCreateReg(params->dstTemplate, &geometry.destination);
    if (*destination == nullptr) return KSYS_STATUS_NO_MEMORY;
  }
  setClientCoords(source, *params, *destination);
  return 0;
}

void handOut(ksVImage* destination, ksVImage** out) {
  const int32_t type = ksVImageType(destination);
  check(type == 0 || type == 8);
  *out = destination;
}

}  // namespace kip
