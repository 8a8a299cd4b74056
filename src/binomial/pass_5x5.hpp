// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "binomial/choose_rows.hpp"
#include "binomial/lines.hpp"
#include "binomial/ring.hpp"

namespace kip {

// Along both axes, through a ring of five lines in one block.
template <typename Pixel, bool Masked, bool Hook>
[[nodiscard]] ksys_status smooth5x5(const KernelCall<Pixel>& call) {
  return withCleanup<1>([&](Cleanup& cleanup) -> ksys_status {
    const RowKernels<Pixel>* rows = nullptr;
    ksys_status status = chooseRows<Masked, Hook>(rows, Masked ? call.height < 5 : call.width <= 2);
    if (failed(status)) return status;
    if constexpr (Masked) {
      MaskedLine lines[5];
      uint16_t* scratch = nullptr;
      status = allocateLines(cleanup, call.width, maskedScratch<Pixel>(call.width), lines, scratch);
      return failed(status) ? status : runRing<1>(call, rows->maskedSmooth, lines, scratch);
    } else {
      Sum<Pixel>* lines[5];
      status = allocateLines(cleanup, call.width, lines);
      return failed(status) ? status : runRing<1>(call, rows->smooth, lines);
    }
  });
}

}  // namespace kip
