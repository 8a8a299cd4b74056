// SPDX-License-Identifier: Apache-2.0
#include "library_call.hpp"

#include <gtest/gtest.h>

#include <algorithm>

#include "made_files.hpp"

namespace kip::test {
namespace {

using tool::Picture;

void construct(kimg_image& image, Picture& picture) {
  const kstd_rect32 rect = {0, 0, picture.width, picture.height};
  const ksys_status status =
      picture.depth == 8 ? kimg_image8_constructFromMemory(&image, &rect, picture.pixels8.data(), picture.width)
                         : kimg_image16_constructFromMemory(&image, &rect, picture.pixels16.data(), picture.width);
  EXPECT_EQ(status, 0);
}

Picture copy(const kimg_image& image) {
  if (image.bound == 0) return {};
  Picture picture = Picture::make(image.width, image.height, image.pixelBytes * 8);
  const size_t stride = static_cast<size_t>(image.stride) * static_cast<size_t>(image.pixelBytes);
  for (int32_t y = 0; y < picture.height; ++y) {
    const auto* row = static_cast<const uint8_t*>(image.pixels) + static_cast<size_t>(y) * stride;
    std::copy_n(row, picture.rowSize(), picture.row(y));
  }
  return picture;
}

}  // namespace

Picture madePicture(int32_t depth) {
  Picture picture = Picture::make(kMadeWidth, kMadeHeight, depth);
  for (int32_t y = 0; y < kMadeHeight; ++y) {
    for (int32_t x = 0; x < kMadeWidth; ++x) {
      const auto i = static_cast<size_t>(y * kMadeWidth + x);
      if (depth == 8) picture.pixels8[i] = static_cast<uint8_t>(madeValue(x, y, 8));
      if (depth == 16) picture.pixels16[i] = static_cast<uint16_t>(madeValue(x, y, 16));
    }
  }
  return picture;
}

Picture madeMask() {
  Picture mask = Picture::make(kMadeWidth, kMadeHeight, 8);
  for (size_t i = 0; i < mask.pixels8.size(); ++i) {
    const size_t x = i % static_cast<size_t>(kMadeWidth);
    mask.pixels8[i] = x < kMadeWidth / 2 ? 255 : x / 3 % 2;
  }
  return mask;
}

Called callOn(Picture source, std::optional<Picture> mask, const Call& call) {
  kimg_image src, srcMask, dst, dstMask;
  construct(src, source);
  if (mask) construct(srcMask, *mask);
  kimg_image_constructUnbound(&dst);
  kimg_image_constructUnbound(&dstMask);
  EXPECT_EQ(call(&src, mask ? &srcMask : nullptr, &dst, &dstMask), 0);
  const Called called{copy(dst), copy(dstMask)};
  kimg_image_destruct(&src);
  if (mask) kimg_image_destruct(&srcMask);
  kimg_image_destruct(&dst);
  kimg_image_destruct(&dstMask);
  return called;
}

void expectEqual(const Picture& a, const Picture& b) {
  EXPECT_EQ(a.width, b.width);
  EXPECT_EQ(a.height, b.height);
  EXPECT_EQ(a.depth, b.depth);
  EXPECT_TRUE(a.pixels8 == b.pixels8 && a.pixels16 == b.pixels16);
}

}  // namespace kip::test
