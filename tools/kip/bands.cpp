// SPDX-License-Identifier: Apache-2.0
#include "bands.hpp"

#include <algorithm>

#include "error.hpp"
#include "numbers.hpp"
#include "progress.hpp"

namespace kip::tool {
namespace {

// Equal heights, but for one row.
std::vector<Rows> share(Rows all, int32_t count) {
  const auto boundary = [&](int32_t i) { return all.begin + static_cast<int32_t>(int64_t{all.count()} * i / count); };
  std::vector<Rows> bands;
  for (int32_t i = 0; i < count; ++i) bands.push_back({boundary(i), boundary(i + 1)});
  return bands;
}

int32_t highestSource(const BandRule& rule, const std::vector<Rows>& bands) {
  int32_t rows = 0;
  for (const Rows& band : bands) rows = std::max(rows, rule.sourceOf(band).count());
  return rows;
}

// Rounded up to what --memory takes.
std::string memoryText(int64_t bytes) {
  const int64_t kilo = (bytes + 1023) >> 10;
  return kilo < 10'000 ? std::to_string(kilo) + "K" : std::to_string((kilo + 1023) >> 10) + "M";
}

}  // namespace

BandRule makeBandRule(const kip_partAxis& axis, int32_t sourceRows) {
  BandRule rule{};
  rule.sourceOf = [axis, sourceRows](Rows band) -> Rows {
    const kip_partRange source = kip_partAxis_source(&axis, sourceRows, {band.begin * axis.step, band.end * axis.step});
    return {static_cast<int32_t>(source.begin), static_cast<int32_t>(source.end)};
  };
  rule.leastRows = static_cast<int32_t>(axis.least / axis.step);
  return rule;
}

std::vector<Rows> cutIntoBands(const BandRule& rule, const Sources& sources, const std::string& memory) {
  const int64_t limit = parseBytes("--memory", memory);
  const PictureSize& size = sources.size();
  const int64_t fixed = rule.fixedBytes + sources.keptBytes();
  const auto bytes = [&](const std::vector<Rows>& bands) {
    return fixed + rule.bytesPerRow * highestSource(rule, bands);
  };
  const auto fits = [&](const std::vector<Rows>& bands) {
    return bytes(bands) <= limit && int64_t{highestSource(rule, bands)} * size.width <= kMaxPixels;
  };
  std::vector<Rows> bands = share(rule.result, 1);
  if (fits(bands)) return bands;

  int32_t tooFew = 1, enough = rule.whyWhole.empty() ? std::max(rule.result.count() / rule.leastRows, 1) : 1;
  bands = share(rule.result, enough);
  if (!fits(bands)) {
    throw Error(sources.name() + ": --memory " + memory + ": " + sizeText(size.width, size.height) +
                " pixels take at least " + memoryText(bytes(bands)) +
                (rule.whyWhole.empty() ? "" : ", since " + rule.whyWhole));
  }
  while (enough - tooFew > 1) {
    const int32_t middle = tooFew + (enough - tooFew) / 2;
    (fits(share(rule.result, middle)) ? enough : tooFew) = middle;
  }
  return share(rule.result, enough);
}

void processBands(const BandRule& rule, const std::vector<Rows>& bands, Sources& sources, const PictureSize& size,
                  const BandWork& work, Outputs& outputs, bool writesMask) {
  OutputPicture& picture = outputs.start(size);
  OutputPicture* const mask = writesMask ? &outputs.start({size.width, size.height, 8}) : nullptr;
  sources.reserve(highestSource(rule, bands));
  std::optional<Progress> progress(std::in_place, static_cast<int32_t>(bands.size()));
  for (const Rows& band : bands) {
    const Rows rows = rule.sourceOf(band);
    const BandResult result = work(sources.take(rows), rows, band);
    picture.write(result.picture, band.begin - result.y, band.count());
    if (mask != nullptr) mask->write(*result.mask, band.begin - result.y, band.count());
    progress->step();
  }
  progress.reset();
  sources.sayNotes();
}

}  // namespace kip::tool
