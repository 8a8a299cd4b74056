// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>

#include "frame/check.hpp"
#include "frame/memory.hpp"
#include "frame/windows.hpp"
#include "masked/line.hpp"

namespace kip {

// The kernel's sums over a plane. Down the columns, rows enter with the signs of the third difference at the box height
// and three running sums turn that into the sum of three boxes; along a finished row the same again gives the full sum.
// All is exact: the vertical sums fit in 32 bits without a sign and may wrap around on their way.
template <typename Pixel>
class WeightedSums {
 public:
  WeightedSums(const LineGeometry& geometry, const kip_gaussParams& params)
      : geometry_(geometry),
        xBox_(int64_t{params.xSigma} + 1),
        yBox_(int64_t{params.ySigma} + 1),
        rowCount_(3 * yBox_ + 1),
        third_(geometry) {}

  [[nodiscard]] ksys_status allocate(Cleanup& cleanup) {
    check(yBox_ <= largestBox && yBox_ * yBox_ * yBox_ <= UINT32_MAX / std::numeric_limits<Pixel>::max());
    ksys_status status = rows_.allocateClear(cleanup, rowCount_ * geometry_.width);
    if (failed(status)) return status;
    if (failed(status = first_.allocateClear(cleanup, geometry_.width))) return status;
    if (failed(status = second_.allocateClear(cleanup, geometry_.width))) return status;
    if (failed(status = third_.allocate(cleanup, 3 * xBox_))) return status;
    if (failed(status = differences_.allocate(cleanup, geometry_.padded()))) return status;
    return sums_.allocate(cleanup, geometry_.positions());
  }

  // Row y of the plane enters, which take(row) writes; rows do so in order, from 0 on.
  template <typename Take>
  void enter(int64_t y, Take&& take) {
    take(row(y));
    addColumns(row(y), row(y - yBox_), row(y - 2 * yBox_), row(y - 3 * yBox_), first_.data(), second_.data(),
               third_.columns(), geometry_.width);
  }

  // The sums over the taps that the last rows complete, one for each position of the taps along x.
  [[nodiscard]] const double* sumRow() {
    third_.reflect();
    const uint32_t* const line = third_.columns() - geometry_.leftPad;
    subtract(differences_.data(), line, line - xBox_, line - 2 * xBox_, line - 3 * xBox_, geometry_.padded());
    const Difference* const differences = differences_.data();
    double* __restrict const sums = sums_.data();
    int64_t h1 = 0;
    int64_t h2 = 0;
    int64_t h3 = 0;
    int64_t x = 0;
    for (const int64_t end = geometry_.taps - 1; x < end; ++x) h3 += h2 += h1 += differences[x];
    const int64_t positions = geometry_.positions();
    for (int64_t position = 0; position < positions; ++position, ++x) {
      h3 += h2 += h1 += differences[x];
      sums[position] = static_cast<double>(h3);
    }
    return sums;
  }

 private:
  using Difference = std::conditional_t<sizeof(Pixel) == 1, int32_t, int64_t>;
  static constexpr int64_t largestBox = 1024;  // far above what the test of the cube lets pass

  // As a function of its own, so that the compiler knows that the rows are apart and works on many columns at once.
  [[gnu::noinline]] static void addColumns(const Pixel* q0, const Pixel* q1, const Pixel* q2, const Pixel* q3,
                                           uint32_t* __restrict first, uint32_t* __restrict second,
                                           uint32_t* __restrict third, int64_t width) {
    for (int64_t x = 0; x < width; ++x) {
      first[x] += static_cast<uint32_t>((q0[x] - q3[x]) + 3 * (q2[x] - q1[x]));
      second[x] += first[x];
      third[x] += second[x];
    }
  }

  static void subtract(Difference* __restrict differences, const uint32_t* t0, const uint32_t* t1, const uint32_t* t2,
                       const uint32_t* t3, int64_t count) {
    using D = Difference;
    for (int64_t x = 0; x < count; ++x) {
      differences[x] =
          (static_cast<D>(t0[x]) - static_cast<D>(t3[x])) + 3 * (static_cast<D>(t2[x]) - static_cast<D>(t1[x]));
    }
  }

  // One of the last rows; those in front of the plane are 0.
  [[nodiscard]] Pixel* row(int64_t y) const { return rows_.data() + (y + rowCount_) % rowCount_ * geometry_.width; }

  const LineGeometry& geometry_;
  int64_t xBox_, yBox_, rowCount_;
  Buffer<Pixel> rows_;
  Buffer<uint32_t> first_, second_;
  Line<uint32_t> third_;
  Buffer<Difference> differences_;
  Buffer<double> sums_;
};

}  // namespace kip
