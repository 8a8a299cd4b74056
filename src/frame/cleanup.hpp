// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/check.hpp"
#include "frame/status.hpp"
#include "kip/host/kimg.h"
#include "kip/host/kmath.h"

namespace kip {

// The clean-up stack of one call: what the call created, in order, with the destructors. Made by withCleanup.
class Cleanup {
 public:
  Cleanup(const Cleanup&) = delete;
  Cleanup& operator=(const Cleanup&) = delete;

  // A new block that lives until the end of the call. The variable that holds its address is the stack's own, so that
  // it lives as long.
  [[nodiscard]] ksys_status allocate(uint64_t bytes, void** block) {
    check(0 <= count_ && count_ < capacity_);
    void** const variable = &blocks_[count_];
    const ksys_status status = ksys_memory_alloc_internal(bytes, variable);
    if (failed(status)) return status;
    push(ksys_cleanupMemory, variable, ksys_memory_free_internal);
    *block = *variable;
    return status;
  }
  // A block from ksys_memory_alloc_internal that stays with its record when the call succeeds; `block` is the variable
  // in that record.
  void pushKeptMemory(void** block) { push(ksys_cleanupKeptMemory, block, ksys_memory_free_internal); }
  // A constructed object, which outlives the call of withCleanup, with its destruct operation:
  // pushObject<kimg_image_destruct>(&image). The entry holds the operation itself, by which a host knows the object's
  // type; the host's executor calls it as a function of a void *.
  template <auto Destruct, typename Object>
  void pushObject(Object* object) {
    push(ksys_cleanupObject, object, reinterpret_cast<ksys_destructor>(static_cast<void (*)(Object*)>(Destruct)));
  }
  // Runs the destructor of the newest entry now. The status may become a failure.
  void releaseTop(ksys_status& status) {
    check(1 <= count_ && count_ <= capacity_);
    ksys_cleanup_doId_(entries_, &count_, &status, entries_[count_ - 1].id, 1);
  }

 protected:
  Cleanup(ksys_cleanupEntry* entries, void** blocks, int32_t capacity)
      : entries_(entries), blocks_(blocks), capacity_(capacity), tag_(ksys_cleanup_getNextTag()) {}
  ~Cleanup() = default;

  ksys_status finish(ksys_status status) {
    check(0 <= count_ && count_ <= capacity_);
    ksys_cleanupExecute_(entries_, &count_, &status, tag_);
    return status;
  }

 private:
  void push(int32_t kind, void* object, ksys_destructor destructor) {
    check(0 <= count_ && count_ < capacity_);
    if (nextId_ == 0xFFFFFFFFu) nextId_ = 0;
    entries_[count_] = {nextId_, kind, object, destructor};
    ++nextId_;
    ++count_;
  }

  ksys_cleanupEntry* entries_;
  void** blocks_;  // one variable for each entry
  int32_t capacity_;
  int32_t count_ = 0;
  uint32_t tag_;
  uint32_t nextId_ = 0;
};

template <size_t Capacity>
class CleanupStack final : public Cleanup {
 public:
  CleanupStack() : Cleanup(entries_, blocks_, int32_t{Capacity}) {}
  using Cleanup::finish;

 private:
  ksys_cleanupEntry entries_[Capacity];
  void* blocks_[Capacity];
};

// Runs `body` with a clean-up stack of that capacity and then the stack, whatever status the body returns. Objects that
// the body pushes are declared outside it: they are destructed after its own variables are gone.
template <size_t Capacity, typename Body>
ksys_status withCleanup(Body&& body) {
  CleanupStack<Capacity> cleanup;
  return cleanup.finish(body(static_cast<Cleanup&>(cleanup)));
}

// Objects of the host that live until the end of the call.

inline void pushXform(Cleanup& cleanup, kmath_xformPtrhConst& handle) {
  ksys_typeCheck_kmath_xformPtrhConst(&handle);
  ksys_typeCheck_kmath_xformPtrhConst(&handle);
  ksys_typeCheckFunc_kmath_xformPtrhConst(kmath_xformPtrhConst_destruct);
  cleanup.pushObject<kmath_xformPtrhConst_destruct>(&handle);
}

[[nodiscard]] inline ksys_status constructXform(Cleanup& cleanup, kmath_xformPtrhConst& handle) {
  const ksys_status status = kmath_xformPtrhConst_construct(&handle);
  if (!failed(status)) pushXform(cleanup, handle);
  return status;
}

[[nodiscard]] inline ksys_status constructXform(Cleanup& cleanup, kmath_xformPtrhConst& handle,
                                                const kmath_xformLinear& linear) {
  const ksys_status status = kmath_xformPtrhConst_constructLinear(&handle, &linear);
  if (!failed(status)) pushXform(cleanup, handle);
  return status;
}

}  // namespace kip
