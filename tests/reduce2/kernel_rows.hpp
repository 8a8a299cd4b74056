// SPDX-License-Identifier: Apache-2.0
// The kernels, what they compute, and what their hooks serve.
#pragma once

#include <ostream>
#include <vector>

#include "kip/host/ksys.h"
#include "oracle/binomial.hpp"
#include "reduce2/kernels.hpp"
#include "reduce2/levels.hpp"

namespace kiptest {

using kip::Kernel;
using kip::KernelCall;

template <typename Pixel>
struct KernelRow {
  const char* name;
  Kernel<Pixel>* generic;
  Kernel<Pixel>* hook;  // null: has none, its pass has
  Plan plan;
  bool masked;

  [[nodiscard]] bool reduces() const { return plan.xStep * plan.yStep > 1; }
  [[nodiscard]] bool alongBoth() const { return plan.alongX && plan.alongY; }
  [[nodiscard]] bool alongXOnly() const { return !plan.alongY; }
  [[nodiscard]] Kernel<Pixel>* kernel(bool served) const { return served && hook != nullptr ? hook : generic; }
};

template <auto Reduce, bool AlongX, typename Pixel>
ksys_status reduceAlong(const KernelCall<Pixel>& call) {
  return Reduce(call, AlongX, !AlongX);
}

inline constexpr Plan smooth5x5 = {true, true}, smooth5x1 = {true, false}, smooth1x5 = {false, true};

template <typename Pixel>
const std::vector<KernelRow<Pixel>>& kernelRows();

template <>
inline const std::vector<KernelRow<uint8_t>>& kernelRows() {
  using namespace kip;
  static const std::vector<KernelRow<uint8_t>> rows = {
      {"XY8", gauss2_reduceXY8, gauss2_reduceXYVec8, bothAxes, false},
      {"X8", reduceAlong<gauss2_reduceXOrY8, true>, nullptr, xAxis, false},
      {"Y8", reduceAlong<gauss2_reduceXOrY8, false>, nullptr, yAxis, false},
      {"5x5_8", gauss2_smooth5x5_8, gauss2_smooth5x5Vec8, smooth5x5, false},
      {"5x1_8", gauss2_smooth5x1_8, gauss2_smooth5x1Vec8, smooth5x1, false},
      {"1x5_8", gauss2_smooth1x5_8, gauss2_smooth1x5Vec8, smooth1x5, false},
      {"masked_XY8", gauss2_reduceMaskedXY8, gauss2_reduceMaskedXYVec8, bothAxes, true},
      {"masked_X8", reduceAlong<gauss2_reduceMaskedXOrY8, true>, nullptr, xAxis, true},
      {"masked_Y8", reduceAlong<gauss2_reduceMaskedXOrY8, false>, nullptr, yAxis, true},
      {"masked_5x5_8", gauss2_smoothMasked5x5_8, gauss2_smoothMasked5x5Vec8, smooth5x5, true},
      {"masked_5x1_8", gauss2_smoothMasked5x1_8, gauss2_smoothMasked5x1Vec8, smooth5x1, true},
      {"masked_1x5_8", gauss2_smoothMasked1x5_8, gauss2_smoothMasked1x5Vec8, smooth1x5, true},
  };
  return rows;
}

template <>
inline const std::vector<KernelRow<uint16_t>>& kernelRows() {
  using namespace kip;
  static const std::vector<KernelRow<uint16_t>> rows = {
      {"XY16", gauss2_reduceXY16, gauss2_reduceXYVec16, bothAxes, false},
      {"X16", reduceAlong<gauss2_reduceXOrY16, true>, nullptr, xAxis, false},
      {"Y16", reduceAlong<gauss2_reduceXOrY16, false>, nullptr, yAxis, false},
      {"5x5_16", gauss2_smooth5x5_16, gauss2_smooth5x5Vec16, smooth5x5, false},
      {"5x1_16", gauss2_smooth5x1_16, gauss2_smooth5x1Vec16, smooth5x1, false},
      {"1x5_16", gauss2_smooth1x5_16, gauss2_smooth1x5Vec16, smooth1x5, false},
      {"masked_XY16", gauss2_reduceMaskedXY16, gauss2_reduceMaskedXYVec16, bothAxes, true},
      {"masked_X16", reduceAlong<gauss2_reduceMaskedXOrY16, true>, nullptr, xAxis, true},
      {"masked_Y16", reduceAlong<gauss2_reduceMaskedXOrY16, false>, nullptr, yAxis, true},
      {"masked_5x5_16", gauss2_smoothMasked5x5_16, gauss2_smoothMasked5x5Vec16, smooth5x5, true},
      {"masked_5x1_16", gauss2_smoothMasked5x1_16, gauss2_smoothMasked5x1Vec16, smooth5x1, true},
      {"masked_1x5_16", gauss2_smoothMasked1x5_16, gauss2_smoothMasked1x5Vec16, smooth1x5, true},
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

// Whether the hook, the kernel's own or its pass's, serves the request; else it answers with the fallback status.
template <typename Pixel>
bool serves(const KernelRow<Pixel>& row, const Level& level, int32_t width, int32_t height, bool wantsMask) {
  if (!kip::hasVectorRows()) return false;
  const bool isXY = row.alongBoth() && row.reduces(), is5x5 = row.alongBoth() && !row.reduces();
  const bool vectors = level.has(sizeof(Pixel) == 1 ? ksys_cpuSse2Integer : ksys_cpuSse41);
  if (!row.masked) return width > 2 && (vectors || sizeof(Pixel) == 1 || (isXY && height < 2));
  if (!vectors) return false;
  if (row.plan.alongX && !is5x5 && width <= 2) return false;
  if (row.plan.alongY && !isXY && height < 5) return false;
  return wantsMask || is5x5;
}

// Which outputs of a masked hook are quotients: those around column x of a source of that width.
template <typename Pixel>
bool isQuotient(const KernelRow<Pixel>& row, int32_t x, int32_t width) {
  if (row.alongXOnly()) return x >= 2 && x < 2 + std::max(width - 4, 0) / 8 * 8;
  return x / row.plan.xStep < width / row.plan.xStep / 8 * 8;
}

}  // namespace kiptest
