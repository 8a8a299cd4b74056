// SPDX-License-Identifier: Apache-2.0
#include <memory>

#include "commands.hpp"
#include "mask_options.hpp"
#include "memory_option.hpp"
#include "numbers.hpp"
#include "outputs.hpp"
#include "reduction.hpp"

namespace kip::tool {
namespace {

struct Arguments {
  std::string in, out, levels = "1", memory = kDefaultMemory;
  bool x = false, y = false;
  MaskOptions masks;
};

void runReduce(const Arguments& arguments) {
  const int32_t levels = parseCount("--levels", arguments.levels, 1, kMaxLevels);
  const axes along = arguments.x ? axes::x : arguments.y ? axes::y : axes::both;
  Outputs outputs;
  outputs.add(arguments.out);
  if (!arguments.masks.maskOut.empty()) outputs.add(arguments.masks.maskOut);

  Sources sources({arguments.in, arguments.masks.mask, ""});
  const PictureSize& size = sources.size();
  refuseMissingLevels(arguments.in, size, along, levels);
  const int32_t xHalvings = along == axes::y ? 0 : levels, yHalvings = along == axes::x ? 0 : levels;
  const BandRule rule = makeReductionRule(sources, along, levels);
  const auto work = [&](SourcePictures& source, Rows sourceRows, Rows) -> BandResult {
    MaskedPicture result = reduce(arguments.in, source, along);
    for (int32_t level = 1; level < levels; ++level) result = reduce(arguments.in, result, along);
    return {std::move(result), sourceRows.begin >> yHalvings};
  };
  processBands(rule, cutIntoBands(rule, sources, arguments.memory), sources,
               {size.width >> xHalvings, size.height >> yHalvings, size.depth}, work, outputs,
               !arguments.masks.maskOut.empty());
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

Memory
  A picture for which --memory does not suffice is done in bands of rows, with the same pixels as at once. An interlaced
  PNG is held whole.

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
  addMemoryOption(*command, arguments->memory);
  command->footer(kFooter + 1);
  command->callback([arguments] { runReduce(*arguments); });
}

}  // namespace kip::tool
