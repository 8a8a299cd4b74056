// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>

#include "frame/windows.hpp"
#include "masked/band.hpp"
#include "masked/row_kernel.hpp"
#include "masked/scale.hpp"
#include "masked/sigma1.hpp"

namespace kip {

// Lets the planes' rows through the kernel for sigma 1, group by group, and calls finish(row) for every output row.
template <typename Src, typename Dst>
class Sigma1Feed {
 public:
  [[nodiscard]] static bool serves(const gauss_bandParams& band, const MaskedRows& rows) {
    const kip_gaussParams& p = band.params;
    const LineRequest& line = rows.line;
    const bool isGainServed = sizeof(Src) < sizeof(Dst) && rows.scale.gainBits <= maskedSigma1GainBits;
    return p.xSigma == 1 && p.ySigma == 1 && p.xSample == 1 && p.ySample == 1 &&
           (p.scale == 1.0 || (kindOf(p.scale) == ScaleKind::gain && isGainServed)) &&
           std::min(line.width, line.outputs) >= maskedSigma1Columns && line.leftMirror == line.leftPad &&
           line.rightMirror == line.rightPad;
  }

  // `all`: every pixel counts.
  Sigma1Feed(const gauss_bandParams& band, const MaskedRows& rows, bool all, const MaskedSigma1Kernel& kernel)
      : band_(band),
        kernel_(kernel),
        all_(all),
        group_{.image = {},
               .mask = {},
               .out = {},
               .count = 0,
               .width = rows.line.width,
               .leftPad = rows.line.leftPad,
               .outputs = rows.line.outputs,
               .gainBits = rows.scale.gainBits,
               .isRounded = rows.scale.isRounded} {}

  template <typename Finish>
  void run(Finish&& finish) {
    for (int64_t first = 0; first < band_.band.height; first += group_.count) {
      group_.count = std::min(maskedSigma1Rows, band_.band.height - first);
      for (int64_t i = 0; i < group_.count + maskedSigma1Taps - 1; ++i) {
        group_.image[i] = rowOf<Src>(band_.imagePlane, first + i);
        group_.mask[i] = all_ ? nullptr : rowOf<uint8_t>(band_.maskPlane, first + i);
      }
      for (int64_t i = 0; i < group_.count; ++i) group_.out[i] = rowOf<Dst>(band_.dst, first + i);
      kernel_.smooth(group_);
      for (int64_t i = 0; i < group_.count; ++i) finish(first + i);
    }
  }

 private:
  const gauss_bandParams& band_;
  const MaskedSigma1Kernel& kernel_;
  bool all_;
  MaskedSigma1Group<Src, Dst> group_;
};

}  // namespace kip
