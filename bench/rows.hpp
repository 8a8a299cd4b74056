// SPDX-License-Identifier: Apache-2.0
// What every benchmark needs: the levels, noise, and nanoseconds per source pixel.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>

#include "kip/host/ksys.h"

namespace kipbench {

inline constexpr int32_t width = 1920;
inline constexpr int32_t height = 1080;
inline constexpr int64_t pixelCount = int64_t{width} * height;

inline constexpr int32_t vectors128 = ksys_cpuMmxSse2 | ksys_cpuSse2Integer | ksys_cpuSse41;
inline constexpr int32_t vectors256 = vectors128 | ksys_cpuAvx2;

// The processor that the library sees within the scope; without the features the benchmark is skipped.
class Processor {
 public:
  Processor(benchmark::State& state, int32_t features) {
    ksys_cpuinfo info;
    if (ksys_cpuinfo_init(&info) != 0 || (info.features & features) != features) {
      state.SkipWithError("the processor lacks it");
    }
    ksys_cpuinfo_setOverride(1, features);
  }
  Processor(const Processor&) = delete;
  Processor& operator=(const Processor&) = delete;
  ~Processor() { ksys_cpuinfo_clearOverride(); }
};

// A small generator of noise, the same on every machine.
class Noise {
 public:
  explicit Noise(uint32_t seed) : state_(seed) {}
  template <typename Pixel>
  Pixel next() {
    state_ = state_ * 1664525 + 1013904223;
    return static_cast<Pixel>(state_ >> (32 - 8 * sizeof(Pixel)));
  }

 private:
  uint32_t state_;
};

inline void reportPerPixel(benchmark::State& state, int64_t pixels = pixelCount) {
  state.counters["ns/pixel"] =
      benchmark::Counter(static_cast<double>(state.iterations()) * static_cast<double>(pixels) * 1e-9,
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

}  // namespace kipbench
