// SPDX-License-Identifier: Apache-2.0
#include "kjob_pool.hpp"

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <mutex>
#include <new>
#include <thread>

#include "fork.hpp"
#include "status.hpp"

namespace kiphost {

namespace {

std::atomic<int32_t> maximumThreads{0};

std::mutex mutex;
using Lock = GuardedLock<mutex>;

class Pool {
 public:
  void run(const Job* first, int32_t count, ksys_status* statuses) {
    const int32_t helpers = std::min(jobThreads(), count) - 1;
    startWorkers(helpers);
    Batch batch{first, statuses, helpers, innermost_};
    Lock lock;
    innermost_ = &batch;
    Batch** last = &batches_;
    while (*last != nullptr) last = &(*last)->next;
    *last = &batch;
    for (int32_t i = 0; i < helpers; ++i) work_.notify_one();

    while (const Job* const job = take(batch)) batch.statuses[job->index] = runUnlocked(*job, lock);
    Batch** link = &batches_;
    while (*link != &batch) link = &(*link)->next;
    *link = batch.next;
    innermost_ = batch.outer;
    batch.done.wait(lock, [&batch] { return batch.helpers == 0; });
  }

  // The thread that forked is alone: there are no workers, nobody waits, and of the sets only its own, in whose jobs it
  // is, go on. Those of others lie in stacks that may be used anew.
  void afterForkInChild() {
    new (&work_) std::condition_variable;
    workers_ = 0;
    ++forks_;
    batches_ = nullptr;
    for (Batch* batch = innermost_; batch != nullptr; batch = batch->outer) {
      batch->helpers = 0;
      batch->next = batches_;
      batches_ = batch;
    }
  }

 private:
  // Until there are that many, or no more can be had.
  void startWorkers(int32_t wanted) {
    int32_t workers = workers_.load();
    while (workers < wanted) {
      if (!workers_.compare_exchange_weak(workers, workers + 1)) continue;
      if (!startWorker()) {
        --workers_;
        return;
      }
      ++workers;
    }
  }

  // False when there is no memory or no thread to be had; the callers then run their jobs themselves.
  bool startWorker() {
    // a worker's stack is memory too, which the memory handler may refuse
    void* block;
    if (failed(ksys_memory_alloc_internal(sizeof(std::thread), &block))) return false;
    ksys_memory_free_internal(&block);
    try {
      std::thread([this] { work(); }).detach();
    } catch (...) {
      return false;
    }
    return true;
  }

  void work() {
    Lock lock;
    const int64_t forks = forks_;
    for (;;) {
      Batch* const batch = findWork();
      if (batch == nullptr) {
        work_.wait(lock);
        continue;
      }
      --batch->helpersLeft;
      ++batch->helpers;
      while (const Job* const job = take(*batch)) {
        const ksys_status status = runUnlocked(*job, lock);
        // the job forked: in the child nobody waits for the set, and this thread has nowhere to return to
        if (forks_ != forks) {
          lock.unlock();
          std::exit(0);
        }
        batch->statuses[job->index] = status;
      }
      // under the lock: as soon as it is released the batch may be gone
      if (--batch->helpers == 0) batch->done.notify_one();
    }
  }

  [[nodiscard]] Batch* findWork() const {
    Batch* batch = batches_;
    while (batch != nullptr && (batch->waiting == nullptr || batch->helpersLeft == 0)) batch = batch->next;
    return batch;
  }

  // Null when none waits.
  static const Job* take(Batch& batch) {
    const Job* const job = batch.waiting;
    if (job != nullptr) batch.waiting = job->next;
    return job;
  }

  static ksys_status runUnlocked(const Job& job, Lock& lock) {
    lock.unlock();
    const ksys_status status = job.function(&job.params);
    lock.lock();
    return status;
  }

  std::condition_variable work_;
  Batch* batches_ = nullptr;
  int64_t forks_ = 0;  // from the process that first used the pool to this one
  std::atomic<int32_t> workers_{0};
  static thread_local Batch* innermost_;  // of those that the thread has dispatched
};

thread_local Batch* Pool::innermost_ = nullptr;

// Never destroyed: the workers wait on it until the process ends.
Pool& pool() {
  alignas(Pool) static std::byte storage[sizeof(Pool)];
  static Pool* const instance = new (storage) Pool;
  return *instance;
}

[[maybe_unused]] const int atForks = pthread_atfork(HeldAcrossFork<mutex>::before, HeldAcrossFork<mutex>::after, [] {
  pool().afterForkInChild();
  HeldAcrossFork<mutex>::after();
});

}  // namespace

int32_t jobThreads() {
  const int32_t maximum = maximumThreads.load(std::memory_order_relaxed);
  if (maximum > 0) return maximum;
  // not initialised under a lock: the thread that holds it may be missing in a forked child
  static std::atomic<int32_t> processors{0};
  if (processors == 0) processors = std::max(static_cast<int32_t>(std::thread::hardware_concurrency()), 1);
  return processors;
}

void setMaximumJobThreads(int32_t count) {
  maximumThreads.store(count, std::memory_order_relaxed);
}

void runJobs(const Job* first, int32_t count, ksys_status* statuses) {
  pool().run(first, count, statuses);
}

}  // namespace kiphost
