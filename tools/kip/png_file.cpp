// SPDX-License-Identifier: Apache-2.0
#include "png_file.hpp"

#include <png.h>

#include <bit>
#include <cerrno>
#include <csetjmp>
#include <cstring>

#include "error.hpp"

namespace kip::tool {
namespace {

struct PngStream {
  std::FILE* file;
  char message[160];
};

PngStream& streamOf(png_structp png) {
  return *static_cast<PngStream*>(png_get_error_ptr(png));
}

[[noreturn]] void onError(png_structp png, png_const_charp message) {
  PngStream& stream = streamOf(png);
  std::snprintf(stream.message, sizeof stream.message, "%s", message);
  png_longjmp(png, 1);
}

void onWarning(png_structp, png_const_charp) {}

void readBytes(png_structp png, png_bytep data, size_t size) {
  std::FILE* file = streamOf(png).file;
  if (std::fread(data, 1, size, file) == size) return;
  png_error(png, std::ferror(file) != 0 ? std::strerror(errno) : "the file ends early");
}

void writeBytes(png_structp png, png_bytep data, size_t size) {
  if (std::fwrite(data, 1, size, streamOf(png).file) != size) png_error(png, std::strerror(errno));
}

void flushBytes(png_structp) {}

// libpng's records, of a reader or of a writer.
class Png {
 public:
  Png(std::FILE* file, bool writes) : stream_{file, ""}, writes_(writes) {
    handle = (writes ? png_create_write_struct : png_create_read_struct)(PNG_LIBPNG_VER_STRING, &stream_, onError,
                                                                         onWarning);
    if (handle != nullptr) info = png_create_info_struct(handle);
    if (info == nullptr) {
      release();
      throw Error("libpng does not start");
    }
    if (writes) {
      png_set_write_fn(handle, nullptr, writeBytes, flushBytes);
    } else {
      png_set_read_fn(handle, nullptr, readBytes);
    }
  }
  ~Png() { release(); }
  Png(const Png&) = delete;
  Png& operator=(const Png&) = delete;

  // libpng leaves a failing step by a jump: nothing that has a destructor may be made inside one.
  template <typename Step>
  void run(const char* what, const Step& step) {
    if (setjmp(png_jmpbuf(handle)) != 0) throw Error(std::string(what) + stream_.message);
    step();
  }

  png_structp handle = nullptr;
  png_infop info = nullptr;

 private:
  void release() {
    if (writes_) {
      png_destroy_write_struct(&handle, &info);
    } else {
      png_destroy_read_struct(&handle, &info, nullptr);
    }
  }

  PngStream stream_;
  bool writes_;
};

constexpr char kReading[] = "damaged or truncated PNG: ";
constexpr char kWriting[] = "cannot write: ";

void refuseUnlessGrey(const Png& png, int colourType) {
  if (colourType == PNG_COLOR_TYPE_PALETTE) refuseNotGrey("a picture with a palette");
  if ((colourType & PNG_COLOR_MASK_COLOR) != 0) refuseNotGrey("a colour picture");
  if ((colourType & PNG_COLOR_MASK_ALPHA) != 0 || png_get_valid(png.handle, png.info, PNG_INFO_tRNS) != 0) {
    refuseNotGrey("a picture with transparency");
  }
}

}  // namespace

Picture readPng(std::FILE* file) {
  Png png(file, false);
  png_uint_32 width = 0, height = 0;
  int bits = 0, colourType = 0;
  png.run(kReading, [&] {
    png_set_user_limits(png.handle, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
    png_read_info(png.handle, png.info);
    png_get_IHDR(png.handle, png.info, &width, &height, &bits, &colourType, nullptr, nullptr, nullptr);
  });
  refuseUnlessGrey(png, colourType);

  Picture picture = Picture::make(width, height, bits == 16 ? 16 : 8);
  std::vector<png_bytep> rows;
  for (int32_t y = 0; y < picture.height; ++y) rows.push_back(picture.row(y));
  png.run(kReading, [&] {
    if (bits < 8) png_set_expand_gray_1_2_4_to_8(png.handle);
    if (bits == 16 && std::endian::native == std::endian::little) png_set_swap(png.handle);
    png_set_interlace_handling(png.handle);
    png_read_update_info(png.handle, png.info);
    png_read_image(png.handle, rows.data());
    png_read_end(png.handle, nullptr);
  });
  return picture;
}

void writePng(std::FILE* file, const Picture& picture) {
  Png png(file, true);
  png.run(kWriting, [&] {
    png_set_IHDR(png.handle, png.info, static_cast<png_uint_32>(picture.width),
                 static_cast<png_uint_32>(picture.height), picture.depth, PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png.handle, png.info);
    if (picture.depth == 16 && std::endian::native == std::endian::little) png_set_swap(png.handle);
    for (int32_t y = 0; y < picture.height; ++y) png_write_row(png.handle, picture.row(y));
    png_write_end(png.handle, nullptr);
  });
}

}  // namespace kip::tool
