// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>

namespace kip::tool {

struct MaskOptions {
  std::string mask, maskOut;
};

// --mask and --mask-out.
inline CLI::Option* addMaskOption(CLI::App& command, MaskOptions& options) {
  return command.add_option("--mask", options.mask, "The mask of IN: an 8-bit grey picture of its size");
}
inline CLI::Option* addMaskOutOption(CLI::App& command, MaskOptions& options) {
  return command.add_option("--mask-out", options.maskOut, "Write the result's mask to this file too");
}

}  // namespace kip::tool
