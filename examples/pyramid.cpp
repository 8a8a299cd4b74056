// Four levels of a picture's pyramid, into one sheet of the caller's own memory.
#include <cstdio>
#include <kip/kip.hpp>
#include <vector>

int main() {
  kip::image<uint16_t> picture(48, 32);
  for (int y = 0; y < 32; ++y) {
    for (int x = 0; x < 48; ++x) picture.row(y)[x] = static_cast<uint16_t>((x / 8 + y / 8) % 2 == 0 ? 1000 : 60000);
  }

  std::vector<uint16_t> memory(48 * 16);
  const kip::view sheet(memory.data(), 48, 16);
  std::vector<kip::view<uint16_t>> levels;
  kip::rect place = {0, 0, 24, 16};  // levels lie side by side
  for (int level = 0; level < 4; ++level) {
    levels.push_back(sheet.crop(place));
    place = {place.x + place.width, 0, place.width / 2, place.height / 2};
  }
  const ksys_status status = kip::try_pyramid(picture, levels);
  if (status < 0) return std::printf("%s\n", kip::status_text(status)), 1;

  for (const kip::view<uint16_t>& level : levels) {
    std::printf("%2d x %2d, first row:", level.width, level.height);
    for (int x = 0; x < level.width; x += level.width / 3) std::printf(" %5d", level.row(0)[x]);
    std::printf("\n");
  }
}

// prints
// 24 x 16, first row:  1000 19438 19438
// 12 x  8, first row:  1000 25430 25430
//  6 x  4, first row:  6740 29363 29363
//  3 x  2, first row: 19002 29234 31176
