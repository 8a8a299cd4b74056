// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "picture.hpp"

namespace kip::tool {

struct SheetEntry {
  const Picture* picture;
  std::string caption;
  double white = 255;  // the value of a 16-bit picture that is shown as white
};

// An 8-bit picture of all entries in rows of `columns`, each over its caption, every column as wide and every row
// as high as its largest needs. Throws Error when the sheet would be too large.
Picture makeSheet(const std::vector<SheetEntry>& entries, int32_t columns);

}  // namespace kip::tool
