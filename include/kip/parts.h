/* SPDX-License-Identifier: Apache-2.0 */
/* When a part cut out of a picture gives the pixels that the whole picture gives: for those who work in bands, tiles or
 * chunks. Begin at kip_parts_ofSmoothing and kip_parts_ofReduction; the pixels are defined in gauss.h and gauss2.h.
 *
 * Cut each axis at multiples of `align` into stretches of at least `least` pixels; give every part the pixels around
 * its stretch that kip_partAxis_source tells, as if these were a whole picture; of the results keep those of its own
 * stretch. Result u belongs to source pixels u step to (u + 1) step - 1, all counted from the first of the picture. */
#ifndef KIP_PARTS_H
#define KIP_PARTS_H

#include "levels.h"
#include "params.h"

/* The smallest requests that the kernels of a level serve. Smaller ones go to the portable engine, whose pixels may be
 * one off, so that no part may be smaller. A row for each of kip_levels. */
typedef struct kip_smallestRequest {
  int32_t samples; /* the source's length divided by the sample factor */
  int32_t results;
} kip_smallestRequest;
#ifdef __cplusplus
inline constexpr
#else
static const
#endif
    kip_smallestRequest kip_smallestRequests[] = {
        {1, 1}, {9, 1}, {9, 33}, /* results: of the direct kernels for sigma 1 and 2 */
};
/* Does not compile while a level lacks its row. */
typedef char kip_everyLevelHasItsSmallestRequest
    [sizeof kip_smallestRequests / sizeof kip_smallestRequests[0] == (unsigned)kip_levelCount ? 1 : -1];

/* How a picture is cut along an axis. Lengths are in pixels of the source. */
typedef struct kip_partAxis {
  int32_t
      isCut; /* 0: parts have the picture's whole length, since rounding errors of sums depend on where these began */
  int64_t step;        /* from a result to the next: the sample factor */
  int64_t align;       /* stretches begin at multiples of it */
  int64_t before;      /* pixels that a part needs in front of its stretch, as far as there are so many; */
  int64_t behind;      /* the same behind it. Both are multiples of align */
  int64_t least;       /* of a stretch; not below `before` and `behind` */
  int64_t leastSource; /* of a part, pixels around the stretch included, as far as the picture has so many */
} kip_partAxis;
typedef struct kip_parts {
  kip_partAxis x, y;
} kip_parts;

/* What suits every level. */
static inline kip_smallestRequest kip_parts_smallest(void) {
  kip_smallestRequest most = {1, 1};
  for (int32_t i = 0; i < kip_levelCount; ++i) {
    const kip_smallestRequest* level = &kip_smallestRequests[i];
    if (level->samples > most.samples) most.samples = level->samples;
    if (level->results > most.results) most.results = level->results;
  }
  return most;
}

static inline kip_partAxis kip_partAxis_ofSmoothing(int64_t sigma, int64_t step) {
  const kip_smallestRequest smallest = kip_parts_smallest();
  kip_partAxis axis;
  axis.isCut = 1;
  axis.step = axis.align = step;
  axis.before = axis.behind = ((3 * sigma + 1) / 2 + 2 * step - 1) / step * step; /* half the taps, and a result */
  axis.least = smallest.results * step;
  /* smoothing of 16 bits asks for more pixels than the kernel has taps */
  if (axis.least < axis.before + step) axis.least = axis.before + step;
  axis.leastSource = smallest.samples * step;
  return axis;
}

/* Whether sums of doubles that begin with `first`, not negative, and grow by whole numbers up to `most` are exact. */
static inline int32_t kip_parts_areSumsExact(double first, double most) {
  for (double unit = 1; (first + most) * unit < 0x1p53; unit *= 2) {
    if (first * unit == (double)(int64_t)(first * unit)) return 1;
  }
  return 0;
}

/* For valid parameters, sources of `pixelBytes` (1 or 2) and requests with or without a source mask. */
static inline kip_parts kip_parts_ofSmoothing(const kip_gaussParams* params, int32_t pixelBytes, int32_t isMasked) {
  const double box = (params->xSigma + 1.0) * (params->ySigma + 1.0), weights = box * box * box;
  const double most = weights * (pixelBytes == 1 ? 255 : 65535);
  /* where the sums along a row of 8-bit pixels begin */
  const int32_t startsAtHalf = params->roundResult != 0 && pixelBytes == 1 && isMasked == 0;
  kip_parts parts;
  parts.x = kip_partAxis_ofSmoothing(params->xSigma, params->xSample);
  parts.y = kip_partAxis_ofSmoothing(params->ySigma, params->ySample);
  parts.y.isCut = kip_parts_areSumsExact(0, most);
  parts.x.isCut = kip_parts_areSumsExact(startsAtHalf ? 0.5 * (weights / params->scale) : 0, most) && parts.y.isCut;
  return parts;
}

/* Of `levels` reductions by two in a row, 0 to 20 along each axis; where both are above 0 they are equal. */
static inline kip_parts kip_parts_ofReduction(int32_t xLevels, int32_t yLevels) {
  const int64_t x = (int64_t)1 << xLevels, y = (int64_t)1 << yLevels;
  kip_parts parts = {{1, x, 8 * x, 0, 0, 0, 0}, {1, y, y, 2 * y, y, 8 * y, 0}};
  /* with masks, columns are divided in groups of eight from the first; the last ones of a row in another way */
  parts.x.before = parts.x.behind = xLevels < 2 ? parts.x.align : 2 * parts.x.align;
  parts.x.least = 2 * parts.x.align;
  if (yLevels == 0) parts.y.before = parts.y.behind = 0;
  return parts;
}

/* Source pixels from `begin`, `end` not included. */
typedef struct kip_partRange {
  int64_t begin, end;
} kip_partRange;
/* What a part whose stretch is `own` needs of a picture of that length. */
static inline kip_partRange kip_partAxis_source(const kip_partAxis* axis, int64_t length, kip_partRange own) {
  kip_partRange source = {own.begin - axis->before, own.end + axis->behind};
  if (source.end < source.begin + axis->leastSource) source.end = source.begin + axis->leastSource;
  if (source.end > length) source.end = length;
  if (source.begin > source.end - axis->leastSource) source.begin = source.end - axis->leastSource;
  if (source.begin < 0) source.begin = 0;
  source.begin -= source.begin % axis->align;
  return source;
}

/* Masked requests are cut by the library itself, for its threads: as many of `threads` as leave no part of a result
 * with `rows` rows too low for the engine that serves the whole; >= 1. */
static inline int32_t kip_parts_threads(int32_t rows, int32_t threads) {
  /* equal heights, rounded up, leave the last of n parts at least `least` rows when n (n + least - 1) <= rows */
  const int64_t least = kip_parts_smallest().samples + 1;
  while (threads > 1 && threads * (threads + least - 1) > rows) --threads;
  return threads > 1 ? threads : 1;
}

#endif
