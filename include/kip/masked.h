/* SPDX-License-Identifier: Apache-2.0 */
/* Gaussian smoothing that ignores the pixels which a mask marks invalid: of 8-bit images into 8-bit or 16-bit ones and
 * of 16-bit images into 16-bit ones. Masks have 8 bits throughout. For those who have masks, or 16-bit images. Begin at
 * kip_gauss_smoothMasked8_8; which pixels a kernel takes is in gauss.h, what becomes of them is defined here:
 *
 * Source mask: the pixels to use. Each output is the weighted mean of the valid pixels under the kernel, mirrored at
 * the source's border (beyond one reflection there are no valid pixels). Masks hold 0 (invalid) and 255 (valid); of
 * other values some processors look at the lowest bit alone.
 *
 * An output pixel is valid or not. The rule is in `params->filterMask`: by default the source mask at the output's
 * sample position decides; with `useCoverage` it is valid when at least the fraction `minCoverage` of the kernel's
 * pixels, and at least one, is valid. A sample mask restricts this: where it is 0 at the sample position the output is
 * invalid. Without one, the source mask serves, unless `allowMaskedSample` is set. An output without a valid pixel
 * under its kernel is invalid.
 *     valid:    scale x (sum of weight x pixel) / (sum of weights); the result mask is 255
 *     invalid:  scale x the source pixel at the sample position; the result mask is 0
 * The value is truncated or rounded, then limited to the pixel range. A vectorised engine gives the same but for the
 * rounding of its fixed-point arithmetic; with scales other than powers of two from 2 on, as far as 2^47, it keeps the
 * low bits of a larger result.
 *
 * The sample position of the output in column c, row r of the rectangle that is computed is the source rectangle's
 * corner + (c xSample, r ySample). It need not be the centre of the kernel, and it moves with a destination that is
 * clipped or covers a part only: such a result is not a crop of the full one where it depends on samples. */
#ifndef KIP_MASKED_H
#define KIP_MASKED_H

#include "params.h"

KSYS_DECLARATIONS_BEGIN

/* A mask does not cover its image's window exactly, or its being bound does not fit that of its image. */
#define KIP_STATUS_MASK_MISMATCH KSYS_STATUS(0x80000EAB)

/* Smooth an image. srcMask, sampleMask and dstMask may be null; unbound source masks count as absent. Bound masks cover
 * exactly their image: srcMask and sampleMask that of `src`, dstMask that of `dst`. An unbound `dst` is bound to new
 * pixels over the rectangle that `src` supplies, and so is dstMask, which must then be unbound too; with a bound `dst`
 * a dstMask must be bound. The transforms of `dst` and dstMask are replaced as kip_gauss_smooth8_8 does, but in double
 * throughout. When nothing can be computed the status is 0 and neither is changed.
 *
 * Without a source mask every pixel is used and results beyond the pixel range come out as gauss.h says, except where a
 * sample mask is 0; dstMask receives 255 or the sample mask's bytes. This form asks the attention check, the one with a
 * source mask does not. Large requests with a source mask are cut into bands that run on the host's threads.
 *
 * Fails as kip_gaussParams_validate does, with KIP_STATUS_BAD_SIGMA above kip_gaussParamsGetMaxSigma,
 * KIP_STATUS_NOT_BOUND, KIP_STATUS_MASK_MISMATCH, or with a status of the host (a destination that shares pixels with
 * another argument, memory); on a failure of the host the destinations may be bound already, to pixels that
 * are 0 where nothing has been written. Null src, dst or params:
 * argument check. */
ksys_status kip_gauss_smoothMasked8_8(const kimg_image8* src, const kimg_image8* srcMask, const kimg_image8* sampleMask,
                                      const kip_gaussParams* params, kimg_image8* dst, kimg_image8* dstMask);

/* Smooth a window: the source ends, and is mirrored, at the window's border. Mask windows that refer to no pixels count
 * as absent; `src` and `dst` without pixels fail with KIP_STATUS_NOT_BOUND. What the source cannot supply of `dst` and
 * dstMask keeps its pixels. */
ksys_status kip_gauss_smoothMaskedWindow8_8(const kimg_window8Const* src, const kimg_window8Const* srcMask,
                                            const kimg_window8Const* sampleMask, const kip_gaussParams* params,
                                            const kimg_window8* dst, const kimg_window8* dstMask);

/* The same for 8-bit sources and 16-bit destinations, which keep a gain: scale 256 gives eight fractional bits. */
ksys_status kip_gauss_smoothMasked8_16(const kimg_image8* src, const kimg_image8* srcMask,
                                       const kimg_image8* sampleMask, const kip_gaussParams* params, kimg_image16* dst,
                                       kimg_image8* dstMask);
ksys_status kip_gauss_smoothMaskedWindow8_16(const kimg_window8Const* src, const kimg_window8Const* srcMask,
                                             const kimg_window8Const* sampleMask, const kip_gaussParams* params,
                                             const kimg_window16* dst, const kimg_window8* dstMask);

/* The same for 16-bit sources, with KIP_STATUS_BAD_SIGMA above kip_gaussParamsGetMaxSigma16. The functions for unmasked
 * smoothing of 16-bit images too: without a source mask they do not ask the attention check either. Then the portable
 * engine divides by the weights of the columns that one reflection supplies, and its result mask is 255 where the
 * sample mask is not 0; a vectorised engine divides by all of the kernel's weights, keeps the low 16 bits of a larger
 * result and copies the sample mask's bytes. */
ksys_status kip_gauss_smoothMasked16_16(const kimg_image16* src, const kimg_image8* srcMask,
                                        const kimg_image8* sampleMask, const kip_gaussParams* params, kimg_image16* dst,
                                        kimg_image8* dstMask);
ksys_status kip_gauss_smoothMaskedWindow16_16(const kimg_window16Const* src, const kimg_window8Const* srcMask,
                                              const kimg_window8Const* sampleMask, const kip_gaussParams* params,
                                              const kimg_window16* dst, const kimg_window8* dstMask);

/* The result mask of a masked request by coverage, without smoothing an image: 255 where at least the fraction
 * minCoverage of the kernel's pixels, and at least one, is valid and the sample mask (may be null or unbound) is not 0
 * at the sample position; else 0. Here a source mask byte is valid from 128 on. sigma and sample: x, then y. An unbound
 * dstMask is bound to the rectangle that srcMask supplies; the rest of a bound one keeps its pixels. Its transform is
 * left alone. dstMask and sampleMask must not share pixels.
 * KIP_STATUS_NOT_BOUND for an unbound srcMask, KIP_STATUS_BAD_SIGMA when a coordinate does not fit in 32 bits, or a
 * status of the host. Null pointers but sampleMask, samples below 1, sigmas below 0, minCoverage outside [0, 1] and a
 * bound sampleMask that does not cover exactly srcMask's rectangle: argument check. */
ksys_status kip_filterMask_computeResultMask_(const kimg_image8* srcMask, const kimg_image8* sampleMask,
                                              const int32_t sigma[2], const int32_t sample[2], double minCoverage,
                                              kimg_image8* dstMask);

/* The type checks of the vectorised engine's working record, for the host's checked clean-up: they do nothing. Each
 * takes an address of the kind that its name tells; the last one calls the others with null. */
void ksys_typeCheck_gauss_paramsWrapper(const void* object);
void ksys_typeCheckPtr_gauss_paramsWrapper(const void* pointer);
void ksys_typeCheckFunc_gauss_paramsWrapper(const void* function);
void ksys_typeCheckFuncPtr_gauss_paramsWrapper(const void* function);
void ksys_typeCheckFuncStatus_gauss_paramsWrapper(const void* function);
void ksys_typeCheckFuncStatusPtr_gauss_paramsWrapper(const void* function);
void ksys_typeCheck_gauss_paramsWrapper_gauss_paramsWrapper__unused__(void);

KSYS_DECLARATIONS_END

#endif
