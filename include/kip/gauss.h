/* SPDX-License-Identifier: Apache-2.0 */
/* Gaussian smoothing of 8-bit images into 8-bit or 16-bit images: for those who smooth without masks. Begin at
 * kip_gauss_smooth8_8 with parameters from kip_gaussParams_init (params.h). Images of 16 bits, and masks: masked.h. The
 * pixels are defined here:
 *
 * Destination pixel u (columns and rows alike) is the weighted mean of the source pixels around source position
 *     d(u) = u S + floor(S / 2) + (S & k & 1) - 1,      S: sample factor, k = sigma + 1,
 * from d(u) - floor(3 sigma / 2) on, 3 sigma + 1 of them. Both images use their own pixel coordinates. So with S = 1 an
 * even sigma keeps pixel numbers, while an odd one shifts them by one: source columns 0 ... 9 smoothed with the default
 * parameters (sigma 1) give destination columns 1 ... 10. Leave the destination unbound to receive exactly the pixels
 * that the source can supply.
 *
 * The source is mirrored at its border with the edge pixel repeated; beyond one reflection it counts as 0.
 *
 * The portable engine defines the pixels; of a result beyond the pixel range it keeps the low bits. Where the processor
 * allows it a vectorised engine serves the request. Where its pixels differ they are one off with scales up to about 1;
 * a larger scale multiplies the difference, in range as well.
 *     Level 1 (SSE2) serves truncation and scales that are powers of two. It differs where the quotient lies just at an
 * integer (into 16 bits with scale 256: by -4 to +1), saturates at 255 or 32767 when xSample is 1, and cannot be
 * cancelled.
 *     Level 2 (AVX2) gives the portable engine's pixels but for 8-bit results of sigma 2 in both axes, and of sigma 1
 * in both with a scale other than 1 and sample factors up to 3: these are rounded twice (with scale 8, truncated, by -8
 * to 0 for sigma 2 and -7 to 0 for sigma 1, rounded by -4 to +4) and saturate. With any scale both sigmas ignore
 * peakNormalize and leave the client z-scale alone. */
#ifndef KIP_GAUSS_H
#define KIP_GAUSS_H

#include "params.h"

KSYS_DECLARATIONS_BEGIN

/* Smooth an image. `src` must be bound. An unbound `dst` is bound to new pixels over exactly the rectangle that `src`
 * supplies, and stays bound when the call fails later: rows that the call had not come to are 0 then. A bound one keeps
 * its pixels outside that rectangle. The destination's image-from-client transform is replaced so that each pixel stays
 * on the client point of its kernel's centre: of a linear source transform each element is rounded to float, others are
 * composed as they are. When the source supplies nothing the status is 0 and `dst` is unchanged; a bound `dst` that
 * meets nothing of what it supplies receives the transform alone.
 * Source and destination must share no pixels. 8_8 refuses them; 8_16 does not look: the result is then unspecified,
 * but nothing outside the destination is touched. Fails as kip_gaussParams_validate does, with KIP_STATUS_BAD_SCALE
 * also for a scale that is 0 or infinite as a float, KIP_STATUS_BAD_SIGMA when the needed coordinates leave 32 bits,
 * KIP_STATUS_NOT_BOUND, KIP_STATUS_SAME_PIXELS, or with a status of the host (overlapping pixels, memory, attention
 * check). Null arguments: argument check. */
ksys_status kip_gauss_smooth8_8(const kimg_image8* src, kimg_image8* dst, const kip_gaussParams* params);
ksys_status kip_gauss_smooth8_16(const kimg_image8* src, kimg_image16* dst, const kip_gaussParams* params);

/* Smooth a window: the source ends, and is mirrored, at the window's border even when its image goes on. The part of
 * the destination window that the source supplies is written. Unbound and empty windows fail with
 * KIP_STATUS_NOT_BOUND. Shared pixels: as above. */
ksys_status kip_gauss_smoothWindow8_8(const kimg_window8Const* src, const kimg_window8* dst,
                                      const kip_gaussParams* params);
ksys_status kip_gauss_smoothWindow8_16(const kimg_window8Const* src, const kimg_window16* dst,
                                       const kip_gaussParams* params);

/* ---- legacy interface ---- */

/* Smooth a legacy image. A null `dst` is created, of dstTemplate's type: over *region when a region is given, else over
 * all that the source supplies. `region` may be null and receives the rectangle that is computed, a null one when there
 * is none; a given `dst` decides by its own region. `out` receives the destination. Source and destination must not
 * share pixels (not checked: the result is then unspecified, but nothing outside the destination is touched), and an
 * image must not be its own destination. A 16-bit `src` is accepted: the bytes of its rows are taken for pixels.
 *
 * Argument checks, which end the process: a null `src`, `params` or `out`; sample factors below 1, negative sigmas, a
 * scale that is not above 0; a null dstTemplate where `dst` is null; a `dst` of neither 8 nor 16 bits. A scale of
 * infinity is one, too, unless peakNormalize makes it not matter; level 2's direct kernels for sigma 1 and 2 store 255.
 *
 * Failures, and what they leave:
 *     the host's, of the processor query         *region and *out as they were
 *     KIP_STATUS_BAD_SIGMA, when a coordinate    both as they were; at level 1 *out is null
 *       does not fit in 32 bits
 *     KSYS_STATUS_NO_MEMORY, when `dst` cannot   *region is the rectangle, *out as it was; at level 1 it is null
 *       be created
 *     the host's, of memory or of the attention  *region is the rectangle and *out the destination, with the rows done
 *       check                                    so far; a created one, otherwise 0, is the caller's to free. At level
 *                                                1 *out is null, and a created one is freed */
ksys_status kip_gauss(const ksImage* src, ksVImage* dst, const ksGaussParams* params, ksIRegion* region,
                      ksVImage** out);

/* Smooth a legacy 8-bit image by n + 1 boxes of width sigma + 1 along each axis, without sampling and without border
 * extension: n = 2 has the weights of the functions above. A destination pixel keeps the number of the source pixel at
 * its kernel's middle, of two middle ones the left (upper). With E = (n + 1) sigma the taps of pixel u reach from
 * u - floor(E / 2) on over E + 1 pixels; only pixels whose taps lie in the source are computed.
 *
 * `dst` may be null, for a new image that belongs to the caller; it may be `src`, which is then smoothed in place. Any
 * other image must share no pixels with `src` (not checked: the result is then unspecified, but nothing outside the
 * destination is touched). A given `dst` limits what is computed by its region, and keeps its other pixels. `region`
 * may be null; it limits what is computed only when `dst` is null, and receives the rectangle that has been computed.
 * The client coordinates are set so that every pixel stays on the client point of its kernel's centre; the z-scale is
 * left alone.
 *
 * The weighted sum is divided by (box width x box height)^(n + 1), with peakNormalize by the largest weight, and
 * truncated; of a value beyond 255 the low 8 bits are kept. Sums are doubles: exact while
 * 255 (box width x box height)^(n + 1) is below 2^53 (with a width of 1 counted as 2), beyond that with the rounding
 * errors of running sums, and 0 where the quotient is not finite or leaves 64 bits.
 *
 * Without a pixel to compute *region is null and `dst` returned untouched, or a new image of 0 x 0. When there is
 * nothing to smooth, both sigmas 0 or n = -1 (no box at all), the pixels that both images have are copied with client
 * coordinates and z-scale. There is no status: short of memory, *region is null and the result `dst`, untouched;
 * without a `dst` it is a new image whose pixels are all 0, or null when there is no memory for that either. A null
 * `src`, 16-bit images, n below -1, negative sigmas and taps outside 32-bit coordinates: argument check. */
ksImage* kfGauss(ksImage* src, ksImage* dst, int32_t n, int32_t xSigma, int32_t ySigma, int32_t peakNormalize,
                 ksIRegion* region);

/* The destination pixels whose sample positions d(u) lie in `src`, and the source positions of `dst`'s pixels, first to
 * last. kx and ky are box widths (sigma + 1). Return the address of the output, which may be the input. Sample factors
 * below 1 are an argument check; fields outside 32 bits saturate. */
ksIRegion* kfGaussGetDstReg(const ksIRegion* src, ksIRegion* dst, int32_t xSample, int32_t ySample, int32_t kx,
                            int32_t ky);
ksIRegion* kfGaussGetDummyReg(const ksIRegion* dst, ksIRegion* dummy, int32_t xSample, int32_t ySample, int32_t kx,
                              int32_t ky);

KSYS_DECLARATIONS_END

#endif
