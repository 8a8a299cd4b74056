// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "gauss/portable.hpp"

namespace kip {

// The engine of level 1: exact integer sums, divided by a 15-bit multiplier and truncated. A pixel is the
// portable engine's truncated one or, where the quotient lies just at an integer, one off (more with a scale above 1,
// by -4 to +1 at 256). Larger differences: unsampled 16-bit results saturate at 32767, unsampled 8-bit ones at 255.
// Answers with the fallback status, before it has created or written anything but a null *out, what it does not serve:
// rounding, scales that are no power of two, sources under nine samples wide or high, and sums or factors beyond its
// arithmetic. *out receives the destination only on success, and a destination that it created is freed otherwise.
Engine gauss_vec1Smooth;

}  // namespace kip
