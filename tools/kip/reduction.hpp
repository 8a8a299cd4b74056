// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bands.hpp"

namespace kip::tool {

// No picture can be halved more often.
constexpr int32_t kMaxLevels = 20;

// Throws Error when the picture is gone before it has been halved so often.
void refuseMissingLevels(const std::string& name, const PictureSize& picture, axes along, int32_t levels);

// One level: half the size, rounded down. Throws Error with the name in front.
MaskedPicture reduce(const std::string& name, const MaskedPicture& source, axes along);

// Several levels in bands.
BandRule makeReductionRule(const Sources& sources, axes along, int32_t levels);

}  // namespace kip::tool
