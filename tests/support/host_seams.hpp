// SPDX-License-Identifier: Apache-2.0
// What a test switches in the host, switched back at the end of the scope. One object of each kind at a time.
#pragma once

#include <malloc.h>

#include <csetjmp>
#include <string>
#include <vector>

#include "kip/host/kstd.h"
#include "kip/levels.h"

namespace kiptest {

class NotCopied {
 protected:
  NotCopied() = default;
  NotCopied(const NotCopied&) = delete;
  NotCopied& operator=(const NotCopied&) = delete;
};

// Counts the host's questions of one kind and answers the failAt-th (from 1) with a failure.
template <auto SetHandler>
class Probe : NotCopied {
 public:
  explicit Probe(int64_t failAt = 0, ksys_status failure = KSYS_STATUS(0x8000BEEF))
      : failAt_(failAt), failure_(failure) {
    SetHandler([](void* self, auto...) { return static_cast<Probe*>(self)->answer(); }, this);
  }
  ~Probe() { SetHandler(nullptr, nullptr); }

  [[nodiscard]] int64_t count() const { return count_; }
  [[nodiscard]] ksys_status failure() const { return failure_; }

 private:
  ksys_status answer() { return ++count_ == failAt_ ? failure_ : 0; }

  int64_t failAt_;
  ksys_status failure_;
  int64_t count_ = 0;
};

using AllocationProbe = Probe<ksys_memory_setHandler>;
using AttentionProbe = Probe<ksys_attention_setHandler>;

// Records the names of the optimized paths that are asked for and forbids those listed.
class InhibitProbe : NotCopied {
 public:
  explicit InhibitProbe(std::vector<std::wstring> forbidden = {}) {
    names_.clear();
    forbidden_ = std::move(forbidden);
    kprt_isOptimizationInhibitedFP = [](const wchar_t* name) -> int32_t {
      names_.emplace_back(name);
      for (const std::wstring& one : forbidden_) {
        if (one == name) return 1;
      }
      return 0;
    };
  }
  ~InhibitProbe() { kprt_isOptimizationInhibitedFP = nullptr; }

  [[nodiscard]] const std::vector<std::wstring>& names() const { return names_; }

 private:
  // the host's query has no context argument
  static inline std::vector<std::wstring> names_, forbidden_;
};

// The processor that the library sees; {0, 0} has no vectorised level.
class ProcessorOverride : NotCopied {
 public:
  ProcessorOverride(int32_t vendor, int32_t features) { ksys_cpuinfo_setOverride(vendor, features); }
  explicit ProcessorOverride(const kip_level& level) : ProcessorOverride(level.vendor, level.features) {}
  ~ProcessorOverride() { ksys_cpuinfo_clearOverride(); }
};

class ProcessorFailure : NotCopied {
 public:
  explicit ProcessorFailure(ksys_status status) { ksys_cpuinfo_setFailure(status); }
  ~ProcessorFailure() { ksys_cpuinfo_setFailure(0); }
};

// What malloc gives is full of some byte.
class DirtyHeap : NotCopied {
 public:
  explicit DirtyHeap(int32_t byte) { mallopt(M_PERTURB, byte); }
  ~DirtyHeap() { mallopt(M_PERTURB, 0); }
};

namespace detail {
inline std::jmp_buf checkFailed;
}

// Whether the call ends in a failed argument check. It is left by a jump: nothing that it created is destructed.
template <typename Call>
[[nodiscard]] bool failsCheck(const Call& call) {
  kstd_assert_setHandler([](int32_t) { std::longjmp(detail::checkFailed, 1); });
  if (setjmp(detail::checkFailed) == 0) {
    call();
    kstd_assert_setHandler(nullptr);
    return false;
  }
  kstd_assert_setHandler(nullptr);
  return true;
}

}  // namespace kiptest
