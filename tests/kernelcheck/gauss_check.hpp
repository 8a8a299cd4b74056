// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "kernelcheck/row.hpp"
#include "oracle/gauss_case.hpp"
#include "support/host_images.hpp"
#include "support/host_seams.hpp"

namespace kernelcheck {

using GaussKernel = ksys_status (*)(const ksImage*, ksVImage*, const ksGaussParams*, ksIRegion*, ksVImage**);

// How the processor record selects a level, and how the level shows that it was the one to run.
struct GaussLevel {
  const char* name;
  int32_t vendor, features;
  int64_t (*attentionChecks)(const ksIRegion& source, const ksGaussParams& params, const ksIRegion& destination);
};

inline constexpr GaussLevel portable = {"portable", 0, 0, oracle::attentionChecks};

// Runs the kernel twice, with different surroundings, fills and positions in memory, and compares with what it must
// produce: status, region, engine, pixels, and everything else untouched.
template <typename Pixel>
Verdict checkGauss(const kiptest::GaussCase& test, GaussKernel kernel, const GaussLevel& level) {
  using namespace kiptest;
  const std::vector<Pixel> expected = oracle::smooth<Pixel>(test.source, test.params, test.computed);
  const int64_t polls = level.attentionChecks(test.source.region, test.params, test.computed);
  for (const bool second : {false, true}) {
    Canvas<uint8_t> source(test.source.region, second ? 0xC3 : 0x5A, second ? Placement::atStart : Placement::atEnd);
    Canvas<Pixel> destination(test.destination, static_cast<Pixel>(second ? 0xFFFF : 0),
                              second ? Placement::atEnd : Placement::surrounded);
    source.paint(test.source.pixels);
    const LegacyImage legacySource = legacyOn(source);
    const LegacyImage legacyDestination = legacyOn(destination);
    ksIRegion region = {1, 2, 3, 4};
    ksVImage* out = nullptr;
    ksys_status status = 0;

    const ProcessorOverride processor(level.vendor, level.features);
    const InhibitProbe asked;
    const AttentionProbe attention;
    const Fault fault = runGuarded([&] {
      status = kernel(legacySource.get(), legacyDestination.get(), &test.params, second ? nullptr : &region, &out);
    });
    if (fault == Fault::guardPage) return {fault, "touched memory outside the source or the destination"};
    if (fault == Fault::failedCheck) return {fault, "failed an argument check"};
    if (status != 0) return {Fault::status, "status " + std::to_string(status)};
    if (out != legacyDestination.get() || (!second && region != test.computed)) {
      return {Fault::region, "wrong destination or region"};
    }
    if (asked.names() != std::vector<std::wstring>{L"gauss"} || attention.count() != polls) {
      return {Fault::wrongEngine, "attention was polled " + std::to_string(attention.count()) + " times instead of " +
                                      std::to_string(polls)};
    }
    if (!destination.intactOutside(test.computed)) return {Fault::wroteOutside, "wrote outside the destination"};
    if (!source.intactOutside(test.source.region) || source.crop(test.source.region) != test.source.pixels) {
      return {Fault::wroteOutside, "wrote to the source"};
    }
    std::string map = difference(destination.crop(test.computed), expected, test.computed.width);
    if (!map.empty()) return {Fault::pixels, std::move(map)};
  }
  return {};
}

}  // namespace kernelcheck
