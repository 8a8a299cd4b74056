// SPDX-License-Identifier: Apache-2.0
#include "binomial/kernels.hpp"
#include "binomial/levels.hpp"
#include "binomial/lines.hpp"
#include "binomial/ring.hpp"
#include "frame/memory.hpp"

namespace kip {

namespace {

template <typename Pixel>
bool isEmpty(const KernelCall<Pixel>& call) {
  return call.width < 2 || call.height < 2;
}

template <typename Pixel>
ksys_status reduceXY(const KernelCall<Pixel>& call) {
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

// All lines in one block; the hook for 8-bit pixels serves every processor.
template <typename Pixel>
ksys_status reduceXYVec(const KernelCall<Pixel>& call) {
  Buffer<Sum<Pixel>> block;
  return withCleanup<1>([&](Cleanup& cleanup) -> ksys_status {
    if (!hasVectorRows() || call.width <= 2) return statusFallback;
    if (isEmpty(call)) return 0;
    const RowKernels<Pixel>* rows = nullptr;
    ksys_status status = 0;
    if constexpr (sizeof(Pixel) == 2) {
      if (failed(status = selectRows(rows))) return status;
    }
    Sum<Pixel>* lines[5];
    if (failed(status = allocateLines(cleanup, block, call.width / 2, lines))) return status;
    if constexpr (sizeof(Pixel) == 1) {
      if (failed(status = selectRows(rows))) return status;
    }
    return runRing<2>(call, rows->reduce, lines);
  });
}

// `select`: the row kernels, or a refusal.
template <typename Pixel, typename Select>
ksys_status reduceMaskedXY(const KernelCall<Pixel>& call, const Select& select) {
  HostVector<uint32_t> values[5];
  HostVector<uint16_t> weights[5];
  HostVector<uint16_t> scratch;
  return withCleanup<11>([&](Cleanup& cleanup) -> ksys_status {
    const RowKernels<Pixel>* rows = nullptr;
    ksys_status status = select(rows);
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

template <typename Pixel>
ksys_status reduceMaskedXYVec(const KernelCall<Pixel>& call) {
  return reduceMaskedXY(call, [&call](const RowKernels<Pixel>*& rows) {
    return call.dstMask == nullptr || call.width <= 2 ? statusFallback : selectMaskedRows(rows);
  });
}

}  // namespace

ksys_status gauss2_reduceXY8(const KernelCall<uint8_t>& call) {
  return reduceXY(call);
}
ksys_status gauss2_reduceXY16(const KernelCall<uint16_t>& call) {
  return reduceXY(call);
}
ksys_status gauss2_reduceXYVec8(const KernelCall<uint8_t>& call) {
  return reduceXYVec(call);
}
ksys_status gauss2_reduceXYVec16(const KernelCall<uint16_t>& call) {
  return reduceXYVec(call);
}
ksys_status gauss2_reduceMaskedXY8(const KernelCall<uint8_t>& call) {
  return reduceMaskedXY(call, selectPortableRows<uint8_t>);
}
ksys_status gauss2_reduceMaskedXY16(const KernelCall<uint16_t>& call) {
  return reduceMaskedXY(call, selectPortableRows<uint16_t>);
}
ksys_status gauss2_reduceMaskedXYVec8(const KernelCall<uint8_t>& call) {
  return reduceMaskedXYVec(call);
}
ksys_status gauss2_reduceMaskedXYVec16(const KernelCall<uint16_t>& call) {
  return reduceMaskedXYVec(call);
}

}  // namespace kip
