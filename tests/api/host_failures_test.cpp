// SPDX-License-Identifier: Apache-2.0
// Every call with its n-th allocation or n-th attention check failing, for every n: the status comes back, nothing
// leaks (under the address sanitizer), nothing outside the destination is written, and the next call works.
#include <gtest/gtest.h>

#include <optional>

#include "oracle/gauss_oracle.hpp"
#include "support/host_images.hpp"
#include "support/host_seams.hpp"
#include "support/pictures.hpp"

namespace {

using namespace kiptest;

enum class Form { image, unboundImage, nonLinearImage, window, legacy, createdLegacy };

struct Outcome {
  ksys_status status = 0;
  int64_t allocations = 0, polls = 0;
};

kmath_xformPtrhConst mirrored() {
  kmath_xformPtrhConst handle;
  const auto map = [](void*, const double in[2], double out[2]) {
    const double x = in[0];
    out[0] = -x;
    out[1] = in[1];
  };
  require(kmath_xformPtrhConst_constructFunction(&handle, map, map, nullptr, nullptr) == 0, "transform");
  return handle;
}

template <typename Pixel>
class HostFailures : public testing::Test {
 protected:
  HostFailures() : sourceCanvas_({-3, -70, 9, 150}, 0) {
    Random random(8);
    sourceCanvas_.paint(drawPattern(Pattern::noise, sourceCanvas_.region(), random));
    EXPECT_EQ(kip_gaussParams_init(&params_), 0);
    params_.ySigma = 43;  // reaches more than 64 rows past the border
    legacy_ = oracle::legacyOf(params_);
    legacy_.dstTemplate = Typed<Pixel>::legacyTemplate;
    computed_ = oracle::destinationOf(sourceCanvas_.region(), legacy_);
    expected_ =
        oracle::smooth<Pixel>({sourceCanvas_.region(), sourceCanvas_.crop(sourceCanvas_.region())}, legacy_, computed_);
  }

  // One call on fresh objects, checked: on success by its pixels, always by what it must not touch.
  Outcome run(Form form, int64_t failingAllocation, int64_t failingPoll) {
    const ksIRegion wide = {computed_.x - 2, computed_.y - 2, computed_.width + 4, computed_.height + 4};
    const Canvas<Pixel> canvas(wide, 0x33);
    Image source(sourceCanvas_), destination(canvas), unbound;
    if (form == Form::nonLinearImage) {
      kmath_xformPtrhConst handle = mirrored();
      require(kimg_image_setImageFromClientXform(source.get(), &handle) == 0, "transform");
      kmath_xformPtrhConst_destruct(&handle);
    }
    const kimg_windowConst sourceWindow = sourceWindowOn(sourceCanvas_);
    const kimg_window window = windowOn(canvas);
    const LegacyImage legacySource = legacyOn(sourceCanvas_), legacyDestination = legacyOn(canvas);
    ksVImage* out = nullptr;

    Outcome outcome;
    {
      const AllocationProbe allocations(failingAllocation);
      const AttentionProbe attention(failingPoll);
      const auto call = [&]() -> ksys_status {
        switch (form) {
          case Form::image:
          case Form::nonLinearImage:
            return Typed<Pixel>::smoothImage(source.get(), destination.get(), &params_);
          case Form::unboundImage:
            return Typed<Pixel>::smoothImage(source.get(), unbound.get(), &params_);
          case Form::window:
            return Typed<Pixel>::smoothWindow(&sourceWindow, &window, &params_);
          case Form::legacy:
            return kip_gauss(legacySource.get(), legacyDestination.get(), &legacy_, nullptr, &out);
          default:
            return kip_gauss(legacySource.get(), nullptr, &legacy_, nullptr, &out);
        }
      };
      outcome.status = call();
      outcome.allocations = allocations.count();
      outcome.polls = attention.count();
    }
    const LegacyImage created(form == Form::createdLegacy ? out : nullptr);
    EXPECT_TRUE(canvas.intactOutside(computed_));
    if (outcome.status == 0) {
      const std::vector<Pixel> pixels = form == Form::createdLegacy  ? pixelsOf<Pixel>(created.get())
                                        : form == Form::unboundImage ? unbound.pixels<Pixel>()
                                                                     : canvas.crop(computed_);
      EXPECT_EQ(difference(pixels, expected_, computed_.width), "");
    }
    return outcome;
  }

  Canvas<uint8_t> sourceCanvas_;
  kip_gaussParams params_;
  ksGaussParams legacy_;
  ksIRegion computed_;
  std::vector<Pixel> expected_;
  const ProcessorOverride portable_{0, 0};
};
using Pixels = testing::Types<uint8_t, uint16_t>;
TYPED_TEST_SUITE(HostFailures, Pixels);

constexpr Form forms[] = {Form::image,  Form::unboundImage, Form::nonLinearImage,
                          Form::window, Form::legacy,       Form::createdLegacy};

TYPED_TEST(HostFailures, EveryAllocation) {
  for (const Form form : forms) {
    const Outcome good = this->run(form, 0, 0);
    EXPECT_EQ(good.status, 0);
    EXPECT_GE(good.allocations, form == Form::window || form == Form::legacy ? 2 : 3);
    for (int64_t n = 1; n <= good.allocations; ++n) {
      // the legacy constructor of images tells no reason
      const bool creates = form == Form::createdLegacy && n == 1;
      const ksys_status expected = creates ? KSYS_STATUS_NO_MEMORY : KSYS_STATUS(0x8000BEEF);
      EXPECT_EQ(this->run(form, n, 0).status, expected) << static_cast<int>(form) << ' ' << n;
    }
    EXPECT_EQ(this->run(form, 0, 0).status, 0);
  }
}

TYPED_TEST(HostFailures, EveryAttentionCheck) {
  const int64_t ofEngine = oracle::attentionChecks(this->sourceCanvas_.region(), this->legacy_, this->computed_);
  EXPECT_GE(ofEngine, 5);
  for (const Form form : forms) {
    const bool polls = form == Form::window && sizeof(TypeParam) == 1;
    EXPECT_EQ(this->run(form, 0, 0).polls, ofEngine + polls);
    for (int64_t n = 1; n <= ofEngine + polls; ++n) {
      const Outcome failed = this->run(form, 0, n);
      EXPECT_EQ(failed.status, KSYS_STATUS(0x8000BEEF));
      EXPECT_EQ(failed.polls, n);
    }
    EXPECT_EQ(this->run(form, 0, 0).status, 0);
  }
}

TYPED_TEST(HostFailures, TheProcessorQuery) {
  for (const Form form : forms) {
    {
      const ProcessorFailure failing(KSYS_STATUS(0x80004321));
      const Outcome failed = this->run(form, 0, 0);
      EXPECT_EQ(failed.status, KSYS_STATUS(0x80004321));
      EXPECT_EQ(failed.polls, 0);
    }
    EXPECT_EQ(this->run(form, 0, 0).status, 0);
  }
}

}  // namespace
