// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "kip/host/kimg.h"

namespace kip {

// The rows of a source rectangle by index: mirrored once at either edge, an absent row beyond.
class SourceRows {
 public:
  SourceRows(const uint8_t* first, int64_t stride, int64_t height, const uint8_t* absent)
      : first_(first), stride_(stride), height_(height), absent_(absent) {}
  SourceRows(const ksImage* source, const ksIRegion& rectangle, const uint8_t* absent)
      : SourceRows(ksImagePixAddr(source, rectangle.x, rectangle.y), source->stride, rectangle.height, absent) {}

  [[nodiscard]] const uint8_t* at(int64_t index) const {
    if (index < -height_ || index > 2 * height_ - 1) return absent_;
    if (index < 0) index = -index - 1;
    return first_ + (index < height_ ? index : 2 * height_ - 1 - index) * stride_;
  }
  [[nodiscard]] const uint8_t* absent() const { return absent_; }

 private:
  const uint8_t* first_;
  int64_t stride_;
  int64_t height_;
  const uint8_t* absent_;
};

}  // namespace kip
