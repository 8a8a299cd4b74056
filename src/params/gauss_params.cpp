// SPDX-License-Identifier: Apache-2.0
#include "frame/check.hpp"
#include "frame/status.hpp"
#include "kip/params.h"
#include "levels/processor.hpp"
#include "params/compare.hpp"

using kip::check;
using kip::failed;

ksys_status kip_gaussParams_init(kip_gaussParams* params) {
  check(params != nullptr);
  params->xSample = 1;
  params->ySample = 1;
  params->xSigma = 1;
  params->ySigma = 1;
  params->scale = 1.0;
  params->roundResult = 0;
  return kip_filterMaskParams_init(&params->filterMask);
}

ksys_status kip_gaussParams_validate(const kip_gaussParams* params) {
  check(params != nullptr);
  int32_t maxSigma = 0;
  const ksys_status status = kip_gaussParamsGetMaxSigma(&maxSigma);
  if (failed(status)) return status;
  if (params->xSample < 1 || params->ySample < 1) return KIP_STATUS_BAD_SAMPLE;
  if (params->xSigma < 0 || params->ySigma < 0) return KIP_STATUS_BAD_SIGMA;
  if (!(params->scale > 0.0)) return KIP_STATUS_BAD_SCALE;
  return kip_filterMaskParams_validate(&params->filterMask);
}

ksys_status kip_gaussParams_compareEqual(const kip_gaussParams* a, const kip_gaussParams* b, int32_t* equal) {
  check(a != nullptr && b != nullptr);
  check(equal != nullptr);
  *equal = a->xSample == b->xSample && a->ySample == b->ySample && a->xSigma == b->xSigma && a->ySigma == b->ySigma &&
           a->roundResult == b->roundResult && kip::neitherBelow(a->scale, b->scale);
  if (*equal == 0) return 0;
  return kip_filterMaskParams_compareEqual(&a->filterMask, &b->filterMask, equal);
}

ksys_status kip_gaussParamsGetMaxSigma(int32_t* maxSigma) {
  check(maxSigma != nullptr);
  *maxSigma = 24;
  ksys_cpuinfo info;
  const ksys_status status = ksys_cpuinfo_init(&info);
  if (failed(status)) return status;
  if (kip::hasFeatures(info, ksys_cpuSse2Integer)) *maxSigma = 63;
  return status;
}

ksys_status kip_gaussParamsGetMaxSigma16(int32_t* maxSigma) {
  check(maxSigma != nullptr);
  *maxSigma = 39;
  return 0;
}
