// SPDX-License-Identifier: Apache-2.0
// The image and window functions against the oracle, over random requests and one large picture.
#include <gtest/gtest.h>

#include "oracle/gauss_case.hpp"
#include "support/host_images.hpp"
#include "support/host_seams.hpp"

namespace {

using namespace kiptest;

kip_gaussParams paramsOf(const ksGaussParams& legacy) {
  kip_gaussParams params;
  EXPECT_EQ(kip_gaussParams_init(&params), 0);
  params.xSample = legacy.xSample;
  params.ySample = legacy.ySample;
  params.xSigma = legacy.xSigma;
  params.ySigma = legacy.ySigma;
  params.scale = double{legacy.scale};
  params.roundResult = legacy.roundResult;
  return params;
}

template <typename Pixel>
class AgainstOracle : public testing::Test {
 protected:
  const ProcessorOverride portable_{0, 0};
};
using Pixels = testing::Types<uint8_t, uint16_t>;
TYPED_TEST_SUITE(AgainstOracle, Pixels);

TYPED_TEST(AgainstOracle, RandomRequests) {
  using Pixel = TypeParam;
  constexpr uint64_t seed = 2;
  for (int32_t index = 0; index < 2000; ++index) {
    const GaussCase test = drawGaussCase(seed, index, true);
    SCOPED_TRACE(std::to_string(index) + ' ' + test.describe());
    const kip_gaussParams params = paramsOf(test.params);
    const std::vector<Pixel> expected = oracle::smooth<Pixel>(test.source, test.params, test.computed);
    for (const bool windows : {false, true}) {
      Canvas<uint8_t> source(test.source.region, windows ? 0x5A : 0xC3,
                             windows ? Placement::atEnd : Placement::atStart);
      const Canvas<Pixel> destination(test.destination, static_cast<Pixel>(windows ? 0xFFFF : 0));
      source.paint(test.source.pixels);
      if (windows) {
        const kimg_windowConst from = sourceWindowOn(source);
        const kimg_window to = windowOn(destination);
        ASSERT_EQ(Typed<Pixel>::smoothWindow(&from, &to, &params), 0);
      } else {
        Image from(source), to(destination);
        ASSERT_EQ(Typed<Pixel>::smoothImage(from.get(), to.get(), &params), 0);
      }
      ASSERT_EQ(difference(destination.crop(test.computed), expected, test.computed.width), "");
      ASSERT_TRUE(destination.intactOutside(test.computed));
      ASSERT_TRUE(source.intactOutside(test.source.region));
    }
    // an unbound destination receives all that the source supplies
    Canvas<uint8_t> source(test.source.region, 0);
    source.paint(test.source.pixels);
    Image from(source), to;
    ASSERT_EQ(Typed<Pixel>::smoothImage(from.get(), to.get(), &params), 0);
    const ksIRegion all = oracle::destinationOf(test.source.region, test.params);
    ASSERT_EQ(to.region(), all);
    ASSERT_EQ(difference(to.pixels<Pixel>(), oracle::smooth<Pixel>(test.source, test.params, all), all.width), "");
  }
}

TYPED_TEST(AgainstOracle, ALargePicture) {
  using Pixel = TypeParam;
  Random random(3);
  oracle::Picture picture = {{0, 0, 4096, 3072}, {}};
  picture.pixels = drawPattern(Pattern::noise, picture.region, random);
  Canvas<uint8_t> source(picture.region, 0);
  source.paint(picture.pixels);
  ksGaussParams legacy = *ksGaussParamsNull();
  legacy.xSigma = legacy.ySigma = 5;
  legacy.extendBorder = 1;
  const kip_gaussParams params = paramsOf(legacy);
  Image from(source), to;
  ASSERT_EQ(Typed<Pixel>::smoothImage(from.get(), to.get(), &params), 0);
  ASSERT_EQ(to.region(), (ksIRegion{1, 1, 4096, 3072}));  // an odd sigma moves pixel numbers by one
  EXPECT_EQ(difference(to.pixels<Pixel>(), oracle::smooth<Pixel>(picture, legacy, to.region()), 4096), "");
}

}  // namespace
