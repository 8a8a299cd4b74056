// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <limits>
#include <string>
#include <vector>

#include "kip/kip.h"
#include "support/canvas.hpp"
#include "support/host_images.hpp"
#include "support/host_seams.hpp"
#include "support/random.hpp"

namespace kiptest {

// The ways in which a call is made.
enum class Form {
  plain,     // everything is given
  created,   // destinations unbound or null, a source transform that is not linear
  bare,      // without sample mask and result mask
  unmasked,  // without a source mask
  inPlace,   // the source is the destination
  copying,   // parameters that ask for a copy
};

// What one argument may be: an image, a window or a legacy image over the same pixels. Plain records of the host, so
// that a test may set any field.
struct Role {
  kimg_image image = {};
  kimg_window window = {};
  kimg_windowConst readable = {};  // the window as a source
  ksVImage legacy = {};
  bool isNull = false;

  template <typename Pixel>
  void put(const Canvas<Pixel>& canvas) {
    constexpr int32_t bytes = sizeof(Pixel);
    setRegion(canvas.region());
    setStride(canvas.stride());
    setPixels(canvas.pixels());
    image.pixelBytes = window.pixelBytes = bytes;
    image.bound = window.bound = 1;
    legacy.type = bytes == 1 ? 0 : 8;
    legacy.stride = canvas.strideBytes();
    legacy.zScale = 1.0f;
  }
  void setRegion(const ksIRegion& region) {
    const auto [x, y, width, height] = region;
    image.x = window.x = x;
    image.y = window.y = y;
    image.width = window.width = width;
    image.height = window.height = height;
    window.image = {x, y, width, height};
    legacy.region = region;
  }
  void setStride(int32_t pixels) {
    image.stride = window.stride = pixels;
    legacy.stride = pixels * std::max(window.pixelBytes, 1);
  }
  void setPixels(void* pixels) { image.pixels = window.pixels = legacy.pixels = pixels; }
  void unbind() {
    const kmath_xformPtrhConst xform = image.imageFromClient;
    image = {};
    image.imageFromClient = xform;
    window = {};
    legacy.region = {};
    legacy.pixels = nullptr;
  }
};

// The arguments of every exported function, the memory behind them, and what a call delivered.
struct Scene {
  static constexpr ksIRegion region = {-4, -70, 40, 150}, around = {-30, -90, 90, 250};

  Scene(int32_t srcBytes, int32_t dstBytes, Form with = Form::plain, uint8_t fill = 0x33)
      : form(with),
        dst8(around, fill),
        dstMask8(around, fill),
        dst16(around, static_cast<uint16_t>(fill * 257)),
        isWide(dstBytes == 2) {
    Random random(5);
    std::vector<uint8_t> bytes, valid;
    for (int32_t i = 0; i < region.width * region.height; ++i) {
      bytes.push_back(static_cast<uint8_t>(random.between(0, 255)));
      valid.push_back(random.chance(5) ? 0 : 255);
    }
    src8.paint(bytes);
    src16.paint({bytes.begin(), bytes.end()});
    srcMask8.paint(valid);
    std::reverse(valid.begin(), valid.end());
    sampleMask8.paint(valid);
    srcBytes == 1 ? src.put(src8) : src.put(src16);
    srcMask.put(srcMask8);
    sampleMask.put(sampleMask8);
    isWide ? dst.put(dst16) : dst.put(dst8);
    dstMask.put(dstMask8);
    require(kip_gaussParams_init(&params) == 0, "parameters");
    params.xSigma = 3;
    params.ySigma = 2;
    legacy = *ksGaussParamsNull();
    legacy.dstTemplate = isWide ? &ksUSImageNull : &ksImageNull;
    legacy.xSigma = 3;
    legacy.extendBorder = 1;
    if (form == Form::created) {
      const auto map = [](void*, const double in[2], double to[2]) { to[0] = -in[0], to[1] = in[1]; };
      require(kmath_xformPtrhConst_constructFunction(&src.image.imageFromClient, map, map, nullptr, nullptr) == 0,
              "transform");
      dst.unbind();
      dstMask.unbind();
    }
    if (form == Form::bare) sampleMask.isNull = dstMask.isNull = true;
    if (form == Form::unmasked) srcMask.isNull = true;
    if (form == Form::copying) radius[0] = radius[1] = sigma[0] = sigma[1] = 0;
  }
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;
  ~Scene() {
    for (Role* role : {&src, &srcMask, &sampleMask, &dst, &dstMask}) kimg_image_destruct(&role->image);
    if (out != &dst.legacy && out != &src.legacy) ksImageFree(out);
  }

  // The arguments; null where none is given.
  static kimg_image* image(Role& role) { return role.isNull ? nullptr : &role.image; }
  static const kimg_window* window(Role& role) { return role.isNull ? nullptr : &role.window; }
  // The two kinds of window are the same record but for the pixels' constness.
  static const kimg_windowConst* constWindow(Role& role) {
    role.readable = std::bit_cast<kimg_windowConst>(role.window);
    return role.isNull ? nullptr : &role.readable;
  }
  ksVImage* legacyDst() {
    if (form == Form::inPlace) return &src.legacy;
    return form == Form::created || dst.isNull ? nullptr : &dst.legacy;
  }

  // Everything that a call may deliver, in one list.
  [[nodiscard]] std::vector<int64_t> delivered() const {
    std::vector<int64_t> all(numbers.begin(), numbers.end());
    for (const kstd_rect32& one : rects) all.insert(all.end(), {one.x, one.y, one.width, one.height});
    const auto append = [&all](const auto* pixels, int64_t width, int64_t height, int64_t stride) {
      for (int64_t y = 0; y < height; ++y) all.insert(all.end(), pixels + y * stride, pixels + y * stride + width);
    };
    for (const Role* role : {&dst, &dstMask, &src}) {
      const kimg_image& image = role->image;
      if (image.bound == 0) continue;
      if (image.pixelBytes == 1) append(static_cast<uint8_t*>(image.pixels), image.width, image.height, image.stride);
      if (image.pixelBytes == 2) append(static_cast<uint16_t*>(image.pixels), image.width, image.height, image.stride);
    }
    if (out == nullptr) return all;
    const auto [x, y, width, height] = out->region;
    if (out->type == 0) append(static_cast<uint8_t*>(out->pixels), width, height, out->stride);
    if (out->type == 8) append(static_cast<uint16_t*>(out->pixels), width, height, out->stride / 2);
    return all;
  }
  // Whether only destinations were written.
  [[nodiscard]] bool isIntact() const {
    const auto same = [](const auto& a, const auto& b) { return a.crop(region) == b.crop(region); };
    const bool sources = fresh == nullptr ||
                         (same(src16, fresh->src16) && same(srcMask8, fresh->srcMask8) &&
                          same(sampleMask8, fresh->sampleMask8) && (form == Form::inPlace || same(src8, fresh->src8)));
    const auto outside = [](const auto& canvas) { return canvas.intactOutside(canvas.region()); };
    return sources && outside(src8) && outside(src16) && outside(srcMask8) && outside(sampleMask8) && outside(dst8) &&
           outside(dstMask8) && outside(dst16) && (isWide ? dst8.intactOutside({}) : dst16.intactOutside({}));
  }

  Form form;
  Role src, srcMask, sampleMask, dst, dstMask;
  kip_gaussParams params;
  ksGaussParams legacy;
  int32_t radius[2] = {6, 2}, sigma[2] = {3, 2}, sample[2] = {1, 1}, offset[2] = {0, 0};
  int32_t passes = 2, peakNormalize = 0, startRow = 0;
  double minCoverage = 0.5;
  kstd_rect32 rect = {-4, -70, 40, 150}, requested = {-30, -90, 90, 250}, padding = {-4, -3, 10, 7},
              band = {-4, -70, 40, 20};
  kmath_xformLinear xform = {1, 2, 3, 0, 0, 4};

  std::array<kstd_rect32, 5> rects{};
  std::array<int64_t, 3> numbers{};
  ksVImage* out = nullptr;

  Canvas<uint8_t> src8{region, 0xA5}, srcMask8{region, 0xFF}, sampleMask8{region, 0xFF}, dst8, dstMask8;
  Canvas<uint16_t> src16{region, 0xA5A5}, dst16;
  bool isWide;
  const Scene* fresh = nullptr;  // an untouched one of the same kind
};

}  // namespace kiptest
