// SPDX-License-Identifier: Apache-2.0
#include "masked/lanes_engine.hpp"

#include <cmath>
#include <cstring>

#include "frame/memory.hpp"
#include "levels/levels.hpp"
#include "masked/group_feed.hpp"
#include "masked/params_wrapper.hpp"
#include "masked/plan.hpp"
#include "masked/plane.hpp"
#include "masked/results.hpp"
#include "masked/sigma1_feed.hpp"

namespace kip {

namespace {

// The set-up step's first half, from the band's source and parameters: picks the best level whose vectors fit into a
// row, or refuses.
[[nodiscard]] ksys_status pickLevel(const gauss_bandParams& band, bool all, const Level*& picked) {
  constexpr int64_t leastSamples = 9;
  ksys_cpuinfo info;
  const ksys_status status = ksys_cpuinfo_init(&info);
  if (failed(status)) return status;
  for (const Level& level : levels()) {
    if (!offers(info, level.masked)) continue;
    picked = &level;
    if (band.src.width >= level.masked.kernels->vectors.block) break;
  }
  if (picked == nullptr) return statusFallback;
  if (band.src.width < leastSamples * band.params.xSample || band.src.height < leastSamples * band.params.ySample) {
    return statusFallback;
  }
  const bool fits = all ? std::isfinite(band.params.scale) : fitsFixedPoint(band.params.scale);
  return fits ? status : statusFallback;
}

// The second half, with the planes: plans the rows and allocates their memory.
template <typename Src, typename Dst>
[[nodiscard]] ksys_status planAndAllocate(const gauss_bandParams& band, bool all, const MaskedRowsKernel& kernel,
                                          gauss_paramsWrapper& wrapper, MaskedRows& rows) {
  rows = planRows<Src, Dst>(band, all, kernel);
  constexpr int64_t both = 2;  // image and mask
  const LineRequest& line = rows.line;
  const int64_t columns = sumsSize(line, kernel.vectors);
  rows.maskLine = lineSize(line, kernel.vectors);
  const bool isNarrow = line.readable != line.width;
  const int64_t planeBytes = isNarrow ? line.readable * band.imagePlane.height * int64_t{sizeof(Src) + 1} : 0;
  const auto bytes = [](int64_t count, size_t size) { return static_cast<uint64_t>(count) * size; };
  const gauss_paramsWrapper::Sizes sizes = {.columns = bytes(both * columns, sizeof(int32_t)),
                                            .lines = bytes(both * rows.maskLine, sizeof(int32_t)),
                                            .planes = bytes(planeBytes, 1),
                                            .zeroRow = bytes(line.readable, sizeof(Src)),
                                            .valid = bytes(line.outputs, 1)};
  const ksys_status allocated = allocate(wrapper, sizes);
  if (failed(allocated)) return allocated;
  std::memset(wrapper.columns, 0, sizes.columns);
  rows.imageColumns = static_cast<int32_t*>(wrapper.columns);
  rows.maskColumns = rows.imageColumns + columns;
  rows.lines = static_cast<int32_t*>(wrapper.lines);
  return 0;
}

// Calls run(feed) with everything set up.
template <typename Src, typename Dst, typename Run>
[[nodiscard]] ksys_status withFeed(const gauss_bandParams& band, bool all, const Level& level,
                                   gauss_paramsWrapper& wrapper, Run&& run) {
  const MaskedRowsKernel& kernel = *level.masked.kernels;
  MaskedRows rows;
  const ksys_status status = planAndAllocate<Src, Dst>(band, all, kernel, wrapper, rows);
  if (failed(status)) return status;
  const ReadablePlanes planes = takePlanes<Src>(band, all, rows.line.readable, wrapper.planes);
  const MaskedPairKernel<Src, Dst>& pair = pairKernel<Src, Dst>(kernel);
  if (level.maskedSigma1 != nullptr && Sigma1Feed<Src, Dst>::serves(band, rows)) {
    Sigma1Feed<Src, Dst> sigma1(band, rows, all, *level.maskedSigma1);
    return run(sigma1);
  }
  GroupFeed<Src, Dst> feed(band, rows, kernel.vectors.rows, pair, planes, wrapper.zeroRow);
  return run(feed);
}

template <typename Src, typename Dst>
ksys_status smoothMasked(const gauss_bandParams& band) {
  const LineGeometry geometry(band.maskPlane.width, band.mirror, band.padding, band.params.xSigma);
  gauss_paramsWrapper wrapper;
  gauss_paramsWrapper_init(&wrapper);
  return withCleanup<8>([&](Cleanup& cleanup) -> ksys_status {
    pushWrapper(cleanup, wrapper);
    const Level* level = nullptr;
    ksys_status status = pickLevel(band, false, level);
    if (failed(status)) return status;
    return withFeed<Src, Dst>(band, false, *level, wrapper, [&](auto& feed) -> ksys_status {
      Results<Src, Dst> results(band, geometry, *level->masked.kernels);
      if (failed(status = results.allocate(cleanup, wrapper.valid))) return status;
      feed.run([&](int64_t row) { results.finish(row); });
      return 0;
    });
  });
}

}  // namespace

ksys_status gauss_smoothMaskedVec8(const gauss_bandParams& band) {
  return smoothMasked<uint8_t, uint8_t>(band);
}
ksys_status gauss_smoothMaskedVec8_16(const gauss_bandParams& band) {
  return smoothMasked<uint8_t, uint16_t>(band);
}
ksys_status gauss_smoothMaskedVec16(const gauss_bandParams& band) {
  return smoothMasked<uint16_t, uint16_t>(band);
}

ksys_status gauss_smoothAllVec16(const PreparedRequest& request, const kip_gaussParams& params) {
  constexpr int64_t mostPixels = int64_t{1} << 30;
  gauss_bandParams band = wholeRequest(request, params, {}, {});
  // what the clean-up stack refers to outlives it
  kimg_image16 plane;
  gauss_paramsWrapper wrapper;
  gauss_paramsWrapper_init(&wrapper);
  return withCleanup<8>([&](Cleanup& cleanup) -> ksys_status {
    if (int64_t{request.source.width} * request.needed.height > mostPixels) return statusFallback;
    if (band.src.width <= 3 * int64_t{params.xSigma} + 1 || band.src.height <= 3 * int64_t{params.ySigma} + 1) {
      return statusFallback;
    }
    pushWrapper(cleanup, wrapper);
    const Level* level = nullptr;
    ksys_status status = pickLevel(band, true, level);
    if (failed(status)) return status;
    kimg_window16 image;
    if (failed(status = makeExtendedPlane<uint16_t>(cleanup, plane, request, image))) return status;
    band.imagePlane = asConst(image);
    return withFeed<uint16_t, uint16_t>(band, true, *level, wrapper, [](auto& feed) -> ksys_status {
      feed.run([](int64_t) {});
      return 0;
    });
  });
}

ksys_status gauss_setMaskVec() {
  ksys_cpuinfo info;
  const ksys_status status = ksys_cpuinfo_init(&info);
  if (failed(status)) return status;
  const bool hasVectors = levels().size() > 1;
  return hasVectors && hasFeatures(info, ksys_cpuSse2Integer) ? status : statusFallback;
}

}  // namespace kip
