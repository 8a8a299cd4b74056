// SPDX-License-Identifier: Apache-2.0
#include "tiff_directory.hpp"

#include <sys/types.h>

#include <algorithm>
#include <cstdint>
#include <string>

#include "error.hpp"

namespace kip::tool {
namespace {

// Numbers in the file's byte order; 0 beyond its end.
class Numbers {
 public:
  explicit Numbers(std::FILE* file) : file_(file) { isBigEndian_ = next(1) == 'M'; }

  uint64_t next(int32_t bytes) {
    uint64_t value = 0;
    for (int32_t i = 0; i < bytes; ++i) {
      const int c = std::getc(file_);
      const auto byte = static_cast<uint64_t>(std::max(c, 0));
      value |= byte << 8 * (isBigEndian_ ? bytes - 1 - i : i);
    }
    return value;
  }
  void seek(uint64_t offset) {
    (void)fseeko(file_, static_cast<off_t>(std::min<uint64_t>(offset, INT64_MAX)), SEEK_SET);
  }

 private:
  std::FILE* file_;
  bool isBigEndian_ = false;
};

uint64_t valueSize(uint64_t type) {
  constexpr uint8_t sizes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8};
  return type < sizeof sizes ? sizes[type] : 0;
}

}  // namespace

void refuseRepeatedValues(std::FILE* file) {
  if (fseeko(file, 0, SEEK_END) != 0) return;
  const auto fileSize = static_cast<uint64_t>(std::max<off_t>(ftello(file), 0));
  std::rewind(file);
  Numbers numbers(file);
  numbers.next(1);
  const bool isBig = numbers.next(2) == 43;
  const int32_t wide = isBig ? 8 : 4;
  if (isBig) numbers.next(4);
  numbers.seek(numbers.next(wide));
  const uint64_t count = std::min<uint64_t>(numbers.next(isBig ? 8 : 2), 65535);
  uint64_t bytes = 0;
  for (uint64_t i = 0; i < count; ++i) {
    numbers.next(2);
    const uint64_t size = valueSize(numbers.next(2)), values = numbers.next(wide);
    numbers.next(wide);
    if (size != 0) bytes += std::min(values, fileSize / size) * size;
  }
  // small files may well share the values of a few tags
  if (bytes > 2 * fileSize + 65536) throw Error("damaged TIFF: its tags take " + std::to_string(bytes) + " bytes");
}

}  // namespace kip::tool
