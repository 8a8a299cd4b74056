/* SPDX-License-Identifier: Apache-2.0 */
/* The host's standard-types library: rectangles, vectors, legacy regions, the argument-check report and the
 * optimization-inhibit switch. All outputs may be the same record as an input. For hosts, and for callers who
 * handle rectangles: begin at kstd_rect32. */
#ifndef KIP_HOST_KSTD_H
#define KIP_HOST_KSTD_H

#include <stddef.h>

#include "ksys.h"

KSYS_DECLARATIONS_BEGIN

/* x, y: the top-left pixel. Null (without pixels) when width or height is below 1. */
typedef struct kstd_rect32 {
  int32_t x, y, width, height;
} kstd_rect32;

/* Any values are accepted, null and negative sizes included. */
ksys_status kstd_rect32_init(kstd_rect32* rect, int32_t x, int32_t y, int32_t width, int32_t height);
/* *equal: 1 when all four fields agree, else 0. */
ksys_status kstd_rect32_compareEqual(const kstd_rect32* a, const kstd_rect32* b, int32_t* equal);
/* The common part; (0, 0, 0, 0) when there is none. */
ksys_status kstd_rect32_intersect(const kstd_rect32* a, const kstd_rect32* b, kstd_rect32* out);
ksys_status kstd_rect32_getIsNull(const kstd_rect32* rect, int32_t* isNull);

/* ---- vectors: arrays of integers ---- */

typedef struct kstd_vector16 {
  uint16_t* begin;
  uint64_t count;
} kstd_vector16;

typedef struct kstd_vector32 {
  uint32_t* begin;
  uint64_t count;
} kstd_vector32;

/* Construct: a record that is not constructed yet receives `count` elements (0 is allowed), all 0 or all `value`. They
 * stay where they are, aligned to 64 bytes, until the vector is destructed. On failure there is nothing to destruct. */
ksys_status kstd_vector16_construct(kstd_vector16* vector, uint64_t count);
ksys_status kstd_vector32_construct(kstd_vector32* vector, uint64_t count);
ksys_status kstd_vector16_constructFill(kstd_vector16* vector, uint64_t count, uint16_t value);
ksys_status kstd_vector32_constructFill(kstd_vector32* vector, uint64_t count, uint32_t value);
void kstd_vector16_destruct(kstd_vector16* vector);
void kstd_vector32_destruct(kstd_vector32* vector);
/* The address of the first element, and the one behind the last. */
ksys_status kstd_vector16_getBegin(const kstd_vector16* vector, uint16_t** begin);
ksys_status kstd_vector32_getBegin(const kstd_vector32* vector, uint32_t** begin);
ksys_status kstd_vector16_getBeginEnd(const kstd_vector16* vector, uint16_t** begin, uint16_t** end);
ksys_status kstd_vector32_getBeginEnd(const kstd_vector32* vector, uint32_t** begin, uint32_t** end);

/* Type checks: called on a vector and its destructor before they go onto a clean-up stack. */
void ksys_typeCheck_kstd_vector16(const kstd_vector16* object);
void ksys_typeCheck_kstd_vector32(const kstd_vector32* object);
void ksys_typeCheckFunc_kstd_vector16(void (*destructor)(kstd_vector16*));
void ksys_typeCheckFunc_kstd_vector32(void (*destructor)(kstd_vector32*));

/* The legacy form of a rectangle. The operations below give the null region (0, 0, 0, 0) whenever an operand or the
 * result has no pixel, and compute in 64 bits; fields outside 32 bits saturate. */
typedef struct ksIRegion {
  int32_t x, y, width, height;
} ksIRegion;

extern const ksIRegion ksIRegionNull;

void ksIRegionCT(int32_t x, int32_t y, int32_t width, int32_t height, ksIRegion* out);
int32_t ksIRegionIsNull(const ksIRegion* region);
void ksIRegionIntersect(const ksIRegion* a, const ksIRegion* b, ksIRegion* out);
/* Every pixel of b lies in a: true for a null b, false for a null a and a b with pixels. */
int32_t ksIRegionContains(const ksIRegion* a, const ksIRegion* b);
/* The region swept by k placed at every pixel of a. */
void ksIRegionDilate(const ksIRegion* a, const ksIRegion* k, ksIRegion* out);
/* The positions at which k lies inside a. */
void ksIRegionErode(const ksIRegion* a, const ksIRegion* k, ksIRegion* out);

/* Reports an argument check that failed at that source line. The default prints the line and aborts; a handler may
 * leave by a jump or by ending the process, and when it returns the process is aborted. */
void kstd_assert_(int32_t line);
typedef void (*kstd_assertHandler)(int32_t line);
/* Null: the default. */
void kstd_assert_setHandler(kstd_assertHandler handler);

/* Asked for the name of each optimized path before it runs; non-zero forbids the path. Null: nothing is forbidden. */
extern int32_t (*kprt_isOptimizationInhibitedFP)(const wchar_t* name);

KSYS_DECLARATIONS_END

#endif
