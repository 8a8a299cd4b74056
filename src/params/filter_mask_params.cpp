// SPDX-License-Identifier: Apache-2.0
#include "frame/check.hpp"
#include "kip/params.h"
#include "params/compare.hpp"

using kip::check;

ksys_status kip_filterMaskParams_init(kip_filterMaskParams* params) {
  check(params != nullptr);
  *params = {.allowMaskedSample = 0, .useCoverage = 0, .minCoverage = 0.0};
  return 0;
}

ksys_status kip_filterMaskParams_validate(const kip_filterMaskParams* params) {
  check(params != nullptr);
  const auto isFlag = [](int32_t value) { return value == 0 || value == 1; };
  if (!isFlag(params->allowMaskedSample)) return KIP_STATUS_BAD_ALLOW_MASKED;
  if (!isFlag(params->useCoverage)) return KIP_STATUS_BAD_USE_COVERAGE;
  if (!(params->minCoverage >= 0.0 && params->minCoverage <= 1.0)) return KIP_STATUS_BAD_MIN_COVERAGE;
  return 0;
}

ksys_status kip_filterMaskParams_compareEqual(const kip_filterMaskParams* a, const kip_filterMaskParams* b,
                                              int32_t* equal) {
  check(a != nullptr && b != nullptr);
  check(equal != nullptr);
  *equal = a->allowMaskedSample == b->allowMaskedSample && a->useCoverage == b->useCoverage &&
           kip::neitherBelow(a->minCoverage, b->minCoverage);
  return 0;
}
