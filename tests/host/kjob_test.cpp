// SPDX-License-Identifier: Apache-2.0
#include "kip/host/kjob.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <thread>
#include <vector>

namespace {

std::atomic<int> released;

// A set of jobs, each a function of its own in a counted record.
class Jobs {
 public:
  using Body = std::function<ksys_status()>;

  Jobs() {
    EXPECT_EQ(ksys_jobThreadGroup_construct(&group_), 0);
    EXPECT_EQ(ksys_jobParams_construct(&params_), 0);
    EXPECT_EQ(ksys_jobRequestSet_construct(&requests_), 0);
    EXPECT_EQ(ksys_jobResultSet_construct(&results_), 0);
  }
  Jobs(const Jobs&) = delete;
  Jobs& operator=(const Jobs&) = delete;
  ~Jobs() {
    ksys_jobParams_destruct(&params_);
    ksys_jobRequestSet_destruct(&requests_);
    ksys_jobResultSet_destruct(&results_);
    ksys_jobThreadGroup_destruct(&group_);
  }

  void add(const Body& body, int32_t times = 1) {
    const auto release = [](void* variable) {
      delete *static_cast<Body**>(variable);
      ++released;
    };
    for (; times > 0; --times) {
      void* record = new Body(body);
      EXPECT_EQ(ksys_jobParams_takeData(&params_, &record, release), 0);
      addAgain();
    }
  }
  // Another job on the newest record.
  void addAgain() {
    const auto run = [](const ksys_jobParams* params) -> ksys_status {
      const void* record = nullptr;
      EXPECT_EQ(ksys_jobParams_getDataConst(params, &record), 0);
      return record == nullptr ? 0 : (*static_cast<const Body*>(record))();
    };
    EXPECT_EQ(ksys_jobRequestSet_addFuncAndParams(&requests_, run, &params_), 0);
  }
  ksys_status dispatch() { return ksys_jobThreadGroup_dispatchAndWait(&group_, &requests_, &results_); }
  std::vector<ksys_status> statuses() {
    const ksys_status* first = nullptr;
    int32_t count = -1;
    EXPECT_EQ(ksys_jobResultSet_getStatuses(&results_, &first, &count), 0);
    return {first, first + count};
  }
  int32_t threads() {
    int32_t count = 0;
    EXPECT_EQ(ksys_jobGetCurrentThreadState(&count, &group_), 0);
    return count;
  }

 private:
  ksys_jobThreadGroup group_;
  ksys_jobParams params_;
  ksys_jobRequestSet requests_;
  ksys_jobResultSet results_;
};

class KjobTest : public testing::Test {
 protected:
  ~KjobTest() override { ksys_jobThreads_setMaximum(0); }
};

// As many jobs as threads that all wait for one another: they only end when each has a thread of its own.
void meet(int32_t threads) {
  ksys_jobThreads_setMaximum(threads);
  std::barrier all(threads);
  Jobs jobs;
  jobs.add([&all] { return all.arrive_and_wait(), 0; }, threads);
  EXPECT_EQ(jobs.dispatch(), 0);
}

TEST_F(KjobTest, RunsEveryJobAndReportsTheFirstFailure) {
  for (const int32_t threads : {1, 2, 5}) {
    ksys_jobThreads_setMaximum(threads);
    std::atomic<int> ran = 0;
    released = 0;
    {
      Jobs jobs;
      EXPECT_EQ(jobs.threads(), threads);
      EXPECT_EQ(jobs.dispatch(), 0);
      EXPECT_TRUE(jobs.statuses().empty());
      jobs.addAgain();  // no record yet
      std::vector<ksys_status> expected = {0};
      for (int32_t i = 1; i < 50; ++i) {
        expected.push_back(i % 20 == 19 ? INT32_MIN + i : i);
        jobs.add([&ran, status = expected.back()] { return ++ran, status; });
      }
      jobs.addAgain();
      expected.push_back(49);
      for (int run = 1; run <= 2; ++run) {
        EXPECT_EQ(jobs.dispatch(), INT32_MIN + 19);
        EXPECT_EQ(jobs.statuses(), expected);
        EXPECT_EQ(ran, run * 50);
      }
      EXPECT_EQ(released, 0);
    }
    EXPECT_EQ(released, 49);
  }
}

TEST_F(KjobTest, UsesExactlyThatManyThreads) {
  meet(7);
  // six workers are held up and let go while a set for three threads runs
  std::atomic<int> held = 0, working = 0, most = 0;
  std::atomic<bool> go = false;
  std::thread holder([&] {
    Jobs jobs;
    jobs.add([&] { return ++held, go.wait(false), 0; }, 7);
    EXPECT_EQ(jobs.dispatch(), 0);
  });
  while (held < 7) std::this_thread::yield();
  ksys_jobThreads_setMaximum(3);
  Jobs jobs;
  const auto count = [&]() -> ksys_status {
    go = true;
    go.notify_all();
    const int now = ++working;
    for (int seen = most; now > seen && !most.compare_exchange_weak(seen, now);) {
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return --working, 0;
  };
  jobs.add(count, 30);
  EXPECT_EQ(jobs.dispatch(), 0);
  EXPECT_LE(most, 3);
  holder.join();
  ksys_jobThreads_setMaximum(0);
  EXPECT_EQ(jobs.threads(), static_cast<int32_t>(std::thread::hardware_concurrency()));
}

TEST_F(KjobTest, NestedAndConcurrentSets) {
  ksys_jobThreads_setMaximum(3);
  std::atomic<int> ran = 0;
  std::function<ksys_status(int)> spread = [&](int depth) -> ksys_status {
    if (depth == 0) return ++ran, 0;
    Jobs jobs;
    jobs.add([&spread, depth] { return spread(depth - 1); }, 5);
    return jobs.dispatch();
  };
  std::vector<std::thread> callers;
  for (int i = 0; i < 4; ++i) callers.emplace_back([&spread] { EXPECT_EQ(spread(3), 0); });
  for (std::thread& caller : callers) caller.join();
  EXPECT_EQ(ran, 4 * 125);
}

// In a process of its own: no worker can start, so the caller runs everything; later they can; then the process ends
// while they wait.
TEST_F(KjobTest, WithoutWorkersTheCallerRunsTheJobs) {
#ifdef KIP_EMULATED
  GTEST_SKIP() << "an emulated program does not start itself anew";
#endif
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto process = [] {
    ksys_jobThreads_setMaximum(4);
    Jobs jobs;
    const auto here = [caller = std::this_thread::get_id()] { return std::this_thread::get_id() == caller ? 0 : -1; };
    jobs.add(here, 9);
    static int asked;
    ksys_memory_setHandler([](void*, uint64_t) { return ++asked > 1 ? KSYS_STATUS_NO_MEMORY : 0; }, nullptr);
    const ksys_status status = jobs.dispatch();
    ksys_memory_setHandler(nullptr, nullptr);
    meet(4);
    std::exit(status == 0 && asked == 2 && !testing::Test::HasFailure() ? 17 : 1);
  };
  EXPECT_EXIT(process(), testing::ExitedWithCode(17), "");
}

// A job forks while another thread is at the second one and the third one waits. The child of the dispatching thread
// runs what waits and tells what is lost; that of a worker ends with the job. Both can dispatch.
TEST_F(KjobTest, ForkedByAJob) {
#if defined(__SANITIZE_THREAD__) || defined(KIP_EMULATED)
  GTEST_SKIP() << "the sanitizer or the emulator does not survive it";
#endif
  for (const bool byDispatcher : {true, false}) {
    ksys_jobThreads_setMaximum(2);
    const auto dispatcher = std::this_thread::get_id();
    const pid_t parent = getpid();
    std::atomic<int> atWork = 0;
    std::atomic<pid_t> child = 0;
    Jobs jobs;
    const auto forkOnce = [&]() -> ksys_status {
      for (++atWork; atWork < 2;) std::this_thread::yield();
      if ((std::this_thread::get_id() == dispatcher) != byDispatcher) return child.wait(0), 4;
      const pid_t forked = fork();
      if (forked == 0) {
        alarm(20);  // ends a child that hangs
        meet(3);
        if (!byDispatcher) std::atexit([] { _exit(17); });
        return 5;
      }
      child = forked;
      child.notify_all();
      return 6;
    };
    jobs.add(forkOnce, 2);
    jobs.add([] { return 7; });
    const ksys_status status = jobs.dispatch();
    if (getpid() != parent) {
      std::vector<ksys_status> statuses = jobs.statuses();
      std::sort(statuses.begin(), statuses.end());
      _exit(status == KSYS_STATUS_JOB_LOST && statuses == std::vector{KSYS_STATUS_JOB_LOST, 5, 7} ? 17 : 1);
    }
    int ended = -1;
    ASSERT_EQ(waitpid(child, &ended, 0), child);
    EXPECT_EQ(ended, W_EXITCODE(17, 0));
    EXPECT_EQ(status, 0);
  }
}

}  // namespace
