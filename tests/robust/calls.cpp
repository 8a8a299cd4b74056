// SPDX-License-Identifier: Apache-2.0
#include "robust/calls.hpp"

namespace kiptest {

namespace {

using Forms = std::vector<Form>;
const Forms plain = {Form::plain}, created = {Form::plain, Form::created},
            masked = {Form::plain, Form::created, Form::bare, Form::unmasked}, windows = {Form::plain, Form::bare},
            maskedWindows = {Form::plain, Form::bare, Form::unmasked},
            images = {Form::plain, Form::created, Form::bare},
            noSample = {Form::plain, Form::created, Form::bare, Form::copying};

// A call of each kind of function, told by its arguments.

ksys_status invoke(Scene& s, decltype(kip_gauss_smooth8_8)* call) {
  return call(s.image(s.src), s.image(s.dst), &s.params);
}
ksys_status invoke(Scene& s, decltype(kip_gauss_smoothWindow8_8)* call) {
  return call(s.constWindow(s.src), s.window(s.dst), &s.params);
}
ksys_status invoke(Scene& s, decltype(kip_gauss_smoothMasked8_8)* call) {
  return call(s.image(s.src), s.image(s.srcMask), s.image(s.sampleMask), &s.params, s.image(s.dst), s.image(s.dstMask));
}
ksys_status invoke(Scene& s, decltype(kip_gauss_smoothMaskedWindow8_8)* call) {
  return call(s.constWindow(s.src), s.constWindow(s.srcMask), s.constWindow(s.sampleMask), &s.params, s.window(s.dst),
              s.window(s.dstMask));
}
ksys_status invoke(Scene& s, decltype(kip_gauss2_smooth8_8)* call) {
  return call(s.image(s.src), s.image(s.dst));
}
ksys_status invoke(Scene& s, decltype(kip_gauss2_smoothMasked8_8)* call) {
  return call(s.image(s.src), s.image(s.srcMask), s.image(s.dst), s.image(s.dstMask));
}
ksys_status invoke(Scene& s, decltype(kip_gauss2_smoothWindow8_8)* call) {
  return call(s.constWindow(s.src), &s.xform, s.window(s.dst), &s.xform);
}
ksys_status invoke(Scene& s, decltype(kip_gauss2_smoothMaskedWindow8_8)* call) {
  return call(s.constWindow(s.src), s.constWindow(s.srcMask), &s.xform, s.window(s.dst), s.window(s.dstMask), &s.xform);
}
ksys_status invoke(Scene& s, decltype(kip_gauss2_smoothNoSample8_8)* call) {
  return call(s.image(s.src), s.image(s.dst), s.radius[0], s.radius[1]);
}
ksys_status invoke(Scene& s, decltype(kip_gauss2_smoothNoSampleWindow8_8)* call) {
  return call(s.constWindow(s.src), s.window(s.dst), s.radius[0], s.radius[1]);
}
ksys_status invoke(Scene& s, decltype(kip_gauss2_smoothNoSampleMasked8_8)* call) {
  return call(s.image(s.src), s.image(s.srcMask), s.image(s.dst), s.image(s.dstMask), s.radius[0], s.radius[1]);
}
ksys_status invoke(Scene& s, decltype(kip_gauss2_smoothNoSampleMaskedWindow8_8)* call) {
  return call(s.constWindow(s.src), s.constWindow(s.srcMask), s.window(s.dst), s.window(s.dstMask), s.radius[0],
              s.radius[1]);
}
ksys_status invoke(Scene& s, decltype(kip_gauss2GetDestRect)* call) {
  return call(&s.rect, &s.rects[0]);
}

ksIRegion legacyOf(const kstd_rect32& rect) {
  return {rect.x, rect.y, rect.width, rect.height};
}

ksys_status invoke(Scene& s, decltype(kfGaussGetDstReg)* call) {
  const ksIRegion from = legacyOf(s.rect);
  ksIRegion to;
  call(&from, &to, s.params.xSample, s.params.ySample, s.params.xSigma, s.params.ySigma);
  s.rects[0] = {to.x, to.y, to.width, to.height};
  return 0;
}

ksys_status callEngine(Scene& s) {
  ksIRegion region = legacyOf(s.requested);
  return kip_gauss(s.src.isNull ? nullptr : &s.src.legacy, s.legacyDst(), &s.legacy, &region, &s.out);
}

ksys_status callLegacy(Scene& s) {
  ksIRegion region = legacyOf(s.requested);
  ksImage* const given = s.legacyDst();
  s.out = kfGauss(s.src.isNull ? nullptr : &s.src.legacy, given, s.passes, s.sigma[0], s.sigma[1], s.peakNormalize,
                  &region);
  s.rects[0] = {region.x, region.y, region.width, region.height};
  require(given == nullptr || s.out == given, "another destination than the one given");
  return region.width > 0 ? 0 : kToldOtherwise;
}

ksys_status callSetup(Scene& s) {
  return gauss_setup(&s.rect, &s.requested, &s.params, &s.rects[0], &s.rects[1], &s.rects[2], &s.rects[3], &s.rects[4]);
}

ksys_status callMatches(Scene& s) {
  int32_t match = 0, bound = 0;
  ksys_status status = gauss_checkImageWindowMatch(s.image(s.src), s.image(s.srcMask), &match, &bound);
  s.numbers = {match, bound, 0};
  if (status == 0) status = gauss_checkWindowMatch(s.constWindow(s.src), s.constWindow(s.srcMask), &match, &bound);
  s.numbers[2] = 2 * match + bound;
  return status;
}

// The records of parameters, wrong ones too.
ksys_status callRecords(Scene& s) {
  kip_gaussParams other = s.params;
  int32_t equal = 0, maxSigma = 0;
  ksys_status status = kip_gaussParams_compareEqual(&s.params, &other, &equal);
  if (status == 0) status = kip_filterMaskParams_compareEqual(&s.params.filterMask, &other.filterMask, &equal);
  if (status == 0) status = kip_gaussParamsGetMaxSigma16(&maxSigma);
  if (status == 0) status = kip_gaussParamsGetMaxSigma(&maxSigma);
  if (status == 0) status = kip_filterMaskParams_validate(&s.params.filterMask);
  s.numbers = {equal, maxSigma, kfGaussNullParams(&s.legacy)};
  return status == 0 ? kip_gaussParams_validate(&s.params) : status;
}

ksys_status callCopySampled(Scene& s) {
  int32_t start[2];
  gauss_computeSampleStartOffset(&s.params, start);
  s.numbers = {start[0], start[1], 0};
  return gauss_pelCopySampledWindow8(s.constWindow(s.dst), s.sample, s.offset, s.window(s.dstMask));
}

ksys_status callTransform(Scene& s) {
  return gauss_udpateDstXform(s.image(s.src), &s.params, s.image(s.dst), s.image(s.dstMask));
}

ksys_status callBand(Scene& s) {
  return gauss_computeSrcRectsFromDstRect(&s.params, &s.rect, &s.padding, &s.band, s.startRow, &s.rects[0],
                                          &s.rects[1]);
}

ksys_status callResultMask(Scene& s) {
  return kip_filterMask_computeResultMask_(s.image(s.srcMask), s.image(s.sampleMask), s.sigma, s.sample, s.minCoverage,
                                           s.image(s.dstMask));
}

ksys_status callTypeChecks(Scene& s) {
  for (const auto typeCheck :
       {ksys_typeCheck_gauss_paramsWrapper, ksys_typeCheckPtr_gauss_paramsWrapper,
        ksys_typeCheckFunc_gauss_paramsWrapper, ksys_typeCheckFuncPtr_gauss_paramsWrapper,
        ksys_typeCheckFuncStatus_gauss_paramsWrapper, ksys_typeCheckFuncStatusPtr_gauss_paramsWrapper}) {
    typeCheck(s.image(s.src));
  }
  ksys_typeCheck_gauss_paramsWrapper_gauss_paramsWrapper__unused__();
  return 0;
}

#define KIP_CALL(function, src, dst, forms, asksProcessor)                                   \
  {                                                                                          \
#function, src, dst, forms, [](Scene & s) { return invoke(s, function); }, asksProcessor \
  }
#define KIP_8_8_AND_16_16(stem, forms) \
  KIP_CALL(stem##8_8, 1, 1, forms, false), KIP_CALL(stem##16_16, 2, 2, forms, false)

}  // namespace

std::span<const Call> calls() {
  static const Call all[] = {
      KIP_CALL(kip_gauss_smooth8_8, 1, 1, created, true),
      KIP_CALL(kip_gauss_smooth8_16, 1, 2, created, true),
      KIP_CALL(kip_gauss_smoothWindow8_8, 1, 1, plain, true),
      KIP_CALL(kip_gauss_smoothWindow8_16, 1, 2, plain, true),
      {"kip_gauss", 1, 1, created, callEngine, true, true},
      {"kip_gauss 16", 1, 2, created, callEngine, true, true},
      {"kfGauss", 1, 1, {Form::plain, Form::created, Form::inPlace, Form::copying}, callLegacy, false, true},
      KIP_CALL(kip_gauss_smoothMasked8_8, 1, 1, masked, true),
      KIP_CALL(kip_gauss_smoothMasked8_16, 1, 2, masked, true),
      KIP_CALL(kip_gauss_smoothMasked16_16, 2, 2, masked, true),
      KIP_CALL(kip_gauss_smoothMaskedWindow8_8, 1, 1, maskedWindows, true),
      KIP_CALL(kip_gauss_smoothMaskedWindow8_16, 1, 2, maskedWindows, true),
      KIP_CALL(kip_gauss_smoothMaskedWindow16_16, 2, 2, maskedWindows, true),
      {"kip_filterMask_computeResultMask_", 1, 1, created, callResultMask},
      KIP_8_8_AND_16_16(kip_gauss2_smooth, created),
      KIP_8_8_AND_16_16(kip_gauss2X_smooth, created),
      KIP_8_8_AND_16_16(kip_gauss2Y_smooth, created),
      KIP_8_8_AND_16_16(kip_gauss2_smoothWindow, plain),
      KIP_CALL(kip_gauss2X_smoothWindow8_8, 1, 1, plain, false),
      KIP_CALL(kip_gauss2Y_smoothWindow8_8, 1, 1, plain, false),
      KIP_8_8_AND_16_16(kip_gauss2_smoothMasked, images),
      KIP_8_8_AND_16_16(kip_gauss2X_smoothMasked, images),
      KIP_8_8_AND_16_16(kip_gauss2Y_smoothMasked, images),
      KIP_8_8_AND_16_16(kip_gauss2_smoothMaskedWindow, windows),
      KIP_CALL(kip_gauss2X_smoothMaskedWindow8_8, 1, 1, windows, false),
      KIP_CALL(kip_gauss2Y_smoothMaskedWindow8_8, 1, 1, windows, false),
      KIP_8_8_AND_16_16(kip_gauss2_smoothNoSample, noSample),
      KIP_8_8_AND_16_16(kip_gauss2_smoothNoSampleWindow, plain),
      KIP_8_8_AND_16_16(kip_gauss2_smoothNoSampleMasked, noSample),
      KIP_8_8_AND_16_16(kip_gauss2_smoothNoSampleMaskedWindow, windows),
      KIP_CALL(kip_gauss2GetDestRect, 1, 1, plain, false),
      KIP_CALL(kip_gauss2XGetDestRect, 1, 1, plain, false),
      KIP_CALL(kip_gauss2YGetDestRect, 1, 1, plain, false),
      KIP_CALL(kip_gauss2NoSampleGetDestRect, 1, 1, plain, false),
      KIP_CALL(kfGaussGetDstReg, 1, 1, plain, false),
      KIP_CALL(kfGaussGetDummyReg, 1, 1, plain, false),
      {"gauss_setup", 1, 1, plain, callSetup},
      {"gauss_checkWindowMatch", 1, 1, plain, callMatches},
      {"gauss_pelCopySampledWindow8", 1, 1, plain, callCopySampled},
      {"gauss_udpateDstXform", 1, 1, created, callTransform},
      {"gauss_computeSrcRectsFromDstRect", 1, 1, plain, callBand},
      {"parameter records", 1, 1, plain, callRecords, true},
      {"type checks", 1, 1, plain, callTypeChecks},
  };
  return all;
}

}  // namespace kiptest
