// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>

namespace kip::tool {

// Each adds a subcommand that does its work when the command line has been parsed; failures throw Error or UsageError.
void addSmoothCommand(CLI::App& app);
void addReduceCommand(CLI::App& app);
void addBinomialCommand(CLI::App& app);
void addPyramidCommand(CLI::App& app);
void addInfoCommand(CLI::App& app);

}  // namespace kip::tool
