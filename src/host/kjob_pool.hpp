// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <cstdint>

#include "kip/host/kjob.h"

namespace kiphost {

// A job of a set; `index` counts from the first one.
struct Job {
  ksys_jobFunction function;
  ksys_jobParams params;  // a counted reference of the job's own
  int32_t index;
  Job* next;
};

// A set that is being run. Fields that change are guarded by the pool's mutex.
struct Batch {
  const Job* waiting;     // the next job that nobody has taken
  ksys_status* statuses;  // one a job
  int32_t helpersLeft;    // workers that may still join
  Batch* outer;           // the one in a job of which its thread dispatched this one
  int32_t helpers = 0;    // workers at it
  Batch* next = nullptr;
  std::condition_variable done{};
};

// The number of threads that work on a set, the dispatching one included.
int32_t jobThreads();
void setMaximumJobThreads(int32_t count);
// Runs the jobs of a list of `count`, also on the calling thread, and returns after the last one has finished. In a
// child that a job forked, the statuses of those that other threads were at stay as they are.
void runJobs(const Job* first, int32_t count, ksys_status* statuses);

}  // namespace kiphost
