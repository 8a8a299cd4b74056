// SPDX-License-Identifier: Apache-2.0
#include "progress.hpp"

#include <unistd.h>

#include <cstdio>
#include <string>

namespace kip::tool {

Progress::Progress(int32_t steps) : steps_(steps), visible_(steps > 1 && isatty(STDERR_FILENO) != 0) {
  show();
}

Progress::~Progress() {
  if (visible_) std::fprintf(stderr, "\r\033[K");
}

void Progress::step() {
  ++done_;
  show();
}

void Progress::show() const {
  if (!visible_) return;
  constexpr int32_t width = 40;
  const auto part = [&](int64_t whole) { return static_cast<int32_t>(whole * done_ / steps_); };
  std::string bar(static_cast<size_t>(part(width)), '#');
  bar.resize(width, ' ');
  std::fprintf(stderr, "\r[%s] %3d %%", bar.c_str(), part(100));
}

}  // namespace kip::tool
