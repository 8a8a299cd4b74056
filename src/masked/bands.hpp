// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "frame/cleanup.hpp"
#include "kip/host/kjob.h"
#include "masked/band.hpp"

namespace kip {

// The job objects of a request; they outlive its clean-up stack.
struct BandJobs {
  ksys_jobThreadGroup group;
  ksys_jobParams params;
  ksys_jobRequestSet requests;
  ksys_jobResultSet results;
};

// Constructs the group and counts the threads that may work on the request.
[[nodiscard]] ksys_status constructGroup(Cleanup& cleanup, BandJobs& jobs, int32_t& threads);

// Cuts the request, whose source rectangle is given, into that many bands (some may have no rows), runs `job` on each
// and waits for them. `job` reads a gauss_bandParams record.
[[nodiscard]] ksys_status runBands(Cleanup& cleanup, BandJobs& jobs, const gauss_bandParams& request,
                                   const kstd_rect32& source, int32_t bands, ksys_jobFunction job);

}  // namespace kip
