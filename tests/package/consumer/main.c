/* SPDX-License-Identifier: Apache-2.0 */
/* Smooths a white square on black and checks the pixels. */
#include <kip/kip.h>
#include <stdio.h>

enum { size = 16 };

static int smooth(const kimg_image8* src, kimg_image8* dst) {
  kip_gaussParams params;
  ksys_status status = kip_gaussParams_init(&params);
  if (status < 0) return status;
  params.xSigma = 2;
  params.ySigma = 2;
  params.roundResult = 1;
  return kip_gauss_smooth8_8(src, dst, &params);
}

int main(void) {
  uint8_t pixels[size * size] = {0};
  for (int y = 0; y < 8; ++y) {
    for (int x = 0; x < size; ++x) pixels[y * size + x] = 255;
  }
  const kstd_rect32 rect = {0, 0, size, size};
  kimg_image8 src, dst;
  if (kimg_image8_constructFromMemory(&src, &rect, pixels, size) < 0) return 1;
  if (kimg_image_constructUnbound(&dst) < 0) return 1;
  int result = smooth(&src, &dst) != 0;
  if (result == 0 && (dst.width != size || dst.height != size)) result = 2;

  /* 255 times the kernel's running sums 27, 26, 23, 17, 10, 4, 1, 0 over 27 */
  static const uint8_t edge[] = {255, 246, 217, 161, 94, 38, 9, 0};
  for (int y = 4; result == 0 && y < 12; ++y) {
    for (int x = 0; x < size; ++x) {
      const uint8_t pixel = ((const uint8_t*)dst.pixels)[y * dst.stride + x];
      if (pixel == edge[y - 4]) continue;
      fprintf(stderr, "pixel %d, %d is %d instead of %d\n", x, y, pixel, edge[y - 4]);
      result = 3;
    }
  }
  kimg_image_destruct(&dst);
  kimg_image_destruct(&src);
  return result;
}
