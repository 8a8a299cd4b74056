// SPDX-License-Identifier: Apache-2.0
// Reduction by two and the 5x5 pass, by level, next to copying the source and to what OpenCV offers for the same
// pixels. One thread; nanoseconds per source pixel. A row's label says whether OpenCV's pixels are equal.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include "kip/gauss2.h"
#include "rows.hpp"

#ifdef KIP_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

using namespace kipbench;

// An image of the host; its rows begin at cache lines, as those of OpenCV's own images.
template <typename Pixel>
struct Image {
  kimg_image image;

  Image(int32_t columns, int32_t rows) {
    const kstd_rect32 rect = {0, 0, columns, rows};
    if (kimg_image_constructRectUntyped(&image, &rect, int32_t{sizeof(Pixel)}) != 0) std::abort();
  }
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;
  ~Image() { kimg_image_destruct(&image); }

  [[nodiscard]] Pixel* row(int32_t y) const { return static_cast<Pixel*>(image.pixels) + ptrdiff_t{y} * image.stride; }
  [[nodiscard]] bool equals(const Image& other) const {
    for (int32_t y = 0; y < image.height; ++y) {
      if (!std::equal(row(y), row(y) + image.width, other.row(y))) return false;
    }
    return true;
  }
};

template <typename Pixel>
struct NoiseImage : Image<Pixel> {
  explicit NoiseImage(uint32_t seed) : Image<Pixel>(width, height) {
    Noise noise(seed);
    for (int32_t y = 0; y < height; ++y) std::generate_n(this->row(y), width, [&] { return noise.next<Pixel>(); });
  }
};

template <typename Pixel>
const Image<Pixel>& picture() {
  static const NoiseImage<Pixel> noise(1);
  return noise;
}

const Image<uint8_t>& mask() {
  static const NoiseImage<uint8_t> noise(2);
  return noise;
}

struct Level {
  const char* name;
  int32_t features;
};
constexpr Level levels[] = {{"portable", 0}, {"128", vectors128}, {"256", vectors256}};

struct Windows {
  kimg_windowConst src;
  kimg_window8Const srcMask;
  kimg_window dst;
  kimg_window8 dstMask;
};
using Operation = ksys_status (*)(const Windows&);

template <typename Pixel>
ksys_status reduce(const Windows& w) {
  constexpr auto call = sizeof(Pixel) == 1 ? kip_gauss2_smoothWindow8_8 : kip_gauss2_smoothWindow16_16;
  return call(&w.src, nullptr, &w.dst, nullptr);
}
template <typename Pixel>
ksys_status reduceMasked(const Windows& w) {
  constexpr auto call = sizeof(Pixel) == 1 ? kip_gauss2_smoothMaskedWindow8_8 : kip_gauss2_smoothMaskedWindow16_16;
  return call(&w.src, &w.srcMask, nullptr, &w.dst, &w.dstMask, nullptr);
}
template <typename Pixel, int32_t XRadius, int32_t YRadius>
ksys_status smooth(const Windows& w) {
  constexpr auto call = sizeof(Pixel) == 1 ? kip_gauss2_smoothNoSampleWindow8_8 : kip_gauss2_smoothNoSampleWindow16_16;
  return call(&w.src, &w.dst, XRadius, YRadius);
}
template <typename Pixel>
ksys_status smoothMasked(const Windows& w) {
  constexpr auto call =
      sizeof(Pixel) == 1 ? kip_gauss2_smoothNoSampleMaskedWindow8_8 : kip_gauss2_smoothNoSampleMaskedWindow16_16;
  return call(&w.src, &w.srcMask, &w.dst, &w.dstMask, 2, 2);
}

template <typename Pixel>
struct Result {
  Image<Pixel> pixels;
  Image<uint8_t> mask;
  Windows windows;

  // divisor: of the source's width and height
  explicit Result(int32_t divisor)
      : pixels(width / divisor, height / divisor), mask(width / divisor, height / divisor) {
    kimg_windowConst_init(&windows.src, &picture<Pixel>().image);
    kimg_window8Const_init(&windows.srcMask, &::mask().image);
    kimg_window_init(&windows.dst, &pixels.image);
    kimg_window8_init(&windows.dstMask, &mask.image);
  }
};

template <typename Pixel>
void measure(benchmark::State& state, int32_t features, Operation operation, int32_t divisor) {
  const Processor processor(state, features);
  Result<Pixel> result(divisor);
  for (auto _ : state) {
    if (operation(result.windows) != 0) state.SkipWithError("failed");
    benchmark::ClobberMemory();
  }
  reportPerPixel(state);
}

template <typename Pixel>
void copy(benchmark::State& state) {
  const Image<Pixel> result(width, height);
  for (auto _ : state) {
    std::memcpy(result.row(0), picture<Pixel>().row(0), size_t{pixelCount} * sizeof(Pixel));
    benchmark::ClobberMemory();
  }
  reportPerPixel(state);
}

#ifdef KIP_HAVE_OPENCV
template <typename Pixel>
cv::Mat matOn(const Image<Pixel>& image) {
  return {image.image.height, image.image.width, sizeof(Pixel) == 1 ? CV_8U : CV_16U, image.row(0),
          static_cast<size_t>(image.image.stride) * sizeof(Pixel)};
}

template <typename Pixel, typename Function>
void measurePeer(benchmark::State& state, Function function, Operation operation, int32_t divisor) {
  cv::setNumThreads(1);
  const cv::Mat source = matOn(picture<Pixel>());
  const Image<Pixel> result(width / divisor, height / divisor);
  cv::Mat target = matOn(result);
  for (auto _ : state) {
    function(source, target);
    benchmark::ClobberMemory();
  }
  const Result<Pixel> own(divisor);
  state.SetLabel(operation(own.windows) == 0 && own.pixels.equals(result) ? "pixels equal" : "pixels differ");
  reportPerPixel(state);
}
#endif

void add(const std::string& name, auto function) {
  benchmark::RegisterBenchmark(name.c_str(), function)->Unit(benchmark::kMicrosecond);
}

template <typename Pixel>
void addAll(const std::string& depth) {
  struct Row {
    const char* name;
    Operation operation;
    int32_t divisor;
  };
  const Row rows[] = {{"reduce", reduce<Pixel>, 2},    {"reduce masked", reduceMasked<Pixel>, 2},
                      {"5x5", smooth<Pixel, 2, 2>, 1}, {"5x1", smooth<Pixel, 2, 0>, 1},
                      {"1x5", smooth<Pixel, 0, 2>, 1}, {"5x5 masked", smoothMasked<Pixel>, 1}};
  add(depth + " copy", copy<Pixel>);
  for (const Row& row : rows) {
    for (const Level& level : levels) {
      add(depth + " " + row.name + " " + level.name, [row, features = level.features](benchmark::State& state) {
        measure<Pixel>(state, features, row.operation, row.divisor);
      });
    }
  }
#ifdef KIP_HAVE_OPENCV
  add(depth + " reduce opencv", [](benchmark::State& state) {
    const auto call = [](const cv::Mat& from, cv::Mat& to) { cv::pyrDown(from, to, to.size(), cv::BORDER_REPLICATE); };
    measurePeer<Pixel>(state, call, reduce<Pixel>, 2);
  });
  add(depth + " 5x5 opencv", [](benchmark::State& state) {
    const auto call = [](const cv::Mat& from, cv::Mat& to) {
      cv::GaussianBlur(from, to, {5, 5}, 0, 0, cv::BORDER_REPLICATE);
    };
    measurePeer<Pixel>(state, call, smooth<Pixel, 2, 2>, 1);
  });
#endif
}

[[maybe_unused]] const bool added = [] {
  addAll<uint8_t>("8");
  addAll<uint16_t>("16");
  return true;
}();

}  // namespace
