// SPDX-License-Identifier: Apache-2.0
// Gaussian smoothing, with and without masks; ../gauss.h and ../masked.h say what the pixels are. Begin at kip::smooth
// and kip::smooth_params.
#pragma once

#include "../gauss.h"
#include "../geometry.h"
#include "../masked.h"
#include "image.hpp"
#include "mask.hpp"
#include "record.hpp"

namespace kip {

// Kernels have 3 sigma + 1 taps and a standard deviation of stddev_of(sigma), not sigma (stddev.hpp); with sigma 0 an
// axis stays as it is.
struct smooth_params {
  int32_t x_sigma = 1, y_sigma = 1;    // >= 0, in source pixels
  int32_t x_sample = 1, y_sample = 1;  // >= 1: 2 keeps every second column or row
  double scale = 1;                    // gain, > 0
  bool truncate = false;               // else round to the nearest value; flat areas may come out one lower
};

// Where a source and a destination lie in a larger picture: the numbers of their top-left pixels, each in its own
// coordinates.
struct placement {
  point source, dest;
};

namespace detail {

inline kip_gaussParams to_c(const smooth_params& params) noexcept {
  return {params.x_sample, params.y_sample, params.x_sigma, params.y_sigma, params.scale, params.truncate ? 0 : 1, {}};
}
inline kip_gaussParams to_c(const smooth_params& params, const mask_rule& rule) noexcept {
  kip_gaussParams record = to_c(params);
  record.filterMask.allowMaskedSample = rule.allow_masked_sample ? 1 : 0;
  if (rule.min_coverage) {
    record.filterMask.useCoverage = 1;
    record.filterMask.minCoverage = *rule.min_coverage;
  }
  return record;
}

inline bool is_same(const rect& a, const rect& b) noexcept {
  return a.x == b.x && a.y == b.y && a.width == b.width && a.height == b.height;
}

inline bool is_inside(const rect& part, const rect& whole) noexcept {
  const auto lies_inside = [](int64_t start, int64_t size, int64_t whole_start, int64_t whole_size) {
    return start >= whole_start && start + size <= whole_start + whole_size;
  };
  return lies_inside(part.x, part.width, whole.x, whole.width) &&
         lies_inside(part.y, part.height, whole.y, whole.height);
}

}  // namespace detail

// ---- rectangles ----

// The destination pixels that a source over that rectangle supplies. With sample factors 1 and even sigmas these are
// the same, with odd ones they start one later. All 0 when no sample lies in the source.
[[nodiscard]] inline ksys_status try_smoothed_rect(const rect& source, const smooth_params& params,
                                                   rect& result) noexcept {
  const kip_gaussParams record = detail::to_c(params);
  if (const ksys_status status = kip_gaussParams_validate(&record); status < 0) return status;
  // boxes are one wider than sigma
  if (params.x_sigma == INT32_MAX || params.y_sigma == INT32_MAX) return KIP_STATUS_BAD_SIGMA;
  ksIRegion region = {source.x, source.y, source.width, source.height};
  kfGaussGetDstReg(&region, &region, params.x_sample, params.y_sample, params.x_sigma + 1, params.y_sigma + 1);
  result = {};
  if (region.width > 0 && region.height > 0) result = {region.x, region.y, region.width, region.height};
  return 0;
}
inline rect smoothed_rect(const rect& source, const smooth_params& params) {
  rect result = {};
  detail::check(try_smoothed_rect(source, params, result));
  return result;
}

// The part of a picture over `source` from which the destination pixels `dest` can be smoothed exactly, masked or not:
// all that their kernels touch, from a multiple of the sample factors on. All 0 when the picture supplies none of them.
[[nodiscard]] inline ksys_status try_needed_rect(const rect& dest, const rect& source, const smooth_params& params,
                                                 rect& result) noexcept {
  const kip_gaussParams record = detail::to_c(params);
  if (const ksys_status status = kip_gaussParams_validate(&record); status < 0) return status;
  rect needed = {}, supplied, mirror, padding, touched;
  if (const ksys_status status = gauss_setup(&source, &dest, &record, &needed, &supplied, &mirror, &padding, &touched);
      status < 0) {
    return status;
  }
  if (needed.width > 0) {
    const int32_t x = (needed.x - source.x) % params.x_sample, y = (needed.y - source.y) % params.y_sample;
    needed = {needed.x - x, needed.y - y, needed.width + x, needed.height + y};
  }
  result = needed;
  return 0;
}
inline rect needed_rect(const rect& dest, const rect& source, const smooth_params& params) {
  rect result = {};
  detail::check(try_needed_rect(dest, source, params, result));
  return result;
}

// ---- smoothing ----
//
// Sources are views or images of 8 or 16 bits and end, and are mirrored, at their border. Without a placement they
// count from (0, 0), and a destination has the size of smoothed_rect of the source and holds exactly those pixels.
//
// The functions named try_ write into the caller's views and return a status, 0 or a failure:
//   KIP_STATUS_BAD_SAMPLE, KIP_STATUS_BAD_SCALE, KIP_STATUS_BAD_MIN_COVERAGE  a parameter outside its range
//   KIP_STATUS_BAD_SIGMA        a negative sigma, or one above kip_gaussParamsGetMaxSigma (masked 8-bit sources) or
//                               kip_gaussParamsGetMaxSigma16 (16-bit sources)
//   KIP_STATUS_NOT_BOUND        a source or its mask is empty
//   KIP_STATUS_MASK_MISMATCH    a mask is not of its image's size
//   KSYS_STATUS_BAD_ARGUMENT    a view that no image is (negative sizes, a stride below the width), or a destination of
//                               another size
//   KSYS_STATUS_OUTSIDE_IMAGE   a placed destination with pixels that the source does not supply
//   KSYS_STATUS_MEMORY_OVERLAP  a destination shares pixels with another image
//   KSYS_STATUS_NO_MEMORY       and other failures of the host, such as a cancellation
// The others return new images, and throw kip::error with that status, or std::bad_alloc for the new images' memory.

// A destination that is placed receives a part: source and destination are numbered as `at` says, so that a piece of a
// picture, as large as needed_rect, gives the same pixels as the whole picture. Only a piece too small for the engine
// that serves the whole picture may differ, by one, as engines do; and one that begins in other columns where sums of
// 8-bit pixels are not exact: above 2^53, or when they are rounded with a scale whose inverse is no short binary
// number.
template <pixel Out, raster_for<Out> Source>
[[nodiscard]] ksys_status try_smooth(const Source& src, view<Out> dst, const smooth_params& params,
                                     const placement& at) noexcept {
  const detail::record none, source(src.const_view(), at.source);
  detail::record result(dst, at.dest);
  const detail::call_images images = {source, none, none, result, none};
  rect whole = {};
  if (const ksys_status status = images.check(); status < 0) return status;
  if (const ksys_status status = try_smoothed_rect(source.where(), params, whole); status < 0) return status;
  if (!result.has_pixels()) return 0;
  if (!detail::is_inside(result.where(), whole)) return KSYS_STATUS_OUTSIDE_IMAGE;
  const kip_gaussParams record = detail::to_c(params);
  if constexpr (sizeof(pixel_of<Source>) == 2) {
    return kip_gauss_smoothMasked16_16(source.get(), nullptr, nullptr, &record, result.get(), nullptr);
  } else if constexpr (sizeof(Out) == 2) {
    return kip_gauss_smooth8_16(source.get(), result.get(), &record);
  } else {
    return kip_gauss_smooth8_8(source.get(), result.get(), &record);
  }
}

namespace detail {

// The place of a destination that takes everything; its size must be right.
template <pixel Out, raster Source>
ksys_status place_whole(const Source& src, view<Out> dst, const smooth_params& params, placement& at) noexcept {
  rect whole = {};
  const view<const pixel_of<Source>> source = src.const_view();
  if (source.is_empty()) return KIP_STATUS_NOT_BOUND;
  if (const ksys_status status = try_smoothed_rect({0, 0, source.width, source.height}, params, whole); status < 0) {
    return status;
  }
  at = {{0, 0}, {whole.x, whole.y}};
  return dst.width == whole.width && dst.height == whole.height ? 0 : KSYS_STATUS_BAD_ARGUMENT;
}

template <raster Source>
rect smoothed_rect_of(const Source& src, const smooth_params& params) {
  const view<const pixel_of<Source>> source = src.const_view();
  return smoothed_rect({0, 0, source.width, source.height}, params);
}

}  // namespace detail

template <pixel Out, raster_for<Out> Source>
[[nodiscard]] ksys_status try_smooth(const Source& src, view<Out> dst, const smooth_params& params) noexcept {
  placement at;
  if (const ksys_status status = detail::place_whole(src, dst, params, at); status < 0) return status;
  return try_smooth(src, dst, params, at);
}

// smooth<uint16_t>(src, params) of an 8-bit source gives 16 bits: with .scale = 256 eight of them are fractional.
template <pixel Out, raster_for<Out> Source>
[[nodiscard]] image<Out> smooth(const Source& src, const smooth_params& params = {}) {
  image<Out> result(detail::smoothed_rect_of(src, params));
  detail::check(try_smooth(src, result.view(), params));
  return result;
}
template <raster Source>
[[nodiscard]] image<pixel_of<Source>> smooth(const Source& src, const smooth_params& params = {}) {
  return smooth<pixel_of<Source>>(src, params);
}

// ---- with masks ----
//
// Pixels that `mask` marks invalid, 0, are not used; any other byte is valid. The result's mask is 255 where the pixel
// is valid by `rule`, and else 0: the pixel is then the sample times scale.

namespace detail {

// With a mask, or with a sample mask alone.
enum class masks { both, samples };
template <pixel Out, raster_for<Out> Source>
ksys_status smooth_by(masks which, const Source& src, view<const uint8_t> mask, view<Out> dst, view<uint8_t> dst_mask,
                      const smooth_params& params, const mask_rule& rule, const placement& at) noexcept {
  const detail::record source(src.const_view(), at.source);
  detail::record src_mask(mask, at.source), sample_mask(rule.sample_mask, at.source);
  detail::record result(dst, at.dest), result_mask(dst_mask, at.dest);
  const detail::call_images images = {source, src_mask, sample_mask, result, result_mask};
  rect whole = {};
  if (const ksys_status status = images.check(); status < 0) return status;
  if (!(which == masks::both ? src_mask : sample_mask).has_pixels()) return KIP_STATUS_NOT_BOUND;
  if (const ksys_status status = try_smoothed_rect(source.where(), params, whole); status < 0) return status;
  if (!result.has_pixels()) return 0;
  if (!detail::is_inside(result.where(), whole)) return KSYS_STATUS_OUTSIDE_IMAGE;
  if (const ksys_status status = src_mask.make_valid(mask); status < 0) return status;
  if (const ksys_status status = sample_mask.make_valid(rule.sample_mask); status < 0) return status;

  const kip_gaussParams record = detail::to_c(params, rule);
  const auto smooth_into = [&](kimg_image* to, kimg_image* to_mask) {
    constexpr auto function = sizeof(pixel_of<Source>) == 2 ? kip_gauss_smoothMasked16_16
                              : sizeof(Out) == 2            ? kip_gauss_smoothMasked8_16
                                                            : kip_gauss_smoothMasked8_8;
    return function(source.get(), src_mask.get(), sample_mask.get(), &record, to, to_mask);
  };
  if (detail::is_same(result.where(), whole)) return smooth_into(result.get(), result_mask.get());
  detail::record all, all_mask;
  if (all.status() < 0 || all_mask.status() < 0) return all.status() < 0 ? all.status() : all_mask.status();
  const ksys_status status = smooth_into(all.unbound(), result_mask.has_pixels() ? all_mask.unbound() : nullptr);
  if (status < 0) return status;
  if (const ksys_status copied = detail::copy_common(all, result); copied < 0) return copied;
  return detail::copy_common(all_mask, result_mask);
}

}  // namespace detail

// dst_mask may be empty: it is not wanted. A part that is placed is cut from the result of the whole source, which is
// made first, since samples count from the source's corner.
template <pixel Out, raster_for<Out> Source>
[[nodiscard]] ksys_status try_smooth_masked(const Source& src, view<const uint8_t> mask, view<Out> dst,
                                            view<uint8_t> dst_mask, const smooth_params& params, const mask_rule& rule,
                                            const placement& at) noexcept {
  return detail::smooth_by(detail::masks::both, src, mask, dst, dst_mask, params, rule, at);
}
// All pixels are used, and a result is valid where its sample is not 0 in sample_mask, which has the source's size.
template <pixel Out, raster_for<Out> Source>
[[nodiscard]] ksys_status try_smooth_sampled(const Source& src, view<const uint8_t> sample_mask, view<Out> dst,
                                             view<uint8_t> dst_mask, const smooth_params& params,
                                             const placement& at) noexcept {
  return detail::smooth_by(detail::masks::samples, src, {}, dst, dst_mask, params, {.sample_mask = sample_mask}, at);
}
template <pixel Out, raster_for<Out> Source>
[[nodiscard]] ksys_status try_smooth_masked(const Source& src, view<const uint8_t> mask, view<Out> dst,
                                            view<uint8_t> dst_mask, const smooth_params& params,
                                            const mask_rule& rule = {}) noexcept {
  placement at;
  if (const ksys_status status = detail::place_whole(src, dst, params, at); status < 0) return status;
  return try_smooth_masked(src, mask, dst, dst_mask, params, rule, at);
}

template <pixel Out, raster_for<Out> Source>
[[nodiscard]] masked_image<Out> smooth_masked(const Source& src, view<const uint8_t> mask,
                                              const smooth_params& params = {}, const mask_rule& rule = {}) {
  masked_image<Out> result(detail::smoothed_rect_of(src, params));
  detail::check(try_smooth_masked(src, mask, result.pixels.view(), result.mask.view(), params, rule));
  return result;
}
template <raster Source>
[[nodiscard]] masked_image<pixel_of<Source>> smooth_masked(const Source& src, view<const uint8_t> mask,
                                                           const smooth_params& params = {},
                                                           const mask_rule& rule = {}) {
  return smooth_masked<pixel_of<Source>>(src, mask, params, rule);
}

// The result's mask by coverage alone, without smoothing an image: 255 where at least the fraction min_coverage, 0 to
// 1, of the kernel's pixels, and at least one, is valid and, with a sample mask (of the mask's size; empty: none), the
// sample is not 0 there. Of the parameters the sigmas and sample factors count.
[[nodiscard]] inline ksys_status try_result_mask(view<const uint8_t> mask, view<uint8_t> dst_mask,
                                                 const smooth_params& params, double min_coverage = 0,
                                                 view<const uint8_t> sample_mask = {}) noexcept {
  placement at;
  const kip_gaussParams record = detail::to_c(params, {.min_coverage = min_coverage});
  if (const ksys_status status = kip_gaussParams_validate(&record); status < 0) return status;
  if (const ksys_status status = detail::place_whole(mask, dst_mask, params, at); status < 0) return status;
  const detail::record none, samples(sample_mask);
  detail::record source(mask), result(dst_mask, at.dest);
  const detail::call_images images = {source, none, samples, result, none};
  if (const ksys_status status = images.check(); status < 0) return status;
  if (!result.has_pixels()) return 0;
  if (const ksys_status status = source.make_valid(mask); status < 0) return status;
  const int32_t sigma[] = {params.x_sigma, params.y_sigma}, sample[] = {params.x_sample, params.y_sample};
  return kip_filterMask_computeResultMask_(source.get(), samples.get(), sigma, sample, min_coverage, result.get());
}
[[nodiscard]] inline image<uint8_t> result_mask(view<const uint8_t> mask, const smooth_params& params,
                                                double min_coverage = 0, view<const uint8_t> sample_mask = {}) {
  image<uint8_t> result(detail::smoothed_rect_of(mask, params));
  detail::check(try_result_mask(mask, result.view(), params, min_coverage, sample_mask));
  return result;
}

}  // namespace kip
