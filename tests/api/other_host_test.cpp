// SPDX-License-Identifier: Apache-2.0
// The library over a host that differs from the reference one: an overlap check that answers what the test says, and
// an executor that counts.
#include <gtest/gtest.h>

#include "kip/host/kpel.h"
#include "support/host_images.hpp"
#include "support/host_seams.hpp"

namespace {

ksys_status overlapAnswer = 0;
int32_t overlapChecks = 0;
int32_t executed = 0;

}  // namespace

ksys_status kip_pelfunc_checkMemoryOverlap(const kimg_windowConst*, const kimg_windowConst*) {
  ++overlapChecks;
  return overlapAnswer;
}

void ksys_cleanupExecute_(ksys_cleanupEntry* entries, int32_t* count, ksys_status* status, uint32_t) {
  ++executed;
  for (; *count > 0; --*count) entries[*count - 1].destructor(entries[*count - 1].object);
  if (*status == 0) *status = 17;  // a status that the executor changes is what the call returns
}

namespace {

using namespace kiptest;

class OtherHost : public testing::Test {
 protected:
  OtherHost() : canvas({0, 0, 9, 9}, 50), canvas16({0, 0, 9, 9}, 50), source(canvas), destination16(canvas16) {
    overlapAnswer = overlapChecks = executed = 0;
    EXPECT_EQ(kip_gaussParams_init(&params), 0);
  }
  const ProcessorOverride portable{0, 0};
  const Canvas<uint8_t> canvas;
  const Canvas<uint16_t> canvas16;
  Image source, destination16;
  kip_gaussParams params;
};

TEST_F(OtherHost, TheSameFirstPixelIsRefusedWhereTheHostLetsItPass) {
  EXPECT_EQ(kip_gauss_smooth8_8(source.get(), source.get(), &params), KIP_STATUS_SAME_PIXELS);
  const kimg_windowConst from = sourceWindowOn(canvas);
  const kimg_window to = windowOn(canvas);
  EXPECT_EQ(kip_gauss_smoothWindow8_8(&from, &to, &params), KIP_STATUS_SAME_PIXELS);
  EXPECT_TRUE(canvas.intactOutside({}));
  EXPECT_EQ(overlapChecks, 2);
}

TEST_F(OtherHost, WindowsWithoutPixelsDoNotBeginAtTheSamePixel) {
  const Canvas<uint8_t> none({0, 0, 0, 0}, 0);
  Image withoutPixels(none), unbound;
  EXPECT_EQ(kip_gauss_smooth8_8(withoutPixels.get(), unbound.get(), &params), 17);
}

TEST_F(OtherHost, TheHostsRefusalIsPassedOnAndConcerns8BitDestinationsOnly) {
  overlapAnswer = KSYS_STATUS(0x80001234);
  Image unbound, unbound16;
  EXPECT_EQ(kip_gauss_smooth8_8(source.get(), unbound.get(), &params), overlapAnswer);
  EXPECT_EQ(unbound.get()->bound, 0);
  EXPECT_EQ(kip_gauss_smooth8_16(source.get(), unbound16.get(), &params), 17);
  EXPECT_EQ(overlapChecks, 1);
}

TEST_F(OtherHost, TheExecutorRunsOnEveryExit) {
  params.xSample = 0;
  EXPECT_EQ(kip_gauss_smooth8_16(source.get(), destination16.get(), &params), KIP_STATUS_BAD_SAMPLE);
  EXPECT_EQ(executed, 1);
  params.xSample = 1;
  EXPECT_EQ(kip_gauss_smooth8_16(source.get(), destination16.get(), &params), 17);
  EXPECT_EQ(executed, 3);  // the engine's and the image function's
}

}  // namespace
