// SPDX-License-Identifier: Apache-2.0
// Along both axes, each through a ring of five lines.
#pragma once

#include "binomial/choose_rows.hpp"
#include "binomial/lines.hpp"
#include "binomial/ring.hpp"

namespace kip {

template <typename Pixel>
[[nodiscard]] bool isEmpty(const KernelCall<Pixel>& call) {
  return call.width < 2 || call.height < 2;
}

template <typename Pixel>
[[nodiscard]] ksys_status reduceXYPortable(const KernelCall<Pixel>& call) {
  HostVector<Sum<Pixel>> buffers[5];
  return withCleanup<5>([&](Cleanup& cleanup) -> ksys_status {
    if (isEmpty(call)) return 0;
    Sum<Pixel>* lines[5];
    for (int k = 0; k < 5; ++k) {
      const ksys_status status = buffers[k].constructFill(cleanup, call.width / 2, lines[k]);
      if (failed(status)) return status;
    }
    return runRing<2>(call, portableRows<Pixel>().reduce, lines);
  });
}

// For 16-bit pixels a processor may be refused, which comes before memory is asked for; for 8-bit ones every processor
// is served, and asked for last.
template <typename Pixel>
[[nodiscard]] ksys_status reduceXYHook(const KernelCall<Pixel>& call) {
  return withCleanup<1>([&](Cleanup& cleanup) -> ksys_status {
    if (call.width <= 2) return statusFallback;
    if (isEmpty(call)) return 0;
    const RowKernels<Pixel>* rows = nullptr;
    Sum<Pixel>* lines[5];
    ksys_status status = 0;
    if (sizeof(Pixel) == 2 && failed(status = selectRows(rows))) return status;
    if (failed(status = allocateLines(cleanup, call.width / 2, lines))) return status;
    if (sizeof(Pixel) == 1 && failed(status = selectRows(rows))) return status;
    return runRing<2>(call, rows->reduce, lines);
  });
}

template <typename Pixel, bool Hook>
[[nodiscard]] ksys_status reduceMaskedXY(const KernelCall<Pixel>& call) {
  HostVector<uint32_t> values[5];
  HostVector<uint16_t> weights[5];
  HostVector<uint16_t> scratch;
  return withCleanup<11>([&](Cleanup& cleanup) -> ksys_status {
    if (Hook && (call.dstMask == nullptr || call.width <= 2)) return statusFallback;
    const RowKernels<Pixel>* rows = nullptr;
    ksys_status status = chooseRows<true, Hook>(rows, false);
    if (failed(status) || isEmpty(call)) return status;
    const int64_t count = linePitch(call.width / 2);
    MaskedLine lines[5];
    for (int k = 0; k < 5; ++k) {
      if (failed(status = values[k].constructFill(cleanup, count, lines[k].values))) return status;
      if (failed(status = weights[k].constructFill(cleanup, count, lines[k].weights))) return status;
    }
    uint16_t* scratchLine = nullptr;
    if (failed(status = scratch.construct(cleanup, maskedScratch<Pixel>(call.width), scratchLine))) return status;
    return runRing<2>(call, rows->maskedReduce, lines, scratchLine);
  });
}

template <typename Pixel, bool Masked, bool Hook>
[[nodiscard]] ksys_status reduceXY(const KernelCall<Pixel>& call) {
  if constexpr (Masked) {
    return reduceMaskedXY<Pixel, Hook>(call);
  } else {
    return Hook ? reduceXYHook(call) : reduceXYPortable(call);
  }
}

}  // namespace kip
