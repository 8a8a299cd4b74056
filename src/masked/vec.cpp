// SPDX-License-Identifier: Apache-2.0
#include "masked/vec.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include "api/geometry_rows.hpp"
#include "frame/memory.hpp"
#include "frame/processor.hpp"
#include "masked/constant_step.hpp"
#include "masked/coverage.hpp"
#include "masked/params_wrapper.hpp"
#include "masked/saturate.hpp"
#include "masked/validity.hpp"
#include "masked/vec_plan.hpp"
#include "masked/vec_rows.hpp"
#include "masked/vec_sigma1.hpp"

namespace kip {

namespace {

// The band's planes as the kernel reads them: in their own rows or, when those are narrower than a vector, in copies.
struct Planes {
  const uint8_t* image;
  const uint8_t* mask;
  int64_t imagePitch, maskPitch;  // bytes
};

template <typename Pixel>
[[nodiscard]] uint8_t* widen(const kimg_windowConst& plane, int64_t width, uint8_t* to) {
  const size_t rowBytes = static_cast<size_t>(width) * sizeof(Pixel);
  const size_t pixelBytes = static_cast<size_t>(plane.width) * sizeof(Pixel);
  for (int64_t row = 0; row < plane.height; ++row, to += rowBytes) {
    std::memcpy(to, rowOf<Pixel>(plane, row), pixelBytes);
    std::memset(to + pixelBytes, 0, rowBytes - pixelBytes);
  }
  return to;
}

template <typename Src>
[[nodiscard]] Planes takePlanes(const gauss_bandParams& band, bool all, int64_t readable, void* room) {
  if (readable == band.imagePlane.width) {
    return {reinterpret_cast<const uint8_t*>(rowOf<Src>(band.imagePlane, 0)),
            all ? nullptr : rowOf<uint8_t>(band.maskPlane, 0), band.imagePlane.stride * int64_t{sizeof(Src)},
            band.maskPlane.stride};
  }
  auto* const image = static_cast<uint8_t*>(room);
  uint8_t* const mask = widen<Src>(band.imagePlane, readable, image);
  if (!all) (void)widen<uint8_t>(band.maskPlane, readable, mask);
  return {image, mask, readable * int64_t{sizeof(Src)}, readable};
}

template <typename Src, typename Dst>
[[nodiscard]] const MaskedPairKernel<Src, Dst>& pairKernel(const MaskedRowsKernel& kernel) {
  if constexpr (sizeof(Src) == 2) {
    return kernel.pair16_16;
  } else if constexpr (sizeof(Dst) == 2) {
    return kernel.pair8_16;
  } else {
    return kernel.pair8_8;
  }
}

// As a function of its own, so that the compiler knows that the rows are apart.
template <typename Src, typename Dst>
[[gnu::noinline]] void copyInvalid(Dst* __restrict dst, const uint8_t* __restrict valid, const Src* __restrict samples,
                                   int64_t width, int64_t xSample) {
  withStep(xSample, [=](auto step) {
    for (int64_t c = 0; c < width; ++c) {
      const Dst kept = dst[c];
      const Dst sample = samples[c * step];
      dst[c] = valid[c] != 0 ? kept : sample;
    }
  });
}

// Turns rows whose values were computed as if all of them were valid into results.
template <typename Src, typename Dst>
class Results {
 public:
  Results(const gauss_bandParams& band, const LineGeometry& geometry, const MaskedRowsKernel& kernel)
      : band_(band),
        kernel_(kernel),
        firstSourceRow_(int64_t{band.src.y} - band.imagePlane.y),
        coverage_(band.maskPlane, geometry, band.params),
        threshold_(coverageThreshold(band.params)),
        sampleScale_{.factor = fixedPoint(band.params.scale),
                     .half = band.params.roundResult != 0 ? uint64_t{32768} : 0,
                     .limit = isPowerOfTwo(band.params.scale) ? std::numeric_limits<Dst>::max()
                                                              : std::numeric_limits<uint64_t>::max()},
        useCoverage_(band.params.filterMask.useCoverage != 0),
        needsCounts_(useCoverage_),
        isPlain_(band.sampleMask.bound == 0 && band.params.scale == 1.0 && band.params.xSample == 1) {}

  [[nodiscard]] ksys_status allocate(Cleanup& cleanup, void* validRow) {
    valid_ = static_cast<uint8_t*>(validRow);
    return coverage_.allocate(cleanup);
  }

  void finish(int64_t row) {
    const int64_t width = band_.band.width;
    const int64_t sample = band_.params.xSample;
    uint8_t* const valid = band_.dstMask.bound != 0 ? rowOf<uint8_t>(band_.dstMask, row) : valid_;
    // of the planes, whose rows are still in the caches
    const int64_t planeRow = firstSourceRow_ + row * band_.params.ySample;
    const uint8_t* const mask = rowOf<uint8_t>(band_.maskPlane, planeRow);
    const Src* const samples = rowOf<Src>(band_.imagePlane, planeRow);
    Dst* const dst = rowOf<Dst>(band_.dst, row);
    // under even bytes alone there is no pixel, and nothing to be valid
    if (isPlain_ && !needsCounts_) {
      needsCounts_ = pairKernel<Src, Dst>(kernel_).keepValid(mask, samples, dst, valid, width);
      if (!needsCounts_) return;
    }
    needsCounts_ = needsCounts_ || kernel_.hasEvenBytes(mask, band_.maskPlane.width);
    const int64_t* const counts = needsCounts_ ? countsOf(row) : nullptr;
    if (useCoverage_) {
      validByCoverage(valid, counts, threshold_, width, sample);
    } else {
      validBySamples(valid, mask, width, sample);
      if (needsCounts_) limitToCovered(valid, counts, width, sample);
    }
    const kimg_windowConst& restriction = band_.effectiveSampleMask();
    if (restriction.bound != 0) {
      limitToSamples(valid, rowOf<uint8_t>(restriction, row * band_.params.ySample), width, sample);
    }
    replaceInvalid(dst, valid, samples);
  }

 private:
  [[nodiscard]] const int64_t* countsOf(int64_t row) {
    const int64_t end = row * band_.params.ySample + 3 * int64_t{band_.params.ySigma} + 1;
    for (; entered_ < end; ++entered_) coverage_.enter(entered_);
    return coverage_.countRow();
  }

  void replaceInvalid(Dst* dst, const uint8_t* valid, const Src* samples) const {
    const kip_gaussParams& params = band_.params;
    const int64_t width = band_.band.width;
    if (params.scale == 1.0) {
      copyInvalid(dst, valid, samples, width, params.xSample);
    } else if (isPowerOfTwo(params.scale) && !isExactPowerOfTwo(params.scale)) {
      const double half = roundingTerm(params);
      for (int64_t c = 0; c < width; ++c) {
        if (valid[c] == 0) dst[c] = saturate<Dst>(samples[c * params.xSample] * params.scale + half);
      }
    } else {
      pairKernel<Src, Dst>(kernel_).scaleInvalid(valid, samples, params.xSample, sampleScale_, dst, width);
    }
  }

  const gauss_bandParams& band_;
  const MaskedRowsKernel& kernel_;
  int64_t firstSourceRow_;  // of the planes
  gauss_coverageRows coverage_;
  int64_t threshold_;
  SampleScale sampleScale_;
  bool useCoverage_, needsCounts_, isPlain_;
  int64_t entered_ = 0;  // rows of the plane that are counted
  uint8_t* valid_ = nullptr;
};

// Lets the planes' rows through the kernel, group by group, and calls finish(row) for the output rows of each.
template <typename Src, typename Dst>
class Cascade {
 public:
  using Kernel = MaskedPairKernel<Src, Dst>;

  Cascade(const gauss_bandParams& band, const MaskedRows& rows, int64_t groupRows, const Kernel& kernel,
          const Planes& planes, const void* zeroRow)
      : band_(band),
        rows_(rows),
        groupRows_(groupRows),
        kernel_(kernel),
        planes_(planes),
        zeroRow_(static_cast<const uint8_t*>(zeroRow)),
        yBox_(int64_t{band.params.ySigma} + 1) {}

  template <typename Finish>
  void run(Finish&& finish) {
    int64_t entered = 0;
    int64_t finished = 0;
    for (int64_t output = 0; output < band_.band.height; ++output) {
      const int64_t last = output * band_.params.ySample + 3 * int64_t{band_.params.ySigma};
      for (; entered <= last; ++entered) {
        add(entered, entered == last);
        if (count_ == maxSteps) flush();
      }
      if (waiting_ == groupRows_ || output + 1 == band_.band.height) flush();
      for (; finished < written_; ++finished) finish(finished);
    }
  }

 private:
  static constexpr int64_t maxSteps = 64;

  [[nodiscard]] static const uint8_t* at(const uint8_t* plane, int64_t pitch, int64_t row) {
    return plane + row * pitch;
  }

  void add(int64_t row, bool isOutput) {
    MaskedStep& step = steps_[static_cast<size_t>(count_++)];
    for (int64_t i = 0; i < 4; ++i) {
      const int64_t tap = row - i * yBox_;
      step.image[i] = tap < 0 ? zeroRow_ : planes_.image + tap * planes_.imagePitch;
      step.mask[i] = tap < 0 || planes_.mask == nullptr ? zeroRow_ : planes_.mask + tap * planes_.maskPitch;
    }
    step.isOutput = isOutput;
    if (isOutput) out_[static_cast<size_t>(waiting_)] = rowOf<Dst>(band_.dst, written_ + waiting_);
    waiting_ += isOutput ? 1 : 0;
  }

  void flush() {
    if (count_ != 0) kernel_.smooth(rows_, steps_.data(), count_, out_.data());
    count_ = 0;
    written_ += waiting_;
    waiting_ = 0;
  }

  const gauss_bandParams& band_;
  const MaskedRows& rows_;
  int64_t groupRows_;
  const Kernel& kernel_;
  const Planes& planes_;
  const uint8_t* zeroRow_;
  int64_t yBox_;
  std::array<MaskedStep, maxSteps> steps_;
  std::array<Dst*, maxSteps> out_;
  int64_t count_ = 0;
  int64_t waiting_ = 0;  // output rows among the steps
  int64_t written_ = 0;
};

// The same by the kernel for sigma 1.
class Sigma1 {
 public:
  [[nodiscard]] static bool serves(const gauss_bandParams& band, const MaskedRows& rows) {
    const kip_gaussParams& p = band.params;
    return p.xSigma == 1 && p.ySigma == 1 && p.xSample == 1 && p.ySample == 1 && p.scale == 1.0 &&
           std::min(rows.width, rows.outputs) >= maskedSigma1Columns && rows.leftMirror == rows.leftPad &&
           rows.rightMirror == rows.rightPad;
  }

  Sigma1(const gauss_bandParams& band, const MaskedRows& rows)
      : band_(band),
        group_{.image = {},
               .mask = {},
               .out = {},
               .count = 0,
               .width = rows.width,
               .leftPad = rows.leftPad,
               .outputs = rows.outputs,
               .isRounded = rows.isRounded} {}

  template <typename Finish>
  void run(Finish&& finish) {
    for (int64_t first = 0; first < band_.band.height; first += group_.count) {
      group_.count = std::min(maskedSigma1Rows, band_.band.height - first);
      for (int64_t i = 0; i < group_.count + MaskedSigma1Group::taps - 1; ++i) {
        group_.image[i] = rowOf<uint8_t>(band_.imagePlane, first + i);
        group_.mask[i] = rowOf<uint8_t>(band_.maskPlane, first + i);
      }
      for (int64_t i = 0; i < group_.count; ++i) group_.out[i] = rowOf<uint8_t>(band_.dst, first + i);
      maskedSigma1(group_);
      for (int64_t i = 0; i < group_.count; ++i) finish(first + i);
    }
  }

 private:
  const gauss_bandParams& band_;
  MaskedSigma1Group group_;
};

// The set-up step: picks the kernel, plans the rows and allocates their memory, or refuses.
template <typename Src, typename Dst>
[[nodiscard]] ksys_status setUp(const gauss_bandParams& band, bool all, gauss_paramsWrapper& wrapper, MaskedRows& rows,
                                const MaskedRowsKernel*& kernel) {
  constexpr int64_t leastSamples = 9;
  ksys_cpuinfo info;
  const ksys_status status = ksys_cpuinfo_init(&info);
  if (failed(status)) return status;
  if (!hasFeatures(info, ksys_cpuMmxSse2)) return statusFallback;
  if (band.src.width < leastSamples * band.params.xSample || band.src.height < leastSamples * band.params.ySample) {
    return statusFallback;
  }
  if (!fitsFixedPoint(band.params.scale)) return statusFallback;
  const bool isVec2 = hasFeatures(info, ksys_cpuAvx2) && band.imagePlane.width >= maskedRowsAvx2.block;
  kernel = isVec2 ? &maskedRowsAvx2 : &maskedRowsSse2;

  rows = planRows<Src, Dst>(band, all, *kernel);
  constexpr int64_t lines = 2;
  const int64_t blocks = (rows.width + kernel->block - 1) / kernel->block;
  const int64_t columns = 3 * kernel->block * blocks;
  const bool isNarrow = rows.readable != rows.width;
  const int64_t planeBytes = isNarrow ? rows.readable * band.imagePlane.height * int64_t{sizeof(Src) + 1} : 0;
  const auto bytes = [](int64_t count, size_t size) { return static_cast<uint64_t>(count) * size; };
  const gauss_paramsWrapper::Sizes sizes = {.columns = bytes(lines * columns, sizeof(int32_t)),
                                            .lines = bytes(lines * rows.maskLine, sizeof(int32_t)),
                                            .planes = bytes(planeBytes, 1),
                                            .zeroRow = bytes(rows.readable, sizeof(Src)),
                                            .valid = bytes(rows.outputs, 1)};
  const ksys_status allocated = allocate(wrapper, sizes);
  if (failed(allocated)) return allocated;
  std::memset(wrapper.columns, 0, sizes.columns);
  rows.imageColumns = static_cast<int32_t*>(wrapper.columns);
  rows.maskColumns = rows.imageColumns + columns;
  rows.line = static_cast<int32_t*>(wrapper.lines);
  return 0;
}

// Calls run(cleanup, wrapper, kernel, cascade) with everything set up.
template <typename Src, typename Dst, typename Run>
ksys_status withCascade(const gauss_bandParams& band, bool all, Run&& run) {
  gauss_paramsWrapper wrapper;
  gauss_paramsWrapper_init(&wrapper);
  return withCleanup<8>([&](Cleanup& cleanup) -> ksys_status {
    pushWrapper(cleanup, wrapper);
    MaskedRows rows;
    const MaskedRowsKernel* kernel = nullptr;
    const ksys_status status = setUp<Src, Dst>(band, all, wrapper, rows, kernel);
    if (failed(status)) return status;
    const Planes planes = takePlanes<Src>(band, all, rows.readable, wrapper.planes);
    const MaskedPairKernel<Src, Dst>& pair = pairKernel<Src, Dst>(*kernel);
    if constexpr (sizeof(Src) == 1 && sizeof(Dst) == 1) {
      if (kernel == &maskedRowsAvx2 && Sigma1::serves(band, rows)) {
        Sigma1 sigma1(band, rows);
        return run(cleanup, wrapper, *kernel, sigma1);
      }
    }
    Cascade<Src, Dst> cascade(band, rows, kernel->rows, pair, planes, wrapper.zeroRow);
    return run(cleanup, wrapper, *kernel, cascade);
  });
}

template <typename Src, typename Dst>
ksys_status smoothMasked(const gauss_bandParams& band) {
  const LineGeometry geometry(band.maskPlane.width, band.mirror, band.padding, band.params.xSigma);
  return withCascade<Src, Dst>(
      band, false,
      [&](Cleanup& cleanup, const gauss_paramsWrapper& wrapper, const MaskedRowsKernel& kernel, auto& cascade) {
        Results<Src, Dst> results(band, geometry, kernel);
        const ksys_status status = results.allocate(cleanup, wrapper.valid);
        if (failed(status)) return status;
        cascade.run([&](int64_t row) { results.finish(row); });
        return status;
      });
}

}  // namespace

ksys_status gauss_smoothMaskedVec8(const gauss_bandParams& band) {
  return smoothMasked<uint8_t, uint8_t>(band);
}
ksys_status gauss_smoothMaskedVec8_16(const gauss_bandParams& band) {
  return smoothMasked<uint8_t, uint16_t>(band);
}
ksys_status gauss_smoothMaskedVec16(const gauss_bandParams& band) {
  return smoothMasked<uint16_t, uint16_t>(band);
}

ksys_status gauss_smoothAllVec16(const gauss_bandParams& band) {
  constexpr int64_t mostPixels = int64_t{1} << 30;
  const kip_gaussParams& params = band.params;
  if (int64_t{band.imagePlane.width} * band.imagePlane.height > mostPixels) return statusFallback;
  if (band.src.width <= 3 * int64_t{params.xSigma} + 1 || band.src.height <= 3 * int64_t{params.ySigma} + 1) {
    return statusFallback;
  }
  return withCascade<uint16_t, uint16_t>(
      band, true, [](Cleanup&, const gauss_paramsWrapper&, const MaskedRowsKernel&, auto& cascade) -> ksys_status {
        cascade.run([](int64_t) {});
        return 0;
      });
}

ksys_status gauss_setMaskVec() {
  ksys_cpuinfo info;
  const ksys_status status = ksys_cpuinfo_init(&info);
  if (failed(status)) return status;
  return hasFeatures(info, ksys_cpuSse2Integer) ? status : statusFallback;
}

}  // namespace kip
