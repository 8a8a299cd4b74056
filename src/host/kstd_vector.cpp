// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "kip/host/kstd.h"
#include "status.hpp"

namespace {

// Each function serves both vectors.

template <class Vector, class Element>
ksys_status constructFill(Vector& vector, uint64_t count, Element value) {
  vector = {};
  uint64_t bytes;
  if (__builtin_mul_overflow(count, uint64_t{sizeof(Element)}, &bytes)) return KSYS_STATUS_NO_MEMORY;
  void* block;
  const ksys_status status = ksys_memory_alloc_internal(bytes, &block);
  if (kiphost::failed(status)) return status;
  vector = {static_cast<Element*>(block), count};
  std::fill(vector.begin, vector.begin + count, value);
  return 0;
}

template <class Vector>
void destruct(Vector& vector) {
  ksys_memory_free_internal(&vector.begin);
  vector.count = 0;
}

template <class Vector, class Element>
ksys_status getBeginEnd(const Vector& vector, Element** begin, Element** end) {
  *begin = vector.begin;
  *end = vector.begin + vector.count;
  return 0;
}

}  // namespace

ksys_status kstd_vector16_construct(kstd_vector16* vector, uint64_t count) {
  return constructFill(*vector, count, uint16_t{0});
}

ksys_status kstd_vector32_construct(kstd_vector32* vector, uint64_t count) {
  return constructFill(*vector, count, uint32_t{0});
}

ksys_status kstd_vector16_constructFill(kstd_vector16* vector, uint64_t count, uint16_t value) {
  return constructFill(*vector, count, value);
}

ksys_status kstd_vector32_constructFill(kstd_vector32* vector, uint64_t count, uint32_t value) {
  return constructFill(*vector, count, value);
}

void kstd_vector16_destruct(kstd_vector16* vector) {
  destruct(*vector);
}

void kstd_vector32_destruct(kstd_vector32* vector) {
  destruct(*vector);
}

ksys_status kstd_vector16_getBegin(const kstd_vector16* vector, uint16_t** begin) {
  *begin = vector->begin;
  return 0;
}

ksys_status kstd_vector32_getBegin(const kstd_vector32* vector, uint32_t** begin) {
  *begin = vector->begin;
  return 0;
}

ksys_status kstd_vector16_getBeginEnd(const kstd_vector16* vector, uint16_t** begin, uint16_t** end) {
  return getBeginEnd(*vector, begin, end);
}

ksys_status kstd_vector32_getBeginEnd(const kstd_vector32* vector, uint32_t** begin, uint32_t** end) {
  return getBeginEnd(*vector, begin, end);
}

void ksys_typeCheck_kstd_vector16(const kstd_vector16*) {}
void ksys_typeCheck_kstd_vector32(const kstd_vector32*) {}
void ksys_typeCheckFunc_kstd_vector16(void (*)(kstd_vector16*)) {}
void ksys_typeCheckFunc_kstd_vector32(void (*)(kstd_vector32*)) {}
