// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <vector>

#include "host/records.hpp"
#include "kip/host/kimg.h"

namespace {

using kiptest::same;

constexpr ksFXform kIdentity{0, 0, 1, 0, 0, 1}, kOther{1, 2, 3, 4, 5, 6};

TEST(Legacy, CreateMoveAndFree) {
  const ksIRegion region{-3, 5, 35, 4}, null{8, 8, -1, 3}, tooFar{INT32_MAX - 1, 0, 2, 1}, small{1, 1, 2, 2};
  ksVImage* image = ksVImageCreateReg(&ksUSImageNull, &region);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(ksVImageType(image), 8);
  EXPECT_TRUE(same(*ksVImageClientCoords(image), kIdentity));
  uint16_t* const last = ksUSImagePixAddr(ksUSImageVirt(image), 31, 8);
  EXPECT_TRUE(*last == 0 && *ksUSImagePixAddr(image, -3, 5) == 0);
  *last = 0xFFFF;
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

TEST(Convert, ImageSharesPixelsAndTheTransformRecordOnly) {
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
  xform = kOther;
  EXPECT_TRUE(same(*ksVImageClientCoords(&legacy), kOther));
  ksVImageSetClientCoords(&legacy, &kIdentity);
  EXPECT_TRUE(same(xform, kIdentity));
  EXPECT_EQ(kiptest::mapped(image.imageFromClient, 1, 1), (std::pair{2.1, 3.0}));
  ksImageFree(&legacy);  // leaves the image alone

  kmath_xformPtrhConst bent;
  int releases = 0;
  ASSERT_EQ(kiptest::constructBent(&bent, &releases), 0);
  kimg_image_setImageFromClientXform(&image, &bent);
  kmath_xformPtrhConst_destruct(&bent);
  xform = kOther;
  ASSERT_EQ(generate_ksUSImage_from_kimg_image16Const(&image, &legacy, &xform), 0);
  EXPECT_TRUE(same(xform, kIdentity));
  kimg_image_destruct(&image);
  ASSERT_EQ(generate_ksUSImage_from_kimg_image16Const(&image, &legacy, &xform), 0);  // unbound
  EXPECT_TRUE(ksIRegionIsNull(ksVImageRegion(&legacy)));
}

TEST(Convert, WindowKeepsCoordinatesAndDropsTransforms) {
  const uint8_t pixels[30] = {};
  kimg_windowConst window;
  ksVImage legacy;
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
