// SPDX-License-Identifier: Apache-2.0
// The kernels, what they compute, and what their hooks serve.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "binomial/choose_rows.hpp"
#include "binomial/kernels.hpp"
#include "kip/host/ksys.h"
#include "oracle/binomial.hpp"
#include "support/levels.hpp"

namespace kiptest {

using kip::Kernel;
using kip::KernelCall;

template <typename Pixel>
struct KernelRow {
  std::string name;
  kip::Versions<Pixel> versions;
  Plan plan;
  bool masked;

  [[nodiscard]] bool reduces() const { return plan.xStep * plan.yStep > 1; }
  [[nodiscard]] bool alongBoth() const { return plan.alongX && plan.alongY; }
  [[nodiscard]] bool alongXOnly() const { return !plan.alongY; }
  [[nodiscard]] Kernel<Pixel>* kernel(bool served) const {
    return served && versions.hook != nullptr ? versions.hook : versions.portable;
  }
};

inline constexpr struct {
  kip::Axes axes;
  const char *reduction, *smoothing;
  Plan reduced, smoothed;
} kernelAxes[] = {{kip::Axes::both, "XY", "5x5_", bothAxes, {true, true}},
                  {kip::Axes::x, "X", "5x1_", xAxis, {true, false}},
                  {kip::Axes::y, "Y", "1x5_", yAxis, {false, true}}};

template <typename Pixel, bool Masked>
void addKernelRows(std::vector<KernelRow<Pixel>>& rows) {
  const std::string before = Masked ? "masked_" : "", depth = std::to_string(8 * sizeof(Pixel));
  for (const auto& [axes, reduction, smoothing, reduced, smoothed] : kernelAxes) {
    rows.push_back({before + reduction + depth, kip::reduction<Pixel, Masked>(axes), reduced, Masked});
    rows.push_back({before + smoothing + depth, kip::smoothing<Pixel, Masked>(axes), smoothed, Masked});
  }
}

template <typename Pixel>
const std::vector<KernelRow<Pixel>>& kernelRows() {
  static const auto rows = [] {
    std::vector<KernelRow<Pixel>> all;
    addKernelRows<Pixel, false>(all);
    addKernelRows<Pixel, true>(all);
    return all;
  }();
  return rows;
}

// A processor as the hooks see it: of the library's levels, and between and beside them.
struct Level {
  const char* name;
  int32_t vendor, features;

  [[nodiscard]] bool has(int32_t feature) const { return (vendor == 1 || vendor == 5) && (features & feature) != 0; }
};

inline constexpr int32_t sse2Level = kip_levels[1].features, sse41Level = sse2Level | ksys_cpuSse41;
inline constexpr Level reduceLevels[] = {{"portable", 0, 0},
                                         {"64", 5, ksys_cpuMmxSse2},
                                         {"128_sse2", 5, sse2Level},
                                         {"128", 1, sse41Level},
                                         {"other_maker", 2, sse41Level},
                                         {"256", 5, kip_levels[2].features},
                                         {"256_alone", 1, ksys_cpuAvx2}};

// Those that this machine can run.
inline std::vector<Level> usableProcessors() {
  ksys_cpuinfo info;
  if (ksys_cpuinfo_init(&info) != 0) info.features = 0;
  std::vector<Level> levels;
  for (const Level& level : reduceLevels) {
    if ((level.features & ~info.features) == 0) levels.push_back(level);
  }
  return levels;
}

// How often a kernel asks for attention.
template <typename Pixel>
int32_t attentionChecks(const KernelRow<Pixel>& row, int32_t height) {
  const auto perRows = [](int32_t rows) { return rows <= 0 ? 0 : (rows + 63) / 64; };
  if (row.alongXOnly()) return perRows(height);
  if (row.plan.alongX && row.reduces()) return perRows(height - 1);
  return height < 5 ? 0 : perRows(height - (row.plan.alongX ? 2 : 4));
}

// Whether the hook, the kernel's own or its pass's, serves the request; else it answers with the fallback status.
template <typename Pixel>
bool serves(const KernelRow<Pixel>& row, const Level& level, int32_t width, int32_t height, bool wantsMask) {
  if (!hasVectors) return false;
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
