#include <kip/kip.h>
#include <stdio.h>

int main(void) {
  uint8_t pixels[5 * 9] = {[2 * 9 + 4] = 255}; /* one bright pixel on black, 9 x 5 */
  kstd_rect32 rect = {0, 0, 9, 5};
  kip_gaussParams params;
  kimg_image8 src, dst;
  kip_gaussParams_init(&params);
  params.xSigma = params.ySigma = 2;
  params.roundResult = 1;
  if (kimg_image8_constructFromMemory(&src, &rect, pixels, 9) < 0 || kimg_image_constructUnbound(&dst) < 0) return 1;
  ksys_status status = kip_gauss_smooth8_8(&src, &dst, &params);
  if (status < 0) return fprintf(stderr, "kipgauss failed: 0x%08X\n", (unsigned)status), 1;
  for (int y = 0; y < dst.height; ++y)
    for (int x = 0; x < dst.width; ++x)
      printf("%3d%s", ((uint8_t*)dst.pixels)[y * dst.stride + x], x + 1 < dst.width ? " " : "\n");
  kimg_image_destruct(&dst);
  kimg_image_destruct(&src);
  return 0;
}
