// SPDX-License-Identifier: Apache-2.0
// The kernels, what they compute, and what their hooks serve.
#pragma once

#include <ostream>
#include <vector>

#include "kip/host/ksys.h"
#include "reduce2/binomial.hpp"
#include "reduce2/kernels.hpp"
#include "reduce2/levels.hpp"

namespace kiptest {

using kip::Kernel;
using kip::KernelCall;

template <typename Pixel>
struct KernelRow {
  const char* name;
  Kernel<Pixel>* generic;
  Kernel<Pixel>* hook;  // null: has none
  Plan plan;
  bool masked;

  [[nodiscard]] bool is5x1() const { return plan.alongX && !plan.alongY; }
  [[nodiscard]] bool reduces() const { return plan.xStep * plan.yStep > 1; }
};

template <typename Pixel>
const std::vector<KernelRow<Pixel>>& kernelRows();

template <>
inline const std::vector<KernelRow<uint8_t>>& kernelRows() {
  using namespace kip;
  using Call = KernelCall<uint8_t>;
  static const std::vector<KernelRow<uint8_t>> rows = {
      {"XY", gauss2_reduceXY8, gauss2_reduceXYVec8, {true, true, 2, 2}, false},
      {"X",
       [](const Call& call) { return gauss2_reduceXOrY8(call, true, false); },
       nullptr,
       {true, false, 2, 1},
       false},
      {"Y",
       [](const Call& call) { return gauss2_reduceXOrY8(call, false, true); },
       nullptr,
       {false, true, 1, 2},
       false},
      {"5x5", gauss2_smooth5x5_8, gauss2_smooth5x5Vec8, {true, true}, false},
      {"5x1", gauss2_smooth5x1_8, gauss2_smooth5x1Vec8, {true, false}, false},
      {"1x5", gauss2_smooth1x5_8, gauss2_smooth1x5Vec8, {false, true}, false},
      {"masked XY", gauss2_reduceMaskedXY8, gauss2_reduceMaskedXYVec8, {true, true, 2, 2}, true},
      {"masked 5x5", gauss2_smoothMasked5x5_8, gauss2_smoothMasked5x5Vec8, {true, true}, true},
      {"masked 5x1", gauss2_smoothMasked5x1_8, gauss2_smoothMasked5x1Vec8, {true, false}, true},
      {"masked 1x5", gauss2_smoothMasked1x5_8, gauss2_smoothMasked1x5Vec8, {false, true}, true},
  };
  return rows;
}

template <>
inline const std::vector<KernelRow<uint16_t>>& kernelRows() {
  using namespace kip;
  using Call = KernelCall<uint16_t>;
  static const std::vector<KernelRow<uint16_t>> rows = {
      {"XY", gauss2_reduceXY16, gauss2_reduceXYVec16, {true, true, 2, 2}, false},
      {"X",
       [](const Call& call) { return gauss2_reduceXOrY16(call, true, false); },
       nullptr,
       {true, false, 2, 1},
       false},
      {"Y",
       [](const Call& call) { return gauss2_reduceXOrY16(call, false, true); },
       nullptr,
       {false, true, 1, 2},
       false},
      {"5x5", gauss2_smooth5x5_16, gauss2_smooth5x5Vec16, {true, true}, false},
      {"5x1", gauss2_smooth5x1_16, gauss2_smooth5x1Vec16, {true, false}, false},
      {"1x5", gauss2_smooth1x5_16, gauss2_smooth1x5Vec16, {false, true}, false},
      {"masked XY", gauss2_reduceMaskedXY16, gauss2_reduceMaskedXYVec16, {true, true, 2, 2}, true},
      {"masked 5x5", gauss2_smoothMasked5x5_16, gauss2_smoothMasked5x5Vec16, {true, true}, true},
      {"masked 5x1", gauss2_smoothMasked5x1_16, gauss2_smoothMasked5x1Vec16, {true, false}, true},
      {"masked 1x5", gauss2_smoothMasked1x5_16, gauss2_smoothMasked1x5Vec16, {false, true}, true},
  };
  return rows;
}

// A processor as the hooks see it.
struct Level {
  const char* name;
  int32_t vendor, features;

  [[nodiscard]] bool has(int32_t feature) const { return (vendor == 1 || vendor == 5) && (features & feature) != 0; }
};

// Those that this machine can run.
inline std::vector<Level> usableLevels() {
  constexpr int32_t sse2 = ksys_cpuMmxSse2 | ksys_cpuSse2Integer, sse41 = sse2 | ksys_cpuSse41;
  std::vector<Level> levels = {{"none", 1, 0}, {"64 bits", 5, ksys_cpuMmxSse2}, {"sse2", 5, sse2}, {"sse41", 1, sse41}};
  levels.push_back({"other maker", 2, sse41});
  ksys_cpuinfo info;
  if (ksys_cpuinfo_init(&info) == 0 && (info.features & ksys_cpuAvx2) != 0) {
    levels.push_back({"avx2", 5, sse41 | ksys_cpuAvx2});
    levels.push_back({"avx2 alone", 1, ksys_cpuAvx2});
  }
  return levels;
}

// Whether a hook serves the request; else it answers with the fallback status.
template <typename Pixel>
bool serves(const KernelRow<Pixel>& row, const Level& level, int32_t width, int32_t height, bool wantsMask) {
  if (row.hook == nullptr || !kip::hasVectorRows()) return false;
  const bool vectors = level.has(sizeof(Pixel) == 1 ? ksys_cpuSse2Integer : ksys_cpuSse41);
  if (!row.masked) return width > 2 && (vectors || sizeof(Pixel) == 1 || (row.reduces() && height < 2));
  if (!vectors) return false;
  const bool alongBoth = row.plan.alongX && row.plan.alongY;
  if (row.plan.alongX && !(alongBoth && !row.reduces()) && width <= 2) return false;
  if (!row.reduces() && row.plan.alongY && height < 5) return false;
  return wantsMask || (alongBoth && !row.reduces());
}

// Which outputs of a masked hook are quotients.
template <typename Pixel>
bool isQuotient(const KernelRow<Pixel>& row, int32_t column, int32_t columns) {
  if (row.is5x1()) return column >= 2 && column < 2 + std::max(columns - 4, 0) / 8 * 8;
  return column < columns / 8 * 8;
}

}  // namespace kiptest
