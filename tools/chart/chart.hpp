// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "picture.hpp"

namespace kip::tool {

// The test chart, 640 x 480 pixels of 8 bits: zone plate, star, gratings, checkerboards, discs, slanted edge, text,
// noise, isolated pixels and a gradient. Computed in integers, so that every machine makes the same pixels.
Picture makeChart();

}  // namespace kip::tool
