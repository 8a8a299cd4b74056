// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>

#include "frame/windows.hpp"
#include "masked/band.hpp"
#include "masked/line.hpp"
#include "masked/readable_planes.hpp"
#include "masked/row_kernel.hpp"

namespace kip {

// Lets the planes' rows through the row kernel, group by group, and calls finish(row) for every output row.
template <typename Src, typename Dst>
class GroupFeed {
 public:
  using Kernel = MaskedPairKernel<Src, Dst>;

  GroupFeed(const gauss_bandParams& band, const MaskedRows& rows, int64_t groupRows, const Kernel& kernel,
            const ReadablePlanes& planes, const void* zeroRow)
      : band_(band),
        rows_(rows),
        groupRows_(groupRows),
        kernel_(kernel),
        planes_(planes),
        zeroRow_(static_cast<const uint8_t*>(zeroRow)),
        yBox_(int64_t{band.params.ySigma} + 1) {}

  template <typename Finish>
  void run(Finish&& finish) {
    forEachOutputRow(
        band_.band.height, band_.params,
        [&](int64_t row) {
          if (count_ == mostSteps) flush(finish);
          enter(row);
        },
        [&](int64_t output) {
          steps_[static_cast<size_t>(count_ - 1)].isOutput = true;
          out_[static_cast<size_t>(outputs_++)] = rowOf<Dst>(band_.dst, output);
          if (outputs_ == groupRows_) flush(finish);
        });
    flush(finish);
  }

 private:
  static constexpr int64_t mostSteps = 64;

  void enter(int64_t row) {
    MaskedStep& step = steps_[static_cast<size_t>(count_++)];
    for (int64_t i = 0; i < 4; ++i) {
      const int64_t tap = row - i * yBox_;
      step.image[i] = tap < 0 ? zeroRow_ : planes_.image + tap * planes_.imagePitch;
      step.mask[i] = tap < 0 || planes_.mask == nullptr ? zeroRow_ : planes_.mask + tap * planes_.maskPitch;
    }
    step.isOutput = false;
  }

  template <typename Finish>
  void flush(Finish&& finish) {
    if (count_ != 0) kernel_.smooth(rows_, steps_.data(), count_, out_.data());
    for (int64_t i = 0; i < outputs_; ++i) finish(finished_++);
    count_ = 0;
    outputs_ = 0;
  }

  const gauss_bandParams& band_;
  const MaskedRows& rows_;
  int64_t groupRows_;
  const Kernel& kernel_;
  const ReadablePlanes& planes_;
  const uint8_t* zeroRow_;
  int64_t yBox_;
  std::array<MaskedStep, mostSteps> steps_;
  std::array<Dst*, mostSteps> out_;
  int64_t count_ = 0;
  int64_t outputs_ = 0;  // among the steps
  int64_t finished_ = 0;
};

}  // namespace kip
