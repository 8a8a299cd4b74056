/* SPDX-License-Identifier: Apache-2.0 */
/* The levels of the library's engines: for those who list them, or hold the library to one. Begin at kip_levels; what
 * pixels a level gives is in gauss.h, masked.h and gauss2.h.
 *
 * The level of a request comes from the host's processor record, asked afresh each time: the best one that the record
 * offers. To hold the whole process to a level that the processor offers:
 *     ksys_cpuinfo_setOverride(level->vendor, level->features); */
#ifndef KIP_LEVELS_H
#define KIP_LEVELS_H

#include "host/ksys.h"

typedef struct kip_level {
  const char* name;  /* as in options: "portable", "1", "2" */
  const char* title; /* for people */
  int32_t vendor;    /* of a processor record that offers this level and none above it; 0: every record offers it */
  int32_t features;  /* which must all be there */
} kip_level;

#ifdef __cplusplus
inline constexpr
#else
static const
#endif
    /* The lowest first. */
    kip_level kip_levels[] = {
        {"portable", "portable", 0, 0},
        {"1", "level 1 (SSE2)", 1, ksys_cpuMmxSse2 | ksys_cpuSse2Integer},
        {"2", "level 2 (AVX2)", 1, ksys_cpuMmxSse2 | ksys_cpuSse2Integer | ksys_cpuSse41 | ksys_cpuAvx2},
};
enum { kip_levelCount = sizeof kip_levels / sizeof kip_levels[0] };

/* 1 when the processor of that record can run the level, else 0. Features count on processors of two makers. */
static inline int32_t kip_level_isOffered(const kip_level* level, const ksys_cpuinfo* processor) {
  if (level->vendor == 0) return 1;
  return (processor->vendor == 1 || processor->vendor == 5) &&
         (processor->features & level->features) == level->features;
}

#endif
