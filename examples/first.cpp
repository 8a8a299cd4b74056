// One bright pixel, smoothed.
#include <cstdio>
#include <kip/kip.hpp>

int main() {
  uint8_t pixels[5][9] = {};
  pixels[2][4] = 255;
  const kip::view picture(pixels[0], 9, 5);
  const kip::image<uint8_t> result = kip::smooth(picture, {.x_sigma = 2, .y_sigma = 2});
  for (int y = 0; y < result.height(); ++y) {
    for (int x = 0; x < result.width(); ++x) std::printf("%3d", result.row(y)[x]);
    std::printf("\n");
  }
  try {
    (void)kip::smooth(picture, {.x_sigma = -1});
  } catch (const kip::error& failure) {
    std::printf("%s\n", failure.what());
  }
}

// prints
//   0  1  4  8 10  8  4  1  0
//   0  2  6 13 15 13  6  2  0
//   0  2  7 15 17 15  7  2  0
//   0  2  6 13 15 13  6  2  0
//   0  1  4  8 10  8  4  1  0
// a sigma is negative or too large for this image (status 0x80000962)
