// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "kip/host/kstd.h"

namespace kiptest {

// Memory between two pages that must not be touched.
class GuardedPages {
 public:
  explicit GuardedPages(size_t bytes) {
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    size_ = (bytes + page - 1) / page * page;
    mapped_ = size_ + 2 * page;
    void* const base = mmap(nullptr, mapped_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (base == MAP_FAILED) std::abort();
    base_ = static_cast<std::byte*>(base);
    if (size_ != 0 && mprotect(base_ + page, size_, PROT_READ | PROT_WRITE) != 0) std::abort();
    begin_ = base_ + page;
  }
  GuardedPages(const GuardedPages&) = delete;
  GuardedPages& operator=(const GuardedPages&) = delete;
  ~GuardedPages() { munmap(base_, mapped_); }

  [[nodiscard]] std::byte* begin() const { return begin_; }
  [[nodiscard]] std::byte* end() const { return begin_ + size_; }

 private:
  std::byte* base_;
  std::byte* begin_;
  size_t size_, mapped_;
};

// Where a canvas lies in its guarded pages: with a margin all around, or with its first or last pixel at the edge.
enum class Placement { surrounded, atStart, atEnd };

// A picture inside a larger buffer with an odd stride. Everything is filled with one value, so that whatever is read or
// written outside the picture shows; the buffer lies between guard pages.
template <typename Pixel>
class Canvas {
 public:
  Canvas(const ksIRegion& region, Pixel fill, Placement placement = Placement::surrounded)
      : region_(region),
        fill_(fill),
        stride_((std::max(region.width, 0) + 9) | 1),
        margin_(placement == Placement::surrounded ? 2 * static_cast<size_t>(stride_) + 3 : 0),
        span_(region.width > 0 && region.height > 0
                  ? static_cast<size_t>(stride_) * static_cast<size_t>(region.height - 1) +
                        static_cast<size_t>(region.width)
                  : 0),
        pages_((span_ + 2 * margin_) * sizeof(Pixel)),
        begin_(reinterpret_cast<Pixel*>(pages_.begin())),
        end_(reinterpret_cast<Pixel*>(pages_.end())),
        pixels_(placement == Placement::atEnd ? end_ - span_ : begin_ + margin_) {
    std::fill(begin_, end_, fill);
  }

  [[nodiscard]] const ksIRegion& region() const { return region_; }
  [[nodiscard]] Pixel* pixels() const { return pixels_; }
  [[nodiscard]] int32_t stride() const { return stride_; }
  [[nodiscard]] int32_t strideBytes() const { return stride_ * int32_t{sizeof(Pixel)}; }
  [[nodiscard]] Pixel& at(int32_t x, int32_t y) const {
    return pixels_[(int64_t{y} - region_.y) * stride_ + (int64_t{x} - region_.x)];
  }

  void paint(const std::vector<Pixel>& picture) {
    auto from = picture.begin();
    for (int32_t row = 0; row < region_.height; ++row, from += region_.width) {
      std::copy(from, from + region_.width, pixels_ + int64_t{row} * stride_);
    }
  }

  [[nodiscard]] std::vector<Pixel> crop(const ksIRegion& part) const {
    std::vector<Pixel> picture;
    for (int32_t row = 0; row < part.height; ++row) {
      const Pixel* const from = &at(part.x, part.y + row);
      picture.insert(picture.end(), from, from + part.width);
    }
    return picture;
  }

  // Whether everything but that part still holds the fill.
  [[nodiscard]] bool intactOutside(const ksIRegion& part) const {
    const Pixel* at = begin_;
    for (int32_t row = 0; row < part.height; ++row) {
      const Pixel* const from = &this->at(part.x, part.y + row);
      if (!filled(at, from)) return false;
      at = from + part.width;
    }
    return filled(at, end_);
  }

 private:
  [[nodiscard]] bool filled(const Pixel* from, const Pixel* to) const {
    return std::all_of(from, to, [this](Pixel pixel) { return pixel == fill_; });
  }

  ksIRegion region_;
  Pixel fill_;
  int32_t stride_;
  size_t margin_, span_;
  GuardedPages pages_;
  Pixel* begin_;
  Pixel* end_;
  Pixel* pixels_;
};

}  // namespace kiptest
