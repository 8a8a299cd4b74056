// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

#include "outputs.hpp"
#include "sources.hpp"

namespace kip::tool {

// How the rows of a result are computed in bands: each from some rows of the sources as if they were whole pictures.
// These begin where a kernel has its place in the whole picture too, and reach so far beyond the band that what is
// mirrored or repeated at their ends, unless it is the picture's border, touches only rows that are not taken.
struct BandRule {
  Rows result;                         // all rows wanted, by their numbers
  std::function<Rows(Rows)> sourceOf;  // the rows of the sources for a band of the result
  std::string whyWhole;                // why the whole must be one band; empty: it need not
  int32_t leastRows;                   // of a band that the same engine serves as the whole
  int64_t fixedBytes;                  // of memory for any band
  int64_t bytesPerRow;                 // of memory for a row of the sources and what is made of it
};

// What follows from how the library lets pictures be cut along y; the result and the bytes are left.
BandRule makeBandRule(const kip_partAxis& axis, int32_t sourceRows);

// The bands, as few as the memory allows and equally high. Throws Error, with the sources' name in front, when even the
// lowest do not fit.
std::vector<Rows> cutIntoBands(const BandRule& rule, const Sources& sources, const std::string& memory);

// What is made of a band's sources: rows of the result from number y on, in which the band lies.
struct BandResult : MaskedPicture {
  int32_t y;
};
using BandWork = std::function<BandResult(SourcePictures& source, Rows sourceRows, Rows band)>;

// Reads, computes and writes the bands, into the next one of the outputs, which measures `size`, and with masks perhaps
// into another one. Shows its progress on a terminal when there are several.
void processBands(const BandRule& rule, const std::vector<Rows>& bands, Sources& sources, const PictureSize& size,
                  const BandWork& work, Outputs& outputs, bool writesMask);

}  // namespace kip::tool
