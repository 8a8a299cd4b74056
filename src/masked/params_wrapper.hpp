// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "frame/cleanup.hpp"

namespace kip {

// What the vectorised masked engine allocates for one band. The first three blocks are aligned to 64 bytes, the other
// two are 0 at first.
struct gauss_paramsWrapper {
  void* columns;  // running sums down the columns, of the image, then of the mask
  void* lines;    // sums along a group of output rows
  void* planes;   // both planes in wider rows, for planes narrower than a vector; else empty
  void* zeroRow;  // in place of rows above the plane
  void* valid;    // a row of the result mask where there is none

  // Sizes in bytes.
  struct Sizes {
    uint64_t columns, lines, planes, zeroRow, valid;
  };
};

void gauss_paramsWrapper_init(gauss_paramsWrapper* wrapper);
void gauss_paramsWrapper_destruct(gauss_paramsWrapper* wrapper);

// Registers an initialised wrapper for its release.
void pushWrapper(Cleanup& cleanup, gauss_paramsWrapper& wrapper);

// Allocates the blocks; after a failure the wrapper is as before.
[[nodiscard]] ksys_status allocate(gauss_paramsWrapper& wrapper, const gauss_paramsWrapper::Sizes& sizes);

}  // namespace kip
