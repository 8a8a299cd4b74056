// SPDX-License-Identifier: Apache-2.0
// Masked smoothing, portable and vectorised, on one thread and on two, next to the project's own smoothing without
// masks and to what others offer: with a mask the usual recipe, the blurred product of picture and mask over the
// blurred mask, in floats; for 16-bit pictures without one their Gaussian and box filters. Wall time, nanoseconds per
// source pixel.
#include <cmath>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "kip/gauss.h"
#include "kip/host/kjob.h"
#include "kip/masked.h"
#include "rows.hpp"

#ifdef KIP_HAVE_OPENCV
#include "opencv_filters.hpp"
#endif

namespace {

using namespace kipbench;

constexpr int sigmas[] = {1, 2, 3, 5, 8, 15, 24};

struct Size {
  const char* name;
  int32_t width, height;
  [[nodiscard]] kstd_rect32 rect() const { return {0, 0, width, height}; }
  [[nodiscard]] int64_t pixels() const { return int64_t{width} * height; }
};
constexpr Size sizes[] = {{"1920x1080", width, height}, {"4096x3072", 4096, 3072}};

// A picture of noise and a mask in which one pixel of eight is invalid.
template <typename Pixel>
struct Source {
  std::vector<Pixel> pixels;
  std::vector<uint8_t> mask;

  explicit Source(const Size& size) {
    Noise noise(1);
    for (int64_t i = 0; i < size.pixels(); ++i) {
      pixels.push_back(noise.next<Pixel>());
      mask.push_back(noise.next<uint8_t>() < 32 ? 0 : 255);
    }
  }
};

int32_t inhibitEngine(const wchar_t* name) {
  const std::wstring_view asked(name);
  return asked == L"gauss_smoothMaskedWindow8_8" || asked == L"gauss_smoothMaskedWindow16_16";
}

enum class Way { portable, vectorised, unmasked };

template <typename Pixel>
ksys_status call(Way way, const kimg_windowConst& src, const kimg_windowConst& srcMask, const kip_gaussParams& params,
                 const kimg_window& dst, const kimg_window& dstMask) {
  const kimg_windowConst* const mask = way == Way::unmasked ? nullptr : &srcMask;
  if constexpr (sizeof(Pixel) == 2) {
    return kip_gauss_smoothMaskedWindow16_16(&src, mask, nullptr, &params, &dst, mask != nullptr ? &dstMask : nullptr);
  } else if (way == Way::unmasked) {
    return kip_gauss_smoothWindow8_8(&src, &dst, &params);
  } else {
    return kip_gauss_smoothMaskedWindow8_8(&src, mask, nullptr, &params, &dst, &dstMask);
  }
}

template <typename Pixel>
void smooth(benchmark::State& state, const Size& size, int32_t sigma, int32_t threads, Way way) {
  Source<Pixel> source(size);
  std::vector<Pixel> result(source.pixels.size());
  std::vector<uint8_t> resultMask(source.pixels.size());
  kip_gaussParams params;
  kip_gaussParams_init(&params);
  params.xSigma = params.ySigma = sigma;
  const kstd_rect32 rect = size.rect();
  kimg_windowConst src, srcMask;
  kimg_window dst, dstMask;
  if constexpr (sizeof(Pixel) == 1) {
    kimg_window8Const_initFromMemory(&src, &rect, source.pixels.data(), size.width);
    kimg_window8_initFromMemory(&dst, &rect, result.data(), size.width);
  } else {
    kimg_window16Const_initFromMemory(&src, &rect, source.pixels.data(), size.width);
    kimg_window16_initFromMemory(&dst, &rect, result.data(), size.width);
  }
  kimg_window8Const_initFromMemory(&srcMask, &rect, source.mask.data(), size.width);
  kimg_window8_initFromMemory(&dstMask, &rect, resultMask.data(), size.width);
  ksys_jobThreads_setMaximum(threads);
  if (way == Way::portable) kprt_isOptimizationInhibitedFP = inhibitEngine;
  for (auto _ : state) {
    if (call<Pixel>(way, src, srcMask, params, dst, dstMask) != 0) state.SkipWithError("failed");
    benchmark::ClobberMemory();
  }
  kprt_isOptimizationInhibitedFP = nullptr;
  ksys_jobThreads_setMaximum(0);
  reportPerPixel(state, size.pixels());
}

#ifdef KIP_HAVE_OPENCV

template <typename Pixel>
constexpr int cvType = sizeof(Pixel) == 1 ? CV_8U : CV_16U;

template <typename Pixel>
void recipe(benchmark::State& state, const Size& size, int32_t sigma) {
  cv::setNumThreads(1);
  Source<Pixel> source(size);
  const cv::Mat picture(size.height, size.width, cvType<Pixel>, source.pixels.data());
  const cv::Mat mask(size.height, size.width, CV_8U, source.mask.data());
  cv::Mat values, weights, product, result;
  for (auto _ : state) {
    picture.convertTo(values, CV_32F);
    mask.convertTo(weights, CV_32F, 1.0 / 255);
    cv::multiply(values, weights, product);
    gaussian(product, product, sigma);
    gaussian(weights, weights, sigma);
    cv::divide(product, weights, product);
    product.convertTo(result, cvType<Pixel>);
    benchmark::ClobberMemory();
  }
  reportPerPixel(state, size.pixels());
}

void unmaskedOpenCv16(benchmark::State& state, const Size& size, int32_t sigma, Filter filter) {
  cv::setNumThreads(1);
  Source<uint16_t> source(size);
  const cv::Mat picture(size.height, size.width, CV_16U, source.pixels.data());
  cv::Mat result;
  for (auto _ : state) {
    filter(picture, result, sigma);
    benchmark::ClobberMemory();
  }
  reportPerPixel(state, size.pixels());
}

#endif

template <typename Pixel>
void registerRows(const Size& size, int32_t sigma) {
  constexpr bool is16 = sizeof(Pixel) == 2;
  const std::string row = std::string(size.name) + (is16 ? "/16_16/sigma" : "/8_8/sigma") + std::to_string(sigma) + '/';
  const auto add = [&row](const std::string& name, auto body) {
    benchmark::RegisterBenchmark((row + name).c_str(), body)->Unit(benchmark::kMillisecond)->UseRealTime();
  };
  constexpr struct {
    const char* name;
    Way way;
    int32_t threads;
  } rows[] = {{"portable/threads1", Way::portable, 1},
              {"portable/threads2", Way::portable, 2},
              {"vectorised/threads1", Way::vectorised, 1},
              {"vectorised/threads2", Way::vectorised, 2},
              {"unmasked", Way::unmasked, 1}};
  for (const auto& [name, way, threads] : rows) {
    add(name, [=, &size](benchmark::State& state) { smooth<Pixel>(state, size, sigma, threads, way); });
  }
#ifdef KIP_HAVE_OPENCV
  add("opencv_recipe", [=, &size](benchmark::State& state) { recipe<Pixel>(state, size, sigma); });
  if constexpr (is16) {
    add("opencv_gaussian", [=, &size](benchmark::State& state) { unmaskedOpenCv16(state, size, sigma, gaussian); });
    add("opencv_boxes", [=, &size](benchmark::State& state) { unmaskedOpenCv16(state, size, sigma, boxes); });
  }
#endif
}

[[maybe_unused]] const bool registered = [] {
  for (const Size& size : sizes) {
    for (const int32_t sigma : sigmas) {
      registerRows<uint8_t>(size, sigma);
      registerRows<uint16_t>(size, sigma);
    }
  }
  return true;
}();

}  // namespace
