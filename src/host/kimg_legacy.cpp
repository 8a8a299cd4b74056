// SPDX-License-Identifier: Apache-2.0
#include <cstddef>
#include <cstring>
#include <new>

#include "kimg_layout.hpp"
#include "kip/host/kimg.h"
#include "kmath_linear.hpp"
#include "status.hpp"

static_assert(offsetof(ksVImage, stride) == 24 && sizeof(ksVImage) == 48);

const ksVImage ksImageNull = {nullptr, {0, 0, 0, 0}, 0, 0, nullptr, 1.0f, 0};
const ksVImage ksUSImageNull = {nullptr, {0, 0, 0, 0}, 0, 8, nullptr, 1.0f, 0};

namespace {

constexpr uint32_t kCreated = 1;  // flag: the record is the first member of a Legacy of our own
constexpr ksFXform kIdentity = {0, 0, 1, 0, 0, 1};

// A created image's block: record and coordinates, then the pixels unless they are the caller's.
struct alignas(kiphost::kRowAlignment) Legacy {
  ksVImage image;
  ksFXform clientCoords;
};

constexpr int32_t pixelBytes(int32_t type) {
  return type == 0 ? 1 : 2;
}

// `pixelArea`: bytes for the pixels behind the record.
Legacy* create(const ksIRegion& region, int32_t type, int32_t stride, uint64_t pixelArea) {
  void* block;
  if (kiphost::failed(ksys_memory_allocClear_internal(sizeof(Legacy) + pixelArea, &block))) return nullptr;
  Legacy* const legacy = new (block) Legacy{};
  legacy->image = {nullptr, region, stride, type, &legacy->clientCoords, 1.0f, kCreated};
  legacy->clientCoords = kIdentity;
  return legacy;
}

ksVImage* createOwning(const ksIRegion& region, int32_t type) {
  const int64_t rowBytes = kiphost::ownRowBytes(region.width, pixelBytes(type));
  if (!kiphost::isRepresentable(region) || rowBytes > INT32_MAX) return nullptr;
  const uint64_t area = static_cast<uint64_t>(rowBytes) * static_cast<uint64_t>(region.height);
  Legacy* const legacy = create(region, type, static_cast<int32_t>(rowBytes), area);
  if (legacy == nullptr) return nullptr;
  if (area != 0) legacy->image.pixels = legacy + 1;
  return &legacy->image;
}

ksVImage* createFromMemory(const ksIRegion& region, int32_t type, void* pixels, int32_t strideBytes) {
  if (!kiphost::isUsableMemory(region, pixels, strideBytes, pixelBytes(type))) return nullptr;
  Legacy* const legacy = create(region, type, strideBytes, 0);
  if (legacy == nullptr) return nullptr;
  if (!kiphost::isNull(region)) legacy->image.pixels = pixels;
  return &legacy->image;
}

void* pixelAddress(const ksVImage& image, int32_t x, int32_t y) {
  return kiphost::moved(image.pixels, int64_t{x} - image.region.x, int64_t{y} - image.region.y, pixelBytes(image.type),
                        image.stride);
}

}  // namespace

int32_t ksVImageType(const ksVImage* image) {
  return image->type;
}

const ksIRegion* ksVImageRegion(const ksVImage* image) {
  return &image->region;
}

const ksIRegion* ksImageRegion(const ksImage* image) {
  return &image->region;
}

// Addresses go by coordinates alone, so an image is its own virtual image.
ksImage* ksImageVirt(const ksImage* image) {
  return const_cast<ksImage*>(image);
}

ksUSImage* ksUSImageVirt(const ksUSImage* image) {
  return const_cast<ksUSImage*>(image);
}

uint8_t* ksImagePixAddr(const ksImage* image, int32_t x, int32_t y) {
  return static_cast<uint8_t*>(pixelAddress(*image, x, y));
}

uint16_t* ksUSImagePixAddr(const ksUSImage* image, int32_t x, int32_t y) {
  return static_cast<uint16_t*>(pixelAddress(*image, x, y));
}

int32_t ksImageWidth(const ksImage* image) {
  return image->region.width;
}

int32_t ksImageHeight(const ksImage* image) {
  return image->region.height;
}

float ksImageClientZScale(const ksImage* image) {
  return image->zScale;
}

void ksVImageSetClientZScale(ksVImage* image, float zScale) {
  image->zScale = zScale;
}

const ksFXform* ksImageClientCoords(const ksImage* image) {
  return ksVImageClientCoords(image);
}

const ksFXform* ksVImageClientCoords(const ksVImage* image) {
  return image->clientCoords != nullptr ? image->clientCoords : &kIdentity;
}

void ksImageSetClientCoords(ksImage* image, const ksFXform* xform) {
  ksVImageSetClientCoords(image, xform);
}

void ksVImageSetClientCoords(ksVImage* image, const ksFXform* xform) {
  if (image->clientCoords != nullptr) *image->clientCoords = *xform;
}

ksVImage* ksVImageCreateReg(const ksVImage* typeTemplate, const ksIRegion* region) {
  return createOwning(kiphost::isNull(*region) ? ksIRegionNull : *region,
                      typeTemplate != nullptr ? typeTemplate->type : 0);
}

ksImage* ksImageCreate(int32_t width, int32_t height) {
  return createOwning({0, 0, width, height}, 0);
}

ksUSImage* ksUSImageCreate(int32_t width, int32_t height) {
  return createOwning({0, 0, width, height}, 8);
}

ksImage* ksImageCreateFromMemory(const ksIRegion* region, uint8_t* pixels, int32_t strideBytes) {
  return createFromMemory(*region, 0, pixels, strideBytes);
}

ksUSImage* ksUSImageCreateFromMemory(const ksIRegion* region, uint16_t* pixels, int32_t strideBytes) {
  return createFromMemory(*region, 8, pixels, strideBytes);
}

ksImage* ksImageMoveTo(ksImage* image, int32_t x, int32_t y) {
  image->region.x = x;
  image->region.y = y;
  return image;
}

void ksImageCopy(const ksImage* src, ksImage* dst) {
  const ksIRegion common = kiphost::intersection(src->region, dst->region);
  for (int64_t row = common.y; row < kiphost::endY(common); ++row) {
    const int32_t y = static_cast<int32_t>(row);
    // Source and destination may be the same image.
    std::memmove(ksImagePixAddr(dst, common.x, y), ksImagePixAddr(src, common.x, y), static_cast<size_t>(common.width));
  }
  ksVImageSetClientCoords(dst, ksVImageClientCoords(src));
  dst->zScale = src->zScale;
}

void ksImageFree(ksImage* image) {
  if (image != nullptr && (image->flags & kCreated) != 0) ksys_memory_free_internal(&image);
}
