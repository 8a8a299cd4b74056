// SPDX-License-Identifier: Apache-2.0
#include "tiff_file.hpp"

#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <memory>

#include "error.hpp"

namespace kip::tool {
namespace {

// libtiff reports to the process: the first message and its errno since the last start.
char reported[200];
int reportedErrno;

void onError(const char*, const char* format, va_list arguments) {
  if (reported[0] != '\0') return;
  reportedErrno = errno;
  std::vsnprintf(reported, sizeof reported, format, arguments);
}

struct Close {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using Tiff = std::unique_ptr<TIFF, Close>;

// libtiff gets a descriptor of its own, since it closes what it is given.
Tiff start(std::FILE* file, const char* mode) {
  reported[0] = '\0';
  reportedErrno = 0;
  TIFFSetErrorHandler(onError);
  TIFFSetWarningHandler(nullptr);
  const int descriptor = dup(fileno(file));
  if (descriptor < 0) throw Error(std::strerror(errno));
  errno = 0;
  Tiff tiff(TIFFFdOpen(descriptor, "TIFF", mode));
  if (tiff == nullptr) close(descriptor);
  return tiff;
}

[[noreturn]] void failReading() {
  throw Error(std::string("damaged or truncated TIFF: ") + (reported[0] != '\0' ? reported : "cannot be decoded"));
}

[[noreturn]] void failWriting() {
  throw Error(std::string("cannot write: ") + (reportedErrno != 0 ? std::strerror(reportedErrno) : reported));
}

void refuseUnlessGrey(TIFF* tiff, uint16_t photometric) {
  uint16_t samples = 0, extra = 0, format = 0;
  uint16_t* extraKinds = nullptr;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &extra, &extraKinds);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &format);
  if (photometric == PHOTOMETRIC_PALETTE) refuseNotGrey("a picture with a palette");
  if (photometric != PHOTOMETRIC_MINISBLACK && photometric != PHOTOMETRIC_MINISWHITE) {
    refuseNotGrey("a colour picture");
  }
  if (samples == 2 && extra == 1) refuseNotGrey("a picture with transparency");
  if (samples != 1) refuseNotGrey("a picture of several channels");
  if (format == SAMPLEFORMAT_INT) refuseNotGrey("a picture of signed pixels");
  if (format != SAMPLEFORMAT_UINT && format != SAMPLEFORMAT_VOID) refuseNotGrey("a picture of floating-point pixels");
}

size_t packedSize(int64_t pixels, int32_t bits) {
  return static_cast<size_t>((pixels * bits + 7) / 8);
}

// Copies `count` packed pixels of `bits` bits to (x, y) of the picture.
void unpack(const uint8_t* packed, int32_t bits, int32_t count, Picture& picture, int32_t x, int32_t y) {
  uint8_t* out = picture.row(y) + static_cast<size_t>(x) * static_cast<size_t>(picture.depth / 8);
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

void readStrips(TIFF* tiff, int32_t bits, Picture& picture) {
  std::vector<uint8_t> line(static_cast<size_t>(TIFFScanlineSize64(tiff)));
  if (line.size() < packedSize(picture.width, bits)) failReading();
  for (int32_t y = 0; y < picture.height; ++y) {
    if (TIFFReadScanline(tiff, line.data(), static_cast<uint32_t>(y), 0) != 1) failReading();
    unpack(line.data(), bits, picture.width, picture, 0, y);
  }
}

void readTiles(TIFF* tiff, int32_t bits, Picture& picture) {
  uint32_t tileWidth = 0, tileHeight = 0;
  TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &tileWidth);
  TIFFGetField(tiff, TIFFTAG_TILELENGTH, &tileHeight);
  Picture::make(tileWidth, tileHeight, 8);  // a tile obeys the limits of a picture
  const auto rowSize = static_cast<size_t>(TIFFTileRowSize64(tiff));
  Zeros<uint8_t> tile(static_cast<size_t>(TIFFTileSize64(tiff)));
  if (rowSize < packedSize(tileWidth, bits) || tile.size() < rowSize * tileHeight) failReading();
  const auto stepX = static_cast<int32_t>(tileWidth), stepY = static_cast<int32_t>(tileHeight);
  for (int32_t top = 0; top < picture.height; top += stepY) {
    for (int32_t left = 0; left < picture.width; left += stepX) {
      if (TIFFReadTile(tiff, tile.data(), static_cast<uint32_t>(left), static_cast<uint32_t>(top), 0, 0) < 0) {
        failReading();
      }
      const int32_t columns = std::min(stepX, picture.width - left), rows = std::min(stepY, picture.height - top);
      for (int32_t y = 0; y < rows; ++y) {
        unpack(tile.data() + static_cast<size_t>(y) * rowSize, bits, columns, picture, left, top + y);
      }
    }
  }
}

template <typename Pixel>
void invert(Zeros<Pixel>& pixels) {
  for (Pixel& pixel : pixels) pixel = static_cast<Pixel>(~pixel);
}

}  // namespace

Picture readTiff(std::FILE* file, std::vector<std::string>& notes) {
  const Tiff tiff = start(file, "rm");
  if (tiff == nullptr) failReading();
  uint32_t width = 0, height = 0;
  uint16_t bits = 0, photometric = 0, orientation = 0;
  TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &width);
  TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &height);
  TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_BITSPERSAMPLE, &bits);
  TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_ORIENTATION, &orientation);
  if (TIFFGetField(tiff.get(), TIFFTAG_PHOTOMETRIC, &photometric) != 1) failReading();
  refuseUnlessGrey(tiff.get(), photometric);
  if (bits != 1 && bits != 2 && bits != 4 && bits != 8 && bits != 16) {
    refuseNotGrey("a picture of " + std::to_string(bits) + "-bit pixels");
  }
  if (TIFFLastDirectory(tiff.get()) == 0) notes.push_back("has more than one page; the first one is taken");
  if (orientation != ORIENTATION_TOPLEFT) notes.push_back("states an orientation; the rows are taken as stored");

  Picture picture = Picture::make(width, height, bits == 16 ? 16 : 8);
  (TIFFIsTiled(tiff.get()) != 0 ? readTiles : readStrips)(tiff.get(), bits, picture);
  if (photometric == PHOTOMETRIC_MINISWHITE) {
    invert(picture.pixels8);
    invert(picture.pixels16);
  }
  return picture;
}

void writeTiff(std::FILE* file, const Picture& picture) {
  Tiff tiff = start(file, "w");
  if (tiff == nullptr) failWriting();
  TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(picture.width));
  TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(picture.height));
  TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, static_cast<uint16_t>(picture.depth));
  TIFFSetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, uint16_t{1});
  TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, uint16_t{PHOTOMETRIC_MINISBLACK});
  TIFFSetField(tiff.get(), TIFFTAG_PLANARCONFIG, uint16_t{PLANARCONFIG_CONTIG});
  TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tiff.get(), 0));
  std::vector<uint8_t> line(picture.rowSize());
  for (int32_t y = 0; y < picture.height; ++y) {
    std::memcpy(line.data(), picture.row(y), line.size());
    if (TIFFWriteScanline(tiff.get(), line.data(), static_cast<uint32_t>(y), 0) != 1) failWriting();
  }
  if (TIFFFlush(tiff.get()) != 1) failWriting();
  tiff.reset();
  if (reported[0] != '\0') failWriting();
}

}  // namespace kip::tool
