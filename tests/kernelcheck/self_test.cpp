// SPDX-License-Identifier: Apache-2.0
#include <cstdio>

#include "kernelcheck/gauss_check.hpp"

namespace kernelcheck {

namespace {

using namespace kiptest;

// What a broken kernel works on: a finished, correct result.
struct Finished {
  const ksImage* source;
  ksVImage* destination;
  const ksGaussParams& params;
  ksIRegion part;

  [[nodiscard]] uint8_t* sourcePixel(int32_t x, int32_t y) const {
    const ksIRegion& region = *ksImageRegion(source);
    return ksImagePixAddr(source, region.x + x, region.y + y);
  }
  [[nodiscard]] int32_t sourceWidth() const { return ksImageWidth(source); }
  [[nodiscard]] int32_t sourceHeight() const { return ksImageHeight(source); }
  // Relative to the part; from its end when negative.
  [[nodiscard]] uint8_t* pixel(int32_t x, int32_t y) const {
    return ksImagePixAddr(destination, part.x + (x < 0 ? part.width : 0) + x, part.y + (y < 0 ? part.height : 0) + y);
  }
  void repaint(const oracle::Picture& picture, const ksGaussParams& other) const {
    const std::vector<uint8_t> pixels = oracle::smooth<uint8_t>(picture, other, part);
    for (int32_t y = 0; y < part.height; ++y) {
      std::copy_n(pixels.begin() + int64_t{y} * part.width, part.width, pixel(0, y));
    }
  }
  // The source, moved to the right by `shift` and with a border of zeros.
  [[nodiscard]] oracle::Picture picture(int32_t shift, int32_t border) const {
    const ksIRegion& region = *ksImageRegion(source);
    oracle::Picture result = {
        {region.x - border, region.y - border, region.width + 2 * border, region.height + 2 * border}, {}};
    for (int32_t y = -border; y < region.height + border; ++y) {
      for (int32_t x = -border; x < region.width + border; ++x) {
        const bool inside = x >= 0 && y >= 0 && x < region.width && y < region.height;
        result.pixels.push_back(inside ? *sourcePixel(std::max(x - shift, 0), y) : uint8_t{0});
      }
    }
    return result;
  }
};

struct Broken {
  const char* name;
  Fault expected;
  void (*damage)(const Finished& finished);
};

volatile uint8_t sink;

constexpr Broken brokenKernels[] = {
    {"taps one column late", Fault::pixels, [](const Finished& f) { f.repaint(f.picture(1, 0), f.params); }},
    {"no mirror", Fault::pixels, [](const Finished& f) { f.repaint(f.picture(0, 24), f.params); }},
    {"wrong rounding", Fault::pixels,
     [](const Finished& f) {
       ksGaussParams other = f.params;
       other.roundResult = other.roundResult == 0;
       f.repaint(f.picture(0, 0), other);
     }},
    {"last pixel not stored", Fault::pixels, [](const Finished& f) { *f.pixel(-1, -1) = *(f.pixel(-1, -1) + 1); }},
    {"uses what follows a row", Fault::pixels,
     [](const Finished& f) {
       if (f.sourceHeight() > 1)
         *f.pixel(0, 0) = static_cast<uint8_t>(*f.pixel(0, 0) + *f.sourcePixel(f.sourceWidth(), 0));
     }},
    {"stores one past the row", Fault::wroteOutside, [](const Finished& f) { *(f.pixel(-1, -1) + 1) = 77; }},
    {"stores before the row", Fault::wroteOutside, [](const Finished& f) { *(f.pixel(0, 0) - 1) = 77; }},
    {"writes to the source", Fault::wroteOutside, [](const Finished& f) { *f.sourcePixel(0, 0) ^= 1; }},
    {"reads past the source", Fault::guardPage,
     [](const Finished& f) { sink = *f.sourcePixel(f.sourceWidth(), f.sourceHeight() - 1); }},
    {"reads before the source", Fault::guardPage, [](const Finished& f) { sink = *f.sourcePixel(-1, 0); }},
    {"fails an argument check", Fault::failedCheck, [](const Finished&) { kstd_assert_(1); }},
    {"another cadence", Fault::wrongEngine, [](const Finished&) { ksys_attention_check(); }},
};

const Broken* current;

ksys_status runBroken(const ksImage* source, ksVImage* destination, const ksGaussParams* params, ksIRegion* region,
                      ksVImage** out) {
  const ksys_status status = kip_gauss(source, destination, params, region, out);
  const ksIRegion part = oracle::destinationOf(*ksImageRegion(source), *params, ksVImageRegion(destination));
  if (status == 0 && part.width > 0) current->damage({source, destination, *params, part});
  return status;
}

}  // namespace

bool catches(const char* name, Fault expected, int32_t cases, const std::function<Verdict(int32_t index)>& check) {
  Verdict verdict;
  int32_t index = 0;
  while (index < cases && verdict.fault == Fault::none) verdict = check(index++);
  const bool caught = verdict.fault == expected;
  std::printf("%-32s %s after %d cases\n%s", name,
              caught                         ? "caught"
              : verdict.fault == Fault::none ? "NOT CAUGHT"
                                             : "CAUGHT BY ANOTHER FAULT: ",
              index, caught ? "" : (verdict.detail + '\n').c_str());
  return caught;
}

bool selfTest(uint64_t seed) {
  constexpr int32_t cases = 100;
  bool allCaught = true;
  for (const Broken& broken : brokenKernels) {
    current = &broken;
    allCaught &= catches(broken.name, broken.expected, cases, [seed](int32_t index) {
      return checkGauss<uint8_t>(drawGaussCase(seed, index, false), runBroken, portable);
    });
  }
  // the portable engine where a vectorised one should run
  for (GaussLevel level : {level1, level2}) {
    level.features = 0;
    const std::string name = std::string("portable at ") + level.name;
    allCaught &= catches(name.c_str(), Fault::wrongEngine, cases, [seed, &level](int32_t index) {
      return checkGauss<uint8_t>(level.draw(seed, index), kip_gauss, level);
    });
  }
  return selfTestReduce(seed) && allCaught;
}

}  // namespace kernelcheck
