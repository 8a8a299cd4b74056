// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kip::tool {

// A bar on stderr for work of several steps, as long as it lives; nothing where stderr is no terminal.
class Progress {
 public:
  explicit Progress(int32_t steps);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // Another step is done.
  void step();

 private:
  void show() const;

  int32_t steps_, done_ = 0;
  bool visible_;
};

}  // namespace kip::tool
