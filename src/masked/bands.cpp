// SPDX-License-Identifier: Apache-2.0
#include "masked/bands.hpp"

#include <algorithm>
#include <new>

#include "kip/geometry.h"
#include "masked/point_to.hpp"

namespace kip {

namespace {

// Constructs an object of the job library that lives until the end of the call.
template <auto Construct, auto Destruct, auto TypeCheck, auto TypeCheckFunc, typename Object>
ksys_status construct(Cleanup& cleanup, Object& object) {
  const ksys_status status = Construct(&object);
  if (failed(status)) return status;
  TypeCheck(&object);
  TypeCheckFunc(Destruct);
  cleanup.pushObject<Destruct>(&object);
  return status;
}

// Makes the record of the rows from `start` on, a band of that height.
ksys_status cutBand(const gauss_bandParams& request, const kstd_rect32& source, int64_t start, int64_t height,
                    gauss_bandParams& band) {
  band = request;
  band.band.y = static_cast<int32_t>(request.band.y + start);
  band.band.height = static_cast<int32_t>(height);
  ksys_status status = pointTo(band.band, band.dst, band.dstMask);
  if (failed(status)) return status;
  kstd_rect32 rows;
  kstd_rect32 planeRows;
  const auto startRow = static_cast<int32_t>(start * request.params.ySample);
  status = gauss_computeSrcRectsFromDstRect(&request.params, &source, &request.padding, &band.band, startRow, &rows,
                                            &planeRows);
  if (failed(status)) return status;
  if (failed(status = pointTo(rows, band.src, band.srcMask, band.sampleMask))) return status;
  return pointTo(planeRows, band.imagePlane, band.maskPlane);
}

// Adds a job on its own record, which goes to the job library.
ksys_status addBand(BandJobs& jobs, const gauss_bandParams& request, const kstd_rect32& source, int64_t start,
                    int64_t height, ksys_jobFunction job) {
  void* record;
  ksys_status status = ksys_memory_alloc_internal(sizeof(gauss_bandParams), &record);
  if (failed(status)) return status;
  status = cutBand(request, source, start, height, *new (record) gauss_bandParams);
  if (!failed(status)) status = ksys_jobParams_takeData(&jobs.params, &record, ksys_memory_free_internal);
  if (failed(status)) {
    ksys_memory_free_internal(&record);
    return status;
  }
  return ksys_jobRequestSet_addFuncAndParams(&jobs.requests, job, &jobs.params);
}

}  // namespace

ksys_status constructGroup(Cleanup& cleanup, BandJobs& jobs, int32_t& threads) {
  const ksys_status status =
      construct<ksys_jobThreadGroup_construct, ksys_jobThreadGroup_destruct, ksys_typeCheck_ksys_jobThreadGroup,
                ksys_typeCheckFunc_ksys_jobThreadGroup>(cleanup, jobs.group);
  return failed(status) ? status : ksys_jobGetCurrentThreadState(&threads, &jobs.group);
}

ksys_status runBands(Cleanup& cleanup, BandJobs& jobs, const gauss_bandParams& request, const kstd_rect32& source,
                     int32_t bands, ksys_jobFunction job) {
  ksys_status status = construct<ksys_jobParams_construct, ksys_jobParams_destruct, ksys_typeCheck_ksys_jobParams,
                                 ksys_typeCheckFunc_ksys_jobParams>(cleanup, jobs.params);
  if (failed(status)) return status;
  status = construct<ksys_jobRequestSet_construct, ksys_jobRequestSet_destruct, ksys_typeCheck_ksys_jobRequestSet,
                     ksys_typeCheckFunc_ksys_jobRequestSet>(cleanup, jobs.requests);
  if (failed(status)) return status;
  status = construct<ksys_jobResultSet_construct, ksys_jobResultSet_destruct, ksys_typeCheck_ksys_jobResultSet,
                     ksys_typeCheckFunc_ksys_jobResultSet>(cleanup, jobs.results);
  if (failed(status)) return status;

  const int64_t height = request.band.height;
  const int64_t rows = (height + bands - 1) / bands;
  for (int64_t start = 0; start < height; start += rows) {
    status = addBand(jobs, request, source, start, std::min(rows, height - start), job);
    if (failed(status)) return status;
  }
  return ksys_jobThreadGroup_dispatchAndWait(&jobs.group, &jobs.requests, &jobs.results);
}

}  // namespace kip
