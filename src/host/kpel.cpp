// SPDX-License-Identifier: Apache-2.0
#include "kip/host/kpel.h"

#include <cstring>

#include "kimg_layout.hpp"

namespace {

using kiphost::isNull;
using kiphost::windowOf;

// A window's pixels as byte rows.
struct Rows {
  uintptr_t begin;
  int64_t bytes, stride, count;

  explicit Rows(const kimg_windowConst& window)
      : begin(reinterpret_cast<uintptr_t>(window.pixels)),
        bytes(int64_t{window.width} * window.pixelBytes),
        stride(window.height > 1 ? int64_t{window.stride} * window.pixelBytes : bytes),
        count(window.height) {}
};

// Looks up, for each row of a, the first row of b that ends behind the row's begin.
bool overlap(const Rows& a, const Rows& b) {
  const int64_t offset = static_cast<int64_t>(a.begin - b.begin);
  for (int64_t row = 0; row < a.count; ++row) {
    const int64_t begin = offset + row * a.stride;  // relative to b's
    const int64_t behind = begin - b.bytes;
    const int64_t other = behind < 0 ? 0 : behind / b.stride + 1;
    if (other >= b.count) return false;  // all of b lies in front of this and of the rows to come
    if (other * b.stride < begin + a.bytes) return true;
  }
  return false;
}

template <class Window>
auto rowAddress(const Window& window, const kstd_rect32& rect, int64_t row) {
  return kiphost::moved(window.pixels, int64_t{rect.x} - window.x, int64_t{rect.y} - window.y + row, window.pixelBytes,
                        int64_t{window.stride} * window.pixelBytes);
}

ksys_status copyCommon(const kimg_windowConst& src, const kimg_window& dst, int32_t pixelBytes) {
  const kstd_rect32 common = kiphost::intersection(windowOf(src), windowOf(dst));
  if (isNull(common)) return 0;
  if (src.pixelBytes != pixelBytes || dst.pixelBytes != pixelBytes) return KSYS_STATUS_BAD_ARGUMENT;
  const size_t bytes = static_cast<size_t>(common.width) * static_cast<size_t>(pixelBytes);
  for (int64_t row = 0; row < common.height; ++row) {
    std::memmove(rowAddress(dst, common, row), rowAddress(src, common, row), bytes);
  }
  return 0;
}

}  // namespace

ksys_status kip_pelfunc_checkMemoryOverlap(const kimg_windowConst* a, const kimg_windowConst* b) {
  if (isNull(windowOf(*a)) || isNull(windowOf(*b))) return 0;
  for (const kimg_windowConst* const window : {a, b}) {
    if (!kiphost::isPixelSize(window->pixelBytes) || !kiphost::hasUsableStride(*window))
      return KSYS_STATUS_BAD_ARGUMENT;
  }
  const bool fewerInA = a->height <= b->height;
  return overlap(Rows(fewerInA ? *a : *b), Rows(fewerInA ? *b : *a)) ? KSYS_STATUS_MEMORY_OVERLAP : 0;
}

ksys_status kip_pelCopyWindow8(const kimg_window8Const* src, const kimg_window8* dst) {
  return copyCommon(*src, *dst, 1);
}

ksys_status kip_pelCopyWindow16(const kimg_window16Const* src, const kimg_window16* dst) {
  return copyCommon(*src, *dst, 2);
}

ksys_status kip_pelSetWindow8(const kimg_window8* window, uint8_t value) {
  const kstd_rect32 rect = windowOf(*window);
  if (isNull(rect)) return 0;
  if (window->pixelBytes != 1) return KSYS_STATUS_BAD_ARGUMENT;
  for (int64_t row = 0; row < rect.height; ++row) {
    std::memset(rowAddress(*window, rect, row), value, static_cast<size_t>(rect.width));
  }
  return 0;
}
