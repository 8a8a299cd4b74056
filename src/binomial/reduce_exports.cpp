// SPDX-License-Identifier: Apache-2.0
#include "binomial/reduce.hpp"
#include "kip/gauss2.h"

ksys_status kip_gauss2_smooth8_8(const kimg_imageConst* src, kimg_image* dst) {
  return kip::gauss2_smoothImage8(src, dst, kip::reduceBoth);
}

ksys_status kip_gauss2_smooth16_16(const kimg_imageConst* src, kimg_image* dst) {
  return kip::gauss2_smoothImage16(src, dst, kip::reduceBoth);
}

ksys_status kip_gauss2X_smooth8_8(const kimg_imageConst* src, kimg_image* dst) {
  return kip::gauss2_smoothImage8(src, dst, kip::reduceColumns);
}

ksys_status kip_gauss2X_smooth16_16(const kimg_imageConst* src, kimg_image* dst) {
  return kip::gauss2_smoothImage16(src, dst, kip::reduceColumns);
}

ksys_status kip_gauss2Y_smooth8_8(const kimg_imageConst* src, kimg_image* dst) {
  return kip::gauss2_smoothImage8(src, dst, kip::reduceRows);
}

ksys_status kip_gauss2Y_smooth16_16(const kimg_imageConst* src, kimg_image* dst) {
  return kip::gauss2_smoothImage16(src, dst, kip::reduceRows);
}

ksys_status kip_gauss2_smoothWindow8_8(const kimg_windowConst* src, const kmath_xformLinear* srcClientFromImage,
                                       const kimg_window* dst, kmath_xformLinear* dstClientFromImage) {
  return kip::gauss2_smoothWindow8(src, srcClientFromImage, dst, dstClientFromImage, kip::reduceBoth);
}

ksys_status kip_gauss2_smoothWindow16_16(const kimg_windowConst* src, const kmath_xformLinear* srcClientFromImage,
                                         const kimg_window* dst, kmath_xformLinear* dstClientFromImage) {
  return kip::gauss2_smoothWindow16(src, srcClientFromImage, dst, dstClientFromImage, kip::reduceBoth);
}

ksys_status kip_gauss2X_smoothWindow8_8(const kimg_windowConst* src, const kmath_xformLinear* srcClientFromImage,
                                        const kimg_window* dst, kmath_xformLinear* dstClientFromImage) {
  return kip::gauss2_smoothWindow8(src, srcClientFromImage, dst, dstClientFromImage, kip::reduceColumns);
}

ksys_status kip_gauss2Y_smoothWindow8_8(const kimg_windowConst* src, const kmath_xformLinear* srcClientFromImage,
                                        const kimg_window* dst, kmath_xformLinear* dstClientFromImage) {
  return kip::gauss2_smoothWindow8(src, srcClientFromImage, dst, dstClientFromImage, kip::reduceRows);
}

ksys_status kip_gauss2_smoothMasked8_8(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst,
                                       kimg_image8* dstMask) {
  return kip::gauss2_smoothMaskedImage8(src, srcMask, dst, dstMask, kip::reduceBoth);
}

ksys_status kip_gauss2_smoothMasked16_16(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst,
                                         kimg_image8* dstMask) {
  return kip::gauss2_smoothMaskedImage16(src, srcMask, dst, dstMask, kip::reduceBoth);
}

ksys_status kip_gauss2X_smoothMasked8_8(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst,
                                        kimg_image8* dstMask) {
  return kip::gauss2_smoothMaskedImage8(src, srcMask, dst, dstMask, kip::reduceColumns);
}

ksys_status kip_gauss2X_smoothMasked16_16(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst,
                                          kimg_image8* dstMask) {
  return kip::gauss2_smoothMaskedImage16(src, srcMask, dst, dstMask, kip::reduceColumns);
}

ksys_status kip_gauss2Y_smoothMasked8_8(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst,
                                        kimg_image8* dstMask) {
  return kip::gauss2_smoothMaskedImage8(src, srcMask, dst, dstMask, kip::reduceRows);
}

ksys_status kip_gauss2Y_smoothMasked16_16(const kimg_imageConst* src, const kimg_image8* srcMask, kimg_image* dst,
                                          kimg_image8* dstMask) {
  return kip::gauss2_smoothMaskedImage16(src, srcMask, dst, dstMask, kip::reduceRows);
}

ksys_status kip_gauss2_smoothMaskedWindow8_8(const kimg_windowConst* src, const kimg_window8Const* srcMask,
                                             const kmath_xformLinear* srcClientFromImage, const kimg_window* dst,
                                             const kimg_window8* dstMask, kmath_xformLinear* dstClientFromImage) {
  return kip::gauss2_smoothMaskedWindow8(src, srcMask, srcClientFromImage, dst, dstMask, dstClientFromImage,
                                         kip::reduceBoth);
}

ksys_status kip_gauss2_smoothMaskedWindow16_16(const kimg_windowConst* src, const kimg_window8Const* srcMask,
                                               const kmath_xformLinear* srcClientFromImage, const kimg_window* dst,
                                               const kimg_window8* dstMask, kmath_xformLinear* dstClientFromImage) {
  return kip::gauss2_smoothMaskedWindow16(src, srcMask, srcClientFromImage, dst, dstMask, dstClientFromImage,
                                          kip::reduceBoth);
}

ksys_status kip_gauss2X_smoothMaskedWindow8_8(const kimg_windowConst* src, const kimg_window8Const* srcMask,
                                              const kmath_xformLinear* srcClientFromImage, const kimg_window* dst,
                                              const kimg_window8* dstMask, kmath_xformLinear* dstClientFromImage) {
  return kip::gauss2_smoothMaskedWindow8(src, srcMask, srcClientFromImage, dst, dstMask, dstClientFromImage,
                                         kip::reduceColumns);
}

ksys_status kip_gauss2Y_smoothMaskedWindow8_8(const kimg_windowConst* src, const kimg_window8Const* srcMask,
                                              const kmath_xformLinear* srcClientFromImage, const kimg_window* dst,
                                              const kimg_window8* dstMask, kmath_xformLinear* dstClientFromImage) {
  return kip::gauss2_smoothMaskedWindow8(src, srcMask, srcClientFromImage, dst, dstMask, dstClientFromImage,
                                         kip::reduceRows);
}
