// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "kip/host/kimg.h"
#include "kip/params.h"

namespace kip {

// A masked request with its planes, or the band of one that a job serves: what an engine works on. Windows refer to
// the band's rows; one that is absent refers to no pixels. The planes cover the columns of `src` and every row that the
// taps of the band touch; rows past the source are mirrored or 0. Engines read both through the mask: of a mask byte
// its bit 0, of an 8-bit pixel the bits that it shares with its mask byte, a 16-bit pixel where bit 0 is set.
struct gauss_bandParams {
  kimg_windowConst src;  // as given; its corner is the first sample
  kimg_windowConst imagePlane;
  kimg_windowConst srcMask;  // as given
  kimg_windowConst maskPlane;
  kimg_windowConst sampleMask;  // as given
  kip_gaussParams params;
  kimg_window dst;
  kimg_window dstMask;
  kstd_rect32 mirror, padding;  // of the whole request: in y they do not tell anything about a band
  kstd_rect32 band;             // the destination rectangle

  // What restricts the outputs: the sample mask, in its absence the source mask unless that is waived.
  [[nodiscard]] const kimg_windowConst& effectiveSampleMask() const {
    return sampleMask.bound == 0 && params.filterMask.allowMaskedSample == 0 ? srcMask : sampleMask;
  }
};

}  // namespace kip
