// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <vector>

#include "host/records.hpp"
#include "kip/host/kimg.h"

namespace {

using kiptest::mapped;
using kiptest::same;

// Large blocks that were released come back: those of results are 0 all the same.
TEST(Image, FreshPixelsAreAlignedAndThoseOfResultsZero) {
  kimg_image image;
  const kstd_rect32 rect{-7, 9, 33, 5};
  kstd_rect32 window;
  ASSERT_EQ(kimg_image16_constructRect(&image, &rect), 0);
  kimg_image_getWindow(&image, &window);
  EXPECT_TRUE(same(window, rect));
  for (const kstd_rect32 fresh : {rect, kstd_rect32{5, 5, 1000, 400}, kstd_rect32{5, 5, 1000, 400}}) {
    ASSERT_EQ(kimg_image16_assignNewRect(&image, &fresh), 0);
    const std::vector<uint16_t> zeros(static_cast<size_t>(fresh.width));
    for (int32_t y = 0; y < fresh.height; ++y) {
      uint16_t* const row = static_cast<uint16_t*>(image.pixels) + y * image.stride;
      ASSERT_EQ(reinterpret_cast<uintptr_t>(row) % 64, 0u);
      ASSERT_EQ(std::vector<uint16_t>(row, row + fresh.width), zeros);
      std::fill(row, row + fresh.width, uint16_t{0xFFFF});
    }
  }
  kimg_image_destruct(&image);
  kimg_image_destruct(&image);
}

TEST(Image, SizesAndPositionsOutOfRange) {
  uint8_t pixels[12] = {};
  kimg_image image;
  for (const kstd_rect32 rect : {kstd_rect32{INT32_MAX, 3, 0, 4}, {3, INT32_MIN, 4, 0}}) {
    ASSERT_EQ(kimg_image8_constructRect(&image, &rect), 0);
    EXPECT_TRUE(image.bound != 0 && image.pixels == nullptr);
    kimg_image_destruct(&image);
  }
  for (const kstd_rect32 rect : {kstd_rect32{0, 0, -1, 2}, {0, 0, 2, -1}, {INT32_MAX - 1, 0, 2, 2}}) {
    EXPECT_EQ(kimg_image8_constructRect(&image, &rect), KSYS_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(kimg_image8_constructFromMemory(&image, &rect, pixels, 2), KSYS_STATUS_BAD_ARGUMENT);
  }
  EXPECT_EQ(kimg_image16_construct(&image, INT32_MAX, 1), KSYS_STATUS_BAD_ARGUMENT);  // the row's bytes
  const kstd_rect32 rect{0, 0, 4, 3};
  EXPECT_EQ(kimg_image8_constructFromMemory(&image, &rect, pixels, 3), KSYS_STATUS_BAD_ARGUMENT);
  EXPECT_EQ(kimg_image8_constructFromMemory(&image, &rect, nullptr, 4), KSYS_STATUS_BAD_ARGUMENT);

  uint64_t asked = 0;
  const auto refuse = [](void* context, uint64_t bytes) {
    *static_cast<uint64_t*>(context) = bytes;
    return KSYS_STATUS_NO_MEMORY;
  };
  ksys_memory_setHandler(refuse, &asked);
  EXPECT_EQ(kimg_image8_construct(&image, 1 << 30, 1 << 30), KSYS_STATUS_NO_MEMORY);
  ksys_memory_setHandler(nullptr, nullptr);
  EXPECT_GT(asked, uint64_t{1} << 60);
}

TEST(Image, AssignedPixelsOutliveTheirSourceAndTheTransformStays) {
  const kmath_xformLinear shift{5, 6, 1, 0, 0, 1};
  kimg_image a, b;
  ASSERT_EQ(kimg_image8_construct(&a, 4, 4), 0);
  a.x = -20;
  static_cast<uint8_t*>(a.pixels)[1] = 99;
  ASSERT_EQ(kimg_image16_construct(&b, 1, 1), 0);
  kimg_image_setLinearImageFromClientXform(&b, &shift);
  kimg_image_assign(&b, &a);
  kimg_image_assign(&b, &b);
  kimg_image_destruct(&a);
  kstd_rect32 window;
  kimg_image_getWindow(&b, &window);
  EXPECT_TRUE(same(window, {-20, 0, 4, 4}));
  const kstd_rect32 rect{1, 2, 3, 4}, bad{0, 0, -1, 1};
  EXPECT_EQ(kimg_image16_assignNewRect(&b, &bad), KSYS_STATUS_BAD_ARGUMENT);
  EXPECT_EQ(static_cast<const uint8_t*>(b.pixels)[1], 99);
  ASSERT_EQ(kimg_image16_assignNewRect(&b, &rect), 0);
  EXPECT_EQ(mapped(b.imageFromClient, 0, 0), (std::pair{5.0, 6.0}));

  ASSERT_EQ(kimg_image_constructUnbound(&a), 0);
  kimg_image_assign(&b, &a);
  kimg_image_getWindow(&b, &window);
  EXPECT_TRUE(same(window, {}));
  kimg_image_destruct(&b);
}

TEST(Image, TransformBothWays) {
  kimg_image image;
  kmath_xformPtrhConst handle;
  kimg_image_constructUnbound(&image);
  kmath_xformPtrhConst_construct(&handle);
  kmath_xformLinear linear{1, 2, 2, 0, 0, 4};
  kimg_image_setLinearImageFromClientXform(&image, &linear);
  ASSERT_EQ(kimg_imageConst_getClientFromImageXform(&image, &handle), 0);
  EXPECT_EQ(mapped(handle, 3, 10), (std::pair{1.0, 2.0}));
  ASSERT_EQ(kimg_image_setClientFromImageXform(&image, &handle), 0);
  kimg_imageConst_getImageFromClientXform(&image, &handle);
  EXPECT_EQ(mapped(handle, 3, 10), (std::pair{7.0, 42.0}));

  int releases = 0;
  kmath_xformPtrhConst bent;  // then the linear one: (x, y) -> (2 exp x + 1, 4 (y + x) + 2)
  ASSERT_EQ(kiptest::constructBent(&bent, &releases), 0);
  kmath_xformPtrhConst_assignCompose(&handle, &handle, &bent);
  kmath_xformPtrhConst_destruct(&bent);
  ASSERT_EQ(kimg_image_setClientFromImageXform(&image, &handle), 0);
  kimg_imageConst_getImageFromClientXform(&image, &handle);
  EXPECT_EQ(mapped(handle, 3, 10), (std::pair{0.0, 2.0}));
  kimg_imageConst_getClientFromImageXform(&image, &handle);
  EXPECT_EQ(mapped(handle, 0, 2), (std::pair{3.0, 10.0}));
  linear.m11 = 0;
  kimg_image_setLinearImageFromClientXform(&image, &linear);
  EXPECT_EQ(kimg_imageConst_getClientFromImageXform(&image, &handle), KSYS_STATUS_NOT_INVERTIBLE);
  kimg_image_destruct(&image);
  EXPECT_EQ(releases, 0);
  kmath_xformPtrhConst_destruct(&handle);
  EXPECT_EQ(releases, 1);
}

}  // namespace
