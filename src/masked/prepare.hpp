// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "frame/status.hpp"
#include "kip/host/kimg.h"
#include "kip/params.h"

namespace kip {

// The windows of a masked request; an absent mask refers to no pixels.
struct MaskedWindows {
  kimg_windowConst src, srcMask, sampleMask;
  kimg_window dst, dstMask;
};

// What a request comes down to.
struct PreparedRequest {
  bool empty;             // nothing can be computed; the rest is not set
  MaskedWindows windows;  // those of the source over `source`, those of the destination over `destination`
  kstd_rect32 source, destination, mirror, padding, needed;
};

// Clips the windows to the pixels that the request reads and writes. `src` and `dst` must refer to pixels, which the
// caller says are those of Src and Dst.
template <typename Src, typename Dst>
[[nodiscard]] ksys_status gauss_prepareMaskedWindows(const MaskedWindows& windows, const kip_gaussParams& params,
                                                     PreparedRequest& prepared);

}  // namespace kip
