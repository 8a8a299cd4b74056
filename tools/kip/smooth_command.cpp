// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>

#include "commands.hpp"
#include "engines.hpp"
#include "error.hpp"
#include "kip/gauss.h"
#include "numbers.hpp"
#include "picture_file.hpp"
#include "sheet.hpp"
#include "status_text.hpp"

namespace kip::tool {
namespace {

// The command line as it was typed.
struct Arguments {
  std::string in, out, sheet, sigma, sample = "1", scale = "1", roi;
  bool round = false, verbose = false;
  int depth = 8;
};

struct Request {
  kip_gaussParams params;
  std::optional<ksIRegion> roi;
  Format format;
};

void check(const std::string& name, ksys_status status) {
  if (status < 0) throw Error(name + ": " + statusText(status));
}

Request parseRequest(const Arguments& arguments) {
  Request request{};
  check("parameters", kip_gaussParams_init(&request.params));
  const auto sigma = parsePair("--sigma", arguments.sigma, 0), sample = parsePair("--sample", arguments.sample, 1);
  request.params.xSigma = sigma[0];
  request.params.ySigma = sigma[1];
  request.params.xSample = sample[0];
  request.params.ySample = sample[1];
  request.params.scale = parsePositive("--scale", arguments.scale);
  request.params.roundResult = arguments.round ? 1 : 0;
  if (!arguments.roi.empty()) {
    const auto roi = parseRectangle("--roi", arguments.roi);
    request.roi = {roi[0], roi[1], roi[2], roi[3]};
  }
  request.format = formatOfName(arguments.out);
  if (!arguments.sheet.empty() && formatOfName(arguments.sheet) != Format::png) {
    throw UsageError(arguments.sheet + ": the sheet is a PNG file");
  }
  return request;
}

// An image of the library that starts without pixels.
class Image {
 public:
  Image() { check("image", kimg_image_constructUnbound(&record)); }
  ~Image() { kimg_image_destruct(&record); }
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;

  kimg_image record;
};

// Binds the destination to the pixels whose sample positions lie in the wanted part of the source.
void bindToRoi(kimg_image& destination, const Request& request, const Picture& source, const Arguments& arguments) {
  const kip_gaussParams& params = request.params;
  const ksIRegion& roi = *request.roi;
  const std::string option = arguments.in + ": --roi " + arguments.roi;
  if (int64_t{roi.x} + roi.width > source.width || int64_t{roi.y} + roi.height > source.height) {
    throw Error(option + " does not lie inside the picture of " + sizeText(source.width, source.height) + " pixels");
  }
  ksIRegion region;
  kfGaussGetDstReg(&roi, &region, params.xSample, params.ySample, params.xSigma + 1, params.ySigma + 1);
  if (region.width < 1 || region.height < 1) throw Error(option + " holds no sample position: the result is empty");
  const kstd_rect32 rect = {region.x, region.y, region.width, region.height};
  const auto assign = arguments.depth == 8 ? kimg_image8_assignNewRect : kimg_image16_assignNewRect;
  check(arguments.in, assign(&destination, &rect));
}

Picture copyPixels(const kimg_image& image, int32_t depth) {
  Picture picture = Picture::make(image.width, image.height, depth);
  const auto* bytes = static_cast<const uint8_t*>(image.pixels);
  const auto stride = static_cast<size_t>(image.stride) * static_cast<size_t>(image.pixelBytes);
  for (int32_t y = 0; y < picture.height; ++y) {
    const uint8_t* row = bytes + static_cast<size_t>(y) * stride;
    std::copy(row, row + picture.rowSize(), picture.row(y));
  }
  return picture;
}

struct Result {
  Picture picture;
  int32_t x, y;  // the number of its top-left pixel
  double milliseconds;
};

Result smooth(Picture& source, const Request& request, const Arguments& arguments) {
  if (source.depth != 8) {
    throw Error(arguments.in + ": has 16-bit pixels, and this version smooths 8-bit pictures only; convert it first, " +
                "for example with ImageMagick: convert in.png -depth 8 out.png");
  }
  const kstd_rect32 whole = {0, 0, source.width, source.height};
  kimg_image sourceImage;
  check(arguments.in, kimg_image8_constructFromMemory(&sourceImage, &whole, source.pixels8.data(), source.width));
  const std::unique_ptr<kimg_image, void (*)(kimg_image*)> release(&sourceImage, kimg_image_destruct);
  Image destination;
  if (request.roi) bindToRoi(destination.record, request, source, arguments);

  const auto start = std::chrono::steady_clock::now();
  const auto call = arguments.depth == 8 ? kip_gauss_smooth8_8 : kip_gauss_smooth8_16;
  check(arguments.in, call(&sourceImage, &destination.record, &request.params));
  const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;

  if (destination.record.bound == 0 || destination.record.width < 1 || destination.record.height < 1) {
    throw Error(arguments.in + ": holds no sample position: the result is empty");
  }
  return {copyPixels(destination.record, arguments.depth), destination.record.x, destination.record.y, time.count()};
}

Picture makeBeforeAfter(const Picture& before, const Result& after, const Arguments& arguments) {
  std::string caption = "after: sigma " + arguments.sigma;
  if (arguments.sample != "1") caption += ", sample " + arguments.sample;
  if (arguments.scale != "1") caption += ", scale " + arguments.scale;
  caption += ", " + sizeText(after.picture.width, after.picture.height);
  // With the gain taken out, a 16-bit result has the source's grey levels.
  const double white = 255 * std::max(1.0, parsePositive("--scale", arguments.scale));
  return makeSheet({{&before, "before: " + sizeText(before.width, before.height)}, {&after.picture, caption, white}},
                   2);
}

void say(const std::string& text) {
  std::fprintf(stderr, "kip: %s\n", text.c_str());
}

void report(const Picture& source, const Result& result, const Arguments& arguments) {
  say(arguments.in + ": " + sizeText(source.width, source.height) + " pixels of " + std::to_string(source.depth) +
      " bits");
  say(arguments.out + ": " + sizeText(result.picture.width, result.picture.height) + " pixels of " +
      std::to_string(result.picture.depth) + " bits, the first one at (" + std::to_string(result.x) + ", " +
      std::to_string(result.y) + ")");
  char time[40];
  std::snprintf(time, sizeof time, "%.2f ms", result.milliseconds);
  say("engine: " + servingEngine() + ", time of the library call: " + time);
}

void runSmooth(const Arguments& arguments) {
  const Request request = parseRequest(arguments);
  std::vector<std::string> notes;
  Picture source = readPicture(arguments.in, notes);
  for (const std::string& note : notes) say(arguments.in + ": note: " + note);

  OutputFile out(arguments.out);
  std::optional<OutputFile> sheet;
  if (!arguments.sheet.empty()) {
    sheet.emplace(arguments.sheet);
    if (sheet->target() == out.target()) throw UsageError(arguments.sheet + ": is the name of the result too");
  }
  const Result result = smooth(source, request, arguments);
  writePicture(out, request.format, result.picture);
  if (sheet) writePicture(*sheet, Format::png, makeBeforeAfter(source, result, arguments));
  out.commit();
  if (sheet) sheet->commit();
  if (arguments.verbose) report(source, result, arguments);
}

constexpr char kFooter[] = R"(
Pictures
  IN   8-bit grey PNG, TIFF or PGM, recognised by content. 1-, 2- and 4-bit pixels are stretched to 8 bits; other
       grey ranges of a PGM likewise. Colour, palettes, transparency, signed and floating-point pixels are refused,
       16-bit pictures are not smoothed yet. At most 1 000 000 pixels a side and 2^30 in all.
  OUT  written as .png, .tif, .tiff or .pgm, by its name; replaced only when all went well, and may be IN.

Values
  Along each axis three box filters of width sigma + 1 follow one another (3 sigma + 1 taps, bell-shaped, standard
  deviation sqrt((sigma^2 + 2 sigma) / 4) pixels), then every N-th column and row is kept. The border is mirrored.
  A scale above 1 may give values beyond the result's range: their low 8 or 16 bits are stored. Results of 16 bits
  keep the source's 0 to 255 unless --scale is given: --depth 16 --scale 256 keeps 8 fractional bits.
  Result pixel u lies at source position u N + floor(N / 2) + (1 if N and sigma + 1 are odd) - 1. With N = 1 an odd
  sigma therefore shifts pixel numbers by one (source columns 0 to 9 give columns 1 to 10); OUT holds all of them.
  With --roi it holds those whose positions lie in the rectangle, computed from the whole picture around them.

Examples
  kip smooth in.png out.png --sigma 3 --round
  kip smooth in.tif half.tif --sigma 1 --sample 2 --roi 100,50,320,240
  kip smooth in.pgm fine.png --sigma 5,0 --depth 16 --scale 256 --sheet sheet.png --verbose

Exit code: 0 done, 1 a picture or a file could not be handled, 2 wrong usage; with 1 and 2 nothing is written.)";

}  // namespace

void addSmoothCommand(CLI::App& app) {
  CLI::App* command = app.add_subcommand("smooth", "Smooth a grey picture, optionally reducing it");
  const auto arguments = std::make_shared<Arguments>();
  command->add_option("IN", arguments->in, "The picture to smooth")->required();
  command->add_option("OUT", arguments->out, "The result")->required();
  command->add_option("--sigma", arguments->sigma, "Smoothing size in pixels, 0 to 1000000: S for both axes, or SX,SY")
      ->required();
  command->add_option("--sample", arguments->sample, "Keep every N-th pixel, 1 to 1000000: N, or NX,NY")
      ->capture_default_str();
  command->add_option("--scale", arguments->scale, "Gain, above 0; 1 keeps the grey level")->capture_default_str();
  command->add_flag("--round", arguments->round, "Round to nearest in place of down");
  command->add_option("--depth", arguments->depth, "Bits of a result pixel: 8 or 16")
      ->check(CLI::IsMember({8, 16}))
      ->capture_default_str();
  command->add_option("--roi", arguments->roi, "Compute only what samples this part of IN: X,Y,W,H in pixels");
  command->add_option("--sheet", arguments->sheet, "Write IN and OUT side by side to this PNG file too");
  command->add_flag("--verbose", arguments->verbose, "Say the sizes, the engine and the time on stderr");
  command->footer(kFooter + 1);
  command->callback([arguments] { runSmooth(*arguments); });
}

}  // namespace kip::tool
