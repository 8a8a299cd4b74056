// SPDX-License-Identifier: Apache-2.0
// Images that own their pixels, as results do. Begin at kip::image; view.hpp is for pixels that you have already.
#pragma once

#include <memory>
#include <utility>

#include "view.hpp"

namespace kip {

// Pixels of its own, row behind row without gaps. Moved, not copied; without pixels after it has been moved from. Its
// views must not outlive it: keep a result in an image before you take a view of it.
template <pixel Pixel>
class image {
 public:
  using pixel_type = Pixel;

  // No pixels.
  image() noexcept = default;
  // Pixels of any value over the rectangle. Throws std::bad_alloc, and kip::error (KSYS_STATUS_BAD_ARGUMENT) for
  // negative sizes.
  explicit image(const rect& where) : origin_{where.x, where.y} {
    if (where.width < 0 || where.height < 0) throw error(KSYS_STATUS_BAD_ARGUMENT);
    pixels_ = std::make_unique_for_overwrite<Pixel[]>(size_t{1} * static_cast<size_t>(where.width) *
                                                      static_cast<size_t>(where.height));
    view_ = {pixels_.get(), where.width, where.height};
  }
  image(int32_t width, int32_t height) : image(rect{0, 0, width, height}) {}
  image(image&& other) noexcept
      : pixels_(std::move(other.pixels_)),
        view_(std::exchange(other.view_, {})),
        origin_(std::exchange(other.origin_, {})) {}
  image& operator=(image&& other) noexcept {
    pixels_ = std::move(other.pixels_);
    view_ = std::exchange(other.view_, {});
    origin_ = std::exchange(other.origin_, {});
    return *this;
  }

  [[nodiscard]] int32_t width() const noexcept { return view_.width; }
  [[nodiscard]] int32_t height() const noexcept { return view_.height; }
  // The number of the top-left pixel. Sources count from (0, 0), or from where they are placed.
  [[nodiscard]] point origin() const noexcept { return origin_; }
  [[nodiscard]] Pixel* row(int32_t y) noexcept { return view_.row(y); }
  [[nodiscard]] const Pixel* row(int32_t y) const noexcept { return view_.row(y); }

  [[nodiscard]] kip::view<Pixel> view() noexcept { return view_; }
  [[nodiscard]] kip::view<const Pixel> view() const noexcept { return view_; }
  [[nodiscard]] kip::view<const Pixel> const_view() const noexcept { return view_; }
  operator kip::view<const Pixel>() const noexcept { return view_; }

 private:
  std::unique_ptr<Pixel[]> pixels_;
  kip::view<Pixel> view_;
  point origin_;
};

// An image with a mask of the same size and origin.
template <pixel Pixel>
struct masked_image {
  masked_image() noexcept = default;
  explicit masked_image(const rect& where) : pixels(where), mask(where) {}

  image<Pixel> pixels;
  image<uint8_t> mask;
};

// A source: a view or an image.
template <typename T>
concept raster = requires(const T& source) {
  { source.const_view() } -> std::same_as<view<const typename T::pixel_type>>;
};

// The pixels of a source.
template <raster Source>
using pixel_of = typename Source::pixel_type;

// A source whose result can have these pixels: as deep or deeper.
template <typename T, typename Out>
concept raster_for = raster<T> && pixel<Out> && sizeof(pixel_of<T>) <= sizeof(Out);

}  // namespace kip
