// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <filesystem>
#include <memory>

#include "commands.hpp"
#include "inputs.hpp"
#include "new_folder.hpp"
#include "numbers.hpp"
#include "outputs.hpp"
#include "reduction.hpp"
#include "sheet.hpp"
#include "unfinished.hpp"

namespace kip::tool {
namespace {

namespace fs = std::filesystem;

struct Arguments {
  std::string in, folder, levels;
};

// Down to where the shorter side would have less than 16 pixels.
int32_t defaultLevels(const Picture& picture) {
  int32_t levels = 1;
  while (std::min(picture.width, picture.height) >> (levels + 1) >= 16) ++levels;
  return levels;
}

void runPyramid(const Arguments& arguments) {
  int32_t levels = arguments.levels.empty() ? 0 : parseCount("--levels", arguments.levels, 1, kMaxLevels);
  std::vector<MaskedPicture> pictures;
  pictures.push_back({readInput(arguments.in), std::nullopt});
  if (levels == 0) levels = defaultLevels(pictures[0].picture);
  refuseMissingLevels(arguments.in, pictures[0].picture, axes::both, levels);

  NewFolder folder(arguments.folder);
  Outputs outputs;
  const fs::path path(arguments.folder);
  for (int32_t level = 1; level <= levels; ++level) outputs.add(path / ("level" + std::to_string(level) + ".png"));
  outputs.addSheet(path / "sheet.png");

  for (int32_t level = 1; level <= levels; ++level) {
    pictures.push_back(reduce(arguments.in, pictures.back(), axes::both));
    outputs.write(pictures.back().picture);
  }
  std::vector<SheetEntry> entries;
  for (const auto& [picture, mask] : pictures) {
    const std::string caption = "level " + std::to_string(entries.size());
    entries.push_back(
        {&picture, caption + ": " + sizeText(picture.width, picture.height), picture.depth == 8 ? 255.0 : 65535.0});
  }
  outputs.write(makeSheet(entries, 2));
  const SignalsHeld held;
  outputs.commit();
  folder.keep();
}

constexpr char kFooter[] = R"(
Pictures
  IN      8- or 16-bit grey PNG, TIFF or PGM, recognised by content: level 0.
  OUTDIR  a folder, made when it is not there, that receives level1.png, level2.png ... with IN's depth and sheet.png,
          8-bit, with level 0 and all others side by side. Files of these names are replaced, others left alone.

Values
  Each level is kip reduce of the one before: half its size, rounding down. Without --levels there are as many as leave
  the shorter side 16 pixels, at least one.

Examples
  kip pyramid in.png levels
  kip pyramid in.tif levels --levels 3

Exit code: 0 done, 1 a picture or a file could not be handled, 2 wrong usage; with 1 and 2 nothing is written.)";

}  // namespace

void addPyramidCommand(CLI::App& app) {
  CLI::App* command =
      app.add_subcommand("pyramid", "Write a grey picture's pyramid of halved sizes and a contact sheet");
  const auto arguments = std::make_shared<Arguments>();
  command->add_option("IN", arguments->in, "The picture to reduce")->required();
  command->add_option("OUTDIR", arguments->folder, "The folder for the levels and the sheet")->required();
  command->add_option("--levels", arguments->levels, "Halve so many times, 1 to 20, while a pixel is left");
  command->footer(kFooter + 1);
  command->callback([arguments] { runPyramid(*arguments); });
}

}  // namespace kip::tool
