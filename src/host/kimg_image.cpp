// SPDX-License-Identifier: Apache-2.0
#include <cstddef>
#include <new>

#include "counted.hpp"
#include "kimg_layout.hpp"
#include "kip/host/kimg.h"
#include "kmath_handle.hpp"
#include "status.hpp"

using kiphost::failed;
using kiphost::windowOf;

static_assert(offsetof(kimg_image, x) == 8 && offsetof(kimg_image, y) == 12);

// The pixels follow in the same block; the alignment keeps them on a cache line.
struct alignas(kiphost::kRowAlignment) kimg_pixels {
  kiphost::Counted images;
};

namespace {

void release(kimg_pixels* pixels) {
  if (pixels == nullptr || !pixels->images.release()) return;
  pixels->~kimg_pixels();
  ksys_memory_free_internal(&pixels);
}

// What binding sets and assigning carries: all but the transform.
struct Binding {
  kstd_rect32 rect;
  int32_t stride, pixelBytes;
  void* pixels;
  kimg_pixels* owner;
  int32_t bound;
};

// The image takes over the binding's reference to its owner and lets go of its own.
void bind(kimg_image& image, const Binding& binding) {
  kimg_pixels* const old = image.owner;
  image.width = binding.rect.width;
  image.height = binding.rect.height;
  image.x = binding.rect.x;
  image.y = binding.rect.y;
  image.stride = binding.stride;
  image.pixelBytes = binding.pixelBytes;
  image.pixels = binding.pixels;
  image.owner = binding.owner;
  image.bound = binding.bound;
  release(old);
}

// `allocate`: of the memory, with the pixels 0 or not.
ksys_status bindNew(kimg_image& image, const kstd_rect32& rect, int32_t pixelBytes,
                    ksys_status (*allocate)(uint64_t, void**)) {
  if (!kiphost::isPixelSize(pixelBytes)) return KSYS_STATUS_BAD_ARGUMENT;
  const int64_t rowBytes = kiphost::ownRowBytes(rect.width, pixelBytes);
  if (!kiphost::isRepresentable(rect) || rowBytes > INT32_MAX) return KSYS_STATUS_BAD_ARGUMENT;
  Binding binding{rect, static_cast<int32_t>(rowBytes / pixelBytes), pixelBytes, nullptr, nullptr, 1};
  if (!kiphost::isNull(rect)) {
    void* block;
    const uint64_t bytes = sizeof(kimg_pixels) + static_cast<uint64_t>(rowBytes) * static_cast<uint64_t>(rect.height);
    const ksys_status status = allocate(bytes, &block);
    if (failed(status)) return status;
    binding.owner = new (block) kimg_pixels;
    binding.pixels = static_cast<char*>(block) + sizeof(kimg_pixels);
  }
  bind(image, binding);
  return 0;
}

ksys_status assignNewRect(kimg_image& image, const kstd_rect32& rect, int32_t pixelBytes) {
  return bindNew(image, rect, pixelBytes, ksys_memory_allocClear_internal);
}

ksys_status constructNew(kimg_image& image, const kstd_rect32& rect, int32_t pixelBytes) {
  image = {};
  return bindNew(image, rect, pixelBytes, ksys_memory_alloc_internal);
}

ksys_status constructFromMemory(kimg_image& image, const kstd_rect32& rect, void* pixels, int32_t stride,
                                int32_t pixelBytes) {
  image = {};
  if (!kiphost::isUsableMemory(rect, pixels, stride, 1)) return KSYS_STATUS_BAD_ARGUMENT;
  const bool null = kiphost::isNull(rect);
  bind(image, {rect, rect.height > 1 ? stride : rect.width, pixelBytes, null ? nullptr : pixels, nullptr, 1});
  return 0;
}

}  // namespace

ksys_status kimg_image8_construct(kimg_image8* image, int32_t width, int32_t height) {
  return constructNew(*image, {0, 0, width, height}, 1);
}

ksys_status kimg_image16_construct(kimg_image16* image, int32_t width, int32_t height) {
  return constructNew(*image, {0, 0, width, height}, 2);
}

ksys_status kimg_image8_constructRect(kimg_image8* image, const kstd_rect32* rect) {
  return constructNew(*image, *rect, 1);
}

ksys_status kimg_image16_constructRect(kimg_image16* image, const kstd_rect32* rect) {
  return constructNew(*image, *rect, 2);
}

ksys_status kimg_image_constructUntyped(kimg_image* image, int32_t width, int32_t height, int32_t pixelBytes) {
  return constructNew(*image, {0, 0, width, height}, pixelBytes);
}

ksys_status kimg_image_constructRectUntyped(kimg_image* image, const kstd_rect32* rect, int32_t pixelBytes) {
  return constructNew(*image, *rect, pixelBytes);
}

ksys_status kimg_image_constructUnbound(kimg_image* image) {
  *image = {};
  return 0;
}

ksys_status kimg_image8_constructFromMemory(kimg_image8* image, const kstd_rect32* rect, uint8_t* pixels,
                                            int32_t stridePixels) {
  return constructFromMemory(*image, *rect, pixels, stridePixels, 1);
}

ksys_status kimg_image16_constructFromMemory(kimg_image16* image, const kstd_rect32* rect, uint16_t* pixels,
                                             int32_t stridePixels) {
  return constructFromMemory(*image, *rect, pixels, stridePixels, 2);
}

void kimg_image_destruct(kimg_image* image) {
  bind(*image, {});
  kmath_xformPtrhConst_destruct(&image->imageFromClient);
}

ksys_status kimg_image_assign(kimg_image* dst, const kimg_image* src) {
  if (src->owner != nullptr) src->owner->images.retain();
  bind(*dst, {windowOf(*src), src->stride, src->pixelBytes, src->pixels, src->owner, src->bound});
  return 0;
}

ksys_status kimg_image8_assignNewRect(kimg_image8* image, const kstd_rect32* rect) {
  return assignNewRect(*image, *rect, 1);
}

ksys_status kimg_image16_assignNewRect(kimg_image16* image, const kstd_rect32* rect) {
  return assignNewRect(*image, *rect, 2);
}

ksys_status kimg_image_assignNewRect(kimg_image* image, const kstd_rect32* rect, int32_t pixelBytes) {
  return assignNewRect(*image, *rect, pixelBytes);
}

ksys_status kimg_image_copyXforms(kimg_image* dst, const kimg_image* src) {
  kiphost::assign(dst->imageFromClient, src->imageFromClient);
  return 0;
}

ksys_status kimg_image_getIsBound(const kimg_image* image, int32_t* bound) {
  *bound = image->bound != 0;
  return 0;
}

ksys_status kimg_imageConst_getIsBound(const kimg_imageConst* image, int32_t* bound) {
  return kimg_image_getIsBound(image, bound);
}

ksys_status kimg_image_getWindow(const kimg_image* image, kstd_rect32* rect) {
  *rect = windowOf(*image);
  return 0;
}

ksys_status kimg_imageConst_getWindow(const kimg_imageConst* image, kstd_rect32* rect) {
  return kimg_image_getWindow(image, rect);
}

ksys_status kimg_image8Const_getWindow(const kimg_image8Const* image, kstd_rect32* rect) {
  return kimg_image_getWindow(image, rect);
}

ksys_status kimg_imageConst_getImageFromClientXform(const kimg_imageConst* image, kmath_xformPtrhConst* handle) {
  kiphost::assign(*handle, image->imageFromClient);
  return 0;
}

ksys_status kimg_imageConst_getClientFromImageXform(const kimg_imageConst* image, kmath_xformPtrhConst* handle) {
  return kiphost::assignInverse(*handle, image->imageFromClient);
}

ksys_status kimg_image_setImageFromClientXform(kimg_image* image, const kmath_xformPtrhConst* handle) {
  kiphost::assign(image->imageFromClient, *handle);
  return 0;
}

ksys_status kimg_image_setClientFromImageXform(kimg_image* image, const kmath_xformPtrhConst* handle) {
  return kiphost::assignInverse(image->imageFromClient, *handle);
}

ksys_status kimg_image_setLinearImageFromClientXform(kimg_image* image, const kmath_xformLinear* linear) {
  kmath_xformPtrhConst handle;
  const ksys_status status = kmath_xformPtrhConst_constructLinear(&handle, linear);
  if (failed(status)) return status;
  kmath_xformPtrhConst_destruct(&image->imageFromClient);
  image->imageFromClient = handle;
  return 0;
}
