// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "gauss/portable.hpp"

namespace kip {

// Level 2, for processors with AVX2. Serves every request, those that its own paths are not made for through the
// portable engine.
Engine gauss_vec2Smooth;

}  // namespace kip
