// SPDX-License-Identifier: Apache-2.0
#include "masked/vec.hpp"

#include <cmath>
#include <cstring>

#include "frame/memory.hpp"
#include "levels/processor.hpp"
#include "masked/params_wrapper.hpp"
#include "masked/plane.hpp"
#include "masked/vec_cascade.hpp"
#include "masked/vec_plan.hpp"
#include "masked/vec_results.hpp"

namespace kip {

namespace {

// The set-up step's first half, from the band's source and parameters: picks the kernel or refuses.
[[nodiscard]] ksys_status pickKernel(const gauss_bandParams& band, bool all, const MaskedRowsKernel*& kernel) {
  constexpr int64_t leastSamples = 9;
  ksys_cpuinfo info;
  const ksys_status status = ksys_cpuinfo_init(&info);
  if (failed(status)) return status;
  if (!hasFeatures(info, ksys_cpuMmxSse2)) return statusFallback;
  if (band.src.width < leastSamples * band.params.xSample || band.src.height < leastSamples * band.params.ySample) {
    return statusFallback;
  }
  if (all ? !std::isfinite(band.params.scale) : !fitsFixedPoint(band.params.scale)) return statusFallback;
  const bool isVec2 = hasFeatures(info, ksys_cpuAvx2) && band.src.width >= maskedRowsAvx2.block;
  kernel = isVec2 ? &maskedRowsAvx2 : &maskedRowsSse2;
  return 0;
}

// The second half, with the planes: plans the rows and allocates their memory.
template <typename Src, typename Dst>
[[nodiscard]] ksys_status planAndAllocate(const gauss_bandParams& band, bool all, const MaskedRowsKernel& kernel,
                                          gauss_paramsWrapper& wrapper, MaskedRows& rows) {
  rows = planRows<Src, Dst>(band, all, kernel);
  constexpr int64_t lines = 2;
  const int64_t blocks = (rows.width + kernel.block - 1) / kernel.block;
  const int64_t columns = 3 * kernel.block * blocks;
  const bool isNarrow = rows.readable != rows.width;
  const int64_t planeBytes = isNarrow ? rows.readable * band.imagePlane.height * int64_t{sizeof(Src) + 1} : 0;
  const auto bytes = [](int64_t count, size_t size) { return static_cast<uint64_t>(count) * size; };
  const gauss_paramsWrapper::Sizes sizes = {.columns = bytes(lines * columns, sizeof(int32_t)),
                                            .lines = bytes(lines * rows.maskLine, sizeof(int32_t)),
                                            .planes = bytes(planeBytes, 1),
                                            .zeroRow = bytes(rows.readable, sizeof(Src)),
                                            .valid = bytes(rows.outputs, 1)};
  const ksys_status allocated = allocate(wrapper, sizes);
  if (failed(allocated)) return allocated;
  std::memset(wrapper.columns, 0, sizes.columns);
  rows.imageColumns = static_cast<int32_t*>(wrapper.columns);
  rows.maskColumns = rows.imageColumns + columns;
  rows.line = static_cast<int32_t*>(wrapper.lines);
  return 0;
}

// Calls run(wrapper, cascade) with everything set up.
template <typename Src, typename Dst, typename Run>
[[nodiscard]] ksys_status withCascade(const gauss_bandParams& band, bool all, const MaskedRowsKernel& kernel,
                                      gauss_paramsWrapper& wrapper, Run&& run) {
  MaskedRows rows;
  const ksys_status status = planAndAllocate<Src, Dst>(band, all, kernel, wrapper, rows);
  if (failed(status)) return status;
  const Planes planes = takePlanes<Src>(band, all, rows.readable, wrapper.planes);
  const MaskedPairKernel<Src, Dst>& pair = pairKernel<Src, Dst>(kernel);
  if (&kernel == &maskedRowsAvx2 && Sigma1<Src, Dst>::serves(band, rows)) {
    Sigma1<Src, Dst> sigma1(band, rows, all);
    return run(sigma1);
  }
  Cascade<Src, Dst> cascade(band, rows, kernel.rows, pair, planes, wrapper.zeroRow);
  return run(cascade);
}

template <typename Src, typename Dst>
ksys_status smoothMasked(const gauss_bandParams& band) {
  const LineGeometry geometry(band.maskPlane.width, band.mirror, band.padding, band.params.xSigma);
  gauss_paramsWrapper wrapper;
  gauss_paramsWrapper_init(&wrapper);
  return withCleanup<8>([&](Cleanup& cleanup) -> ksys_status {
    pushWrapper(cleanup, wrapper);
    const MaskedRowsKernel* kernel = nullptr;
    ksys_status status = pickKernel(band, false, kernel);
    if (failed(status)) return status;
    return withCascade<Src, Dst>(band, false, *kernel, wrapper, [&](auto& cascade) -> ksys_status {
      Results<Src, Dst> results(band, geometry, *kernel);
      if (failed(status = results.allocate(cleanup, wrapper.valid))) return status;
      cascade.run([&](int64_t row) { results.finish(row); });
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
    const MaskedRowsKernel* kernel = nullptr;
    ksys_status status = pickKernel(band, true, kernel);
    if (failed(status)) return status;
    kimg_window16 image;
    if (failed(status = makeExtendedPlane<uint16_t>(cleanup, plane, request, image))) return status;
    band.imagePlane = asConst(image);
    return withCascade<uint16_t, uint16_t>(band, true, *kernel, wrapper, [](auto& cascade) -> ksys_status {
      cascade.run([](int64_t) {});
      return 0;
    });
  });
}

ksys_status gauss_setMaskVec() {
  ksys_cpuinfo info;
  const ksys_status status = ksys_cpuinfo_init(&info);
  if (failed(status)) return status;
  return hasFeatures(info, ksys_cpuSse2Integer) ? status : statusFallback;
}

}  // namespace kip
