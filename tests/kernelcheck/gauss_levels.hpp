// SPDX-License-Identifier: Apache-2.0
// What each level must do with a smoothing request.
#pragma once

#include "oracle/gauss_case.hpp"

namespace kernelcheck {

enum class Engine { portable, vec1, vec2Sigma1, vec2Sigma2 };

struct GaussLevel {
  const char* name;
  int32_t vendor, features;
  kiptest::GaussCase (*draw)(uint64_t seed, int32_t index);
  // For an 8-bit or 16-bit destination; asRegion: the caller asks for the computed region.
  Engine (*engineFor)(const kiptest::GaussCase& test, bool is8, bool asRegion);
};

extern const GaussLevel portable, level1, level2;

// The pixels that an engine produces; the second level's general path is the portable engine to the bit.
template <typename Pixel>
std::vector<Pixel> smoothBy(Engine engine, const kiptest::GaussCase& test);

// How often it asks for attention, by which it shows that it ran.
int64_t attentionChecks(Engine engine, const kiptest::GaussCase& test);

}  // namespace kernelcheck
