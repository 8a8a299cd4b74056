/* SPDX-License-Identifier: Apache-2.0 */
/* For those who build pyramids or smooth with small fixed weights. Begin at kip_gauss2_smooth8_8, which halves an
 * image.
 *
 * Reduction by two, one level of an image pyramid, and smoothing without sampling, both with the binomial kernel
 * 1 4 6 4 1 and in exact integers. In a name, 8_8 is for 8-bit and 16_16 for 16-bit source and destination; masks are
 * always 8-bit.
 *
 * Every function returns 0 or the first failure of the host: of its images and windows, of memory, or of the attention
 * check, which is polled every 64 rows; rows written before stay written. Null arguments (but for those said to be
 * optional), odd or negative radii and unpaired transforms are argument checks. Pixels of another size than the name's
 * are KSYS_STATUS_BAD_ARGUMENT, except where the name's are 8 bits of a destination, or of a mask's window: 16-bit ones
 * are taken for bytes there. An unbound source, and a destination that does not meet what the source supplies, are no
 * failure: no pixel is written. Source and destination must not share pixels: the pixels are then unspecified, and
 * nothing else is touched. Everything runs on the calling thread. */
#ifndef KIP_GAUSS2_H
#define KIP_GAUSS2_H

#include "host/kimg.h"

KSYS_DECLARATIONS_BEGIN

/* ---- rectangles ---- */

/* The destination rectangle of a source rectangle. On a reduced axis the origin is halved rounding down (-3 gives -2)
 * and so is the size (a negative one gives 0); without sampling the rectangle stays as it is. */
ksys_status kip_gauss2GetDestRect(const kstd_rect32* src, kstd_rect32* dst);
ksys_status kip_gauss2XGetDestRect(const kstd_rect32* src, kstd_rect32* dst);
ksys_status kip_gauss2YGetDestRect(const kstd_rect32* src, kstd_rect32* dst);
ksys_status kip_gauss2NoSampleGetDestRect(const kstd_rect32* src, kstd_rect32* dst);

/* ---- reduction by two along x and y (gauss2_), x (gauss2X_) or y (gauss2Y_) ----
 *
 * A destination pixel is the rounded weighted mean of the five source pixels, or five by five, around its centre; at
 * the border of the source the nearest pixel stands in for those outside. Along both axes there is one rounding, so
 * that x followed by y is not the same as both at once.
 *
 * A destination over the whole rectangle above has its first pixel centred on the source's first pixel. One that covers
 * a part only is made from twice that part of the source's image, which starts at an even position (it may begin one
 * pixel before the source's window, and fails when that pixel is not in the image) and ends, and repeats its border,
 * there: it is not a crop of the whole reduction. */

/* Reduce an image. An unbound destination is bound to new pixels over the rectangle above (and stays bound when the
 * call fails later, its pixels 0 where nothing has been written), a bound one keeps its pixels outside it. The
 * destination receives the source's coordinate transform after the map from its pixels to the source's, unless it is
 * bound and nothing can be computed. */
ksys_status kip_gauss2_smooth8_8(const kimg_imageConst* src, kimg_image* dst);
ksys_status kip_gauss2_smooth16_16(const kimg_imageConst* src, kimg_image* dst);
ksys_status kip_gauss2X_smooth8_8(const kimg_imageConst* src, kimg_image* dst);
ksys_status kip_gauss2X_smooth16_16(const kimg_imageConst* src, kimg_image* dst);
ksys_status kip_gauss2Y_smooth8_8(const kimg_imageConst* src, kimg_image* dst);
ksys_status kip_gauss2Y_smooth16_16(const kimg_imageConst* src, kimg_image* dst);

/* Reduce a window. The transforms, from pixel to client coordinates, are both given or both null and may be the same
 * record; the destination's is written even when there is no pixel to compute. */
ksys_status kip_gauss2_smoothWindow8_8(const kimg_windowConst* src, const kmath_xformLinear* srcClientFromImage,
                                       const kimg_window* dst, kmath_xformLinear* dstClientFromImage);
ksys_status kip_gauss2_smoothWindow16_16(const kimg_windowConst* src, const kmath_xformLinear* srcClientFromImage,
                                         const kimg_window* dst, kmath_xformLinear* dstClientFromImage);
ksys_status kip_gauss2X_smoothWindow8_8(const kimg_windowConst* src, const kmath_xformLinear* srcClientFromImage,
                                        const kimg_window* dst, kmath_xformLinear* dstClientFromImage);
ksys_status kip_gauss2Y_smoothWindow8_8(const kimg_windowConst* src, const kmath_xformLinear* srcClientFromImage,
                                        const kimg_window* dst, kmath_xformLinear* dstClientFromImage);

/* ---- with masks ----
 *
 * A mask byte weights the pixel in the same column and row of its image's window, 0 to 255. A destination pixel is the
 * mean weighted by kernel and mask, rounded half up, and 0 where there is no weight. On processors with vectors, when a
 * result mask is wanted, most means are single-precision quotients rounded to nearest, ties to even: one off at most,
 * and only where a mean lies just at a half. The result mask is the kernel's rounded mean of the mask.
 *
 * srcMask is required. dstMask may be null: no result mask is wanted. Where a part of an image is used, the same part
 * of its mask is. Masks that are too small fail before a pixel is written. */

/* An unbound dstMask is bound along with an unbound dst, over the same rectangle; with a bound dst it is
 * KSYS_STATUS_NOT_BOUND (0x800003C3). dstMask receives the destination's transform too. */
ksys_status kip_gauss2_smoothMasked8_8(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst,
                                       kimg_image8* dstMask);
ksys_status kip_gauss2_smoothMasked16_16(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst,
                                         kimg_image8* dstMask);
ksys_status kip_gauss2X_smoothMasked8_8(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst,
                                        kimg_image8* dstMask);
ksys_status kip_gauss2X_smoothMasked16_16(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst,
                                          kimg_image8* dstMask);
ksys_status kip_gauss2Y_smoothMasked8_8(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst,
                                        kimg_image8* dstMask);
ksys_status kip_gauss2Y_smoothMasked16_16(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst,
                                          kimg_image8* dstMask);
ksys_status kip_gauss2_smoothMaskedWindow8_8(const kimg_windowConst* src, const kimg_window8Const* srcMask,
                                             const kmath_xformLinear* srcClientFromImage, const kimg_window* dst,
                                             const kimg_window8* dstMask, kmath_xformLinear* dstClientFromImage);
ksys_status kip_gauss2_smoothMaskedWindow16_16(const kimg_windowConst* src, const kimg_window8Const* srcMask,
                                               const kmath_xformLinear* srcClientFromImage, const kimg_window* dst,
                                               const kimg_window8* dstMask, kmath_xformLinear* dstClientFromImage);
ksys_status kip_gauss2X_smoothMaskedWindow8_8(const kimg_windowConst* src, const kimg_window8Const* srcMask,
                                              const kmath_xformLinear* srcClientFromImage, const kimg_window* dst,
                                              const kimg_window8* dstMask, kmath_xformLinear* dstClientFromImage);
ksys_status kip_gauss2Y_smoothMaskedWindow8_8(const kimg_windowConst* src, const kimg_window8Const* srcMask,
                                              const kmath_xformLinear* srcClientFromImage, const kimg_window* dst,
                                              const kimg_window8* dstMask, kmath_xformLinear* dstClientFromImage);

/* ---- smoothing without sampling ----
 *
 * The radii are even and not negative: 0 leaves an axis as it is, 2 is one pass of the kernel along it, 2k are k
 * passes, each rounded (a pass along both axes once). The pixels that both windows have are computed at equal
 * coordinates; the source ends, and repeats its border, at that common rectangle. Radii of 0 copy it, with masks
 * whatever they hold. */

/* An unbound destination is bound to new pixels over the source's rectangle. The destination receives the source's
 * coordinate transform. */
ksys_status kip_gauss2_smoothNoSample8_8(const kimg_imageConst* src, kimg_image* dst, int32_t xRadius, int32_t yRadius);
ksys_status kip_gauss2_smoothNoSample16_16(const kimg_imageConst* src, kimg_image* dst, int32_t xRadius,
                                           int32_t yRadius);
ksys_status kip_gauss2_smoothNoSampleWindow8_8(const kimg_windowConst* src, const kimg_window* dst, int32_t xRadius,
                                               int32_t yRadius);
ksys_status kip_gauss2_smoothNoSampleWindow16_16(const kimg_windowConst* src, const kimg_window* dst, int32_t xRadius,
                                                 int32_t yRadius);
/* Each pass takes the result mask of the one before. */
ksys_status kip_gauss2_smoothNoSampleMasked8_8(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst,
                                               kimg_image8* dstMask, int32_t xRadius, int32_t yRadius);
ksys_status kip_gauss2_smoothNoSampleMasked16_16(const kimg_imageConst* src, const kimg_image8* srcMask,
                                                 kimg_image* dst, kimg_image8* dstMask, int32_t xRadius,
                                                 int32_t yRadius);
ksys_status kip_gauss2_smoothNoSampleMaskedWindow8_8(const kimg_windowConst* src, const kimg_window8Const* srcMask,
                                                     const kimg_window* dst, const kimg_window8* dstMask,
                                                     int32_t xRadius, int32_t yRadius);
ksys_status kip_gauss2_smoothNoSampleMaskedWindow16_16(const kimg_windowConst* src, const kimg_window8Const* srcMask,
                                                       const kimg_window* dst, const kimg_window8* dstMask,
                                                       int32_t xRadius, int32_t yRadius);

KSYS_DECLARATIONS_END

#endif
