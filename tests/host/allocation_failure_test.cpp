// SPDX-License-Identifier: Apache-2.0
// Every operation that allocates, with each of its allocations failing in turn. Leaks are the address sanitizer's to
// find.
#include <gtest/gtest.h>

#include <functional>

#include "host/records.hpp"
#include "kip/host/kimg.h"
#include "support/host_seams.hpp"

namespace {

using kiptest::same;

constexpr ksys_status kFailure = KSYS_STATUS(0x80004321);

// Runs the operation until it meets no failing allocation any more.
void failEach(const std::function<ksys_status()>& operation, const std::function<bool()>& isUnchanged) {
  for (int64_t number = 1;; ++number) {
    const kiptest::AllocationProbe probe(number, kFailure);
    const ksys_status status = operation();
    if (probe.count() < number) {
      EXPECT_EQ(status, 0);
      EXPECT_GT(number, 1) << "nothing was allocated";
      return;
    }
    EXPECT_EQ(status, kFailure);
    EXPECT_TRUE(isUnchanged());
  }
}

TEST(AllocationFailure, ConstructionLeavesNothingBehind) {
  const kstd_rect32 rect{1, 2, 3, 4};
  const ksIRegion region{1, 2, 3, 4};
  uint16_t pixels[12];
  kimg_image image;
  int releases = 0;
  const auto statusOf = [](ksVImage* created) {
    ksImageFree(created);
    return created != nullptr ? 0 : kFailure;
  };
  const std::function<ksys_status()> operations[] = {
      [&] {
        const ksys_status status = kimg_image16_constructRect(&image, &rect);
        kimg_image_destruct(&image);  // harmless after a failure, too
        return status;
      },
      [&] {
        kmath_xformPtrhConst handle;
        const ksys_status status = kiptest::constructBent(&handle, &releases);
        EXPECT_EQ(releases, 0);
        kmath_xformPtrhConst_destruct(&handle);
        return status;
      },
      [&] { return statusOf(ksVImageCreateReg(&ksImageNull, &region)); },
      [&] { return statusOf(ksUSImageCreate(3, 4)); },
      [&] { return statusOf(ksUSImageCreateFromMemory(&region, pixels, 6)); },
  };
  for (const auto& operation : operations) failEach(operation, [] { return true; });
  EXPECT_EQ(releases, 1);
}

TEST(AllocationFailure, AssignmentLeavesItsTargetAsItWas) {
  const kstd_rect32 rect{1, 2, 30, 40};
  const kmath_xformLinear linear{0, 0, 2, 0, 0, 2};
  int releases = 0;
  kimg_image image;
  kmath_xformPtrhConst bent, out;
  ASSERT_EQ(kimg_image8_construct(&image, 3, 4), 0);
  ASSERT_EQ(kiptest::constructBent(&bent, &releases), 0);
  ASSERT_EQ(kmath_xformPtrhConst_construct(&out), 0);
  const std::function<ksys_status()> operations[] = {
      [&] { return kimg_image_setLinearImageFromClientXform(&image, &linear); },
      [&] { return kimg_imageConst_getClientFromImageXform(&image, &out); },
      [&] { return kmath_xformPtrhConst_assignCompose(&out, &out, &image.imageFromClient); },
      [&] { return kmath_xformPtrhConst_assignCompose(&out, &out, &bent); },
      [&] { return kimg_image_setClientFromImageXform(&image, &out); },
      [&] { return kimg_image16_assignNewRect(&image, &rect); },
  };
  for (const auto& operation : operations) {
    const kimg_image imageBefore = image;
    const kmath_xformPtrhConst outBefore = out;
    failEach(operation, [&] { return same(image, imageBefore) && same(out, outBefore); });
  }
  for (auto* handle : {&out, &bent, &image.imageFromClient}) kmath_xformPtrhConst_destruct(handle);
  EXPECT_EQ(releases, 1);
  kimg_image_destruct(&image);
}

}  // namespace
