// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>

#include "levels/processor.hpp"

namespace kip {

// What kernel files define for an instruction set, each in a namespace of the set.
struct FixedPointKernel;
struct ExactKernel;
struct Sigma1Group;
struct Sigma2Row;
template <typename Rows>
struct SmallSigmaKernel;
struct MaskedRowsKernel;
struct MaskedSigma1Kernel;
template <typename Pixel>
struct RowKernels;

// The kernels of a family at a level, and the bits of the processor record that the family asks for them. Null: the
// family has none there.
template <typename Kernels>
struct Family {
  int32_t features = 0;
  const Kernels* kernels = nullptr;
};

// A row of the table of levels. Two rows may have one number: a level is its pixels, for which processors have
// different instruction sets.
struct Level {
  int32_t number;  // as in kip/levels.h; 0 is the portable level, which needs no kernels
  Family<FixedPointKernel> fixedPoint = {};
  Family<ExactKernel> exact = {};
  const SmallSigmaKernel<Sigma1Group>* sigma1 = nullptr;  // where there is `exact`
  const SmallSigmaKernel<Sigma2Row>* sigma2 = nullptr;
  Family<MaskedRowsKernel> masked = {};
  const MaskedSigma1Kernel* maskedSigma1 = nullptr;  // where there is `masked`
  Family<RowKernels<uint8_t>> binomial8 = {};
  Family<RowKernels<uint16_t>> binomial16 = {};
};

// The levels of this build, the best first, the portable one last.
[[nodiscard]] std::span<const Level> levels();

// Whether a family has kernels for this processor.
template <typename Kernels>
[[nodiscard]] bool offers(const ksys_cpuinfo& info, const Family<Kernels>& family) {
  return family.kernels != nullptr && hasFeatures(info, family.features);
}

// The best level that has kernels of a family for this processor, or null.
template <typename Kernels>
[[nodiscard]] const Level* levelFor(const ksys_cpuinfo& info, Family<Kernels> Level::*family) {
  for (const Level& level : levels()) {
    if (offers(info, level.*family)) return &level;
  }
  return nullptr;
}

// The same kernels, of a processor that is asked afresh; the fallback status where there are none.
template <typename Kernels>
[[nodiscard]] ksys_status kernelsFor(Family<Kernels> Level::*family, const Kernels*& kernels) {
  ksys_cpuinfo info;
  const ksys_status status = ksys_cpuinfo_init(&info);
  if (failed(status)) return status;
  const Level* const level = levelFor(info, family);
  if (level == nullptr) return statusFallback;
  kernels = (level->*family).kernels;
  return status;
}

}  // namespace kip
