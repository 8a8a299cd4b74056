// SPDX-License-Identifier: Apache-2.0
#include <memory>

#include "commands.hpp"
#include "error.hpp"
#include "inputs.hpp"
#include "mask_options.hpp"
#include "numbers.hpp"
#include "outputs.hpp"
#include "reduction.hpp"

namespace kip::tool {
namespace {

struct Arguments {
  std::string in, out, levels = "1";
  bool x = false, y = false;
  MaskOptions masks;
};

void runReduce(const Arguments& arguments) {
  const int32_t levels = parseCount("--levels", arguments.levels, 1, kMaxLevels);
  const Axes axes = arguments.x ? Axes::x : arguments.y ? Axes::y : Axes::both;
  Outputs outputs;
  outputs.add(arguments.out);
  if (!arguments.masks.maskOut.empty()) outputs.add(arguments.masks.maskOut);

  MaskedPicture result{readInput(arguments.in), std::nullopt};
  refuseMissingLevels(arguments.in, result.picture, axes, levels);
  if (!arguments.masks.mask.empty()) result.mask = readMask(arguments.masks.mask, result.picture);
  for (int32_t level = 0; level < levels; ++level) result = reduce(arguments.in, result, axes);
  outputs.write(result.picture);
  if (!arguments.masks.maskOut.empty()) outputs.write(*result.mask);
  outputs.commit();
}

constexpr char kFooter[] = R"(
Pictures
  IN   8- or 16-bit grey PNG, TIFF or PGM, recognised by content.
  OUT  written with IN's depth as .png, .tif, .tiff or .pgm, by its name; may be IN.

Values
  Each level halves the size, rounding down. A pixel is the rounded mean of five source pixels, or five by five, with
  the weights 1 4 6 4 1 around its centre; at the border the nearest pixel stands in for those outside. Pixel 0 is
  centred on source pixel 0. Along both axes there is one rounding: --x and then --y may differ from it by one.
  A mask weights the pixels of IN, 0 (left out) to 255; where nothing has weight the result is 0. The result's mask is
  the rounded mean of the mask with the same weights. Each level takes the result's mask of the level before.

Examples
  kip reduce in.png half.png
  kip reduce in.tif eighth.tif --levels 3 --mask valid.png --mask-out eighth-valid.png
  kip reduce interlaced.pgm out.pgm --y

Exit code: 0 done, 1 a picture or a file could not be handled, 2 wrong usage; with 1 and 2 nothing is written.)";

}  // namespace

void addReduceCommand(CLI::App& app) {
  CLI::App* command = app.add_subcommand("reduce", "Halve a grey picture, once or several times");
  const auto arguments = std::make_shared<Arguments>();
  command->add_option("IN", arguments->in, "The picture to reduce")->required();
  command->add_option("OUT", arguments->out, "The result")->required();
  CLI::Option* x = command->add_flag("--x", arguments->x, "Halve the width only");
  command->add_flag("--y", arguments->y, "Halve the height only")->excludes(x);
  command->add_option("--levels", arguments->levels, "Halve so many times, 1 to 20, while a pixel is left")
      ->capture_default_str();
  CLI::Option* mask = addMaskOption(*command, arguments->masks);
  addMaskOutOption(*command, arguments->masks)->needs(mask);
  command->footer(kFooter + 1);
  command->callback([arguments] { runReduce(*arguments); });
}

}  // namespace kip::tool
