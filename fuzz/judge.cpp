// SPDX-License-Identifier: Apache-2.0
#include "judge.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "gauss/level1_model.hpp"
#include "kernelcheck/gauss_levels.hpp"
#include "kip/geometry.h"
#include "levels/levels.hpp"
#include "masked/masked_case.hpp"
#include "oracle/legacy_oracle.hpp"

namespace kiptest {

namespace {

enum Level { portable, level1, level2 };

// What a level must deliver: these pixels, or the portable engine's within a tolerance.
struct Expected {
  ksIRegion computed = {};
  std::vector<int32_t> pixels, mask;  // of the computed part; empty: the portable engine's
  int32_t tolerance = 0;
};

template <typename Pixel>
std::vector<Pixel> cropOf(const std::vector<Pixel>& picture, const kstd_rect32& all, const kstd_rect32& part) {
  Canvas<Pixel> canvas(regionOf(all), 0);
  if (!picture.empty()) canvas.paint(picture);
  return picture.empty() ? picture : canvas.crop(regionOf(part));
}

bool hasExactSums(const kip_gaussParams& params) {
  return 255.0 * std::pow((params.xSigma + 1.0) * (params.ySigma + 1.0), 3.0) < 0x1p53;
}

// The part of the source that a masked request reads.
kstd_rect32 readFor(const Request& r, const ksIRegion& computed) {
  const kstd_rect32 requested = {computed.x, computed.y, computed.width, computed.height};
  kstd_rect32 read = {}, dst, mirror, padding, needed;
  (void)gauss_setup(&r.source, &requested, &r.params, &read, &dst, &mirror, &padding, &needed);
  return read;
}

// Smoothing of an 8-bit source; nothing where only the portable engine can tell.
template <typename Dst>
std::vector<int32_t> smoothed(const Request& r, const std::vector<uint8_t>& pixels, const ksIRegion& computed,
                              Level level) {
  GaussCase test;
  test.params = oracle::legacyOf(r.params);
  test.destination = test.computed = computed;
  // masked requests are cut to what the destination needs before an engine is chosen
  test.source.region = regionOf(r.function == Function::masked ? readFor(r, computed) : r.source);
  kernelcheck::Engine engine = kernelcheck::Engine::portable;
  if (level == level1 && vec1Serves(test.source.region, test.params)) engine = kernelcheck::Engine::vec1;
  if (level == level2) engine = kernelcheck::level2.engineFor(test, sizeof(Dst) == 1, true);
  test.source = {regionOf(r.source), pixels};
  if (engine == kernelcheck::Engine::portable && !hasExactSums(r.params)) return {};
  const auto result = kernelcheck::smoothBy<Dst>(engine, test);
  return {result.begin(), result.end()};
}

// Whether the vectorised masked engine takes the request. `all`: every pixel counts.
bool servesMasked(const Request& r, const ksIRegion& computed, bool all) {
  const kstd_rect32 read = readFor(r, computed);
  const kip_gaussParams& p = r.params;
  if (read.width < 9 * p.xSample || read.height < 9 * p.ySample) return false;
  if (!all) return p.scale < 0x1p47;
  return std::isfinite(p.scale) && read.width > 3 * p.xSigma + 1 && read.height > 3 * p.ySigma + 1;
}

template <typename Src, typename Dst>
oracle::MaskedResult maskedResult(const Request& r, const ksIRegion& computed, Level level) {
  const Pictures<Src> pictures(r);
  const std::vector<Src> pixels = cropOf(pictures.pixels, r.sheet(), r.source);
  oracle::MaskedRequest request;
  request.region = regionOf(r.source);
  request.pixels.assign(pixels.begin(), pixels.end());
  request.srcMask = cropOf(pictures.srcMask, r.sheet(), r.source);
  request.sampleMask = cropOf(pictures.sampleMask, r.sheet(), r.source);
  request.params = r.params;
  request.largest = std::numeric_limits<Dst>::max();
  if (r.function == Function::resultMask) {
    const std::vector<uint8_t> mask = oracle::resultMask(request, computed);
    return {{mask.begin(), mask.end()}, {}};
  }
  oracle::MaskedResult result;
  request.largestSource = std::numeric_limits<Src>::max();
  if (r.hasSrcMask) {
    request.byLowestBit = level != portable;
    request.seenThrough = level != portable && sizeof(Src) == 1;
    const bool served = level != portable && servesMasked(r, computed, false);
    return served ? oracle::smoothMaskedInIntegers(request, computed) : oracle::smoothMasked(request, computed);
  }
  if constexpr (sizeof(Src) == 1) {
    result.pixels = smoothed<Dst>(r, pixels, computed, level);
    oracle::repair(request, computed, result);
  } else {
    const bool served = level != portable && servesMasked(r, computed, true);
    oracle::MaskedRequest around = withRowsAround(request);
    around.isMaskless = true;
    result = served ? oracle::smoothMaskedInIntegers(around, computed) : oracle::smoothMasked(around, computed);
    oracle::repair(request, computed, result);
    for (uint8_t& valid : result.mask) valid = served || valid == 0 ? valid : 255;
  }
  return result;
}

template <typename Src, typename Dst>
Expected expectedOf(const Request& r, Level level) {
  Expected expected;
  if (isNull(r.source)) return expected;
  const ksIRegion wanted = regionOf(r.destination);
  expected.computed = oracle::destinationOf(regionOf(r.source), oracle::legacyOf(r.params),
                                            r.form == Form::unbound ? nullptr : &wanted);
  if (expected.computed.width == 0) return expected;
  if (r.function == Function::smooth) {
    if constexpr (sizeof(Src) == 1) {
      const auto pixels = cropOf(Pictures<Src>(r).pixels, r.sheet(), r.source);
      expected.pixels = smoothed<Dst>(r, pixels, expected.computed, level);
    }
    return expected;
  }
  oracle::MaskedResult result = maskedResult<Src, Dst>(r, expected.computed, level);
  expected.pixels = std::move(result.pixels);
  expected.mask.assign(result.mask.begin(), result.mask.end());
  return expected;
}

Expected expectedReduction(const Request& r, Level level) {
  Expected expected;
  kstd_rect32 supplied = r.source;
  if (r.function == Function::reduceXY) kip_gauss2GetDestRect(&r.source, &supplied);
  if (r.function == Function::reduceX) kip_gauss2XGetDestRect(&r.source, &supplied);
  if (r.function == Function::reduceY) kip_gauss2YGetDestRect(&r.source, &supplied);
  expected.computed = regionOf(r.form == Form::unbound ? supplied : common(supplied, r.destination));
  const int32_t passes = r.function == Function::noSample ? std::max(r.params.xSigma, r.params.ySigma) : 1;
  if (level != portable && r.hasSrcMask) expected.tolerance = passes;
  return expected;
}

// In place the rest of the source stays.
Expected expectedLegacy(const Request& r, const ksIRegion& computed) {
  const ksIRegion source = regionOf(r.source);
  const oracle::Picture picture = {source, cropOf(Pictures<uint8_t>(r).pixels, r.sheet(), r.source)};
  const oracle::Passes passes = {r.passes, r.params.xSigma, r.params.ySigma, r.peakNormalize};
  const bool copies = passes.xExtent() == 0 && passes.yExtent() == 0;
  Canvas<uint8_t> canvas(source, 0);
  canvas.paint(picture.pixels);
  std::vector<uint8_t> pixels = copies ? canvas.crop(computed) : oracle::smoothPasses(picture, passes, computed);
  if (r.inPlace == 0) return {.computed = computed, .pixels = {pixels.begin(), pixels.end()}, .mask = {}};
  auto from = pixels.begin();
  for (int32_t y = computed.y; y < computed.y + computed.height; ++y, from += computed.width) {
    std::copy(from, from + computed.width, &canvas.at(computed.x, y));
  }
  pixels = canvas.crop(source);
  return {.computed = source, .pixels = {pixels.begin(), pixels.end()}, .mask = {}};
}

Expected expectedFor(const Request& r, Level level, const Outcome& base) {
  if (r.isReduction()) return expectedReduction(r, level);
  if (r.function == Function::legacy) return expectedLegacy(r, base.computed);
  if (r.srcBytes == 2) return expectedOf<uint16_t, uint16_t>(r, level);
  return r.dstBytes == 2 ? expectedOf<uint8_t, uint16_t>(r, level) : expectedOf<uint8_t, uint8_t>(r, level);
}

// Compares the part of a picture over `region`; the rest must be as it was.
std::string compare(const std::vector<int32_t>& actual, const std::vector<int32_t>& exact,
                    const std::vector<int32_t>& base, const ksIRegion& region, const Expected& expected,
                    int32_t tolerance) {
  const ksIRegion& part = expected.computed;
  size_t at = 0, within = 0;
  for (int32_t y = region.y; y < region.y + region.height; ++y) {
    for (int32_t x = region.x; x < region.x + region.width; ++x, ++at) {
      const bool isComputed = x >= part.x && x < part.x + part.width && y >= part.y && y < part.y + part.height;
      int32_t wanted = fillValue;
      if (isComputed) wanted = exact.empty() ? (base.empty() ? actual[at] : base[at]) : exact[within];
      within += isComputed;
      if (std::abs(actual[at] - wanted) <= (isComputed && exact.empty() ? tolerance : 0)) continue;
      return "pixel " + std::to_string(x) + ", " + std::to_string(y) + " is " + std::to_string(actual[at]) +
             " instead of " + std::to_string(wanted);
    }
  }
  return "";
}

// The portable engine takes smaller sigmas alone.
bool mayDifferInStatus(const Request& r, ksys_status base) {
  return r.function == Function::masked && r.srcBytes == 1 && std::max(r.params.xSigma, r.params.ySigma) > 24 &&
         base == KIP_STATUS_BAD_SIGMA;
}

std::string judgeAt(Level level, const Request& r, const Outcome& outcome, const Outcome& base) {
  if (!outcome.fault.empty()) return outcome.fault;
  const bool differs = outcome.status != base.status;
  if (differs && !mayDifferInStatus(r, base.status)) {
    return "status " + std::to_string(outcome.status) + " instead of " + std::to_string(base.status);
  }
  Expected expected;
  if (outcome.status == 0) expected = expectedFor(r, level, base);
  if (!differs && (outcome.region != base.region || outcome.computed != base.computed || outcome.point != base.point)) {
    return "another region or transform";
  }
  if (outcome.status != 0 && r.form == Form::unbound) {
    // may be bound already
    const bool isBlank = std::count(outcome.pixels.begin(), outcome.pixels.end(), 0) == std::ssize(outcome.pixels);
    return isBlank ? "" : "wrote in spite of the status";
  }
  if (r.form == Form::unbound && r.inPlace == 0 && outcome.region != expected.computed)
    return "another region than is supplied";
  const Outcome& by = differs ? outcome : base;
  const std::string text =
      compare(outcome.pixels, expected.pixels, by.pixels, outcome.region, expected, expected.tolerance);
  if (!text.empty() || outcome.mask.empty()) return text;
  if (!r.hasDstMask) expected.computed = {};
  const std::string ofMask = compare(outcome.mask, expected.mask, by.mask, outcome.region, expected, 0);
  return ofMask.empty() ? "" : "result mask: " + ofMask;
}

}  // namespace

const std::vector<kip_level>& levels() {
  static const std::vector<kip_level> list = usableLevels();
  return list;
}

std::string judge(const Request& r) {
  Outcome base;
  for (size_t i = 0; i < levels().size(); ++i) {
    const ProcessorOverride processor(levels()[i]);
    const Outcome outcome = run(r);
    if (i == 0) base = outcome;
    const std::string text = judgeAt(static_cast<Level>(i), r, outcome, base);
    if (!text.empty()) return std::string(levels()[i].title) + ": " + text;
  }
  return "";
}

}  // namespace kiptest
