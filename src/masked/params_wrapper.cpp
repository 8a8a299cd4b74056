// SPDX-License-Identifier: Apache-2.0
#include "masked/params_wrapper.hpp"

#include <initializer_list>

#include "kip/masked.h"

namespace kip {

void gauss_paramsWrapper_init(gauss_paramsWrapper* wrapper) {
  *wrapper = {};
}

void gauss_paramsWrapper_destruct(gauss_paramsWrapper* wrapper) {
  for (void** const block :
       {&wrapper->columns, &wrapper->lines, &wrapper->planes, &wrapper->zeroRow, &wrapper->valid}) {
    ksys_memory_free_internal(block);
  }
}

void pushWrapper(Cleanup& cleanup, gauss_paramsWrapper& wrapper) {
  ksys_typeCheck_gauss_paramsWrapper(&wrapper);
  ksys_typeCheckFunc_gauss_paramsWrapper(reinterpret_cast<const void*>(gauss_paramsWrapper_destruct));
  cleanup.pushObject<gauss_paramsWrapper_destruct>(&wrapper);
}

ksys_status allocate(gauss_paramsWrapper& wrapper, const gauss_paramsWrapper::Sizes& sizes) {
  return withCleanup<5>([&](Cleanup& cleanup) -> ksys_status {
    const struct {
      ksys_status (*allocate)(uint64_t, void**);
      uint64_t bytes;
      void** block;
    } blocks[] = {{ksys_memory_alloc64_internal, sizes.columns, &wrapper.columns},
                  {ksys_memory_alloc64_internal, sizes.lines, &wrapper.lines},
                  {ksys_memory_alloc64_internal, sizes.planes, &wrapper.planes},
                  {ksys_memory_allocClear_internal, sizes.zeroRow, &wrapper.zeroRow},
                  {ksys_memory_allocClear_internal, sizes.valid, &wrapper.valid}};
    for (const auto& wanted : blocks) {
      const ksys_status status = wanted.allocate(wanted.bytes, wanted.block);
      if (failed(status)) return status;
      cleanup.pushKeptMemory(wanted.block);
    }
    return 0;
  });
}

}  // namespace kip
