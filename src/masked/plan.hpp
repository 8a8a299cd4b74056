// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "masked/band.hpp"
#include "masked/row_kernel.hpp"

namespace kip {

// The kernel's view of a band, without its working memory. `all`: every pixel counts.
template <typename Src, typename Dst>
[[nodiscard]] MaskedRows planRows(const gauss_bandParams& band, bool all, const MaskedRowsKernel& kernel);

}  // namespace kip
