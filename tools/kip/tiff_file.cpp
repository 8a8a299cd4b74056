// SPDX-License-Identifier: Apache-2.0
#include "tiff_file.hpp"

#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <utility>

#include "error.hpp"
#include "tiff_directory.hpp"

namespace kip::tool {
namespace {

// libtiff's handle of a file, and the first message about it.
class Tiff {
 public:
  // `mode` as TIFFOpen takes it. libtiff gets a descriptor of its own, since it closes what it is given.
  Tiff(std::FILE* file, const char* mode) {
    const int descriptor = dup(fileno(file));
    if (descriptor < 0) throw Error(std::strerror(errno));
    lseek(descriptor, 0, SEEK_SET);  // streams read on
    const std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions*)> options(TIFFOpenOptionsAlloc(),
                                                                               TIFFOpenOptionsFree);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), onError, this);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), onWarning, nullptr);
    errno = 0;
    tiff_ = TIFFFdOpenExt(descriptor, "TIFF", mode, options.get());
    if (tiff_ == nullptr) close(descriptor);
  }
  ~Tiff() { end(); }
  Tiff(const Tiff&) = delete;
  Tiff& operator=(const Tiff&) = delete;

  TIFF* get() const { return tiff_; }
  bool hasMessage() const { return message_[0] != '\0'; }
  void end() {
    if (tiff_ != nullptr) TIFFClose(std::exchange(tiff_, nullptr));
  }

  [[noreturn]] void failReading() const {
    throw Error(std::string("damaged or truncated TIFF: ") + (hasMessage() ? message_ : "cannot be decoded"));
  }
  [[noreturn]] void failWriting() const {
    throw Error(std::string("cannot write: ") + (errno_ != 0 ? std::strerror(errno_) : message_));
  }

 private:
  static int onError(TIFF*, void* self, const char*, const char* format, va_list arguments) {
    Tiff& tiff = *static_cast<Tiff*>(self);
    if (!tiff.hasMessage()) {
      tiff.errno_ = errno;
      std::vsnprintf(tiff.message_, sizeof tiff.message_, format, arguments);
    }
    return 1;  // no other handler is asked
  }
  static int onWarning(TIFF*, void*, const char*, const char*, va_list) { return 1; }

  TIFF* tiff_ = nullptr;
  char message_[200] = "";
  int errno_ = 0;
};

void refuseUnlessGrey(TIFF* tiff, uint16_t photometric, uint16_t bits) {
  uint16_t samples = 0, extra = 0, format = 0;
  uint16_t* extraKinds = nullptr;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &extra, &extraKinds);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &format);
  if (format == SAMPLEFORMAT_INT) refuseNotGrey("a picture of signed pixels");
  if (format != SAMPLEFORMAT_UINT && format != SAMPLEFORMAT_VOID) refuseNotGrey("a picture of floating-point pixels");
  if (bits != 1 && bits != 2 && bits != 4 && bits != 8 && bits != 16) {
    refuseNotGrey("a picture of " + std::to_string(bits) + "-bit pixels");
  }
  if (photometric == PHOTOMETRIC_PALETTE) refuseConvertible("a picture with a palette");
  if (photometric == PHOTOMETRIC_RGB) refuseConvertible("a colour picture");
  if (photometric != PHOTOMETRIC_MINISBLACK && photometric != PHOTOMETRIC_MINISWHITE) {
    refuseNotGrey("a colour picture");
  }
  if (samples == 2 && extra == 1) refuseConvertible("a picture with transparency");
  if (samples != 1) refuseNotGrey("a picture of several channels");
}

size_t packedSize(int64_t pixels, int32_t bits) {
  return static_cast<size_t>((pixels * bits + 7) / 8);
}

// Copies `count` packed pixels of `bits` bits.
void unpack(const uint8_t* packed, int32_t bits, int32_t count, uint8_t* out) {
  if (bits >= 8) {
    std::memcpy(out, packed, static_cast<size_t>(count) * static_cast<size_t>(bits / 8));
    return;
  }
  const int32_t largest = (1 << bits) - 1;
  for (int32_t i = 0; i < count; ++i) {
    const int32_t bit = i * bits;
    const int32_t value = (packed[bit / 8] >> (8 - bits - bit % 8)) & largest;
    out[i] = static_cast<uint8_t>(value * 255 / largest);
  }
}

// Bytes that decoding takes besides the pixels that it hands out: the largest strip or tile of the file, which is taken
// whole, and what the codec keeps, at most the decoded strip or tile twice.
int64_t decodingBytes(TIFF* tiff, bool readsInPieces) {
  uint16_t compression = COMPRESSION_NONE;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &compression);
  if (compression == COMPRESSION_NONE && readsInPieces) return 0;
  uint64_t bytes = 0;
  const bool isTiled = TIFFIsTiled(tiff) != 0;
  const uint32_t count = isTiled ? TIFFNumberOfTiles(tiff) : TIFFNumberOfStrips(tiff);
  for (uint32_t i = 0; i < count; ++i) bytes = std::max(bytes, TIFFGetStrileByteCount(tiff, i));
  constexpr uint16_t rowByRow[] = {COMPRESSION_NONE,      COMPRESSION_LZW,           COMPRESSION_DEFLATE,
                                   COMPRESSION_PACKBITS,  COMPRESSION_ADOBE_DEFLATE, COMPRESSION_CCITTRLE,
                                   COMPRESSION_CCITTFAX3, COMPRESSION_CCITTFAX4};
  constexpr uint64_t most = uint64_t{1} << 59;
  bytes = std::min(bytes, most);
  if (std::find(std::begin(rowByRow), std::end(rowByRow), compression) == std::end(rowByRow)) {
    bytes += 2 * std::min(isTiled ? TIFFTileSize64(tiff) : TIFFStripSize64(tiff), most);
  }
  return static_cast<int64_t>(bytes);
}

// What strips and tiles have in common.
class TiffReader : public PictureReader {
 public:
  TiffReader(std::unique_ptr<Tiff> tiff, const PictureSize& size, int32_t bits, bool whiteIsZero)
      : PictureReader(size), tiff_(std::move(tiff)), bits_(bits), whiteIsZero_(whiteIsZero) {}

  void read(int32_t first, int32_t count, Picture& to, int32_t at) override {
    for (int32_t y = 0; y < count; ++y) {
      uint8_t* const row = to.row(at + y);
      readRow(first + y, row);
      if (!whiteIsZero_) continue;
      for (size_t i = 0; i < size().rowSize(); ++i) row[i] = static_cast<uint8_t>(~row[i]);
    }
  }

 protected:
  virtual void readRow(int32_t y, uint8_t* row) = 0;

  TIFF* tiff() const { return tiff_->get(); }
  [[noreturn]] void fail() const { tiff_->failReading(); }
  int32_t bits() const { return bits_; }

 private:
  std::unique_ptr<Tiff> tiff_;
  int32_t bits_;
  bool whiteIsZero_;
};

class StripReader : public TiffReader {
 public:
  StripReader(std::unique_ptr<Tiff> tiff, const PictureSize& size, int32_t bits, bool whiteIsZero)
      : TiffReader(std::move(tiff), size, bits, whiteIsZero) {
    line_.resize(static_cast<size_t>(TIFFScanlineSize64(this->tiff())));
    if (line_.size() < packedSize(size.width, bits)) fail();
    TIFFGetFieldDefaulted(this->tiff(), TIFFTAG_ROWSPERSTRIP, &stripRows_);
    if (stripRows_ == 0) fail();
  }

  int64_t keptBytes() const override { return decodingBytes(tiff(), true); }

 private:
  // Many codecs go through a strip from its top only.
  void readRow(int32_t y, uint8_t* row) override {
    const auto wanted = static_cast<uint32_t>(y);
    for (next_ = std::max(next_, wanted - wanted % stripRows_); next_ <= wanted; ++next_) {
      if (TIFFReadScanline(tiff(), line_.data(), next_, 0) != 1) fail();
    }
    unpack(line_.data(), bits(), size().width, row);
  }

  std::vector<uint8_t> line_;
  uint32_t stripRows_ = 0, next_ = 0;
};

// Keeps a row of tiles.
class TileReader : public TiffReader {
 public:
  TileReader(std::unique_ptr<Tiff> tiff, const PictureSize& size, int32_t bits, bool whiteIsZero)
      : TiffReader(std::move(tiff), size, bits, whiteIsZero) {
    uint32_t width = 0, height = 0;
    TIFFGetField(this->tiff(), TIFFTAG_TILEWIDTH, &width);
    TIFFGetField(this->tiff(), TIFFTAG_TILELENGTH, &height);
    // a tile obeys the limits of a picture
    const Picture tile = Picture::make(width, height, 8);
    width_ = tile.width;
    height_ = tile.height;
    rowSize_ = static_cast<size_t>(TIFFTileRowSize64(this->tiff()));
    tile_.resize(static_cast<size_t>(TIFFTileSize64(this->tiff())));
    if (rowSize_ < packedSize(width, bits) || tile_.size() < rowSize_ * height) fail();
    rows_ = Picture::make(size.width, std::min(height_, size.height), size.depth);
  }

  int64_t keptBytes() const override {
    return static_cast<int64_t>(tile_.size() + rows_.rowSize() * static_cast<size_t>(rows_.height)) +
           decodingBytes(tiff(), false);
  }

 private:
  void readRow(int32_t y, uint8_t* row) override {
    const int32_t top = y - y % height_;
    if (top != top_) readTiles(top);
    std::memcpy(row, rows_.row(y - top), rows_.rowSize());
  }

  void readTiles(int32_t top) {
    const int32_t rows = std::min(rows_.height, size().height - top);
    for (int32_t left = 0; left < size().width; left += width_) {
      if (TIFFReadTile(tiff(), tile_.data(), static_cast<uint32_t>(left), static_cast<uint32_t>(top), 0, 0) < 0) fail();
      const int32_t columns = std::min(width_, size().width - left);
      const size_t offset = static_cast<size_t>(left) * static_cast<size_t>(size().depth / 8);
      for (int32_t y = 0; y < rows; ++y) {
        unpack(tile_.data() + static_cast<size_t>(y) * rowSize_, bits(), columns, rows_.row(y) + offset);
      }
    }
    top_ = top;
  }

  int32_t width_, height_;
  size_t rowSize_;  // bytes of a tile's row
  Zeros<uint8_t> tile_;
  Picture rows_;
  int32_t top_ = -1;  // of the tiles in `rows_`
};

class TiffWriter : public PictureWriter {
 public:
  TiffWriter(std::FILE* file, const PictureSize& size) : tiff_(file, isBig(size) ? "w8" : "w"), line_(size.rowSize()) {
    TIFF* const tiff = tiff_.get();
    if (tiff == nullptr) tiff_.failWriting();
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(size.width));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(size.height));
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, static_cast<uint16_t>(size.depth));
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, uint16_t{1});
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, uint16_t{PHOTOMETRIC_MINISBLACK});
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, uint16_t{PLANARCONFIG_CONTIG});
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tiff, 0));
  }

  void writeRow(const uint8_t* row) override {
    std::memcpy(line_.data(), row, line_.size());
    if (TIFFWriteScanline(tiff_.get(), line_.data(), next_++, 0) != 1) tiff_.failWriting();
  }

  void finish() override {
    if (TIFFFlush(tiff_.get()) != 1) tiff_.failWriting();
    tiff_.end();
    if (tiff_.hasMessage()) tiff_.failWriting();
  }

 private:
  // Offsets of 32 bits reach to 4 GiB, tables of the strips included.
  static bool isBig(const PictureSize& size) {
    return static_cast<int64_t>(size.rowSize()) * size.height > 4'000'000'000;
  }

  Tiff tiff_;
  std::vector<uint8_t> line_;
  uint32_t next_ = 0;
};

}  // namespace

std::unique_ptr<PictureReader> openTiff(std::FILE* file, std::vector<std::string>& notes) {
  refuseRepeatedValues(file);
  auto handle = std::make_unique<Tiff>(file, "rm");
  TIFF* const tiff = handle->get();
  if (tiff == nullptr) handle->failReading();
  uint32_t width = 0, height = 0;
  uint16_t bits = 0, photometric = 0, orientation = 0;
  TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
  TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_ORIENTATION, &orientation);
  if (TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric) != 1) handle->failReading();
  refuseUnlessGrey(tiff, photometric, bits);
  if (TIFFLastDirectory(tiff) == 0) notes.push_back("has more than one page; the first one is taken");
  if (orientation != ORIENTATION_TOPLEFT) notes.push_back("states an orientation; the rows are taken as stored");

  const PictureSize size = PictureSize::make(width, height, bits == 16 ? 16 : 8);
  const bool whiteIsZero = photometric == PHOTOMETRIC_MINISWHITE;
  if (TIFFIsTiled(tiff) != 0) return std::make_unique<TileReader>(std::move(handle), size, bits, whiteIsZero);
  return std::make_unique<StripReader>(std::move(handle), size, bits, whiteIsZero);
}

std::unique_ptr<PictureWriter> startTiff(std::FILE* file, const PictureSize& size) {
  return std::make_unique<TiffWriter>(file, size);
}

}  // namespace kip::tool
