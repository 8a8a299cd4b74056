// SPDX-License-Identifier: Apache-2.0
#include "kip/host/kjob.h"

#include <algorithm>
#include <new>

#include "counted.hpp"
#include "kjob_pool.hpp"
#include "status.hpp"

using kiphost::failed;
using kiphost::Job;

namespace {

// A record that a parameters object and the jobs added with it share.
struct Holder {
  kiphost::Counted references;
  void* record;
  ksys_jobRelease release;
};

struct Requests {
  Job* first;
  Job** end;  // where the next job is linked in
  int32_t count;
};

struct Results {
  int32_t count;
  ksys_status* statuses() { return reinterpret_cast<ksys_status*>(this + 1); }
};

template <typename Object>
ksys_status create(uint64_t bytes, Object*& object) {
  void* block;
  const ksys_status status = ksys_memory_alloc_internal(bytes, &block);
  object = failed(status) ? nullptr : new (block) Object{};
  return status;
}

void letGo(ksys_jobParams& params) {
  auto* holder = static_cast<Holder*>(params.state);
  params.state = nullptr;
  if (holder == nullptr || !holder->references.release()) return;
  holder->release(&holder->record);
  holder->~Holder();
  ksys_memory_free_internal(&holder);
}

}  // namespace

// A group is the process's pool.
ksys_status ksys_jobThreadGroup_construct(ksys_jobThreadGroup* group) {
  group->state = nullptr;
  return 0;
}

void ksys_jobThreadGroup_destruct(ksys_jobThreadGroup*) {}

ksys_status ksys_jobGetCurrentThreadState(int32_t* count, const ksys_jobThreadGroup*) {
  *count = kiphost::jobThreads();
  return 0;
}

ksys_status ksys_jobThreadGroup_dispatchAndWait(ksys_jobThreadGroup*, const ksys_jobRequestSet* requests,
                                                ksys_jobResultSet* results) {
  const auto& set = *static_cast<const Requests*>(requests->state);
  Results* fresh;
  const uint64_t bytes = sizeof(Results) + sizeof(ksys_status) * static_cast<uint64_t>(set.count);
  const ksys_status status = create(bytes, fresh);
  if (failed(status)) return status;
  ksys_memory_free_internal(&results->state);
  results->state = fresh;
  fresh->count = set.count;
  if (set.count == 0) return 0;

  ksys_status* const statuses = fresh->statuses();
  std::fill_n(statuses, set.count, KSYS_STATUS_JOB_LOST);
  kiphost::runJobs(set.first, set.count, statuses);
  const ksys_status* const failure = std::find_if(statuses, statuses + set.count, failed);
  return failure == statuses + set.count ? 0 : *failure;
}

ksys_status ksys_jobParams_construct(ksys_jobParams* params) {
  params->state = nullptr;
  return 0;
}

void ksys_jobParams_destruct(ksys_jobParams* params) {
  letGo(*params);
}

ksys_status ksys_jobParams_takeData(ksys_jobParams* params, void** record, ksys_jobRelease release) {
  Holder* holder;
  const ksys_status status = create(sizeof(Holder), holder);
  if (failed(status)) return status;
  holder->record = *record;
  holder->release = release;
  letGo(*params);
  params->state = holder;
  return 0;
}

ksys_status ksys_jobParams_getDataConst(const ksys_jobParams* params, const void** record) {
  const auto* const holder = static_cast<const Holder*>(params->state);
  *record = holder == nullptr ? nullptr : holder->record;
  return 0;
}

ksys_status ksys_jobRequestSet_construct(ksys_jobRequestSet* requests) {
  Requests* set;
  const ksys_status status = create(sizeof(Requests), set);
  if (!failed(status)) set->end = &set->first;
  requests->state = set;
  return status;
}

void ksys_jobRequestSet_destruct(ksys_jobRequestSet* requests) {
  auto* set = static_cast<Requests*>(requests->state);
  if (set == nullptr) return;
  for (Job* job = set->first; job != nullptr;) {
    Job* const next = job->next;
    letGo(job->params);
    ksys_memory_free_internal(&job);
    job = next;
  }
  ksys_memory_free_internal(&set);
  requests->state = nullptr;
}

ksys_status ksys_jobRequestSet_addFuncAndParams(ksys_jobRequestSet* requests, ksys_jobFunction function,
                                                const ksys_jobParams* params) {
  auto& set = *static_cast<Requests*>(requests->state);
  Job* job;
  const ksys_status status = create(sizeof(Job), job);
  if (failed(status)) return status;
  if (params->state != nullptr) static_cast<Holder*>(params->state)->references.retain();
  *job = {function, *params, set.count++, nullptr};
  *set.end = job;
  set.end = &job->next;
  return 0;
}

ksys_status ksys_jobResultSet_construct(ksys_jobResultSet* results) {
  results->state = nullptr;
  return 0;
}

void ksys_jobResultSet_destruct(ksys_jobResultSet* results) {
  ksys_memory_free_internal(&results->state);
}

ksys_status ksys_jobResultSet_getStatuses(const ksys_jobResultSet* results, const ksys_status** statuses,
                                          int32_t* count) {
  auto* const held = static_cast<Results*>(results->state);
  *statuses = held == nullptr ? nullptr : held->statuses();
  *count = held == nullptr ? 0 : held->count;
  return 0;
}

void ksys_jobThreads_setMaximum(int32_t count) {
  kiphost::setMaximumJobThreads(count);
}

// The parameter types are the check: a call with another type does not compile.
void ksys_typeCheck_ksys_jobThreadGroup(const ksys_jobThreadGroup*) {}
void ksys_typeCheckFunc_ksys_jobThreadGroup(void (*)(ksys_jobThreadGroup*)) {}
void ksys_typeCheck_ksys_jobParams(const ksys_jobParams*) {}
void ksys_typeCheckFunc_ksys_jobParams(void (*)(ksys_jobParams*)) {}
void ksys_typeCheck_ksys_jobRequestSet(const ksys_jobRequestSet*) {}
void ksys_typeCheckFunc_ksys_jobRequestSet(void (*)(ksys_jobRequestSet*)) {}
void ksys_typeCheck_ksys_jobResultSet(const ksys_jobResultSet*) {}
void ksys_typeCheckFunc_ksys_jobResultSet(void (*)(ksys_jobResultSet*)) {}
