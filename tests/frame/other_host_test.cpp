// SPDX-License-Identifier: Apache-2.0
// The library over a host that differs from the reference one: an overlap check that answers what the test says, an
// executor that counts, and operations that write down that the library called them (the linker's --wrap).
#include <gtest/gtest.h>

#include <set>

#include "kip/gauss2.h"
#include "kip/host/kjob.h"
#include "kip/host/kpel.h"
#include "kip/masked.h"
#include "levels/levels.hpp"
#include "masked/params_wrapper.hpp"
#include "support/host_images.hpp"
#include "support/host_seams.hpp"
#include "support/levels.hpp"

namespace {

ksys_status overlapAnswer = 0;
int32_t overlapChecks = 0;
// of the thread's own calls
thread_local int32_t executed = 0;
thread_local std::string calls;
thread_local std::set<ksys_destructor> destructors;

}  // namespace

#define KIP_TRACE(letter, result, operation, parameters, arguments) \
  extern "C" result __real_##operation parameters;                  \
  extern "C" result __wrap_##operation parameters {                 \
    calls += letter;                                                \
    return __real_##operation arguments;                            \
  }
KIP_TRACE('t', uint32_t, ksys_cleanup_getNextTag, (), ())
KIP_TRACE('c', ksys_status, ksys_cpuinfo_init, (ksys_cpuinfo * info), (info))
KIP_TRACE('a', ksys_status, ksys_memory_alloc64_internal, (uint64_t bytes, void** block), (bytes, block))
KIP_TRACE('p', ksys_status, kimg_image8_construct, (kimg_image8 * image, int32_t w, int32_t h), (image, w, h))
KIP_TRACE('P', ksys_status, kimg_image16_construct, (kimg_image16 * image, int32_t w, int32_t h), (image, w, h))
KIP_TRACE('q', void, ksImageFree, (ksImage * image), (image))
KIP_TRACE('f', void, kxfFree, (void* block), (block))
KIP_TRACE('n', ksys_status, kimg_windowConst_getIsNull, (const kimg_windowConst* window, int32_t* null), (window, null))
KIP_TRACE('r', ksys_status, kstd_rect32_init, (kstd_rect32 * rect, int32_t x, int32_t y, int32_t w, int32_t h),
          (rect, x, y, w, h))
KIP_TRACE('d', ksys_status, kimg_window_windowRect, (kimg_window * window, const kstd_rect32* rect, int32_t* flag),
          (window, rect, flag))
KIP_TRACE('s', ksys_status, kimg_windowConst_windowRect,
          (kimg_windowConst * window, const kstd_rect32* rect, int32_t* flag), (window, rect, flag))

ksys_status kip_pelfunc_checkMemoryOverlap(const kimg_windowConst*, const kimg_windowConst*) {
  ++overlapChecks;
  return overlapAnswer;
}

void ksys_cleanupExecute_(ksys_cleanupEntry* entries, int32_t* count, ksys_status* status, uint32_t) {
  ++executed;
  calls += 'x';
  for (; *count > 0; --*count) {
    const ksys_cleanupEntry& entry = entries[*count - 1];
    if (entry.kind == ksys_cleanupObject) destructors.insert(entry.destructor);
    if (entry.kind != ksys_cleanupKeptMemory || *status < 0) entry.destructor(entry.object);
  }
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

// The calls on the host in their order, of the kinds that are looked at.
TEST(Trace, OrderOfCalls) {
  if (!hasVectors) GTEST_SKIP() << "engines that are not built call less";
  const InhibitProbe nothing;
  kprt_isOptimizationInhibitedFP = [](const wchar_t*) -> int32_t { return calls += 'i', 0; };
  ksys_jobThreads_setMaximum(2);
  const ProcessorOverride processor(5, kip_levels[1].features | ksys_cpuSse41);
  struct Arguments {
    Canvas<uint8_t> picture{{0, 0, 200, 200}, 9}, mask{{0, 0, 200, 200}, 255}, to{{0, 0, 200, 200}, 1};
    Canvas<uint8_t> narrow{{0, 0, 2, 9}, 9}, narrowMask{{0, 0, 2, 9}, 255};
    Canvas<uint16_t> picture16{{0, 0, 40, 40}, 9}, small16{{0, 0, 4, 4}, 9}, to16{{0, 0, 40, 40}, 1};
    kip_gaussParams params = {1, 1, 2, 2, 1.0, 1, {0, 0, 0.0}};
    Image image{picture}, narrowImage{narrow}, narrowMaskImage{narrowMask}, unbound;
    const int32_t two[2] = {2, 2}, one[2] = {1, 1};

    ksys_status smooth16(const Canvas<uint16_t>& source) {
      const kimg_windowConst from = asSource(source);
      const kimg_window dst = windowOn(to16);
      return kip_gauss_smoothMaskedWindow16_16(&from, nullptr, nullptr, &params, &dst, nullptr);
    }
    static kimg_windowConst asSource(const Canvas<uint16_t>& canvas) {
      kimg_windowConst window;
      const kstd_rect32 rect = rectOf(canvas.region());
      require(kimg_window16Const_initFromMemory(&window, &rect, canvas.pixels(), canvas.stride()) == 0, "window");
      return window;
    }
  };
  const struct {
    const char *name, *kinds, *expected;
    void (*run)(Arguments& with);
  } cases[] = {
      {"result mask: the tag before the checks", "tx", "t",
       [](Arguments& with) {
         EXPECT_TRUE(failsCheck([&] {
           static_cast<void>(kip_filterMask_computeResultMask_(nullptr, nullptr, with.two, with.one, 0.5, nullptr));
         }));
       }},
      {"result mask", "tx", "tx",
       [](Arguments& with) {
         EXPECT_EQ(
             kip_filterMask_computeResultMask_(with.image.get(), nullptr, with.two, with.one, 0.5, with.unbound.get()),
             17);
       }},
      {"reduction: the hook that refuses has a tag, too", "tx", "ttxtxx",
       [](Arguments& with) { EXPECT_EQ(kip_gauss2_smooth8_8(with.narrowImage.get(), with.unbound.get()), 17); }},
      {"masked reduction", "tx", "ttxtxx",
       [](Arguments& with) {
         EXPECT_EQ(kip_gauss2_smoothMasked8_8(with.narrowImage.get(), with.narrowMaskImage.get(), with.unbound.get(),
                                              nullptr),
                   17);
       }},
      {"16 bits without a source mask: the plane after name, size and processor", "icPax", "cicPaaaxxx",
       [](Arguments& with) { EXPECT_EQ(with.smooth16(with.picture16), 17); }},
      {"the same, too small", "tiPpx", "titxtPpptxxx",
       [](Arguments& with) { EXPECT_EQ(with.smooth16(with.small16), 17); }},
      {"kfGauss in place: the delay image goes first", "qf", "qfffq",
       [](Arguments& with) {
         const LegacyImage image = legacyOn(with.picture);
         EXPECT_EQ(kfGauss(image.get(), image.get(), 2, 1, 1, 0, nullptr), image.get());
       }},  // and the test's own image last
      {"bands: the destination before the rectangles of the source", "rds", "rrrrrdssdrrssssdrrssss",
       [](Arguments& with) {
         const kimg_windowConst from = sourceWindowOn(with.picture), mask = sourceWindowOn(with.mask);
         const kimg_window dst = windowOn(with.to);
         EXPECT_EQ(kip_gauss_smoothMaskedWindow8_8(&from, &mask, nullptr, &with.params, &dst, nullptr), 17);
       }},
      {"absent masks are null for the window function", "n", "n",
       [](Arguments& with) {
         EXPECT_GE(
             kip_gauss_smoothMasked8_8(with.image.get(), nullptr, nullptr, &with.params, with.unbound.get(), nullptr),
             0);
       }},
      {"a transform that is not linear", "p", "p",
       [](Arguments& with) {
         const auto map = [](void*, const double in[2], double out[2]) { out[0] = -in[0], out[1] = in[1]; };
         require(kmath_xformPtrhConst_constructFunction(&with.image.get()->imageFromClient, map, map, nullptr,
                                                        nullptr) == 0,
                 "transform");
         EXPECT_EQ(kip_gauss_smooth8_8(with.image.get(), with.unbound.get(), &with.params), 17);
       }},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.name);
    Arguments with;
    calls.clear();
    test.run(with);
    std::erase_if(calls, [&test](char kind) { return std::string_view(test.kinds).find(kind) == std::string::npos; });
    EXPECT_EQ(calls, test.expected);
  }
  ksys_jobThreads_setMaximum(0);

  // entries hold the operations of the host and of the library themselves
  std::set<ksys_destructor> expected;
  const auto add = [&expected](auto... destruct) {
    (expected.insert(reinterpret_cast<ksys_destructor>(destruct)), ...);
  };
  add(kimg_image_destruct, kmath_xformPtrhConst_destruct, kstd_vector16_destruct, kstd_vector32_destruct,
      ksys_jobThreadGroup_destruct, ksys_jobParams_destruct, ksys_jobRequestSet_destruct, ksys_jobResultSet_destruct,
      kip::gauss_paramsWrapper_destruct);
  EXPECT_EQ(destructors, expected);
}

}  // namespace
