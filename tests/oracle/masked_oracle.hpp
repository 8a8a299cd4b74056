// SPDX-License-Identifier: Apache-2.0
// What masked smoothing means, computed by its definition. Shares no code with the library, only its public records.
#pragma once

#include <cstdint>
#include <vector>

#include "kip/params.h"

namespace oracle {

// Pictures and masks lie row by row over `region`, where the source ends; an empty mask is absent.
struct MaskedRequest {
  ksIRegion region;
  std::vector<int32_t> pixels;
  std::vector<uint8_t> srcMask, sampleMask;
  kip_gaussParams params;
  int32_t largest = 255;  // of the result's pixels
  int32_t largestSource = 255;
  bool byLowestBit = false;  // pixels count by the lowest bit of their mask byte
  bool seenThrough = false;  // and 8-bit ones are seen through that byte
  bool isMaskless = false;   // in truth: the masks are all valid
};

struct MaskedResult {
  std::vector<int32_t> pixels;
  std::vector<uint8_t> mask;
};

// With a source mask: the pixels of that destination rectangle, which the source supplies.
MaskedResult smoothMasked(const MaskedRequest& request, const ksIRegion& destination);

// The same in the integers of the vectorised engine, whose values may leave the pixels' range and then lose their upper
// bits.
MaskedResult smoothMaskedInIntegers(const MaskedRequest& request, const ksIRegion& destination);

// Valid pixels from the value 128 on, counted; params.filterMask.minCoverage decides.
std::vector<uint8_t> resultMask(const MaskedRequest& request, const ksIRegion& destination);

// Without a source mask: `smoothed` becomes the source where the sample mask is 0.
void repair(const MaskedRequest& request, const ksIRegion& destination, MaskedResult& smoothed);

}  // namespace oracle
