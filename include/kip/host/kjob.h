/* SPDX-License-Identifier: Apache-2.0 */
/* The host's job library: a group of worker threads that runs a set of jobs. For hosts; callers need no more of it than
 * ksys_jobThreads_setMaximum. */
#ifndef KIP_HOST_KJOB_H
#define KIP_HOST_KJOB_H

#include "ksys.h"

KSYS_DECLARATIONS_BEGIN

/* Each object is constructed before its first use and destructed after its last, in any order. */
typedef struct ksys_jobThreadGroup {
  void* state;
} ksys_jobThreadGroup;
typedef struct ksys_jobParams {
  void* state;
} ksys_jobParams;
typedef struct ksys_jobRequestSet {
  void* state;
} ksys_jobRequestSet;
typedef struct ksys_jobResultSet {
  void* state;
} ksys_jobResultSet;

/* A job: reads its record through ksys_jobParams_getDataConst and returns a status. */
typedef ksys_status (*ksys_jobFunction)(const ksys_jobParams* params);
typedef void (*ksys_jobRelease)(void* recordVariable);

/* A group on the process's worker threads, shared by all groups. They start when sets are dispatched that need them and
 * stay until the process ends. Sets may be dispatched from several threads at once and from jobs. A forked child starts
 * workers of its own and has the full service, whatever the threads of its parent were at. If a job forks, its child
 * loses the jobs that other threads are at (KSYS_STATUS_JOB_LOST); when the job ran on a worker, the child ends with
 * it, by exit(0). For signal handlers POSIX has _Fork: a fork there does not hang on this library, but may on malloc
 * once there are threads; where it interrupts a call, the child is to call nothing but _exit and the exec functions. */
ksys_status ksys_jobThreadGroup_construct(ksys_jobThreadGroup* group);
void ksys_jobThreadGroup_destruct(ksys_jobThreadGroup* group);
/* The number of threads, the calling one included, that may work on a set that the calling thread dispatches: what
 * ksys_jobThreads_setMaximum says; >= 1. */
ksys_status ksys_jobGetCurrentThreadState(int32_t* count, const ksys_jobThreadGroup* group);
/* Runs every job of the set, also when one fails, and returns after the last one has finished: the status of the
 * failing job that was added first, else 0. The calling thread takes part and runs all jobs when no worker is to be
 * had; the memory handler is asked before each worker starts. `results` receives one status a job. A failure to obtain
 * memory for them is returned before any job runs. */
ksys_status ksys_jobThreadGroup_dispatchAndWait(ksys_jobThreadGroup* group, const ksys_jobRequestSet* requests,
                                                ksys_jobResultSet* results);

ksys_status ksys_jobParams_construct(ksys_jobParams* params);
void ksys_jobParams_destruct(ksys_jobParams* params);
/* Takes over the record whose address is in *record: release(&address) is called once, after the last job that was
 * added with it and `params` itself let go of it. On failure the caller still owns the record. */
ksys_status ksys_jobParams_takeData(ksys_jobParams* params, void** record, ksys_jobRelease release);
/* The record, or null when none was taken. */
ksys_status ksys_jobParams_getDataConst(const ksys_jobParams* params, const void** record);

ksys_status ksys_jobRequestSet_construct(ksys_jobRequestSet* requests);
void ksys_jobRequestSet_destruct(ksys_jobRequestSet* requests);
/* Appends a job on the record that `params` holds now. */
ksys_status ksys_jobRequestSet_addFuncAndParams(ksys_jobRequestSet* requests, ksys_jobFunction function,
                                                const ksys_jobParams* params);

ksys_status ksys_jobResultSet_construct(ksys_jobResultSet* results);
void ksys_jobResultSet_destruct(ksys_jobResultSet* results);
/* The jobs' statuses in the order in which they were added; valid until the set is dispatched into again or destructed.
 * Null and 0 before. */
ksys_status ksys_jobResultSet_getStatuses(const ksys_jobResultSet* results, const ksys_status** statuses,
                                          int32_t* count);

/* Type checks: called on an object and its destructor before they go onto a clean-up stack. */
void ksys_typeCheck_ksys_jobThreadGroup(const ksys_jobThreadGroup* object);
void ksys_typeCheckFunc_ksys_jobThreadGroup(void (*destructor)(ksys_jobThreadGroup*));
void ksys_typeCheck_ksys_jobParams(const ksys_jobParams* object);
void ksys_typeCheckFunc_ksys_jobParams(void (*destructor)(ksys_jobParams*));
void ksys_typeCheck_ksys_jobRequestSet(const ksys_jobRequestSet* object);
void ksys_typeCheckFunc_ksys_jobRequestSet(void (*destructor)(ksys_jobRequestSet*));
void ksys_typeCheck_ksys_jobResultSet(const ksys_jobResultSet* object);
void ksys_typeCheckFunc_ksys_jobResultSet(void (*destructor)(ksys_jobResultSet*));

/* Exactly that many threads work on a set, also above the number of processors; 0 and less: as many as there are
 * processors. Process-wide, for sets that are dispatched later. */
void ksys_jobThreads_setMaximum(int32_t count);

KSYS_DECLARATIONS_END

#endif
