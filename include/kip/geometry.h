/* SPDX-License-Identifier: Apache-2.0 */
/* The window geometry of masked smoothing: which source pixels a destination rectangle takes, how far the kernel
 * reaches past them, and how a request is cut into bands. Few programs need it: for rectangles begin at
 * kfGaussGetDstReg (gauss.h), for parts of pictures at parts.h; here at gauss_setup.
 *
 * Rectangles are in pixel coordinates, those of the source or those of the destination (gauss.h says how the two are
 * tied). A padding or mirror rectangle holds reaches instead: x = -(columns to the left), y = -(rows above),
 * width = left + right + 1, height = above + below + 1. Of `params` only sample factors (>= 1) and sigmas (>= 0) are
 * read; others, and null pointers, are an argument check. */
#ifndef KIP_GEOMETRY_H
#define KIP_GEOMETRY_H

#include "params.h"

KSYS_DECLARATIONS_BEGIN

/* The geometry of smoothing a source window into the requested destination rectangle:
 *   dst      the requested pixels that the source supplies,
 *   needed   every source position that their kernels touch,
 *   src      those that the source has,
 *   padding  how far `needed` reaches past `src`,
 *   mirror   the same, cut on each side to what one reflection of the source window supplies.
 * All are (0, 0, 0, 0) when nothing can be computed. KIP_STATUS_BAD_SIGMA, and nothing written, when the kernel's
 * 3 sigma + 1 taps do not fit in 32 bits, whether or not anything can be computed, or when another coordinate does not.
 */
ksys_status gauss_setup(const kstd_rect32* srcWindowRect, const kstd_rect32* requestedDst,
                        const kip_gaussParams* params, kstd_rect32* src, kstd_rect32* dst, kstd_rect32* mirror,
                        kstd_rect32* padding, kstd_rect32* needed);

/* Where the first sample of a masked request lies, relative to the corner of its source rectangle: (0, 0). */
void gauss_computeSampleStartOffset(const kip_gaussParams* params, int32_t offset[2]);

/* *bound: 1 when b refers to pixels. *match: 1 when it does not, or when both rectangles are the same, else 0. */
ksys_status gauss_checkWindowMatch(const kimg_windowConst* a, const kimg_windowConst* b, int32_t* match,
                                   int32_t* bound);
/* The same for images: *bound tells whether b is bound. */
ksys_status gauss_checkImageWindowMatch(const kimg_imageConst* a, const kimg_imageConst* b, int32_t* match,
                                        int32_t* bound);

/* dst(column u, row v) = src(offset[0] + u sample[0], offset[1] + v sample[1]), counted from the windows' corners.
 * Always 0. Argument checks: null pointers and, unless `dst` has no column or row, a sample factor below 1, an offset
 * below 0 and a sample that does not lie in `src`. That both windows are bound, have 8 bits and share no pixels is not
 * checked. */
ksys_status gauss_pelCopySampledWindow8(const kimg_window8Const* src, const int32_t sample[2], const int32_t offset[2],
                                        const kimg_window8* dst);

/* Gives `dst`, and `dst2` unless it is null, the image-from-client transform of `src` smoothed with these parameters:
 * each destination pixel stays on the client point of its kernel's centre. Double precision throughout. */
ksys_status gauss_udpateDstXform(const kimg_imageConst* src, const kip_gaussParams* params, kimg_image* dst,
                                 kimg_image* dst2);

/* The rows of a band of a request with that source and padding: `bandDst` is the band's part of the destination,
 * `startRow` its first sample's row from the top of `src` (destination rows above the band times ySample). `bandSrc`
 * receives its source rectangle, `bandPlane` the same with the band's mirrored rows. Bands outside the request are an
 * argument check. */
ksys_status gauss_computeSrcRectsFromDstRect(const kip_gaussParams* params, const kstd_rect32* src,
                                             const kstd_rect32* padding, const kstd_rect32* bandDst, int32_t startRow,
                                             kstd_rect32* bandSrc, kstd_rect32* bandPlane);

KSYS_DECLARATIONS_END

#endif
