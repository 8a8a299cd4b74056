// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <cstring>

#include "frame/windows.hpp"
#include "masked/band.hpp"
#include "masked/vec_rows.hpp"
#include "masked/vec_sigma1.hpp"

namespace kip {

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

// The same by the kernels for sigma 1.
template <typename Src, typename Dst>
class Sigma1 {
 public:
  [[nodiscard]] static bool serves(const gauss_bandParams& band, const MaskedRows& rows) {
    const kip_gaussParams& p = band.params;
    const bool isGainServed = sizeof(Src) < sizeof(Dst) && rows.gainBits <= maskedSigma1GainBits;
    return p.xSigma == 1 && p.ySigma == 1 && p.xSample == 1 && p.ySample == 1 &&
           (p.scale == 1.0 || (rows.division == MaskedDivision::gain && isGainServed)) &&
           std::min(rows.width, rows.outputs) >= maskedSigma1Columns && rows.leftMirror == rows.leftPad &&
           rows.rightMirror == rows.rightPad;
  }

  // `all`: every pixel counts.
  Sigma1(const gauss_bandParams& band, const MaskedRows& rows, bool all)
      : band_(band),
        all_(all),
        group_{.image = {},
               .mask = {},
               .out = {},
               .count = 0,
               .width = rows.width,
               .leftPad = rows.leftPad,
               .outputs = rows.outputs,
               .gainBits = rows.gainBits,
               .isRounded = rows.isRounded} {}

  template <typename Finish>
  void run(Finish&& finish) {
    for (int64_t first = 0; first < band_.band.height; first += group_.count) {
      group_.count = std::min(maskedSigma1Rows, band_.band.height - first);
      for (int64_t i = 0; i < group_.count + maskedSigma1Taps - 1; ++i) {
        group_.image[i] = rowOf<Src>(band_.imagePlane, first + i);
        group_.mask[i] = all_ ? nullptr : rowOf<uint8_t>(band_.maskPlane, first + i);
      }
      for (int64_t i = 0; i < group_.count; ++i) group_.out[i] = rowOf<Dst>(band_.dst, first + i);
      maskedSigma1(group_);
      for (int64_t i = 0; i < group_.count; ++i) finish(first + i);
    }
  }

 private:
  const gauss_bandParams& band_;
  bool all_;
  MaskedSigma1Group<Src, Dst> group_;
};

}  // namespace kip
