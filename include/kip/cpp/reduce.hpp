// SPDX-License-Identifier: Apache-2.0
// Reduction by two, image pyramids and smoothing without sampling, all with the binomial kernel 1 4 6 4 1; ../gauss2.h
// says what the pixels are. Begin at kip::reduce, kip::pyramid and kip::binomial.
//
// Sources are views or images of 8 or 16 bits, and results have the same. The functions named try_ write into the
// caller's views, which have exactly the size that is computed, and return a status; the others return new images, and
// throw kip::error with that status, or std::bad_alloc for the new images' memory:
//   KIP_STATUS_NOT_BOUND        a source or its mask is empty
//   KIP_STATUS_MASK_MISMATCH    a mask is not of its image's size
//   KSYS_STATUS_BAD_ARGUMENT    a view that no image is (negative sizes, a stride below the width), a destination of
//                               another size, or a parameter outside its range
//   KSYS_STATUS_MEMORY_OVERLAP  a destination shares pixels with another image
//   KSYS_STATUS_NO_MEMORY       and other failures of the host, such as a cancellation
//
// With a mask a result is the mean weighted by kernel and mask, 0 where there is no weight, and the result's mask the
// kernel's mean of the mask. A mask's bytes mean validity (any but 0 counts as 255) or, where said, weights: so a
// result's mask serves as the next call's, as in pyramids. dst_mask may be empty: it is not wanted.
#pragma once

#include <span>
#include <vector>

#include "../gauss2.h"
#include "image.hpp"
#include "mask.hpp"
#include "record.hpp"

namespace kip {

// The axes that are halved.
enum class axes { both, x, y };

// Even and not negative: k passes of the kernel for 2 k, none for 0.
struct binomial_params {
  int32_t x_radius = 2, y_radius = 2;
};

// The rectangle of a reduced image: halved, rounding down, along these axes.
[[nodiscard]] inline rect reduced_rect(const rect& source, axes along = axes::both) noexcept {
  rect result = source;
  const auto function = along == axes::x   ? kip_gauss2XGetDestRect
                        : along == axes::y ? kip_gauss2YGetDestRect
                                           : kip_gauss2GetDestRect;
  (void)function(&source, &result);  // does not fail with both rectangles
  return result;
}

namespace detail {

// The C functions for a pixel type.
template <pixel Pixel>
struct gauss2 {
  static constexpr bool is8 = sizeof(Pixel) == 1;

  static ksys_status reduce(const kimg_image* src, kimg_image* dst, axes along) noexcept {
    switch (along) {
      case axes::x:
        return (is8 ? kip_gauss2X_smooth8_8 : kip_gauss2X_smooth16_16)(src, dst);
      case axes::y:
        return (is8 ? kip_gauss2Y_smooth8_8 : kip_gauss2Y_smooth16_16)(src, dst);
      default:
        return (is8 ? kip_gauss2_smooth8_8 : kip_gauss2_smooth16_16)(src, dst);
    }
  }
  static ksys_status reduce(const kimg_image* src, const kimg_image* mask, kimg_image* dst, kimg_image* dst_mask,
                            axes along) noexcept {
    switch (along) {
      case axes::x:
        return (is8 ? kip_gauss2X_smoothMasked8_8 : kip_gauss2X_smoothMasked16_16)(src, mask, dst, dst_mask);
      case axes::y:
        return (is8 ? kip_gauss2Y_smoothMasked8_8 : kip_gauss2Y_smoothMasked16_16)(src, mask, dst, dst_mask);
      default:
        return (is8 ? kip_gauss2_smoothMasked8_8 : kip_gauss2_smoothMasked16_16)(src, mask, dst, dst_mask);
    }
  }
  static ksys_status smooth(const kimg_image* src, kimg_image* dst, const binomial_params& params) noexcept {
    return (is8 ? kip_gauss2_smoothNoSample8_8 : kip_gauss2_smoothNoSample16_16)(src, dst, params.x_radius,
                                                                                 params.y_radius);
  }
  static ksys_status smooth(const kimg_image* src, const kimg_image* mask, kimg_image* dst, kimg_image* dst_mask,
                            const binomial_params& params) noexcept {
    return (is8 ? kip_gauss2_smoothNoSampleMasked8_8 : kip_gauss2_smoothNoSampleMasked16_16)(
        src, mask, dst, dst_mask, params.x_radius, params.y_radius);
  }
};

template <pixel Pixel>
rect rect_of(view<const Pixel> source) noexcept {
  return {0, 0, source.width, source.height};
}

// Calls function(src, dst) for a destination of that size.
template <pixel Pixel, typename Function>
ksys_status apply(view<const Pixel> src, view<Pixel> dst, const rect& size, const Function& function) noexcept {
  const record none, source(src);
  record result(dst);
  if (const ksys_status status = call_images{source, none, none, result, none}.check(); status < 0) return status;
  if (!has_size(result, size)) return KSYS_STATUS_BAD_ARGUMENT;
  return result.has_pixels() ? function(source.get(), result.get()) : 0;
}

// The same with masks: function(src, mask, dst, dst_mask), the last null when it is not wanted.
template <pixel Pixel, typename Function>
ksys_status apply_masked(view<const Pixel> src, view<const uint8_t> mask, view<Pixel> dst, view<uint8_t> dst_mask,
                         mask_meaning meaning, const rect& size, const Function& function) noexcept {
  const record none, source(src);
  record src_mask(mask), result(dst), result_mask(dst_mask);
  ksys_status status = call_images{source, src_mask, none, result, result_mask}.check();
  if (status < 0) return status;
  if (!src_mask.has_pixels()) return KIP_STATUS_NOT_BOUND;
  if (!has_size(result, size)) return KSYS_STATUS_BAD_ARGUMENT;
  if (meaning == mask_meaning::validity && (status = src_mask.make_valid(mask)) < 0) return status;
  return result.has_pixels() ? function(source.get(), src_mask.get(), result.get(), result_mask.get()) : 0;
}

inline bool is_valid(const binomial_params& params) noexcept {
  return params.x_radius >= 0 && params.y_radius >= 0 && params.x_radius % 2 == 0 && params.y_radius % 2 == 0;
}

}  // namespace detail

// ---- reduction by two ----
//
// A result is as large as reduced_rect, its first pixel centred on the source's first. To reduce a picture in pieces,
// start each at an even column and row, give it two more pixels on every side that is not the picture's border, an even
// number in front, and drop what these made.

template <raster Source>
[[nodiscard]] ksys_status try_reduce(const Source& src, view<pixel_of<Source>> dst, axes along = axes::both) noexcept {
  const auto source = src.const_view();
  return detail::apply(source, dst, reduced_rect(detail::rect_of(source), along),
                       [&](auto* from, auto* to) { return detail::gauss2<pixel_of<Source>>::reduce(from, to, along); });
}
template <raster Source>
[[nodiscard]] ksys_status try_reduce(const Source& src, view<const uint8_t> mask, view<pixel_of<Source>> dst,
                                     view<uint8_t> dst_mask, axes along = axes::both,
                                     mask_meaning meaning = mask_meaning::validity) noexcept {
  const auto source = src.const_view();
  return detail::apply_masked(
      source, mask, dst, dst_mask, meaning, reduced_rect(detail::rect_of(source), along),
      [&](auto*... images) { return detail::gauss2<pixel_of<Source>>::reduce(images..., along); });
}
template <raster Source>
[[nodiscard]] image<pixel_of<Source>> reduce(const Source& src, axes along = axes::both) {
  image<pixel_of<Source>> result(reduced_rect(detail::rect_of(src.const_view()), along));
  detail::check(try_reduce(src, result.view(), along));
  return result;
}
template <raster Source>
[[nodiscard]] masked_image<pixel_of<Source>> reduce(const Source& src, view<const uint8_t> mask,
                                                    axes along = axes::both,
                                                    mask_meaning meaning = mask_meaning::validity) {
  masked_image<pixel_of<Source>> result(reduced_rect(detail::rect_of(src.const_view()), along));
  detail::check(try_reduce(src, mask, result.pixels.view(), result.mask.view(), along, meaning));
  return result;
}

// ---- pyramids ----
//
// Level by level half the size, rounding down, the first from the source. A level after one without pixels fails with
// KIP_STATUS_NOT_BOUND. With a mask the masks of the results are the weights of the next level.

// One view per level.
template <raster Source>
[[nodiscard]] ksys_status try_pyramid(const Source& src, std::span<const view<pixel_of<Source>>> levels) noexcept {
  auto from = src.const_view();
  for (const auto& level : levels) {
    if (const ksys_status status = try_reduce(from, level); status < 0) return status;
    from = level;
  }
  return 0;
}
// And one per level's mask: as many, else KSYS_STATUS_BAD_ARGUMENT.
template <raster Source>
[[nodiscard]] ksys_status try_pyramid(const Source& src, view<const uint8_t> mask,
                                      std::span<const view<pixel_of<Source>>> levels,
                                      std::span<const view<uint8_t>> masks) noexcept {
  if (levels.size() != masks.size()) return KSYS_STATUS_BAD_ARGUMENT;
  auto from = src.const_view();
  auto meaning = mask_meaning::validity;
  for (size_t i = 0; i < levels.size(); ++i) {
    const ksys_status status = try_reduce(from, mask, levels[i], masks[i], axes::both, meaning);
    if (status < 0) return status;
    from = levels[i];
    mask = masks[i];
    meaning = mask_meaning::weight;
  }
  return 0;
}
// `levels` images, >= 0 (less: none).
template <raster Source>
[[nodiscard]] std::vector<image<pixel_of<Source>>> pyramid(const Source& src, int32_t levels) {
  std::vector<image<pixel_of<Source>>> results;
  auto from = src.const_view();
  for (int32_t i = 0; i < levels; ++i) {
    results.push_back(reduce(from));
    from = results.back().const_view();
  }
  return results;
}
template <raster Source>
[[nodiscard]] std::vector<masked_image<pixel_of<Source>>> pyramid(const Source& src, view<const uint8_t> mask,
                                                                  int32_t levels) {
  std::vector<masked_image<pixel_of<Source>>> results;
  auto from = src.const_view();
  auto meaning = mask_meaning::validity;
  for (int32_t i = 0; i < levels; ++i) {
    results.push_back(reduce(from, mask, axes::both, meaning));
    from = results.back().pixels.const_view();
    mask = results.back().mask.const_view();
    meaning = mask_meaning::weight;
  }
  return results;
}

// ---- smoothing without sampling: results of the source's size ----

template <raster Source>
[[nodiscard]] ksys_status try_binomial(const Source& src, view<pixel_of<Source>> dst,
                                       const binomial_params& params = {}) noexcept {
  const auto source = src.const_view();
  if (!detail::is_valid(params)) return KSYS_STATUS_BAD_ARGUMENT;
  return detail::apply(source, dst, detail::rect_of(source), [&](auto* from, auto* to) {
    return detail::gauss2<pixel_of<Source>>::smooth(from, to, params);
  });
}
template <raster Source>
[[nodiscard]] ksys_status try_binomial(const Source& src, view<const uint8_t> mask, view<pixel_of<Source>> dst,
                                       view<uint8_t> dst_mask, const binomial_params& params = {},
                                       mask_meaning meaning = mask_meaning::validity) noexcept {
  const auto source = src.const_view();
  if (!detail::is_valid(params)) return KSYS_STATUS_BAD_ARGUMENT;
  return detail::apply_masked(source, mask, dst, dst_mask, meaning, detail::rect_of(source), [&](auto*... images) {
    return detail::gauss2<pixel_of<Source>>::smooth(images..., params);
  });
}
template <raster Source>
[[nodiscard]] image<pixel_of<Source>> binomial(const Source& src, const binomial_params& params = {}) {
  image<pixel_of<Source>> result(detail::rect_of(src.const_view()));
  detail::check(try_binomial(src, result.view(), params));
  return result;
}
template <raster Source>
[[nodiscard]] masked_image<pixel_of<Source>> binomial(const Source& src, view<const uint8_t> mask,
                                                      const binomial_params& params = {},
                                                      mask_meaning meaning = mask_meaning::validity) {
  masked_image<pixel_of<Source>> result(detail::rect_of(src.const_view()));
  detail::check(try_binomial(src, mask, result.pixels.view(), result.mask.view(), params, meaning));
  return result;
}

}  // namespace kip
