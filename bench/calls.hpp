// SPDX-License-Identifier: Apache-2.0
// The calls that are measured, on the shared pictures. One object is one request; it returns the call's status.
#pragma once

#include <type_traits>

#include "kip/gauss.h"
#include "kip/gauss2.h"
#include "kip/masked.h"
#include "rows.hpp"

namespace kipbench {

// 16-bit results of 8-bit pictures keep eight fractional bits.
template <typename From, typename To>
inline constexpr double gain = sizeof(To) > sizeof(From) ? 256 : 1;

struct Windows {
  kimg_windowConst source, sourceMask;
  kimg_window result, resultMask;

  template <typename From, typename To>
  static Windows on(const Size& size, int32_t divisor) {
    Windows windows;
    kimg_windowConst_init(&windows.source, &shared<From>(noise, size).image);
    kimg_windowConst_init(&windows.sourceMask, &shared<uint8_t>(validity, size).image);
    kimg_window_init(&windows.result, &shared<To>(ownResult, size.dividedBy(divisor)).image);
    kimg_window_init(&windows.resultMask, &shared<uint8_t>(ownMask, size.dividedBy(divisor)).image);
    return windows;
  }
};

template <typename From, typename To, bool Masked>
class Smooth {
 public:
  Smooth(const Size& size, int32_t sigma, int32_t sample = 1) : windows_(Windows::on<From, To>(size, sample)) {
    kip_gaussParams_init(&params_);
    params_.xSigma = params_.ySigma = sigma;
    params_.xSample = params_.ySample = sample;
    params_.scale = gain<From, To>;
    // odd sigmas shift the pixel numbers by one
    if (sample == 1 && sigma % 2 != 0) {
      for (kimg_window* window : {&windows_.result, &windows_.resultMask}) {
        window->x = window->y = window->image.x = window->image.y = 1;
      }
    }
  }
  ksys_status operator()() const {
    const Windows& w = windows_;
    if constexpr (Masked || sizeof(From) == 2) {
      constexpr auto call = sizeof(To) == 1     ? kip_gauss_smoothMaskedWindow8_8
                            : sizeof(From) == 1 ? kip_gauss_smoothMaskedWindow8_16
                                                : kip_gauss_smoothMaskedWindow16_16;
      return call(&w.source, Masked ? &w.sourceMask : nullptr, nullptr, &params_, &w.result,
                  Masked ? &w.resultMask : nullptr);
    } else {
      return (sizeof(To) == 1 ? kip_gauss_smoothWindow8_8 : kip_gauss_smoothWindow8_16)(&w.source, &w.result, &params_);
    }
  }

 private:
  Windows windows_;
  kip_gaussParams params_;
};

// Only where the kernel lies inside the picture: this function knows no border.
class SmoothLegacy {
 public:
  SmoothLegacy(const Size& size, int32_t sigma) : sigma_(sigma) {
    source_.reset(on(shared<uint8_t>(noise, size)));
    result_.reset(on(shared<uint8_t>(ownResult, size)));
  }
  ksys_status operator()() const {
    ksIRegion done = ksIRegionNull;
    kfGauss(source_.get(), result_.get(), 2, sigma_, sigma_, 0, &done);
    return ksIRegionIsNull(&done) != 0 ? -1 : 0;
  }

 private:
  struct Free {
    void operator()(ksImage* image) const { ksImageFree(image); }
  };
  static ksImage* on(const Image<uint8_t>& image) {
    const ksIRegion region = {0, 0, image.image.width, image.image.height};
    return ksImageCreateFromMemory(&region, image.row(0), image.image.stride);
  }

  int32_t sigma_;
  std::unique_ptr<ksImage, Free> source_, result_;
};

enum class Pass { reduction, both, rows, columns };

template <typename Pixel, Pass Which, bool Masked>
class Binomial {
 public:
  static constexpr int32_t divisor = Which == Pass::reduction ? 2 : 1;
  static constexpr int32_t xRadius = Which == Pass::columns ? 0 : 2;
  static constexpr int32_t yRadius = Which == Pass::rows ? 0 : 2;

  explicit Binomial(const Size& size) : windows_(Windows::on<Pixel, Pixel>(size, divisor)) {}
  ksys_status operator()() const {
    constexpr bool is8 = sizeof(Pixel) == 1;
    const Windows& w = windows_;
    if constexpr (Masked && Which == Pass::reduction) {
      constexpr auto call = is8 ? kip_gauss2_smoothMaskedWindow8_8 : kip_gauss2_smoothMaskedWindow16_16;
      return call(&w.source, &w.sourceMask, nullptr, &w.result, &w.resultMask, nullptr);
    } else if constexpr (Masked) {
      constexpr auto call = is8 ? kip_gauss2_smoothNoSampleMaskedWindow8_8 : kip_gauss2_smoothNoSampleMaskedWindow16_16;
      return call(&w.source, &w.sourceMask, &w.result, &w.resultMask, xRadius, yRadius);
    } else if constexpr (Which == Pass::reduction) {
      constexpr auto call = is8 ? kip_gauss2_smoothWindow8_8 : kip_gauss2_smoothWindow16_16;
      return call(&w.source, nullptr, &w.result, nullptr);
    } else {
      constexpr auto call = is8 ? kip_gauss2_smoothNoSampleWindow8_8 : kip_gauss2_smoothNoSampleWindow16_16;
      return call(&w.source, &w.result, xRadius, yRadius);
    }
  }

 private:
  Windows windows_;
};

template <typename Call>
void addCall(const std::string& name, const Size& size, const Level& level, int32_t threads, auto... arguments) {
  addRow(name, [=](benchmark::State& state) { measureCall(state, size, level, threads, Call(size, arguments...)); });
}

// At every level, on one thread.
template <typename Call>
void addCalls(const std::string& work, const Size& size, auto... arguments) {
  for (const Level& level : levels) addCall<Call>(work + level.name, size, level, 1, arguments...);
}

}  // namespace kipbench
