// SPDX-License-Identifier: Apache-2.0
// What every benchmark needs: sizes, pictures, the library's levels, and how a row is added and measured. A row's name
// is FAMILY/SIZE/WORK/WHO; bench/report.py reads it.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "kip/host/kimg.h"
#include "kip/host/kjob.h"
#include "kip/levels.h"

namespace kipbench {

struct Size {
  int32_t width, height;
  [[nodiscard]] int64_t pixels() const { return int64_t{width} * height; }
  [[nodiscard]] Size dividedBy(int32_t divisor) const {
    return {(width + divisor - 1) / divisor, (height + divisor - 1) / divisor};
  }
  [[nodiscard]] std::string name() const { return std::to_string(width) + 'x' + std::to_string(height); }
};
inline constexpr Size middleSize = {1920, 1080};

template <typename Pixel>
std::string bits() {
  return std::to_string(8 * sizeof(Pixel));
}
// ---- pictures ----

// An image of the host; its rows begin at cache lines, as those of OpenCV's own images.
template <typename Pixel>
struct Image {
  kimg_image image;

  explicit Image(const Size& size) {
    const kstd_rect32 rect = {0, 0, size.width, size.height};
    if (kimg_image_constructRectUntyped(&image, &rect, int32_t{sizeof(Pixel)}) != 0) std::abort();
    for (int32_t y = 0; y < image.height; ++y) std::fill_n(row(y), image.width, Pixel{0});
  }
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;
  ~Image() { kimg_image_destruct(&image); }

  [[nodiscard]] Pixel* row(int32_t y) const { return static_cast<Pixel*>(image.pixels) + ptrdiff_t{y} * image.stride; }
  // The largest difference of two pixels.
  [[nodiscard]] int32_t differenceFrom(const Image& other) const {
    int32_t most = 0;
    for (int32_t y = 0; y < image.height; ++y) {
      for (int32_t x = 0; x < image.width; ++x) most = std::max(most, std::abs(row(y)[x] - other.row(y)[x]));
    }
    return most;
  }
};

// The images that all rows share, so that none has the luckier memory: kind 0 holds noise, the same on every machine,
// kind 1 a mask in which one pixel of eight is invalid; results go to the others.
enum Kind : uint32_t { noise, validity, ownResult, ownMask, peerResult, peerMask };
template <typename Pixel>
const Image<Pixel>& shared(Kind kind, const Size& size) {
  static std::map<std::pair<Kind, int64_t>, std::unique_ptr<Image<Pixel>>> images;
  std::unique_ptr<Image<Pixel>>& entry = images[{kind, (int64_t{size.width} << 32) + size.height}];
  if (entry == nullptr) {
    entry = std::make_unique<Image<Pixel>>(size);
    uint32_t state = 1 + kind;
    for (int32_t y = 0; kind <= validity && y < size.height; ++y) {
      std::generate_n(entry->row(y), size.width, [&state, kind] {
        state = state * 1664525 + 1013904223;
        const auto drawn = static_cast<Pixel>(state >> (32 - 8 * sizeof(Pixel)));
        return kind == noise ? drawn : static_cast<Pixel>(drawn < 32 ? 0 : 255);
      });
    }
  }
  return *entry;
}

// ---- the library's levels ----

// Level 1 with SSE4.1, for which its kernels that reduce 16 bits ask.
struct Level {
  const char* name;
  int32_t features;
};
inline constexpr Level levels[] = {{"portable", kip_levels[0].features},
                                   {"level1", kip_levels[1].features | ksys_cpuSse41},
                                   {"level2", kip_levels[2].features}};
inline constexpr Level bestLevel = levels[2];

inline int32_t allThreads() {
  return std::max(1, static_cast<int32_t>(std::thread::hardware_concurrency()));
}

// The processor that the library sees within the scope; without the features the row is skipped.
class Processor {
 public:
  Processor(benchmark::State& state, const Level& level, int32_t threads) {
    ksys_cpuinfo info;
    if (ksys_cpuinfo_init(&info) != 0 || (info.features & level.features) != level.features) {
      state.SkipWithError("not on this processor");
    }
    if (level.features != 0) {
      ksys_cpuinfo_setOverride(1, level.features);
    } else {  // the processor stays as it is: it decides the largest sigma, too
      kprt_isOptimizationInhibitedFP = [](const wchar_t*) -> int32_t { return 1; };
    }
    ksys_jobThreads_setMaximum(threads);
  }
  Processor(const Processor&) = delete;
  Processor& operator=(const Processor&) = delete;
  ~Processor() {
    ksys_jobThreads_setMaximum(0);
    kprt_isOptimizationInhibitedFP = nullptr;
    ksys_cpuinfo_clearOverride();
  }
};

// ---- rows ----

inline void addRow(const std::string& name, auto body) {
  benchmark::RegisterBenchmark(name.c_str(), body)->Unit(benchmark::kMicrosecond)->UseRealTime();
}

// Times what the function does after it has been done once: buffers that it keeps are there then.
inline void measure(benchmark::State& state, const Size& size, auto&& function) {
  for (auto _ : state) {
    function();
    benchmark::ClobberMemory();
  }
  state.counters["ns/pixel"] =
      benchmark::Counter(static_cast<double>(state.iterations()) * static_cast<double>(size.pixels()) * 1e-9,
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

struct Allocations {
  std::atomic<int64_t> count, bytes;
};

// A call of the library, a function without arguments that returns a status.
inline void measureCall(benchmark::State& state, const Size& size, const Level& level, int32_t threads, auto&& call) {
  const Processor processor(state, level, threads);
  if (state.error_occurred()) return;
  bool good = call() == 0;
  Allocations allocations{};
  const auto count = [](void* context, uint64_t bytes) -> ksys_status {
    auto& sum = *static_cast<Allocations*>(context);
    ++sum.count;
    sum.bytes += static_cast<int64_t>(bytes);
    return 0;
  };
  ksys_memory_setHandler(count, &allocations);
  good = call() == 0 && good;
  ksys_memory_setHandler(nullptr, nullptr);
  measure(state, size, [&] { good = call() == 0 && good; });
  state.counters["allocations"] = static_cast<double>(allocations.count);
  state.counters["bytes"] = static_cast<double>(allocations.bytes);
  if (!good) state.SkipWithError("failed");
}

template <typename Pixel>
void addCopy(const std::string& family, const Size& size) {
  addRow(family + size.name() + '/' + bits<Pixel>() + "/memcpy", [size](benchmark::State& state) {
    const Image<Pixel>& to = shared<Pixel>(ownResult, size);
    const Image<Pixel>& from = shared<Pixel>(noise, size);
    measure(state, size,
            [&] { std::memcpy(to.row(0), from.row(0), static_cast<size_t>(size.pixels()) * sizeof(Pixel)); });
  });
}

}  // namespace kipbench
