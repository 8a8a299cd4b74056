// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "host/records.hpp"
#include "kip/host/kimg.h"

namespace {

using kiptest::same;

TEST(Window, FollowsARawPositionAndReachesAllPixels) {
  kimg_image image;
  kimg_window window;
  ASSERT_EQ(kimg_image16_construct(&image, 10, 8), 0);
  image.x = 100;
  image.y = -50;
  EXPECT_EQ(kimg_window8_init(&window, &image), KSYS_STATUS_BAD_ARGUMENT);
  ASSERT_EQ(kimg_window_init(&window, &image), 0);
  kstd_rect32 rect{103, -48, 2, 2};
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
  kimg_window_getIsNull(&window, &flag);
  EXPECT_EQ(flag, 0);
  ASSERT_EQ(kimg_window_windowRect(&window, &empty, &flag), 0);
  EXPECT_EQ(flag, 0);
  EXPECT_TRUE(same(window, {}));
  EXPECT_EQ(kimg_window_windowRect(&window, &empty, nullptr), KSYS_STATUS_NOT_BOUND);
  EXPECT_EQ(kimg_window_windowRect(&window, &empty, &flag), 0);
  EXPECT_EQ(flag, 1);
}

}  // namespace
