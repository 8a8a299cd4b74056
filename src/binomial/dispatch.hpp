// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "binomial/kernels.hpp"

namespace kip {

enum class Pass { both, horizontal, vertical };

// Each runs the optimized hook, unless the host inhibits its name, and the generic kernel when the hook does not serve
// the request.
template <typename Pixel, bool Masked>
[[nodiscard]] ksys_status runPass(Pass pass, const KernelCall<Pixel>& call);
template <typename Pixel, bool Masked>
[[nodiscard]] ksys_status runReduction(bool xFlag, bool yFlag, const KernelCall<Pixel>& call);

}  // namespace kip
