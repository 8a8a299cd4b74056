// SPDX-License-Identifier: Apache-2.0
#include "params/legacy_params.hpp"

#include <atomic>
#include <cmath>

#include "frame/check.hpp"

namespace {

constexpr ksGaussParams makeDefault() {
  return {.xSample = 1,
          .ySample = 1,
          .xSigma = 0,
          .ySigma = 0,
          .peakNormalize = 0,
          .extendBorder = 0,
          .roundResult = 0,
          .scale = 1.0f,
          .dstTemplate = &ksImageNull,
          .reserved = nullptr};
}

constinit ksGaussParams defaultParams = makeDefault();

}  // namespace

const ksGaussParams* ksGaussParamsNull() {
  // Restored should a caller have written to it; never stored otherwise, because other threads may be reading.
  const std::atomic_ref dstTemplate(defaultParams.dstTemplate);
  if (dstTemplate.load(std::memory_order_relaxed) != &ksImageNull) {
    dstTemplate.store(&ksImageNull, std::memory_order_relaxed);
  }
  return &defaultParams;
}

int32_t kfGaussNullParams(const ksGaussParams* params) {
  kip::check(params != nullptr);
  const ksVImage* const dstTemplate = params->dstTemplate != nullptr ? params->dstTemplate : &ksImageNull;
  return params->xSample == 1 && params->ySample == 1 && params->xSigma == 0 && params->ySigma == 0 &&
         params->scale == 1.0f && ksVImageType(dstTemplate) == 0;
}

ksys_status kip::makeLegacyParams(const kip_gaussParams& params, const ksVImage& dstTemplate, ksGaussParams& legacy) {
  legacy = makeDefault();
  legacy.xSample = params.xSample;
  legacy.ySample = params.ySample;
  legacy.xSigma = params.xSigma;
  legacy.ySigma = params.ySigma;
  legacy.extendBorder = 1;
  legacy.roundResult = params.roundResult;
  legacy.scale = static_cast<float>(params.scale);
  legacy.dstTemplate = &dstTemplate;
  const bool usable = legacy.scale > 0.0f && std::isfinite(legacy.scale);
  return usable ? 0 : KIP_STATUS_BAD_SCALE;
}
