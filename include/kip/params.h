/* SPDX-License-Identifier: Apache-2.0 */
/* The parameters of a smoothing request: for every caller of gauss.h and masked.h, which define the pixels. Begin at
 * kip_gaussParams and kip_gaussParams_init. */
#ifndef KIP_PARAMS_H
#define KIP_PARAMS_H

#include "host/kimg.h"

KSYS_DECLARATIONS_BEGIN

/* Failures of the library itself; failures of the host are passed on as they are. */
#define KIP_STATUS_BAD_SAMPLE KSYS_STATUS(0x80000961)       /* a sample factor is below 1 */
#define KIP_STATUS_BAD_SIGMA KSYS_STATUS(0x80000962)        /* a sigma is negative or too large for the request */
#define KIP_STATUS_BAD_SCALE KSYS_STATUS(0x80000963)        /* scale is not above 0, or not so as a float */
#define KIP_STATUS_NOT_BOUND KSYS_STATUS(0x800003C3)        /* an image or window has no pixels */
#define KIP_STATUS_SAME_PIXELS KSYS_STATUS(0x800006A1)      /* source and destination begin at the same pixel */
#define KIP_STATUS_BAD_ALLOW_MASKED KSYS_STATUS(0x80000EA8) /* allowMaskedSample is neither 0 nor 1 */
#define KIP_STATUS_BAD_USE_COVERAGE KSYS_STATUS(0x80000EA9) /* useCoverage is neither 0 nor 1 */
#define KIP_STATUS_BAD_MIN_COVERAGE KSYS_STATUS(0x80000EAA) /* minCoverage is outside [0, 1] */

/* When an output pixel of a masked request is valid. */
typedef struct kip_filterMaskParams {
  int32_t allowMaskedSample; /* 0 or 1. 0: without a sample mask, the source mask serves as the sample mask too */
  int32_t useCoverage;       /* 0: valid where the source mask is set at the sample position; 1: by coverage */
  double minCoverage;        /* in [0, 1]: the fraction of the kernel's pixels that must be valid under coverage, to the
                                nearest whole number of pixels */
} kip_filterMaskParams;

/* Per axis, three box filters of width sigma + 1 follow one another (3 sigma + 1 taps, bell-shaped, of standard
 * deviation sqrt(sigma (sigma + 2)) / 2), then every sample-th column and row is kept. */
typedef struct kip_gaussParams {
  int32_t xSample, ySample; /* down-sampling factors, >= 1 */
  int32_t xSigma, ySigma;   /* smoothing sizes in pixels, >= 0; 0: none along that axis */
  double scale;             /* gain, > 0; 1 keeps the grey level. Above it results may leave the pixel range */
  int32_t roundResult;      /* not 0: round to nearest; 0: truncate, by which flat areas may come out one lower */
  kip_filterMaskParams filterMask; /* used by masked smoothing only, validated always */
} kip_gaussParams;

/* The record of the legacy interface. */
typedef struct ksGaussParams {
  int32_t xSample, ySample, xSigma, ySigma;
  int32_t peakNormalize; /* not 0: divide by the kernel's largest weight in place of its sum; ignores scale and
                            extendBorder */
  int32_t extendBorder;  /* not 0: mirror the source at its border; 0: only where the whole kernel lies inside */
  int32_t roundResult;
  float scale;
  const ksVImage* dstTemplate; /* &ksImageNull or &ksUSImageNull: the type of a destination that the engine creates */
  void* reserved;
} ksGaussParams;

/* Every `params`, `a`, `b` and output below must not be null (argument check). */

/* Sample factors 1, sigmas 1, scale 1, truncation, the default mask rule. */
ksys_status kip_gaussParams_init(kip_gaussParams* params);
/* 0, or the first failure in this order: the host's processor query, sample factors, sigmas (negative), scale, mask
 * rule. There is no upper limit on a sigma here; the masked functions have one. */
ksys_status kip_gaussParams_validate(const kip_gaussParams* params);
/* *equal: 1 when all fields agree, else 0. A scale or minCoverage that is not a number agrees with any. */
ksys_status kip_gaussParams_compareEqual(const kip_gaussParams* a, const kip_gaussParams* b, int32_t* equal);
/* The largest sigma that masked smoothing of 8-bit sources takes: 63 on processors with 128-bit integer vectors, else
 * 24. */
ksys_status kip_gaussParamsGetMaxSigma(int32_t* maxSigma);
/* The same for 16-bit sources: 39. */
ksys_status kip_gaussParamsGetMaxSigma16(int32_t* maxSigma);

/* Neither flag set, minCoverage 0. */
ksys_status kip_filterMaskParams_init(kip_filterMaskParams* params);
/* 0, or the first failure in the order of the fields. */
ksys_status kip_filterMaskParams_validate(const kip_filterMaskParams* params);
ksys_status kip_filterMaskParams_compareEqual(const kip_filterMaskParams* a, const kip_filterMaskParams* b,
                                              int32_t* equal);

/* The library's shared default record (not a copy): sample factors 1, sigmas 0, scale 1, 8-bit results. Do not write to
 * it. */
const ksGaussParams* ksGaussParamsNull(void);
/* 1 when a smoothing with these parameters would change nothing: sample factors 1, sigmas 0, scale 1, 8-bit results (a
 * null dstTemplate stands for &ksImageNull); else 0. */
int32_t kfGaussNullParams(const ksGaussParams* params);

KSYS_DECLARATIONS_END

#endif
