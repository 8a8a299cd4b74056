// SPDX-License-Identifier: Apache-2.0
#include <cstdio>
#include <new>

#include "commands.hpp"
#include "error.hpp"
#include "kip/version.h"
#include "message.hpp"
#include "standard_streams.hpp"
#include "unfinished.hpp"

namespace {

using kip::tool::say;

enum ExitCode { kDone = 0, kFailed = 1, kWrongUsage = 2 };

int complain(const std::string& text, ExitCode code) {
  say(text);
  return code;
}

int run(int argc, char** argv) {
  CLI::App app("Gaussian smoothing of grey pictures. Each command has a --help of its own.", "kip");
  app.set_version_flag("--version", std::string("kip ") + kip_version());
  app.require_subcommand(1);
  kip::tool::addSmoothCommand(app);
  kip::tool::addReduceCommand(app);
  kip::tool::addBinomialCommand(app);
  kip::tool::addPyramidCommand(app);
  kip::tool::addInfoCommand(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) return complain(std::string(error.what()) + " (see --help)", kWrongUsage);
    app.exit(error);
  }
  if (std::fflush(stdout) != 0 || !std::cout.flush()) return complain("standard output: cannot write", kFailed);
  return kDone;
}

}  // namespace

int main(int argc, char** argv) {
  kip::tool::occupyStandardStreams();
  kip::tool::prepareSignals();
  try {
    return run(argc, argv);
  } catch (const kip::tool::UsageError& error) {
    return complain(error.what(), kWrongUsage);
  } catch (const std::bad_alloc&) {
    return complain("not enough memory", kFailed);
  } catch (const std::exception& error) {
    return complain(error.what(), kFailed);
  }
}
