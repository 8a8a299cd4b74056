// SPDX-License-Identifier: Apache-2.0
// Images, windows, legacy images and the conversions between them.
#include "kip/host/kimg.h"

#include <gtest/gtest.h>

#include <vector>

#include "host/records.hpp"

namespace {

using kiptest::mapped;
using kiptest::same;

constexpr ksFXform kIdentity{0, 0, 1, 0, 0, 1}, kOther{1, 2, 3, 4, 5, 6};

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
  for (const int32_t bytes : {0, 3, -1}) {
    EXPECT_EQ(kimg_image_constructUntyped(&image, 7, 4, bytes), KSYS_STATUS_BAD_ARGUMENT);
  }
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
  const kstd_rect32 rect{1, 2, 3, 4}, bad{0, 0, -1, 1};
  kimg_image a, b;
  ASSERT_EQ(kimg_image_constructUntyped(&a, 4, 4, 1), 0);
  a.x = -20;
  static_cast<uint8_t*>(a.pixels)[1] = 99;
  ASSERT_EQ(kimg_image_constructRectUntyped(&b, &rect, 2), 0);
  kimg_image_setLinearImageFromClientXform(&b, &shift);
  kimg_image_assign(&b, &a);
  kimg_image_assign(&b, &b);
  kimg_image_destruct(&a);
  kstd_rect32 window;
  kimg_image_getWindow(&b, &window);
  EXPECT_TRUE(same(window, {-20, 0, 4, 4}));
  EXPECT_EQ(kimg_image16_assignNewRect(&b, &bad), KSYS_STATUS_BAD_ARGUMENT);
  EXPECT_EQ(static_cast<const uint8_t*>(b.pixels)[1], 99);
  ASSERT_EQ(kimg_image_assignNewRect(&b, &rect, 2), 0);
  EXPECT_EQ(b.pixelBytes, 2);
  EXPECT_EQ(mapped(b.imageFromClient, 0, 0), (std::pair{5.0, 6.0}));
  ASSERT_EQ(kimg_image_constructUnbound(&a), 0);
  kimg_image_assign(&b, &a);
  kimg_image_getWindow(&b, &window);
  EXPECT_TRUE(same(window, {}));
  kimg_image_destruct(&b);
}

TEST(Image, TransformBothWays) {
  kimg_image image;
  kmath_xformPtrhConst handle, bent;
  int releases = 0;
  kimg_image_constructUnbound(&image);
  kmath_xformPtrhConst_construct(&handle);
  kmath_xformLinear linear{1, 2, 2, 0, 0, 4};
  kimg_image_setLinearImageFromClientXform(&image, &linear);
  ASSERT_EQ(kimg_imageConst_getClientFromImageXform(&image, &handle), 0);
  EXPECT_EQ(mapped(handle, 3, 10), (std::pair{1.0, 2.0}));
  // then the linear one: (x, y) -> (2 exp x + 1, 4 (y + x) + 2)
  kimg_imageConst_getImageFromClientXform(&image, &handle);
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

TEST(Window, FollowsARawPositionAndReachesAllPixels) {
  kimg_image image;
  kimg_window window;
  ASSERT_EQ(kimg_image16_construct(&image, 10, 8), 0);
  image.x = 100;
  image.y = -50;
  EXPECT_EQ(kimg_window8_init(&window, &image), KSYS_STATUS_BAD_ARGUMENT);
  ASSERT_EQ(kimg_window_init(&window, &image), 0);
  const kstd_rect32 rect{103, -48, 2, 2};
  int32_t flag = 9;
  ASSERT_EQ(kimg_window_windowRect(&window, &rect, &flag), 0);
  EXPECT_EQ(flag, 0);
  EXPECT_EQ(window.pixels, static_cast<uint16_t*>(image.pixels) + 2 * image.stride + 3);
  ASSERT_EQ(kimg_window_windowRect(&window, &window.image, nullptr), 0);  // beyond the window at hand
  EXPECT_EQ(window.pixels, image.pixels);
  const kimg_window before = window;
  for (const kstd_rect32 outside : {kstd_rect32{99, -50, 1, 1},
                                    {100, -51, 1, 1},
                                    {109, -50, 2, 1},
                                    {100, -43, 1, 2},
                                    {100, -50, -1, 1},
                                    {109, -50, INT32_MAX, 1},
                                    {99, -50, 0, 0}}) {
    EXPECT_EQ(kimg_window_windowRect(&window, &outside, nullptr), KSYS_STATUS_OUTSIDE_IMAGE);
    EXPECT_EQ(kimg_window_windowRect(&window, &outside, &flag), 0);
    EXPECT_EQ(flag, 1);
    EXPECT_TRUE(same(window, before));
  }
  image.x = INT32_MAX - 5;
  EXPECT_EQ(kimg_window_init(&window, &image), KSYS_STATUS_BAD_ARGUMENT);
  kimg_image_destruct(&image);
}

TEST(Window, WithoutPixels) {
  kimg_window window;
  kimg_image image;
  for (const bool bound : {false, true}) {
    ASSERT_EQ(bound ? kimg_image8_construct(&image, 0, 5) : kimg_image_constructUnbound(&image), 0);
    ASSERT_EQ(kimg_window8_init(&window, &image), 0);
    EXPECT_TRUE(same(window, {}));
    kimg_image_destruct(&image);
  }
  uint8_t pixels[12];
  const kstd_rect32 rect{5, 6, 4, 3}, empty{9, 6, 0, 3}, oneRow{0, 0, 3, 1};
  int32_t flag;
  EXPECT_EQ(kimg_window8_initFromMemory(&window, &rect, pixels, 3), KSYS_STATUS_BAD_ARGUMENT);
  EXPECT_EQ(kimg_window8_initFromMemory(&window, &oneRow, pixels, -1), 0);
  ASSERT_EQ(kimg_window8_initFromMemory(&window, &rect, pixels, 4), 0);
  ASSERT_EQ(kimg_window_windowRect(&window, &empty, &flag), 0);
  EXPECT_EQ(flag, 0);
  EXPECT_TRUE(same(window, {}));
  EXPECT_EQ(kimg_window_windowRect(&window, &empty, nullptr), KSYS_STATUS_NOT_BOUND);
  EXPECT_EQ(kimg_window_windowRect(&window, &empty, &flag), 0);
  EXPECT_EQ(flag, 1);
}

TEST(Legacy, CreateMoveAndFree) {
  const ksIRegion region{-3, 5, 35, 4}, null{8, 8, -1, 3}, tooFar{INT32_MAX - 1, 0, 2, 1}, small{1, 1, 2, 2};
  ksVImage* image = ksVImageCreateReg(&ksUSImageNull, &region);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(ksVImageType(image), 8);
  EXPECT_TRUE(same(*ksVImageClientCoords(image), kIdentity));
  uint16_t* const last = ksUSImagePixAddr(ksUSImageVirt(image), 31, 8);
  EXPECT_EQ(*last, 0);
  EXPECT_EQ(last - ksUSImagePixAddr(image, -3, 5), 3 * image->stride / 2 + 34);
  EXPECT_EQ(ksUSImagePixAddr(ksImageMoveTo(image, 100, 200), 134, 203), last);
  ksImageFree(image);
  image = ksVImageCreateReg(&ksImageNull, &null);
  ASSERT_NE(image, nullptr);
  EXPECT_TRUE(same(*ksVImageRegion(image), ksIRegionNull));
  ksImageFree(image);
  ksImageFree(nullptr);
  EXPECT_EQ(ksVImageCreateReg(&ksImageNull, &tooFar), nullptr);
  EXPECT_EQ(ksImageCreate(-1, 4), nullptr);
  uint16_t pixels[8] = {};
  EXPECT_EQ(ksUSImageCreateFromMemory(&small, pixels, 3), nullptr);
  EXPECT_EQ(ksUSImageCreateFromMemory(&small, pixels, 5), nullptr);
}

TEST(Legacy, CopyTakesCommonPixelsCoordinatesAndZScale) {
  std::vector<uint8_t> source(12), target(12, 7);
  for (size_t i = 0; i < source.size(); ++i) source[i] = static_cast<uint8_t>(100 + i);
  const ksIRegion from{0, 0, 4, 3}, to{2, 1, 4, 3};
  ksImage* const src = ksImageCreateFromMemory(&from, source.data(), 4);
  ksImage* const dst = ksImageCreateFromMemory(&to, target.data(), 4);
  ASSERT_TRUE(src != nullptr && dst != nullptr);
  ksVImageSetClientCoords(src, &kOther);
  ksVImageSetClientZScale(src, 2.5f);
  ksImageCopy(src, dst);
  EXPECT_EQ(target, (std::vector<uint8_t>{106, 107, 7, 7, 110, 111, 7, 7, 7, 7, 7, 7}));
  EXPECT_TRUE(same(*ksImageClientCoords(dst), kOther));
  EXPECT_EQ(ksImageClientZScale(dst), 2.5f);
  ksImageFree(src);
  ksImageFree(dst);
}

// The pixels and the transform record are shared; of transforms that are not linear nothing is left.
TEST(Legacy, FromImagesAndWindows) {
  kimg_image image;
  ksVImage legacy;
  ksFXform xform;
  ASSERT_EQ(kimg_image16_construct(&image, 5, 4), 0);
  image.x = -2;
  const kmath_xformLinear linear{0.1, -0.0, 2, 0, 0, 3};
  kimg_image_setLinearImageFromClientXform(&image, &linear);
  EXPECT_EQ(generate_ksImage_from_kimg_image8Const(&image, &legacy, &xform), KSYS_STATUS_BAD_ARGUMENT);
  ASSERT_EQ(generate_ksUSImage_from_kimg_image16Const(&image, &legacy, &xform), 0);
  EXPECT_TRUE(same(xform, {0.1f, 0.0f, 2, 0, 0, 3}));
  EXPECT_TRUE(same(*ksVImageRegion(&legacy), {-2, 0, 5, 4}));
  EXPECT_EQ(ksUSImagePixAddr(&legacy, 1, 2), static_cast<uint16_t*>(image.pixels) + 2 * image.stride + 3);
  ksVImageSetClientCoords(&legacy, &kOther);
  EXPECT_TRUE(same(xform, kOther));
  EXPECT_EQ(mapped(image.imageFromClient, 1, 1), (std::pair{2.1, 3.0}));
  ksImageFree(&legacy);  // leaves the image alone
  kmath_xformPtrhConst bent;
  int releases = 0;
  ASSERT_EQ(kiptest::constructBent(&bent, &releases), 0);
  kimg_image_setImageFromClientXform(&image, &bent);
  kmath_xformPtrhConst_destruct(&bent);
  ASSERT_EQ(generate_ksUSImage_from_kimg_image16Const(&image, &legacy, &xform), 0);
  EXPECT_TRUE(same(xform, kIdentity));
  kimg_image_destruct(&image);
  ASSERT_EQ(generate_ksUSImage_from_kimg_image16Const(&image, &legacy, &xform), 0);  // unbound
  EXPECT_TRUE(ksIRegionIsNull(ksVImageRegion(&legacy)));

  const uint8_t pixels[30] = {};
  kimg_windowConst window;
  const kstd_rect32 all{10, 20, 6, 5}, part{12, 21, 3, 2};
  ASSERT_EQ(kimg_window8Const_initFromMemory(&window, &all, pixels, 6), 0);
  ASSERT_EQ(kimg_windowConst_windowRect(&window, &part, nullptr), 0);
  ASSERT_EQ(generate_ksImage_from_kimg_windowConst(&window, &legacy), 0);
  EXPECT_TRUE(same(*ksImageRegion(&legacy), {12, 21, 3, 2}));
  EXPECT_EQ(ksImagePixAddr(&legacy, 13, 22), pixels + 15);
  ksImageSetClientCoords(&legacy, &kOther);
  EXPECT_TRUE(same(*ksImageClientCoords(&legacy), kIdentity));
}

}  // namespace
