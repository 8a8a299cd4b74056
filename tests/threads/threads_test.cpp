// SPDX-License-Identifier: Apache-2.0
// Many threads on different functions at once, masked requests inside jobs of the host, and children forked meanwhile
// that make masked requests on threads of their own; every result must be that of a single thread. Before that, a
// signal handler that forks interrupts calls wherever they are. Usage: threads_test SECONDS
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "decode.hpp"
#include "kip/host/kjob.h"

namespace {

using namespace kiptest;

struct Work {
  Request request;
  Outcome expected;

  [[nodiscard]] bool isDoneAgain() const { return run(request) == expected; }
};

struct Counts {
  std::atomic<int64_t> calls = 0, nested = 0, failures = 0;

  void count(const Work& work, bool isGood) {
    ++calls;
    if (isGood) return;
    ++failures;
    std::fprintf(stderr, "%s\n", describe(work.request).c_str());
  }
};

// Small requests of every kind, and masked ones that are large enough for bands.
constexpr size_t kMaskedEvery = 8;
std::vector<Work> drawWork() {
  std::vector<Work> list;
  for (uint64_t i = 0; i < 160; ++i) {
    Request request = drawRequest(5, i, false);
    if (i % kMaskedEvery == 0) {
      request.function = Function::masked;
      request.form = Form::unbound;
      request.margin = 0;
      request.source = {0, 0, 300, 400};
      request.hasSrcMask = true;
    }
    list.push_back({request, run(request)});
  }
  return list;
}

struct NestedJob {
  const Work* work;
  Counts* counts;
};

ksys_status runNested(const ksys_jobParams* params) {
  const void* record = nullptr;
  const ksys_status status = ksys_jobParams_getDataConst(params, &record);
  if (status != 0) return status;
  const auto* const job = static_cast<const NestedJob*>(record);
  ++job->counts->nested;
  job->counts->count(*job->work, job->work->isDoneAgain());
  return 0;
}

// Jobs that dispatch bands of their own.
ksys_status dispatchNested(const Work& work, Counts& counts) {
  ksys_jobThreadGroup group;
  ksys_jobParams params;
  ksys_jobRequestSet requests;
  ksys_jobResultSet results;
  require(ksys_jobThreadGroup_construct(&group) == 0 && ksys_jobParams_construct(&params) == 0, "group");
  require(ksys_jobRequestSet_construct(&requests) == 0 && ksys_jobResultSet_construct(&results) == 0, "sets");
  void* record = new NestedJob{&work, &counts};
  const auto release = [](void* variable) { delete *static_cast<NestedJob**>(variable); };
  require(ksys_jobParams_takeData(&params, &record, release) == 0, "record");
  for (int i = 0; i < 4; ++i) require(ksys_jobRequestSet_addFuncAndParams(&requests, runNested, &params) == 0, "job");
  const ksys_status status = ksys_jobThreadGroup_dispatchAndWait(&group, &requests, &results);
  ksys_jobResultSet_destruct(&results);
  ksys_jobRequestSet_destruct(&requests);
  ksys_jobParams_destruct(&params);
  ksys_jobThreadGroup_destruct(&group);
  return status;
}

// What else the host guards: its memory handler and the large blocks that it keeps.
bool obtainsMemory() {
  void* block;
  ksys_memory_setHandler(nullptr, nullptr);
  const bool isGood = ksys_memory_alloc_internal(1 << 19, &block) == 0;
  ksys_memory_free_internal(&block);
  return isGood;
}

#if defined(KIP_SANITIZED) || defined(KIP_EMULATED)
constexpr int kChildren = 0;  // a sanitizer's own allocator and an emulator do not survive them
#else
constexpr int kChildren = 200;
#endif

// In a child that was forked while all this runs, with more threads or fewer.
[[noreturn]] void workInChild(const std::vector<Work>& list, int number) {
  alarm(20);  // ends a child that hangs
  ksys_jobThreads_setMaximum(number % 8 + 1);
  const auto workOf = [&](int i) { return list[kMaskedEvery * static_cast<size_t>(number + i) % list.size()]; };
  _exit(obtainsMemory() && workOf(0).isDoneAgain() && workOf(1).isDoneAgain() ? 0 : 1);
}

void forkChildren(const std::vector<Work>& list, Counts& counts) {
  for (int number = 0; number < kChildren && counts.failures == 0; ++number) {
    const pid_t child = fork();
    if (child == 0) workInChild(list, number);
    int ended = -1;
    if (child > 0 && waitpid(child, &ended, 0) == child && ended == 0) continue;
    ++counts.failures;
    std::fprintf(stderr, "child %d: %s\n", number, WIFSIGNALED(ended) ? strsignal(WTERMSIG(ended)) : "other results");
  }
}

std::atomic_int forksInHandler = 0;

void forkInHandler(int) {
  const pid_t child = fork();
  if (child == 0) _exit(0);
  int ended = -1;
  if (child > 0 && waitpid(child, &ended, 0) == child && ended == 0) ++forksInHandler;
}

// Calls are interrupted, many of them while they hold what the host guards. With other threads, malloc would be in the
// way of such forks.
void callWhileHandlersFork(const std::vector<Work>& list, Counts& counts) {
  if (kChildren == 0) return;
  alarm(20);  // ends a program that hangs
  std::signal(SIGPROF, forkInHandler);
  const itimerval often = {{0, 200}, {0, 200}}, never = {};
  setitimer(ITIMER_PROF, &often, nullptr);
  for (size_t i = 0; forksInHandler < kChildren && counts.failures == 0; ++i) {
    const Work& work = list[i % list.size()];
    counts.count(work, work.isDoneAgain());
    for (int k = 0; k < 2000; ++k) counts.failures += obtainsMemory() ? 0 : 1;
  }
  setitimer(ITIMER_PROF, &never, nullptr);
  std::signal(SIGPROF, SIG_IGN);
  alarm(0);
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) {
    std::fprintf(stderr, "usage: threads_test SECONDS\n");
    return 2;
  }
  ksys_jobThreads_setMaximum(1);
  const std::vector<Work> list = drawWork();
  Counts counts;
  callWhileHandlersFork(list, counts);
  ksys_jobThreads_setMaximum(4);
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(std::atoi(arguments[1]));
  std::atomic<bool> isForking = true;
  std::vector<std::thread> threads;
  for (uint64_t i = 0; i < 8; ++i) {
    threads.emplace_back([&, i] {
      Random random(9, i);
      while ((isForking || std::chrono::steady_clock::now() < end) && counts.failures == 0) {
        const Work& work = list[random.next() % list.size()];
        if (work.request.function == Function::masked && random.chance(4)) {
          if (dispatchNested(work, counts) != 0) ++counts.failures;
        } else {
          counts.count(work, work.isDoneAgain());
        }
      }
    });
  }
  threads.emplace_back([&] {
    while (isForking && obtainsMemory()) {
    }
  });
  forkChildren(list, counts);
  isForking = false;
  for (std::thread& thread : threads) thread.join();
  std::printf("%lld calls, %lld of them nested in jobs, %lld failures\n", static_cast<long long>(counts.calls.load()),
              static_cast<long long>(counts.nested.load()), static_cast<long long>(counts.failures.load()));
  return counts.failures == 0 && counts.nested > 0 ? 0 : 1;
}
