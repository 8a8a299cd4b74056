// SPDX-License-Identifier: Apache-2.0
#include "made_files.hpp"

#include <png.h>
#include <tiffio.h>

#include <algorithm>
#include <bit>
#include <cstdio>
#include <utility>

namespace kip::test {
namespace {

// Between the machine's byte order and high byte first.
void swap16(std::string& bytes) {
  if (std::endian::native == std::endian::big) return;
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) std::swap(bytes[i], bytes[i + 1]);
}

auto* bytesOf(std::string& text) {
  return reinterpret_cast<unsigned char*>(text.data());
}

void writePage(TIFF* tiff, const TiffKind& kind) {
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, kMadeWidth);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, kMadeHeight);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, kind.bits);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, kind.samples);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, kind.photometric);
  TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, kind.format);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, kind.compression);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  if (kind.samples == 2) {
    const uint16_t alpha = EXTRASAMPLE_UNASSALPHA;
    TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &alpha);
  }
  if (kind.photometric == PHOTOMETRIC_PALETTE) {
    std::vector<uint16_t> map(size_t{1} << kind.bits);
    TIFFSetField(tiff, TIFFTAG_COLORMAP, map.data(), map.data(), map.data());
  }
  std::vector<std::string> rows = madeRows(kind.bits, kind.samples);
  if (kind.bits == 16) {
    for (std::string& row : rows) swap16(row);
  }
  if (!kind.tiled) {
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 5);
    for (uint32_t y = 0; y < rows.size(); ++y) TIFFWriteScanline(tiff, rows[y].data(), y, 0);
    return;
  }
  constexpr uint32_t kTile = 16;
  TIFFSetField(tiff, TIFFTAG_TILEWIDTH, kTile);
  TIFFSetField(tiff, TIFFTAG_TILELENGTH, kTile);
  const size_t part = kTile * static_cast<size_t>(kind.bits) / 8;
  for (uint32_t y = 0; y < rows.size(); y += kTile) {
    for (uint32_t x = 0; x < kMadeWidth; x += kTile) {
      std::string tile;
      for (uint32_t row = y; row < y + kTile; ++row) {
        tile += row < rows.size() ? rows[row].substr(x / kTile * part, part) : "";
        tile.resize((row - y + 1) * part);
      }
      TIFFWriteTile(tiff, tile.data(), x, y, 0, 0);
    }
  }
}

}  // namespace

std::vector<std::string> madeRows(int32_t bits, int32_t samples) {
  std::vector<std::string> rows;
  for (int32_t y = 0; y < kMadeHeight; ++y) {
    std::string row(static_cast<size_t>((kMadeWidth * samples * bits + 7) / 8), '\0');
    for (int32_t i = 0; i < kMadeWidth * samples * bits; ++i) {
      const uint32_t value = madeValue(i / bits / samples, y, std::min(bits, 16));
      const uint32_t bit = value >> (bits - 1 - i % bits) & 1;
      char& byte = row[static_cast<size_t>(i / 8)];
      byte = static_cast<char>(static_cast<uint8_t>(byte) | bit << (7 - i % 8));
    }
    rows.push_back(row);
  }
  return rows;
}

std::string join(const std::vector<std::string>& rows) {
  std::string bytes;
  for (const std::string& row : rows) bytes += row;
  return bytes;
}

void makePng(const std::string& path, const PngKind& kind) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_init_io(png, file);
  png_set_IHDR(png, info, kMadeWidth, kMadeHeight, kind.bits, kind.colourType,
               kind.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  const std::vector<png_color> palette(256);
  if (kind.colourType == PNG_COLOR_TYPE_PALETTE) png_set_PLTE(png, info, palette.data(), 256);
  const png_color_16 transparent = {};
  if (kind.transparentGrey) png_set_tRNS(png, info, nullptr, 0, &transparent);
  std::vector<std::string> rows = madeRows(kind.bits, png_get_channels(png, info));
  std::vector<png_bytep> pointers;
  for (std::string& row : rows) pointers.push_back(bytesOf(row));
  png_set_rows(png, info, pointers.data());
  png_write_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
  png_destroy_write_struct(&png, &info);
  std::fclose(file);
}

void makeTiff(const std::string& path, const TiffKind& kind) {
  TIFF* tiff = TIFFOpen(path.c_str(), kind.bigEndian ? "wb" : "wl");
  for (int page = 0; page < kind.pages; ++page) {
    writePage(tiff, kind);
    TIFFWriteDirectory(tiff);
  }
  TIFFClose(tiff);
}

}  // namespace kip::test
