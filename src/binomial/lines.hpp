// SPDX-License-Identifier: Apache-2.0
// The line buffers of the kernels.
#pragma once

#include "binomial/rows.hpp"
#include "frame/memory.hpp"

namespace kip {

// The host's vectors by element.
template <typename Element>
struct VectorOf;

template <>
struct VectorOf<uint16_t> {
  using Type = kstd_vector16;
  static constexpr auto construct = kstd_vector16_construct;
  static constexpr auto constructFill = kstd_vector16_constructFill;
  static constexpr auto getBegin = kstd_vector16_getBegin;
  static constexpr auto typeCheck = ksys_typeCheck_kstd_vector16;
  static constexpr auto typeCheckFunc = ksys_typeCheckFunc_kstd_vector16;
  static constexpr auto destruct = kstd_vector16_destruct;
};

template <>
struct VectorOf<uint32_t> {
  using Type = kstd_vector32;
  static constexpr auto construct = kstd_vector32_construct;
  static constexpr auto constructFill = kstd_vector32_constructFill;
  static constexpr auto getBegin = kstd_vector32_getBegin;
  static constexpr auto typeCheck = ksys_typeCheck_kstd_vector32;
  static constexpr auto typeCheckFunc = ksys_typeCheckFunc_kstd_vector32;
  static constexpr auto destruct = kstd_vector32_destruct;
};

// A vector of the host that the call's clean-up stack destructs.
template <typename Element>
class HostVector {
 public:
  HostVector() = default;
  HostVector(const HostVector&) = delete;
  HostVector& operator=(const HostVector&) = delete;

  [[nodiscard]] ksys_status construct(Cleanup& cleanup, int64_t count, Element*& begin) {
    return adopt(cleanup, Host::construct(&vector_, static_cast<uint64_t>(count)), begin);
  }
  [[nodiscard]] ksys_status constructFill(Cleanup& cleanup, int64_t count, Element*& begin) {
    return adopt(cleanup, Host::constructFill(&vector_, static_cast<uint64_t>(count), 0), begin);
  }

 private:
  using Host = VectorOf<Element>;

  [[nodiscard]] ksys_status adopt(Cleanup& cleanup, ksys_status status, Element*& begin) {
    if (failed(status)) return status;
    Host::typeCheck(&vector_);
    Host::typeCheckFunc(Host::destruct);
    cleanup.pushObject<Host::destruct>(&vector_);
    return Host::getBegin(&vector_, &begin);
  }

  typename Host::Type vector_;
};

// Elements from a line to the next, a whole number of vectors.
[[nodiscard]] constexpr int64_t linePitch(int64_t elements) {
  return elements < leastLine ? leastLine : (elements + 31) & ~int64_t{31};
}

// Five lines in one block.
template <typename Element>
[[nodiscard]] ksys_status allocateLines(Cleanup& cleanup, int64_t elements, Element* (&lines)[5]) {
  Buffer<Element> block;
  const int64_t pitch = linePitch(elements);
  const ksys_status status = block.allocate(cleanup, 5 * pitch);
  if (failed(status)) return status;
  for (int k = 0; k < 5; ++k) lines[k] = block.data() + k * pitch;
  return 0;
}

// The same with a mask, and a scratch line behind them.
[[nodiscard]] inline ksys_status allocateLines(Cleanup& cleanup, int64_t elements, int64_t scratchWords,
                                               MaskedLine (&lines)[5], uint16_t*& scratch) {
  Buffer<uint32_t> block;
  const int64_t pitch = linePitch(elements);
  const ksys_status status = block.allocate(cleanup, 5 * pitch + (5 * pitch + scratchWords + 1) / 2);
  if (failed(status)) return status;
  uint16_t* const weights = reinterpret_cast<uint16_t*>(block.data() + 5 * pitch);
  for (int k = 0; k < 5; ++k) lines[k] = {block.data() + k * pitch, weights + k * pitch};
  scratch = weights + 5 * pitch;
  return 0;
}

}  // namespace kip
