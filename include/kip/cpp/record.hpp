// SPDX-License-Identifier: Apache-2.0
// Between the views of this interface and the image records of the C interface. Not for callers.
#pragma once

#include "../host/kpel.h"
#include "mask.hpp"

namespace kip {

namespace detail {

// An image record over a view's pixels, the top-left one numbered `at`; or one that waits for pixels.
class record {
 public:
  record() noexcept : status_(kimg_image_constructUnbound(&image_)) {}
  template <typename Pixel>
  explicit record(view<Pixel> over, point at = {}) noexcept {
    const rect where = {at.x, at.y, over.width, over.height};
    // sources are only read
    auto* const pixels = const_cast<std::remove_const_t<Pixel>*>(over.data);
    if constexpr (sizeof(Pixel) == 1) {
      status_ = kimg_image8_constructFromMemory(&image_, &where, pixels, over.stride);
    } else {
      status_ = kimg_image16_constructFromMemory(&image_, &where, pixels, over.stride);
    }
  }
  ~record() {
    if (status_ >= 0) kimg_image_destruct(&image_);
  }
  record(const record&) = delete;
  record& operator=(const record&) = delete;

  // Of the construction.
  [[nodiscard]] ksys_status status() const noexcept { return status_; }
  [[nodiscard]] bool has_pixels() const noexcept {
    return status_ >= 0 && image_.bound != 0 && image_.width > 0 && image_.height > 0;
  }
  // Null when there are no pixels.
  [[nodiscard]] kimg_image* get() noexcept { return has_pixels() ? &image_ : nullptr; }
  [[nodiscard]] const kimg_image* get() const noexcept { return has_pixels() ? &image_ : nullptr; }
  // The record itself, to be bound.
  [[nodiscard]] kimg_image* unbound() noexcept { return &image_; }
  [[nodiscard]] rect where() const noexcept { return {image_.x, image_.y, image_.width, image_.height}; }

  // Of a mask over a view: bytes that are neither 0 nor 255 become 255, in a copy when there are any.
  [[nodiscard]] ksys_status make_valid(view<const uint8_t> mask) noexcept {
    if (!has_pixels() || holds_0_and_255_only()) return 0;
    const rect place = where();
    if (const ksys_status status = kimg_image8_assignNewRect(&image_, &place); status < 0) return status;
    auto* to = static_cast<uint8_t*>(image_.pixels);
    for (int32_t y = 0; y < mask.height; ++y, to += image_.stride) {
      for (int32_t x = 0; x < mask.width; ++x) to[x] = mask.row(y)[x] != 0 ? 255 : 0;
    }
    return 0;
  }

 private:
  [[nodiscard]] bool holds_0_and_255_only() const noexcept {
    const auto* row = static_cast<const uint8_t*>(image_.pixels);
    for (int32_t y = 0; y < image_.height; ++y, row += image_.stride) {
      bool has_other = false;
      for (int32_t x = 0; x < image_.width; ++x) has_other |= row[x] != 0 && row[x] != 255;
      if (has_other) return false;
    }
    return true;
  }

  kimg_image image_;
  ksys_status status_;
};

inline bool has_size(const record& image, const rect& size) noexcept {
  return image.where().width == size.width && image.where().height == size.height;
}

inline ksys_status check_apart(const record& a, const record& b) noexcept {
  kimg_windowConst first, second;
  if (!a.has_pixels() || !b.has_pixels()) return 0;
  if (const ksys_status status = kimg_windowConst_init(&first, a.get()); status < 0) return status;
  if (const ksys_status status = kimg_windowConst_init(&second, b.get()); status < 0) return status;
  return kip_pelfunc_checkMemoryOverlap(&first, &second);
}

// The pixels that both have at equal coordinates.
inline ksys_status copy_common(const record& from, record& to) noexcept {
  kimg_windowConst source;
  kimg_window dest;
  if (!from.has_pixels() || !to.has_pixels()) return 0;
  if (const ksys_status status = kimg_windowConst_init(&source, from.get()); status < 0) return status;
  if (const ksys_status status = kimg_window_init(&dest, to.get()); status < 0) return status;
  return (dest.pixelBytes == 1 ? kip_pelCopyWindow8 : kip_pelCopyWindow16)(&source, &dest);
}

// The images of a call; masks without pixels are absent.
struct call_images {
  const record& src;
  const record& src_mask;
  const record& sample_mask;
  const record& dst;
  const record& dst_mask;

  // 0, or the first failure: a view that is no image, a source without pixels, a mask of another size, shared pixels.
  [[nodiscard]] ksys_status check() const noexcept {
    for (const record* one : {&src, &src_mask, &sample_mask, &dst, &dst_mask}) {
      if (one->status() < 0) return one->status();
    }
    if (!src.has_pixels()) return KIP_STATUS_NOT_BOUND;
    for (const record* mask : {&src_mask, &sample_mask}) {
      if (mask->has_pixels() && !has_size(*mask, src.where())) return KIP_STATUS_MASK_MISMATCH;
    }
    if (dst_mask.has_pixels() && !has_size(dst_mask, dst.where())) return KIP_STATUS_MASK_MISMATCH;
    for (const record* to : {&dst, &dst_mask}) {
      for (const record* from : {&src, &src_mask, &sample_mask}) {
        if (const ksys_status status = check_apart(*from, *to); status < 0) return status;
      }
    }
    return check_apart(dst, dst_mask);
  }
};

}  // namespace detail

}  // namespace kip
