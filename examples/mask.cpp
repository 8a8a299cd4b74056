// A grey wall with a hole of dead pixels, which read 255: smoothed without a mask, with one, and filled.
#include <cstdio>
#include <kip/kip.hpp>

static void print(const char* title, kip::view<const uint8_t> row) {
  std::printf("%-10s", title);
  for (int x = 0; x < row.width; ++x) std::printf("%4d", row.data[x]);
  std::printf("\n");
}

int main() {
  kip::image<uint8_t> wall(12, 9), valid(12, 9);
  for (int y = 0; y < 9; ++y) {
    for (int x = 0; x < 12; ++x) {
      const bool is_dead = x >= 5 && x < 8 && y >= 3 && y < 6;
      wall.row(y)[x] = static_cast<uint8_t>(is_dead ? 255 : 40 + 5 * x);
      valid.row(y)[x] = is_dead ? 0 : 1;  // any byte but 0 is valid
    }
  }
  const kip::smooth_params params = {.x_sigma = 2, .y_sigma = 2};
  const kip::rect middle = {0, 4, 12, 1};
  print("picture", wall.view().crop(middle));
  print("plain", kip::smooth(wall, params).view().crop(middle));

  const auto masked = kip::smooth_masked(wall, valid, params);
  print("masked", masked.pixels.view().crop(middle));
  print("valid", masked.mask.view().crop(middle));

  // a pixel is filled when at least a tenth of its kernel's pixels is valid
  const auto filled = kip::smooth_masked(wall, valid, params, {.min_coverage = 0.1, .allow_masked_sample = true});
  print("filled", filled.pixels.view().crop(middle));
  print("valid", filled.mask.view().crop(middle));
}

// prints
// picture     40  45  50  55  60 255 255 255  80  85  90  95
// plain       44  46  55  75 109 143 162 152 128 104  94  91
// masked      44  46  50  54  57 255 255 255  83  86  89  91
// valid      255 255 255 255 255   0   0   0 255 255 255 255
// filled      44  46  50  54  57  62  70  78  83  86  89  91
// valid      255 255 255 255 255 255 255 255 255 255 255 255
