// SPDX-License-Identifier: Apache-2.0
#include "gauss/small_sigma.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "frame/attention.hpp"
#include "frame/memory.hpp"
#include "gauss/small_sigma_rows.hpp"
#include "gauss/source_rows.hpp"

namespace kip {

namespace {

SmallSigmaRequest makeRequest(const Work& work, uint8_t* tail) {
  return {.width = work.geometry.source.width,
          .leftPad = -int64_t{work.geometry.padding.x},
          .sample = work.params.xSample,
          .outputs = work.geometry.destination.width,
          .tail = tail,
          .isRounded = work.params.roundResult != 0,
          .isScaled = std::abs(work.params.scale - 1.0f) > std::numeric_limits<float>::epsilon(),
          .scale = work.params.scale};
}

}  // namespace

ksys_status gauss_vec2Sigma1(const Level& level, const Work& work) {
  return withCleanup<3>([&](Cleanup& cleanup) -> ksys_status {
    const ksGaussParams& params = work.params;
    check(params.xSigma == 1 && params.ySigma == 1 && params.xSample <= 3 && params.ySample <= 3);
    check(ksVImageType(work.destination) == 0);
    Buffer<uint8_t> absentRow;
    Buffer<uint8_t> tail;
    ksys_status status = absentRow.allocateClear(cleanup, work.geometry.source.width);
    if (failed(status)) return status;
    if (failed(status = tail.allocate(cleanup, 64))) return status;
    const auto kernel = level.sigma1->of(params.xSample);
    const SmallSigmaRequest request = makeRequest(work, tail.data());
    const SourceRows rows(work.source, work.geometry.source, absentRow.data());
    const ksIRegion& to = work.geometry.destination;
    for (int64_t r = 0; r < to.height;) {
      if (failed(status = pollAttention<1024>(to.y + r + 1))) return status;
      // no output row waits while attention is asked for
      const int64_t toAttention = 1024 - ((to.y + r + 1) & 1023);
      Sigma1Group group;
      group.distance = params.ySample;
      group.count = std::min({sigma1Rows, to.height - r, toAttention});
      const int64_t first = work.geometry.padding.y + r * params.ySample;
      for (int64_t i = 0; i < (group.count - 1) * params.ySample + 4; ++i) group.rows[i] = rows.at(first + i);
      for (int64_t i = 0; i < group.count; ++i) group.out[i] = work.outRow<uint8_t>(r++);
      kernel(request, group);
      work.finished = r;
    }
    return 0;
  });
}

ksys_status gauss_vec2Sigma2(const Level& level, const Work& work) {
  constexpr int64_t taps = 7;
  const ksGaussParams& params = work.params;
  const auto kernel = level.sigma2->of(params.xSample);
  uint8_t tail[64];
  const SmallSigmaRequest request = makeRequest(work, tail);
  const SourceRows rows(work.source, work.geometry.source, nullptr);
  const int64_t height = work.geometry.destination.height;
  for (int64_t r = 0; r < height; ++r) {
    const ksys_status status = pollAttention<256>(r + 1);
    if (failed(status)) return status;
    const int64_t first = work.geometry.padding.y + r * params.ySample;
    Sigma2Row row;
    for (int64_t i = 0; i < taps; ++i) row.rows[i] = rows.at(first + i);
    row.next = r + 1 < height ? rows.at(first + params.ySample + taps - 1) : row.rows[0];
    row.out = work.outRow<uint8_t>(r);
    kernel(request, row);
    ++work.finished;
  }
  return 0;
}

}  // namespace kip
