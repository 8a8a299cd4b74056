// SPDX-License-Identifier: Apache-2.0
#include "kjob_pool.hpp"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <new>
#include <thread>

#include "status.hpp"

namespace kiphost {

namespace {

std::atomic<int32_t> maximumThreads{0};

class Pool {
 public:
  void run(const Job* first, int32_t count, ksys_status* statuses) {
    const int32_t helpers = std::min(jobThreads(), count) - 1;
    startWorkers(helpers);
    Batch batch{first, statuses, helpers};
    std::unique_lock lock(mutex_);
    Batch** last = &batches_;
    while (*last != nullptr) last = &(*last)->next;
    *last = &batch;
    for (int32_t i = 0; i < helpers; ++i) work_.notify_one();

    runWaiting(batch, lock);
    Batch** link = &batches_;
    while (*link != &batch) link = &(*link)->next;
    *link = batch.next;
    batch.done.wait(lock, [&batch] { return batch.helpers == 0; });
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
    std::unique_lock lock(mutex_);
    for (;;) {
      Batch* const batch = findWork();
      if (batch == nullptr) {
        work_.wait(lock);
        continue;
      }
      --batch->helpersLeft;
      ++batch->helpers;
      runWaiting(*batch, lock);
      // under the lock: as soon as it is released the batch may be gone
      if (--batch->helpers == 0) batch->done.notify_one();
    }
  }

  [[nodiscard]] Batch* findWork() const {
    Batch* batch = batches_;
    while (batch != nullptr && (batch->waiting == nullptr || batch->helpersLeft == 0)) batch = batch->next;
    return batch;
  }

  // Takes and runs jobs until none waits.
  static void runWaiting(Batch& batch, std::unique_lock<std::mutex>& lock) {
    while (const Job* const job = batch.waiting) {
      batch.waiting = job->next;
      lock.unlock();
      const ksys_status status = job->function(&job->params);
      lock.lock();
      batch.statuses[job->index] = status;
    }
  }

  std::mutex mutex_;
  std::condition_variable work_;
  Batch* batches_ = nullptr;
  std::atomic<int32_t> workers_{0};
};

// Never destroyed: the workers wait on it until the process ends.
Pool& pool() {
  alignas(Pool) static std::byte storage[sizeof(Pool)];
  static Pool* const instance = new (storage) Pool;
  return *instance;
}

}  // namespace

int32_t jobThreads() {
  const int32_t maximum = maximumThreads.load(std::memory_order_relaxed);
  if (maximum > 0) return maximum;
  static const auto processors = static_cast<int32_t>(std::thread::hardware_concurrency());
  return std::max(processors, 1);
}

void setMaximumJobThreads(int32_t count) {
  maximumThreads.store(count, std::memory_order_relaxed);
}

void runJobs(const Job* first, int32_t count, ksys_status* statuses) {
  pool().run(first, count, statuses);
}

}  // namespace kiphost
