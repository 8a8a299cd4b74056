// SPDX-License-Identifier: Apache-2.0
// The masked kernel still says some operations in the words of x86.
#pragma once

#include <immintrin.h>

#ifdef __AVX2__
#define KIP_MM(operation) _mm256_##operation
#else
#define KIP_MM(operation) _mm_##operation
#endif
