// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>

#include "kip/host/kimg.h"
#include "picture.hpp"

namespace kip::test {

// The picture that makePng and makeTiff write.
tool::Picture madePicture(int32_t depth);
// A mask of that size: left half 255, then stripes of 0 and 1.
tool::Picture madeMask();

struct Called {
  tool::Picture picture, mask;
};
// Makes a call of the library on images over the pictures; null where there is no mask.
using Call =
    std::function<ksys_status(const kimg_image* src, const kimg_image* mask, kimg_image* dst, kimg_image* dstMask)>;
Called callOn(tool::Picture source, std::optional<tool::Picture> mask, const Call& call);

void expectEqual(const tool::Picture& a, const tool::Picture& b);

}  // namespace kip::test
