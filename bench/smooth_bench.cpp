// SPDX-License-Identifier: Apache-2.0
// Whole calls of the window functions by engine, next to copying the image and to what others offer: a Gaussian of the
// same extent and standard deviation, and three box filters. One thread; nanoseconds per source pixel.
#include <cstring>
#include <string>
#include <vector>

#include "kip/gauss.h"
#include "rows.hpp"

#ifdef KIP_HAVE_OPENCV
#include "opencv_filters.hpp"
#endif

namespace {

using namespace kipbench;

constexpr kstd_rect32 rect = {0, 0, width, height};
constexpr int sigmas[] = {1, 2, 3, 5, 8, 15, 24};

const std::vector<uint8_t>& picture() {
  static const std::vector<uint8_t> pixels = [] {
    std::vector<uint8_t> drawn(pixelCount);
    Noise noise(1);
    for (uint8_t& pixel : drawn) pixel = noise.next<uint8_t>();
    return drawn;
  }();
  return pixels;
}

struct Engine {
  const char* name;
  int32_t features;
};
constexpr Engine engines[] = {{"portable", 0}, {"level1", vectors128}, {"level2", vectors256}};

template <typename Pixel>
void smooth(benchmark::State& state, int32_t features, int32_t sigma, int32_t sample) {
  const Processor processor(state, features);
  kip_gaussParams params;
  kip_gaussParams_init(&params);
  params.xSigma = params.ySigma = sigma;
  params.xSample = params.ySample = sample;
  std::vector<Pixel> result(pixelCount);
  kimg_window8Const source;
  kimg_window destination;
  kimg_window8Const_initFromMemory(&source, &rect, picture().data(), width);
  if constexpr (sizeof(Pixel) == 1) {
    kimg_window8_initFromMemory(&destination, &rect, result.data(), width);
  } else {
    kimg_window16_initFromMemory(&destination, &rect, result.data(), width);
  }
  constexpr auto call = [] {
    if constexpr (sizeof(Pixel) == 1) return kip_gauss_smoothWindow8_8;
    if constexpr (sizeof(Pixel) == 2) return kip_gauss_smoothWindow8_16;
  }();

  for (auto iteration : state) {
    static_cast<void>(iteration);
    if (call(&source, &destination, &params) != 0) {
      state.SkipWithError("failed");
      break;
    }
    benchmark::ClobberMemory();
  }
  reportPerPixel(state);
}

void copy(benchmark::State& state) {
  std::vector<uint8_t> result(pixelCount);
  for (auto iteration : state) {
    static_cast<void>(iteration);
    std::memcpy(result.data(), picture().data(), pixelCount);
    benchmark::ClobberMemory();
  }
  reportPerPixel(state);
}

#ifdef KIP_HAVE_OPENCV

template <typename Pixel>
void smoothOpenCv(benchmark::State& state, Filter filter, int32_t sigma) {
  cv::setNumThreads(1);
  const cv::Mat source(height, width, CV_8U, const_cast<uint8_t*>(picture().data()));
  cv::Mat widened, result;
  for (auto iteration : state) {
    static_cast<void>(iteration);
    if constexpr (sizeof(Pixel) == 1) {
      filter(source, result, sigma);
    } else {
      source.convertTo(widened, CV_16U, 256);
      filter(widened, result, sigma);
    }
    benchmark::ClobberMemory();
  }
  reportPerPixel(state);
}

#endif

template <typename Pixel>
void registerRows(const std::string& kind) {
  const auto add = [&](const std::string& who, int32_t sigma, const std::string& more, auto&& body) {
    benchmark::RegisterBenchmark((kind + '/' + who + "/sigma" + std::to_string(sigma) + more).c_str(), body)
        ->Unit(benchmark::kMicrosecond);
  };
  for (const int32_t sigma : sigmas) {
    for (const int32_t sample : {1, 2}) {
      for (const Engine& engine : engines) {
        add(engine.name, sigma, sample == 1 ? "" : "/sample" + std::to_string(sample),
            [=](benchmark::State& state) { smooth<Pixel>(state, engine.features, sigma, sample); });
      }
    }
#ifdef KIP_HAVE_OPENCV
    add("opencv_gaussian", sigma, "", [=](benchmark::State& state) { smoothOpenCv<Pixel>(state, gaussian, sigma); });
    add("opencv_boxes", sigma, "", [=](benchmark::State& state) { smoothOpenCv<Pixel>(state, boxes, sigma); });
#endif
  }
}

[[maybe_unused]] const bool registered = [] {
  benchmark::RegisterBenchmark("memcpy", copy)->Unit(benchmark::kMicrosecond);
  registerRows<uint8_t>("8_8");
  registerRows<uint16_t>("8_16");
  return true;
}();

}  // namespace
