// SPDX-License-Identifier: Apache-2.0
// Masked smoothing of an 8-bit picture with one and two threads, next to the usual recipe with OpenCV: the blurred
// product of picture and mask over the blurred mask, in floats. Wall time, nanoseconds per source pixel.
#include <cmath>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "kip/host/kjob.h"
#include "kip/masked.h"
#include "rows.hpp"

#ifdef KIP_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
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
struct Source {
  std::vector<uint8_t> pixels, mask;

  explicit Source(const Size& size) {
    Noise noise(1);
    for (int64_t i = 0; i < size.pixels(); ++i) {
      pixels.push_back(noise.next<uint8_t>());
      mask.push_back(noise.next<uint8_t>() < 32 ? 0 : 255);
    }
  }
};

int32_t inhibitEngine(const wchar_t* name) {
  return std::wstring_view(name) == L"gauss_smoothMaskedWindow8_8";
}

// The portable engine.
void smooth(benchmark::State& state, const Size& size, int32_t sigma, int32_t threads) {
  Source source(size);
  std::vector<uint8_t> result(source.pixels.size()), resultMask(source.pixels.size());
  kip_gaussParams params;
  kip_gaussParams_init(&params);
  params.xSigma = params.ySigma = sigma;
  const kstd_rect32 rect = size.rect();
  kimg_window8Const src, srcMask;
  kimg_window8 dst, dstMask;
  kimg_window8Const_initFromMemory(&src, &rect, source.pixels.data(), size.width);
  kimg_window8Const_initFromMemory(&srcMask, &rect, source.mask.data(), size.width);
  kimg_window8_initFromMemory(&dst, &rect, result.data(), size.width);
  kimg_window8_initFromMemory(&dstMask, &rect, resultMask.data(), size.width);
  ksys_jobThreads_setMaximum(threads);
  kprt_isOptimizationInhibitedFP = inhibitEngine;
  for (auto _ : state) {
    if (kip_gauss_smoothMaskedWindow8_8(&src, &srcMask, nullptr, &params, &dst, &dstMask) != 0) {
      state.SkipWithError("failed");
    }
    benchmark::ClobberMemory();
  }
  kprt_isOptimizationInhibitedFP = nullptr;
  ksys_jobThreads_setMaximum(0);
  reportPerPixel(state, size.pixels());
}

#ifdef KIP_HAVE_OPENCV
void recipe(benchmark::State& state, const Size& size, int32_t sigma) {
  cv::setNumThreads(1);
  Source source(size);
  const cv::Mat picture(size.height, size.width, CV_8U, source.pixels.data());
  const cv::Mat mask(size.height, size.width, CV_8U, source.mask.data());
  const int32_t box = sigma + 1;
  const int32_t extent = (3 * sigma + 1) | 1;
  const double deviation = std::sqrt(3.0 * (box * box - 1) / 12.0);
  cv::Mat values, weights, product, result;
  for (auto _ : state) {
    picture.convertTo(values, CV_32F);
    mask.convertTo(weights, CV_32F, 1.0 / 255);
    cv::multiply(values, weights, product);
    cv::GaussianBlur(product, product, {extent, extent}, deviation, deviation, cv::BORDER_REFLECT);
    cv::GaussianBlur(weights, weights, {extent, extent}, deviation, deviation, cv::BORDER_REFLECT);
    cv::divide(product, weights, product);
    product.convertTo(result, CV_8U);
    benchmark::ClobberMemory();
  }
  reportPerPixel(state, size.pixels());
}
#endif

[[maybe_unused]] const bool registered = [] {
  const auto add = [](const std::string& name, auto body) {
    benchmark::RegisterBenchmark(name.c_str(), body)->Unit(benchmark::kMillisecond)->UseRealTime();
  };
  for (const Size& size : sizes) {
    for (const int32_t sigma : sigmas) {
      const std::string row = std::string(size.name) + "/sigma" + std::to_string(sigma) + '/';
      for (const int32_t threads : {1, 2}) {
        add(row + "portable/threads" + std::to_string(threads),
            [=, &size](benchmark::State& state) { smooth(state, size, sigma, threads); });
      }
#ifdef KIP_HAVE_OPENCV
      add(row + "opencv_recipe", [=, &size](benchmark::State& state) { recipe(state, size, sigma); });
#endif
    }
  }
  return true;
}();

}  // namespace
