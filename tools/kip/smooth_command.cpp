// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstdio>
#include <memory>

#include "commands.hpp"
#include "inputs.hpp"
#include "numbers.hpp"
#include "outputs.hpp"
#include "sheet.hpp"
#include "smoothing.hpp"

namespace kip::tool {
namespace {

Picture makeSmoothSheet(const Picture& before, const BandResult& after, const SmoothRequest& request,
                        const SmoothArguments& arguments) {
  std::string caption = "after: sigma " + request.sigmaText();
  if (arguments.sample != "1") caption += ", sample " + arguments.sample;
  if (arguments.scale != "1") caption += ", scale " + arguments.scale;
  caption += ", " + sizeText(after.picture.width, after.picture.height);
  // With the gain taken out, a 16-bit result has the source's grey levels.
  const double white = before.depth == 8 ? 255 : 65535;
  const double gain = std::max(1.0, parsePositive("--scale", arguments.scale));
  std::vector<SheetEntry> entries = {{&before, "before: " + sizeText(before.width, before.height), white},
                                     {&after.picture, caption, white * gain}};
  if (after.mask) entries.push_back({&*after.mask, "result mask: valid is white"});
  return makeSheet(entries, 3);
}

// Which sigma it is, and which standard deviation that one has.
void reportKernel(const SmoothRequest& request) {
  const double x = stddev_of(request.params.x_sigma), y = stddev_of(request.params.y_sigma);
  char deviation[80];
  std::snprintf(deviation, sizeof deviation, x == y ? "%.2f" : "%.2f,%.2f", x, y);
  say("sigma " + request.sigmaText() + ", standard deviation " + deviation + " pixels");
}

void report(const PictureSize& source, const Smoothing& smoothing, size_t bands, const SmoothArguments& arguments) {
  const PictureSize& result = smoothing.size();
  say(arguments.in + ": " + sizeText(source.width, source.height) + " pixels of " + std::to_string(source.depth) +
      " bits");
  say(arguments.out + ": " + sizeText(result.width, result.height) + " pixels of " + std::to_string(result.depth) +
      " bits, the first one at (" + std::to_string(smoothing.x()) + ", " + std::to_string(smoothing.y()) + ")");
  char time[40];
  std::snprintf(time, sizeof time, "%.2f ms", smoothing.milliseconds());
  say("engine: " + smoothing.engine() + ", time of the library call: " + time +
      (bands > 1 ? " in " + std::to_string(bands) + " bands" : ""));
}

void runSmooth(const SmoothArguments& arguments) {
  const SmoothRequest request = parseSmoothRequest(arguments);
  Outputs outputs;
  outputs.add(arguments.out);
  if (!arguments.masks.maskOut.empty()) outputs.add(arguments.masks.maskOut);
  if (!arguments.sheet.empty()) outputs.addSheet(arguments.sheet);

  Sources sources({arguments.in, arguments.masks.mask, arguments.sampleMask});
  Smoothing smoothing(request, arguments, sources);
  const BandRule rule = smoothing.rule();
  const std::vector<Rows> bands = cutIntoBands(rule, sources, arguments.memory);
  Picture sheet;
  const auto work = [&](SourcePictures& source, Rows sourceRows, Rows band) {
    BandResult result = smoothing.smooth(source, sourceRows, band);
    if (!arguments.sheet.empty()) sheet = makeSmoothSheet(source.picture, result, request, arguments);
    return result;
  };
  processBands(rule, bands, sources, smoothing.size(), work, outputs, !arguments.masks.maskOut.empty());
  if (!arguments.sheet.empty()) outputs.write(sheet);
  outputs.commit();
  if (arguments.verbose || arguments.stddev) reportKernel(request);
  if (arguments.verbose) report(sources.size(), smoothing, bands.size(), arguments);
}

constexpr char kFooter[] = R"(
Pictures
  IN   8-bit or 16-bit grey PNG, TIFF or PGM, recognised by content. 1-, 2- and 4-bit pixels are stretched to 8 bits;
       other grey ranges of a PGM likewise. Colour, palettes, transparency, signed and floating-point pixels are
       refused. At most 1 000 000 pixels a side.
  OUT  written as .png, .tif, .tiff or .pgm, by its name; replaced only when all went well, and may be IN.

Values
  Along each axis three box filters of width sigma + 1 follow one another (3 sigma + 1 taps, bell-shaped, standard
  deviation sqrt(sigma (sigma + 2)) / 2 pixels), then every N-th column and row is kept. The border is mirrored.
  --stddev says which sigma it took; one of both options is required.
  A scale above 1 may give values beyond the result's range: by the engine, their low 8 or 16 bits are stored, or the
  largest value. 16-bit results of an 8-bit picture keep its 0 to 255 unless --scale is given: --depth 16 --scale 256
  keeps 8 fractional bits. A 16-bit picture has a 16-bit result and a sigma of at most 39.
  Results are rounded to nearest. --truncate rounds down, and flat areas may come out one lower: 100 as 99 at sigma 2.
  Result pixel u lies at source position u N + floor(N / 2) + (1 if N and sigma + 1 are odd) - 1. With N = 1 an odd
  sigma therefore shifts pixel numbers by one (source columns 0 to 9 give columns 1 to 10); OUT holds all of them.
  With --roi it holds those whose positions lie in the rectangle, computed from the whole picture around them.

Masks (8-bit grey pictures of IN's size; 0 is invalid, any other value valid)
  With --mask a result pixel is the weighted mean of the valid pixels under its kernel. It is valid where the mask is
  valid at its sample position (column c N, row r N of IN; later for N from 3 sigma + 3 on). --coverage F asks instead that at least the fraction F of
  the kernel's pixels, and at least one, is valid; the mask at the sample position counts all the same, unless
  --allow-masked-sample is given too: then holes are filled. --sample-mask gives the sample positions another mask, and
  goes without --mask as well. Invalid result pixels are the source's sample times the scale. --mask-out holds 255
  where the result is valid, 0 elsewhere. The sigma of an 8-bit IN is at most 63, with --level portable 24. --roi does
  not go with masks.

Engines
  The best one that the processor has and that serves the request; else the portable one. Level 1 serves 8-bit pictures
  without a mask with --truncate only. --level holds the library to one, kip info lists them, --verbose says which
  served.

Memory
  A picture for which --memory does not suffice is done in bands of rows, with the same pixels as at once. It is meant
  for the pixels; the program itself takes some megabytes more. An interlaced PNG and --sheet need all rows at once, and
  so do the largest sigmas, those whose sums of grey levels exceed 2^53.

Examples
  kip smooth in.png out.png --sigma 3
  kip smooth in.png out.png --stddev 2.5
  kip smooth in.tif half.tif --sigma 1 --sample 2 --roi 100,50,320,240
  kip smooth in.pgm fine.png --sigma 5,0 --depth 16 --scale 256 --sheet sheet.png --verbose
  kip smooth in.png out.png --sigma 4 --mask valid.png --mask-out still-valid.png
  kip smooth in.png filled.png --sigma 4 --mask valid.png --coverage 0.1 --allow-masked-sample
  kip smooth mosaic.tif out.tif --sigma 12 --memory 256M

Exit code: 0 done, 1 a picture or a file could not be handled, 2 wrong usage; with 1 and 2 nothing is written.)";

}  // namespace

void addSmoothCommand(CLI::App& app) {
  CLI::App* command = app.add_subcommand("smooth", "Smooth a grey picture, optionally reducing it");
  const auto arguments = std::make_shared<SmoothArguments>();
  command->add_option("IN", arguments->in, "The picture to smooth")->required();
  command->add_option("OUT", arguments->out, "The result")->required();
  CLI::Option* sigma = command->add_option("--sigma", arguments->sigma,
                                           "Smoothing size in pixels, 0 to 1000000: S for both axes, or SX,SY");
  command
      ->add_option(
          "--stddev", arguments->stddev,
          "In its place, the standard deviation in pixels, 0 to 500000: D, or DX,DY; the nearest sigma is taken")
      ->excludes(sigma);
  command->add_option("--sample", arguments->sample, "Keep every N-th pixel, 1 to 1000000: N, or NX,NY")
      ->capture_default_str();
  command->add_option("--scale", arguments->scale, "Gain, above 0; 1 keeps the grey level")->capture_default_str();
  command->add_flag("--truncate", arguments->truncate, "Round down in place of to nearest");
  command->add_option("--depth", arguments->depth, "Bits of a result pixel: 8 or 16; those of IN when not given")
      ->check(CLI::IsMember({8, 16}));
  command->add_option("--roi", arguments->roi, "Compute only what samples this part of IN: X,Y,W,H in pixels");
  CLI::Option* mask = addMaskOption(*command, arguments->masks);
  command->add_option("--sample-mask", arguments->sampleMask, "A mask of IN for the sample positions alone");
  command->add_option("--coverage", arguments->coverage, "Least valid fraction under a valid result pixel, 0 to 1")
      ->needs(mask);
  command
      ->add_flag("--allow-masked-sample", arguments->allowMaskedSample,
                 "With --coverage: whatever the mask is at the sample position")
      ->needs(mask);
  addMaskOutOption(*command, arguments->masks);
  command->add_option("--threads", arguments->threads, "Threads of --mask, 1 to 256; 0: one for each processor")
      ->capture_default_str();
  std::vector<std::string> levelNames;
  std::string levelTitles;
  for (const kip_level& level : levels()) {
    levelNames.emplace_back(level.name);
    levelTitles += (levelTitles.empty() ? "" : ", ") + std::string(level.title);
  }
  command->add_option("--level", arguments->level, "Hold the library to one: " + levelTitles)
      ->check(CLI::IsMember(levelNames));
  addMemoryOption(*command, arguments->memory);
  command->add_option("--sheet", arguments->sheet, "Write IN, OUT and the result's mask side by side to this PNG file");
  command->add_flag("--verbose", arguments->verbose,
                    "Say the standard deviation, the sizes, the engine and the time on stderr");
  command->footer(kFooter + 1);
  command->callback([arguments] { runSmooth(*arguments); });
}

}  // namespace kip::tool
