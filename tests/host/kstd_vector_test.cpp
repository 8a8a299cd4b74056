// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <vector>

#include "kip/host/kimg.h"

namespace {

TEST(Vector, HoldsItsElements) {
  kstd_vector16 narrow;
  uint16_t *begin16, *end16;
  ASSERT_EQ(kstd_vector16_constructFill(&narrow, 5, 0xABCD), 0);
  ASSERT_EQ(kstd_vector16_getBeginEnd(&narrow, &begin16, &end16), 0);
  EXPECT_EQ(std::vector(begin16, end16), std::vector<uint16_t>(5, 0xABCD));
  EXPECT_EQ(reinterpret_cast<uintptr_t>(begin16) % 64, 0u);
  kstd_vector16_destruct(&narrow);

  kstd_vector32 wide;
  uint32_t *begin32, *end32;
  ASSERT_EQ(kstd_vector32_construct(&wide, 3), 0);
  ASSERT_EQ(kstd_vector32_getBeginEnd(&wide, &begin32, &end32), 0);
  EXPECT_EQ(std::vector(begin32, end32), std::vector<uint32_t>(3));
  uint32_t* begin = nullptr;
  EXPECT_EQ(kstd_vector32_getBegin(&wide, &begin), 0);
  EXPECT_EQ(begin, begin32);
  kstd_vector32_destruct(&wide);

  ASSERT_EQ(kstd_vector32_constructFill(&wide, 0, 7), 0);
  kstd_vector32_getBeginEnd(&wide, &begin32, &end32);
  EXPECT_EQ(begin32, end32);
  kstd_vector32_destruct(&wide);
  EXPECT_EQ(kstd_vector32_construct(&wide, uint64_t{1} << 62), KSYS_STATUS_NO_MEMORY);
  EXPECT_EQ(kstd_vector16_construct(&narrow, UINT64_MAX), KSYS_STATUS_NO_MEMORY);
}

TEST(Memory, CopyRectLeavesTheGapsAlone) {
  const uint8_t src[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  uint8_t dst[10] = {};
  ksys_memory_copyRect(dst, 4, src, 3, 2, 3);
  EXPECT_EQ(std::vector(dst, dst + 10), (std::vector<uint8_t>{1, 2, 0, 0, 4, 5, 0, 0, 7, 8}));
}

TEST(Image, UntypedFormsTakeThePixelSize) {
  const kstd_rect32 rect{-2, 3, 7, 4};
  kimg_image image;
  for (const int32_t bytes : {1, 2}) {
    ASSERT_EQ(kimg_image_constructUntyped(&image, 7, 4, bytes), 0);
    EXPECT_TRUE(image.pixelBytes == bytes && image.x == 0 && image.width == 7);
    EXPECT_EQ(kimg_image_assignNewRect(&image, &rect, 3 - bytes), 0);
    EXPECT_TRUE(image.pixelBytes == 3 - bytes && image.x == -2 && image.height == 4);
    kimg_image_destruct(&image);
    ASSERT_EQ(kimg_image_constructRectUntyped(&image, &rect, bytes), 0);
    EXPECT_TRUE(image.pixelBytes == bytes && image.y == 3);
    kimg_image_destruct(&image);
  }
  for (const int32_t bytes : {0, 3, -1}) {
    EXPECT_EQ(kimg_image_constructUntyped(&image, 7, 4, bytes), KSYS_STATUS_BAD_ARGUMENT);
  }
}

}  // namespace
