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
  if (colourType == PNG_COLOR_TYPE_PALETTE) refuseConvertible("a picture with a palette");
  if ((colourType & PNG_COLOR_MASK_COLOR) != 0) refuseConvertible("a colour picture");
  if ((colourType & PNG_COLOR_MASK_ALPHA) != 0 || png_get_valid(png.handle, png.info, PNG_INFO_tRNS) != 0) {
    refuseConvertible("a picture with transparency");
  }
}

// Chunks that nobody needs are skipped unread, whatever they claim or unpack to. With a negative count these are all
// but the critical ones and tRNS; one that is wanted is named after that with PNG_HANDLE_CHUNK_AS_DEFAULT.
void skipAncillaryChunks(png_structp png) {
  png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
}

class PngReader : public PictureReader {
 public:
  PngReader(std::unique_ptr<Png> png, const PictureSize& size, bool interlaced)
      : PictureReader(size), png_(std::move(png)), interlaced_(interlaced), line_(size.rowSize()) {
    if (interlaced) whole_ = Picture::make(size.width, size.height, size.depth);
  }

  void read(int32_t first, int32_t count, Picture& to, int32_t at) override {
    if (interlaced_) {
      if (next_ == 0) readWhole();
      std::memcpy(to.row(at), whole_.row(first), static_cast<size_t>(count) * whole_.rowSize());
      return;
    }
    png_->run(kReading, [&] {
      for (; next_ < first; ++next_) png_read_row(png_->handle, line_.data(), nullptr);
      for (; next_ < first + count; ++next_) png_read_row(png_->handle, to.row(at + next_ - first), nullptr);
      if (next_ == size().height) png_read_end(png_->handle, nullptr);
    });
  }

  int64_t keptBytes() const override {
    return interlaced_ ? static_cast<int64_t>(whole_.rowSize()) * whole_.height : 0;
  }

 private:
  void readWhole() {
    std::vector<png_bytep> rows;
    for (int32_t y = 0; y < whole_.height; ++y) rows.push_back(whole_.row(y));
    png_->run(kReading, [&] {
      png_read_image(png_->handle, rows.data());
      png_read_end(png_->handle, nullptr);
    });
    next_ = whole_.height;
  }

  std::unique_ptr<Png> png_;
  bool interlaced_;
  std::vector<uint8_t> line_;  // of rows that nobody wants
  Picture whole_;
  int32_t next_ = 0;
};

class PngWriter : public PictureWriter {
 public:
  PngWriter(std::FILE* file, const PictureSize& size) : png_(file, true) {
    png_.run(kWriting, [&] {
      png_set_IHDR(png_.handle, png_.info, static_cast<png_uint_32>(size.width), static_cast<png_uint_32>(size.height),
                   size.depth, PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                   PNG_FILTER_TYPE_DEFAULT);
      png_write_info(png_.handle, png_.info);
      if (size.depth == 16 && std::endian::native == std::endian::little) png_set_swap(png_.handle);
    });
  }

  void writeRow(const uint8_t* row) override {
    png_.run(kWriting, [&] { png_write_row(png_.handle, row); });
  }

  void finish() override {
    png_.run(kWriting, [&] { png_write_end(png_.handle, nullptr); });
  }

 private:
  Png png_;
};

}  // namespace

std::unique_ptr<PictureReader> openPng(std::FILE* file) {
  auto png = std::make_unique<Png>(file, false);
  png_uint_32 width = 0, height = 0;
  int bits = 0, colourType = 0, interlace = 0;
  png->run(kReading, [&] {
    png_set_user_limits(png->handle, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
    skipAncillaryChunks(png->handle);
    png_read_info(png->handle, png->info);
    png_get_IHDR(png->handle, png->info, &width, &height, &bits, &colourType, &interlace, nullptr, nullptr);
  });
  refuseUnlessGrey(*png, colourType);

  const PictureSize size = PictureSize::make(width, height, bits == 16 ? 16 : 8);
  png->run(kReading, [&] {
    if (bits < 8) png_set_expand_gray_1_2_4_to_8(png->handle);
    if (bits == 16 && std::endian::native == std::endian::little) png_set_swap(png->handle);
    png_set_interlace_handling(png->handle);
    png_read_update_info(png->handle, png->info);
  });
  return std::make_unique<PngReader>(std::move(png), size, interlace != PNG_INTERLACE_NONE);
}

std::unique_ptr<PictureWriter> startPng(std::FILE* file, const PictureSize& size) {
  return std::make_unique<PngWriter>(file, size);
}

}  // namespace kip::tool
