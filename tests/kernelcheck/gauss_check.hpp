// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "kernelcheck/gauss_levels.hpp"
#include "kernelcheck/row.hpp"
#include "support/host_images.hpp"
#include "support/host_seams.hpp"

namespace kernelcheck {

using GaussKernel = ksys_status (*)(const ksImage*, ksVImage*, const ksGaussParams*, ksIRegion*, ksVImage**);

// Runs the kernel twice, with different surroundings, fills and positions in memory, and compares with what it must
// produce: status, region, engine, pixels, and everything else untouched.
template <typename Pixel>
Verdict checkGauss(const kiptest::GaussCase& test, GaussKernel kernel, const GaussLevel& level) {
  using namespace kiptest;
  Engine engine = Engine::portable;
  std::vector<Pixel> expected;
  for (const bool second : {false, true}) {
    const Engine before = engine;
    engine = level.engineFor(test, sizeof(Pixel) == 1, !second);
    if (!second || engine != before) expected = smoothBy<Pixel>(engine, test);
    Canvas<uint8_t> source(test.source.region, second ? 0xC3 : 0x5A, second ? Placement::atStart : Placement::atEnd);
    Canvas<Pixel> destination(test.destination, static_cast<Pixel>(second ? 0xFFFF : 0),
                              second ? Placement::atEnd : Placement::surrounded);
    source.paint(test.source.pixels);
    const LegacyImage legacySource = legacyOn(source);
    const LegacyImage legacyDestination = legacyOn(destination);
    ksVImageSetClientZScale(legacySource.get(), 8.0f);
    ksVImageSetClientZScale(legacyDestination.get(), 3.0f);
    ksIRegion region = {1, 2, 3, 4};
    ksVImage* out = nullptr;
    ksys_status status = 0;

    const ProcessorOverride processor(level.vendor, level.features);
    const InhibitProbe asked;
    const AttentionProbe attention;
    const Fault fault = runGuarded([&] {
      status = kernel(legacySource.get(), legacyDestination.get(), &test.params, second ? nullptr : &region, &out);
    });
    if (fault != Fault::none) return verdictOn(fault);
    if (status != 0) return {Fault::status, "status " + std::to_string(status)};
    if (out != legacyDestination.get() || (!second && region != test.computed)) {
      return {Fault::region, "wrong destination or region"};
    }
    const int64_t polls = attentionChecks(engine, test);
    if (asked.names() != std::vector<std::wstring>{L"gauss"} || attention.count() != polls) {
      return {Fault::wrongEngine, "attention was polled " + std::to_string(attention.count()) + " times instead of " +
                                      std::to_string(polls)};
    }
    const bool keepsZScale = test.params.peakNormalize != 0 || test.computed.width == 0 ||
                             engine == Engine::vec2Sigma1 || engine == Engine::vec2Sigma2;
    if (ksImageClientZScale(out) != (keepsZScale ? 3.0f : 8.0f * test.params.scale)) {
      return {Fault::wrongEngine, "the z-scale is " + std::to_string(ksImageClientZScale(out))};
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
