// SPDX-License-Identifier: Apache-2.0
// The type-check hooks of the engine's working record. Hosts look at which of them are called.
#include "kip/masked.h"

void ksys_typeCheck_gauss_paramsWrapper(const void*) {}
void ksys_typeCheckPtr_gauss_paramsWrapper(const void*) {}
void ksys_typeCheckFunc_gauss_paramsWrapper(const void*) {}
void ksys_typeCheckFuncPtr_gauss_paramsWrapper(const void*) {}
void ksys_typeCheckFuncStatus_gauss_paramsWrapper(const void*) {}
void ksys_typeCheckFuncStatusPtr_gauss_paramsWrapper(const void*) {}

void ksys_typeCheck_gauss_paramsWrapper_gauss_paramsWrapper__unused__(void) {
  ksys_typeCheck_gauss_paramsWrapper(nullptr);
  ksys_typeCheckPtr_gauss_paramsWrapper(nullptr);
  ksys_typeCheckFunc_gauss_paramsWrapper(nullptr);
  ksys_typeCheckFuncPtr_gauss_paramsWrapper(nullptr);
  ksys_typeCheckFuncStatus_gauss_paramsWrapper(nullptr);
  ksys_typeCheckFuncStatusPtr_gauss_paramsWrapper(nullptr);
}
