// SPDX-License-Identifier: Apache-2.0
// Every function at every level while the host fails in each way it can: the very status comes back, nothing but the
// destination is written, and the next call gives the pixels. Leaks are for the address sanitizer and valgrind to find.
#include <gtest/gtest.h>

#include "kip/host/kjob.h"
#include "robust/calls.hpp"

namespace {

using namespace kiptest;

constexpr uint8_t kFill = 0x33;

// One call in one form, and what it delivers without a fault.
class Trial {
 public:
  Trial(const Call& call, Form form)
      : call_(call), form_(form), fresh_(call.srcBytes, call.dstBytes, form, kFill), good_(deliver(kFill)) {
    const std::vector<int64_t> other = deliver(0xCC);
    // what depends on the fill has not been written
    for (size_t i = 0; i < good_.size() && i < other.size(); ++i) {
      if (good_[i] != other[i]) unwritten_.push_back(i);
    }
  }

  // The status under a fault that is switched on while `Fault` lives, of which `happened` tells; then, without it, the
  // call has to work.
  template <typename Fault, typename Happened>
  ksys_status failing(const Fault& makeFault, const Happened& happened) const {
    if (form_ == Form::created) {
      // what the call binds holds nothing of released memory
      const auto delivered = [&](int32_t dirt) {
        const DirtyHeap heap(dirt);
        Scene scene(call_.srcBytes, call_.dstBytes, form_, kFill);
        const auto fault = makeFault();
        call_.run(scene);
        return scene.delivered();
      };
      EXPECT_EQ(delivered(0x5A), delivered(0xA5)) << "old memory shows";
    }
    Scene scene(call_.srcBytes, call_.dstBytes, form_, kFill);
    scene.fresh = &fresh_;
    ksys_status status = 0;
    {
      const auto fault = makeFault();
      status = call_.run(scene);
      happened(fault);
    }
    const std::vector<int64_t> delivered = scene.delivered();
    EXPECT_TRUE(scene.isIntact()) << "written outside";
    if (delivered.size() == good_.size()) {
      const auto kept = [&](size_t i) { return delivered[i] == good_[i]; };
      EXPECT_TRUE(std::all_of(unwritten_.begin(), unwritten_.end(), kept)) << "written outside what is computed";
    }
    if (status == 0) {
      EXPECT_EQ(delivered, good_);
    } else if (form_ == Form::created) {
      EXPECT_EQ(deliver(kFill), good_) << "the next call";
    } else {
      EXPECT_EQ(call_.run(scene), 0);
      EXPECT_EQ(scene.delivered(), good_) << "the next call";
    }
    return status;
  }

  // Every fault of a kind, counted from 1, until one is not reached any more; the number of those that were.
  template <typename Probe>
  int64_t failEach() const {
    for (int64_t n = 1;; ++n) {
      SCOPED_TRACE("fault " + std::to_string(n));
      int64_t asked = 0;
      const ksys_status status =
          failing([n] { return Probe(n); }, [&asked](const Probe& probe) { asked = probe.count(); });
      if (asked < n) {
        EXPECT_EQ(status, 0);
        return n - 1;
      }
      EXPECT_TRUE(asked == n || call_.isLegacy) << "it went on after a failure";
      // the legacy functions and constructors tell no reason
      const bool legacy = call_.isLegacy;
      EXPECT_TRUE(status == KSYS_STATUS(0x8000BEEF) || (legacy && status == kToldOtherwise)) << std::hex << status;
      if (testing::Test::HasFailure()) return n;
    }
  }

  void inhibitEach(const kip_level& level) const {
    std::vector<std::wstring> names;
    Scene scene(call_.srcBytes, call_.dstBytes, form_, kFill);
    {
      const InhibitProbe probe;
      EXPECT_EQ(call_.run(scene), 0);
      names = probe.names();
    }
    if (names.empty()) return;
    const std::vector<int64_t> portable = (ProcessorOverride(0, 0), deliver(kFill));
    const ProcessorOverride processor(level);  // again
    std::vector<std::vector<std::wstring>> inhibited = {names};
    for (const std::wstring& name : names) inhibited.push_back({name});
    for (const auto& forbidden : inhibited) {
      const InhibitProbe probe(forbidden);
      const std::vector<int64_t> delivered = deliver(kFill);
      ASSERT_EQ(delivered.size(), portable.size());
      const int64_t tolerance = &forbidden == &inhibited.front() ? 0 : 1;
      for (size_t i = 0; i < delivered.size(); ++i) {
        ASSERT_LE(std::abs(delivered[i] - portable[i]), tolerance)
            << i << std::string(forbidden[0].begin(), forbidden[0].end());
      }
    }
  }

 private:
  std::vector<int64_t> deliver(uint8_t fill) const {
    Scene scene(call_.srcBytes, call_.dstBytes, form_, fill);
    scene.fresh = &fresh_;
    EXPECT_EQ(call_.run(scene), 0);
    EXPECT_TRUE(scene.isIntact());
    return scene.delivered();
  }

  const Call& call_;
  Form form_;
  Scene fresh_;
  std::vector<int64_t> good_;
  std::vector<size_t> unwritten_;
};

// One thread, so that the order of the allocations is the same in every run.
template <typename Do>
void forEachTrial(const Do& act) {
  ksys_jobThreads_setMaximum(1);
  for (const kip_level& level : usableLevels()) {
    const ProcessorOverride processor(level);
    for (const Call& call : calls()) {
      for (const Form form : call.forms) {
        SCOPED_TRACE(std::string(call.name) + " form " + std::to_string(static_cast<int>(form)) + ' ' + level.title);
        const Trial trial(call, form);
        act(trial, call, level);
        if (testing::Test::HasFailure()) return;
      }
    }
  }
  ksys_jobThreads_setMaximum(0);
}

TEST(Faults, EveryAllocation) {
  int64_t faults = 0;
  forEachTrial([&](const Trial& trial, const Call&, const kip_level&) { faults += trial.failEach<AllocationProbe>(); });
  EXPECT_GT(faults, 400);
}

TEST(Faults, EveryAttentionCheck) {
  int64_t faults = 0;
  forEachTrial([&](const Trial& trial, const Call&, const kip_level&) { faults += trial.failEach<AttentionProbe>(); });
  EXPECT_GT(faults, 200);
}

// A call that asks returns the status; one that does not works.
TEST(Faults, TheProcessorQuery) {
  constexpr ksys_status failure = KSYS_STATUS(0x80004321);
  forEachTrial([&](const Trial& trial, const Call& call, const kip_level&) {
    const auto fault = [] { return ProcessorFailure(failure); };
    const ksys_status status = trial.failing(fault, [](const auto&) {});
    EXPECT_TRUE(status == failure || (status == 0 && !call.asksProcessor)) << std::hex << status;
  });
}

// Without one of its paths a call differs by rounding at most, without all of them it is the portable one.
TEST(Faults, EveryInhibitedName) {
  forEachTrial([](const Trial& trial, const Call&, const kip_level& level) { trial.inhibitEach(level); });
}

}  // namespace
