// SPDX-License-Identifier: Apache-2.0
// A call on the library as plain values, so that fuzzers, golden hashes, the threads test and the soak run share it.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "binomial/scene.hpp"
#include "kip/params.h"

namespace kiptest {

enum class Function { smooth, masked, resultMask, legacy, reduceXY, reduceX, reduceY, noSample, count };
// How source and destination are handed over: as images, the destination bound or not, or as windows in larger images.
enum class Form { bound, unbound, window, count };

inline constexpr kip_gaussParams defaultParams = {1, 1, 1, 1, 1.0, 0, {0, 0, 0.0}};

struct Request {
  Function function = Function::smooth;
  Form form = Form::unbound;
  int32_t srcBytes = 1, dstBytes = 1;
  kip_gaussParams params = defaultParams;              // the sigmas are the legacy function's too; radii are twice them
  int32_t passes = 2, peakNormalize = 0, inPlace = 0;  // of the legacy function
  kstd_rect32 source = {0, 0, 61, 47}, destination = {};
  int32_t margin = 0;  // of the image around the source's window
  bool hasSrcMask = false, hasSampleMask = false, hasDstMask = false;
  bool isMostlyEven = false;  // all of the source mask's bytes but one
  Placement placement = Placement::surrounded;
  uint64_t seed = 0;  // of the pictures

  [[nodiscard]] kstd_rect32 sheet() const { return grown(source, margin); }
  [[nodiscard]] bool isReduction() const { return function >= Function::reduceXY; }
};

// The pictures of a request over its sheet; masks are empty when it has none.
template <typename Pixel>
struct Pictures {
  std::vector<Pixel> pixels;
  std::vector<uint8_t> srcMask, sampleMask;

  explicit Pictures(const Request& request);
};

inline constexpr int32_t fillValue = 0x5B;  // of destinations before the call

struct Outcome {
  ksys_status status = 0;
  ksIRegion region = {};              // of the destination
  ksIRegion computed = {};            // as the legacy function tells
  std::vector<int32_t> pixels, mask;  // the whole destination's
  std::pair<double, double> point;    // where the destination's transform takes a client point
  std::string fault;                  // what was touched beside the destination

  bool operator==(const Outcome&) const = default;
};

std::string describe(const Request& request);

// Runs the call on the processor that the host reports.
Outcome run(const Request& request);

}  // namespace kiptest
