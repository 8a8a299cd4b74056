// SPDX-License-Identifier: Apache-2.0
#include <memory>

#include "commands.hpp"
#include "error.hpp"
#include "inputs.hpp"
#include "mask_options.hpp"
#include "numbers.hpp"
#include "outputs.hpp"
#include "pixels.hpp"

namespace kip::tool {
namespace {

struct Arguments {
  std::string in, out, radius;
  MaskOptions masks;
};

void runBinomial(const Arguments& arguments) {
  const auto radius = parsePair("--radius", arguments.radius, 0);
  for (const int32_t r : radius) {
    if (r % 2 != 0) throw UsageError("--radius " + arguments.radius + ": must be even");
  }
  Outputs outputs;
  outputs.add(arguments.out);
  if (!arguments.masks.maskOut.empty()) outputs.add(arguments.masks.maskOut);

  MaskedPicture source{readInput(arguments.in), std::nullopt};
  if (!arguments.masks.mask.empty()) source.mask = readMask(arguments.masks.mask, source.picture);
  const binomial_params params = {.x_radius = radius[0], .y_radius = radius[1]};
  const rect size = {0, 0, source.picture.width, source.picture.height};
  const MaskedPicture result = make(arguments.in, source, size, [&](auto src, auto mask, auto dst, auto dstMask) {
    return mask.is_empty() ? try_binomial(src, dst, params)
                           : try_binomial(src, mask, dst, dstMask, params, mask_meaning::weight);
  });
  outputs.write(result.picture);
  if (!arguments.masks.maskOut.empty()) outputs.write(*result.mask);
  outputs.commit();
}

constexpr char kFooter[] = R"(
Pictures
  IN   8- or 16-bit grey PNG, TIFF or PGM, recognised by content.
  OUT  written with IN's size and depth as .png, .tif, .tiff or .pgm, by its name; may be IN.

Values
  A radius is even: 0 leaves an axis alone, 2 is one pass with the weights 1 4 6 4 1, 2k are k passes (standard
  deviation sqrt(k) pixels). Each pass is rounded, one along both axes once; the time grows with the passes. At the
  border the nearest pixel stands in for those outside.
  A mask weights the pixels of IN, 0 (left out) to 255; where nothing has weight the result is 0. The result's mask is
  the rounded mean of the mask with the same weights. Each pass takes the result's mask of the pass before.

Examples
  kip binomial in.png out.png --radius 2
  kip binomial in.tif out.tif --radius 4,0 --mask valid.png --mask-out out-valid.png

Exit code: 0 done, 1 a picture or a file could not be handled, 2 wrong usage; with 1 and 2 nothing is written.)";

}  // namespace

void addBinomialCommand(CLI::App& app) {
  CLI::App* command = app.add_subcommand("binomial", "Smooth a grey picture with binomial weights, 8 and 16 bits");
  const auto arguments = std::make_shared<Arguments>();
  command->add_option("IN", arguments->in, "The picture to smooth")->required();
  command->add_option("OUT", arguments->out, "The result")->required();
  command
      ->add_option("--radius", arguments->radius,
                   "Reach of the weights in pixels, even, 0 to 1000000: R for both axes, or RX,RY")
      ->required();
  CLI::Option* mask = addMaskOption(*command, arguments->masks);
  addMaskOutOption(*command, arguments->masks)->needs(mask);
  command->footer(kFooter + 1);
  command->callback([arguments] { runBinomial(*arguments); });
}

}  // namespace kip::tool
