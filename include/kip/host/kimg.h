/* SPDX-License-Identifier: Apache-2.0 */
/* The host's image library: images, windows, legacy images and the conversions between them. For callers, who hand
 * images over: begin at kimg_image8_constructFromMemory and kimg_image_constructUnbound.
 *
 * Pixels are 8 or 16 bits. A pixel (x, y) covers the square [x, x+1) x [y, y+1) of its image's pixel coordinates. A
 * rectangle's last column and row, x + width and y + height, must fit in 32 bits.
 *
 * Rows lie top to bottom. The stride from a row to the next is at least the width; where there is one row at most it is
 * not looked at. Other strides (0, negative, rows that share pixels) are refused by what makes images and windows and,
 * when a caller writes them into a record, by what takes it: KSYS_STATUS_BAD_ARGUMENT, a null legacy image or a failed
 * argument check. The stride of a legacy image is looked at only when it is made. An operation whose name tells a pixel
 * size (window8, window16) refuses windows of the other one with KSYS_STATUS_BAD_ARGUMENT. */
#ifndef KIP_HOST_KIMG_H
#define KIP_HOST_KIMG_H

#include "kmath.h"
#include "kstd.h"

KSYS_DECLARATIONS_BEGIN

/* ---- images ---- */

/* An image is constructed before its first use and destructed after its last. It is bound to pixels, its own (shared
 * by count with the images it was assigned to) or the caller's, or unbound. */
typedef struct kimg_image {
  int32_t width, height;                /* the window: the rectangle of the image's pixels */
  int32_t x, y;                         /* its top-left pixel; may be written at any time */
  int32_t stride;                       /* pixels from a row to the next */
  int32_t pixelBytes;                   /* 1 or 2; 0 when unbound */
  void* pixels;                         /* the window's top-left pixel; null when there is none */
  struct kimg_pixels* owner;            /* the host's; null when unbound or over the caller's memory */
  kmath_xformPtrhConst imageFromClient; /* client (world) coordinates to pixel coordinates */
  int32_t bound;
  int32_t reserved;
} kimg_image;

typedef kimg_image kimg_image8;
typedef kimg_image kimg_image16;
typedef kimg_image kimg_imageConst;
typedef kimg_image kimg_image8Const;
typedef kimg_image kimg_image16Const;

/* Construct: a record that is not constructed yet becomes a bound image over new pixels, of any value and
 * aligned to 64 bytes, with the identity transform. Sizes of 0 give a bound image without pixels, negative ones
 * KSYS_STATUS_BAD_ARGUMENT. On failure there is nothing to destruct. */
ksys_status kimg_image8_construct(kimg_image8* image, int32_t width, int32_t height);
ksys_status kimg_image16_construct(kimg_image16* image, int32_t width, int32_t height);
ksys_status kimg_image8_constructRect(kimg_image8* image, const kstd_rect32* rect);
ksys_status kimg_image16_constructRect(kimg_image16* image, const kstd_rect32* rect);
/* The same with the pixel size in bytes, 1 or 2 (others: KSYS_STATUS_BAD_ARGUMENT). */
ksys_status kimg_image_constructUntyped(kimg_image* image, int32_t width, int32_t height, int32_t pixelBytes);
ksys_status kimg_image_constructRectUntyped(kimg_image* image, const kstd_rect32* rect, int32_t pixelBytes);
ksys_status kimg_image_constructUnbound(kimg_image* image);
/* Over the caller's memory, which is neither copied nor released and must outlive the image and what is assigned from
 * it. stridePixels >= width, or any value when rect has at most one row. */
ksys_status kimg_image8_constructFromMemory(kimg_image8* image, const kstd_rect32* rect, uint8_t* pixels,
                                            int32_t stridePixels);
ksys_status kimg_image16_constructFromMemory(kimg_image16* image, const kstd_rect32* rect, uint16_t* pixels,
                                             int32_t stridePixels);
void kimg_image_destruct(kimg_image* image);

/* dst lets go of its pixels and takes src's pixels (shared), window and position; it keeps its own transform. */
ksys_status kimg_image_assign(kimg_image* dst, const kimg_image* src);
/* Binds the image to new pixels, all 0, exactly over the rectangle; pixels it had are let go, its transform stays. */
ksys_status kimg_image8_assignNewRect(kimg_image8* image, const kstd_rect32* rect);
ksys_status kimg_image16_assignNewRect(kimg_image16* image, const kstd_rect32* rect);
ksys_status kimg_image_assignNewRect(kimg_image* image, const kstd_rect32* rect, int32_t pixelBytes);

ksys_status kimg_image_getIsBound(const kimg_image* image, int32_t* bound);
ksys_status kimg_imageConst_getIsBound(const kimg_imageConst* image, int32_t* bound);
/* The window as (x, y, width, height); (0, 0, 0, 0) for an unbound image. */
ksys_status kimg_image_getWindow(const kimg_image* image, kstd_rect32* rect);
ksys_status kimg_imageConst_getWindow(const kimg_imageConst* image, kstd_rect32* rect);
ksys_status kimg_image8Const_getWindow(const kimg_image8Const* image, kstd_rect32* rect);

/* The image's coordinate transform, in either direction, into a constructed handle. */
ksys_status kimg_imageConst_getImageFromClientXform(const kimg_imageConst* image, kmath_xformPtrhConst* handle);
ksys_status kimg_imageConst_getClientFromImageXform(const kimg_imageConst* image, kmath_xformPtrhConst* handle);
/* Replace it; unbound images too. */
ksys_status kimg_image_setImageFromClientXform(kimg_image* image, const kmath_xformPtrhConst* handle);
ksys_status kimg_image_setClientFromImageXform(kimg_image* image, const kmath_xformPtrhConst* handle);
ksys_status kimg_image_setLinearImageFromClientXform(kimg_image* image, const kmath_xformLinear* linear);
/* dst takes src's coordinate transform; pixels and window stay. */
ksys_status kimg_image_copyXforms(kimg_image* dst, const kimg_image* src);

/* ---- windows: plain records that refer to a rectangle of an image's pixels and own nothing ---- */

/* Filled by the operations below. `image`, `pixelBytes` and `reserved` are the host's: a record filled by hand without
 * them is refused with KSYS_STATUS_BAD_ARGUMENT by what needs them, which most functions that take windows do. */
typedef struct kimg_window {
  int32_t width, height, x, y;
  kstd_rect32 image; /* the rectangle of all pixels that the window may be re-pointed to */
  int32_t stride;    /* pixels from a row to the next */
  int32_t pixelBytes;
  void* pixels;  /* the window's top-left pixel */
  int32_t bound; /* non-zero when the window refers to pixels */
  int32_t reserved;
} kimg_window;

typedef struct kimg_windowConst {
  int32_t width, height, x, y;
  kstd_rect32 image;
  int32_t stride;
  int32_t pixelBytes;
  const void* pixels;
  int32_t bound;
  int32_t reserved;
} kimg_windowConst;

typedef kimg_window kimg_window8;
typedef kimg_window kimg_window16;
typedef kimg_windowConst kimg_window8Const;
typedef kimg_windowConst kimg_window16Const;

/* Onto the image's window. An unbound image and an image without pixels give a window that refers to no pixels, all
 * fields 0, and success. */
ksys_status kimg_window_init(kimg_window* window, const kimg_image* image);
ksys_status kimg_windowConst_init(kimg_windowConst* window, const kimg_image* image);
ksys_status kimg_window8_init(kimg_window8* window, const kimg_image8* image);
ksys_status kimg_window8Const_init(kimg_window8Const* window, const kimg_image8* image);
ksys_status kimg_window_initUnbound(kimg_window* window);
ksys_status kimg_windowConst_initUnbound(kimg_windowConst* window);
/* Over the caller's memory; rules as for kimg_image8_constructFromMemory. */
ksys_status kimg_window8_initFromMemory(kimg_window8* window, const kstd_rect32* rect, uint8_t* pixels,
                                        int32_t stridePixels);
ksys_status kimg_window16_initFromMemory(kimg_window16* window, const kstd_rect32* rect, uint16_t* pixels,
                                         int32_t stridePixels);
ksys_status kimg_window8Const_initFromMemory(kimg_window8Const* window, const kstd_rect32* rect, const uint8_t* pixels,
                                             int32_t stridePixels);
ksys_status kimg_window16Const_initFromMemory(kimg_window16Const* window, const kstd_rect32* rect,
                                              const uint16_t* pixels, int32_t stridePixels);

ksys_status kimg_window_getIsNull(const kimg_window* window, int32_t* isNull);
ksys_status kimg_windowConst_getIsNull(const kimg_windowConst* window, int32_t* isNull);
ksys_status kimg_window_getWindow(const kimg_window* window, kstd_rect32* rect);
ksys_status kimg_windowConst_getWindow(const kimg_windowConst* window, kstd_rect32* rect);
ksys_status kimg_window8Const_getWindow(const kimg_window8Const* window, kstd_rect32* rect);
ksys_status kimg_window16Const_getWindow(const kimg_window16Const* window, kstd_rect32* rect);
ksys_status kimg_window16_getWindow(const kimg_window16* window, kstd_rect32* rect);

/* Re-points the window to another rectangle of its image's pixels, which may reach beyond the window at hand. A
 * rectangle without pixels that lies inside gives a window that refers to no pixels. When the rectangle does not lie in
 * the image's pixels the window stays as it is, and with a flag *flag is 1 and the status 0, without one the status is
 * KSYS_STATUS_OUTSIDE_IMAGE. A window that refers to no pixels gives KSYS_STATUS_NOT_BOUND, with a flag the flag. A
 * record that no operation made gives KSYS_STATUS_BAD_ARGUMENT, with a flag, too. */
ksys_status kimg_window_windowRect(kimg_window* window, const kstd_rect32* rect, int32_t* flag);
ksys_status kimg_windowConst_windowRect(kimg_windowConst* window, const kstd_rect32* rect, int32_t* flag);

/* ---- legacy images: a region of a larger virtual image, addressed in that image's coordinates ---- */

typedef struct ksVImage {
  void* pixels; /* the region's top-left pixel */
  ksIRegion region;
  int32_t stride;         /* bytes from a row to the next */
  int32_t type;           /* 0: 8-bit pixels, 8: 16-bit pixels */
  ksFXform* clientCoords; /* image from client; null: the identity, which cannot be set */
  float zScale;           /* grey values to client units */
  uint32_t flags;         /* the host's */
} ksVImage;

typedef ksVImage ksImage;
typedef ksVImage ksUSImage;

/* Null images: type templates for ksVImageCreateReg. */
extern const ksVImage ksImageNull, ksUSImageNull;

int32_t ksVImageType(const ksVImage* image);
const ksIRegion* ksVImageRegion(const ksVImage* image);
const ksIRegion* ksImageRegion(const ksImage* image);
ksImage* ksImageVirt(const ksImage* image);
ksUSImage* ksUSImageVirt(const ksUSImage* image);
uint8_t* ksImagePixAddr(const ksImage* image, int32_t x, int32_t y);
uint16_t* ksUSImagePixAddr(const ksUSImage* image, int32_t x, int32_t y);
int32_t ksImageWidth(const ksImage* image);
int32_t ksImageHeight(const ksImage* image);
float ksImageClientZScale(const ksImage* image);
void ksVImageSetClientZScale(ksVImage* image, float zScale);
const ksFXform* ksImageClientCoords(const ksImage* image);
const ksFXform* ksVImageClientCoords(const ksVImage* image);
void ksImageSetClientCoords(ksImage* image, const ksFXform* xform);
void ksVImageSetClientCoords(ksVImage* image, const ksFXform* xform);

/* New images: pixels all 0, identity coordinates, z-scale 1. They belong to the caller, who releases them with
 * ksImageFree. Null when memory is short or a size is out of range. */
/* A null region gives an image without pixels over ksIRegionNull; a null template stands for ksImageNull. */
ksVImage* ksVImageCreateReg(const ksVImage* typeTemplate, const ksIRegion* region);
ksImage* ksImageCreate(int32_t width, int32_t height);
ksUSImage* ksUSImageCreate(int32_t width, int32_t height);
/* Over the caller's memory, neither copied nor released; strideBytes covers a row in whole pixels. */
ksImage* ksImageCreateFromMemory(const ksIRegion* region, uint8_t* pixels, int32_t strideBytes);
ksUSImage* ksUSImageCreateFromMemory(const ksIRegion* region, uint16_t* pixels, int32_t strideBytes);
/* Moves the image's region to start at (x, y) and returns the image. */
ksImage* ksImageMoveTo(ksImage* image, int32_t x, int32_t y);
/* Copies the pixels that both 8-bit images have, at equal coordinates, the client coordinates and the z-scale. */
void ksImageCopy(const ksImage* src, ksImage* dst);
/* Any legacy image; null, a null image and a converted one are left alone. */
void ksImageFree(ksImage* image);

/* ---- conversions: fill the caller's record with a legacy image over the same pixels ---- */

/* Serve as source and as destination. `xform` receives the image's transform (the identity for a non-linear one) and is
 * the legacy image's client coordinates: a change of either is seen in the other, never in `image`. */
ksys_status generate_ksImage_from_kimg_image8Const(const kimg_image8Const* image, ksImage* legacy, ksFXform* xform);
ksys_status generate_ksUSImage_from_kimg_image16Const(const kimg_image16Const* image, ksUSImage* legacy,
                                                      ksFXform* xform);
/* Client coordinates read as the identity; setting them has no effect. */
ksys_status generate_ksImage_from_kimg_windowConst(const kimg_windowConst* window, ksImage* legacy);
ksys_status generate_ksUSImage_from_kimg_windowConst(const kimg_windowConst* window, ksUSImage* legacy);

/* ---- type checks: called on an object and its destructor before they go onto a clean-up stack ---- */

void ksys_typeCheck_kimg_image(const kimg_image* object);
void ksys_typeCheck_kimg_image8(const kimg_image8* object);
void ksys_typeCheck_kimg_image16(const kimg_image16* object);
void ksys_typeCheckFunc_kimg_image(void (*destructor)(kimg_image*));

KSYS_DECLARATIONS_END

#endif
