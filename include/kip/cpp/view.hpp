// SPDX-License-Identifier: Apache-2.0
// Views: pixels in somebody else's memory, as sources mostly are. Begin at kip::view.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

#include "error.hpp"

namespace kip {

template <typename T>
concept pixel = std::same_as<T, uint8_t> || std::same_as<T, uint16_t>;

// The pixels of a view, const for views that only read.
template <typename T>
concept viewed_pixel = pixel<std::remove_const_t<T>>;

// A pixel's number: its column and row, counted from the left and from the top.
struct point {
  int32_t x = 0, y = 0;
};

// x, y: the top-left pixel; width, height.
using rect = kstd_rect32;

namespace detail {

// A matrix as OpenCV has it: `step` leads from a row to the next, in bytes.
template <typename Matrix, typename Pixel>
concept matrix = requires(const Matrix& m) {
  { m.data } -> std::convertible_to<std::conditional_t<std::is_const_v<Pixel>, const void*, void*>>;
  { m.rows } -> std::convertible_to<int64_t>;
  { m.cols } -> std::convertible_to<int64_t>;
  static_cast<size_t>(m.step);
};

// Throws when what the matrix tells about its elements is not one channel of 8 or 16 bits without sign.
template <typename Pixel, typename Matrix>
void refuse_other_elements(const Matrix& m) {
  const std::string wanted = "one channel of " + std::to_string(8 * sizeof(Pixel)) + "-bit unsigned pixels is wanted";
  const auto refuse = [&](const std::string& given) {
    throw error(KSYS_STATUS_BAD_ARGUMENT, wanted + ", not " + given);
  };
  if constexpr (requires { m.channels(); }) {
    if (m.channels() != 1) refuse(std::to_string(m.channels()) + " channels");
  }
  if constexpr (requires { m.elemSize(); }) {
    if (m.elemSize() != sizeof(Pixel)) refuse("elements of " + std::to_string(m.elemSize()) + " bytes");
  }
  if constexpr (requires { m.depth(); }) {
    constexpr int unsigned8 = 0, unsigned16 = 2;  // OpenCV's CV_8U and CV_16U
    if (m.depth() != (sizeof(Pixel) == 1 ? unsigned8 : unsigned16))
      refuse("the type of depth " + std::to_string(m.depth()));
  }
}

}  // namespace detail

// Pixels in memory that must outlive the view.
template <viewed_pixel Pixel>
struct view {
  using pixel_type = std::remove_const_t<Pixel>;

  Pixel* data = nullptr;  // the top-left pixel
  int32_t width = 0, height = 0;
  int32_t stride = 0;  // pixels from a row to the next, at least the width

  // No pixels.
  constexpr view() noexcept = default;
  // Sizes and strides that no image has are kept, and refused by the functions that take the view.
  constexpr view(Pixel* pixels, int32_t columns, int32_t rows, int32_t pixels_per_row) noexcept
      : data(pixels), width(columns), height(rows), stride(pixels_per_row) {}
  // Rows one behind the other.
  constexpr view(Pixel* pixels, int32_t columns, int32_t rows) noexcept : view(pixels, columns, rows, columns) {}
  // Of anything with data, rows, cols and step, such as cv::Mat, which keeps its pixels. Throws kip::error
  // (KSYS_STATUS_BAD_ARGUMENT) for more than one channel, pixels of another type, and rows that are not whole pixels
  // apart, top to bottom.
  template <detail::matrix<Pixel> Matrix>
  explicit view(const Matrix& m) {
    detail::refuse_other_elements<pixel_type>(m);
    const size_t step = static_cast<size_t>(m.step);
    const auto rows = static_cast<int64_t>(m.rows), cols = static_cast<int64_t>(m.cols);
    if (rows < 0 || cols < 0) throw error(KSYS_STATUS_BAD_ARGUMENT, "a matrix of two dimensions is wanted");
    if (rows > INT32_MAX || cols > INT32_MAX) throw error(KSYS_STATUS_BAD_ARGUMENT, "too many rows or columns");
    *this = view(static_cast<Pixel*>(address(m)), static_cast<int32_t>(cols), static_cast<int32_t>(rows));
    if (height <= 1) return;
    if (step % sizeof(Pixel) != 0 || step / sizeof(Pixel) > INT32_MAX ||
        step / sizeof(Pixel) < static_cast<size_t>(width)) {
      throw error(KSYS_STATUS_BAD_ARGUMENT, "a step of " + std::to_string(step) + " bytes does not fit rows of " +
                                                std::to_string(width) + " pixels");
    }
    stride = static_cast<int32_t>(step / sizeof(Pixel));
  }

  [[nodiscard]] constexpr bool is_empty() const noexcept { return width == 0 || height == 0; }
  [[nodiscard]] constexpr Pixel* row(int32_t y) const noexcept { return data + ptrdiff_t{y} * stride; }
  [[nodiscard]] constexpr view<const pixel_type> const_view() const noexcept { return {data, width, height, stride}; }
  constexpr operator view<const pixel_type>() const noexcept requires(!std::is_const_v<Pixel>) { return const_view(); }
  // A part of the view, over the same memory; (0, 0) is its top-left pixel. Throws kip::error
  // (KSYS_STATUS_OUTSIDE_IMAGE) when it does not lie inside.
  [[nodiscard]] view crop(const rect& part) const {
    const auto lies_inside = [](int64_t start, int64_t size, int32_t whole) {
      return start >= 0 && size >= 0 && start + size <= whole;
    };
    if (!lies_inside(part.x, part.width, width) || !lies_inside(part.y, part.height, height)) {
      throw error(KSYS_STATUS_OUTSIDE_IMAGE);
    }
    if (part.width == 0 || part.height == 0) return view(nullptr, part.width, part.height);
    return view(row(part.y) + part.x, part.width, part.height, stride);
  }

 private:
  template <typename Matrix>
  static auto address(const Matrix& m) -> std::conditional_t<std::is_const_v<Pixel>, const void*, void*> {
    return m.data;
  }
};

}  // namespace kip
