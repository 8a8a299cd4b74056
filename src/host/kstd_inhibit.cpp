// SPDX-License-Identifier: Apache-2.0
#include "kip/host/kstd.h"

int32_t (*kprt_isOptimizationInhibitedFP)(const wchar_t* name) = nullptr;
