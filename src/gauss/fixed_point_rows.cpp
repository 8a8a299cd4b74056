// SPDX-License-Identifier: Apache-2.0
#include "gauss/fixed_point_rows.hpp"

#include <type_traits>

#include "lanes/line_kernel.hpp"

namespace kip {

namespace {

struct Constants {
  int64_t box;
  Shift shift, finalShift;
  Vec multiplier;
};

// The rows along the line, column by column. A limit of 0: values keep their low bits.
template <typename Sums, int Limit>
struct FixedPointRow {
  Sums sums;

  explicit FixedPointRow(const FixedPointLine& request) {
    if constexpr (!std::is_same_v<Sums, Sums32>) {
      const Vec half = all64(static_cast<int64_t>(request.half));
      sums.sum = {half, half};
    }
  }
  KIP_INLINE void add(int32_t* column, const Constants& constants) { sums.add(column, constants.box); }
  [[nodiscard]] KIP_INLINE Vec value(const Constants& constants) const {
    Vec most;
    if constexpr (std::is_same_v<Sums, Sums32>) {
      most = shiftRight32(sums.sum, constants.shift);
    } else {
      most = narrow(sums.sum >> constants.shift);
    }
    const Vec value = shiftRight32(multiplyPairs16(most, constants.multiplier), constants.finalShift);
    if constexpr (Limit == 0) return value;
    return limited16<Limit>(value);
  }
};

template <typename Sums, int Limit, typename Pixel>
void smoothRowsWith(const FixedPointLine& request, const LineStep* steps, int64_t count, int32_t* sums, int32_t* line,
                    Pixel* const* out) {
  const bool is32 = std::is_same_v<Sums, Sums32>;
  const Shift shift = is32 ? shift32By(request.shift) : shift64By(request.shift);
  const Constants constants = {request.line.box * lanes, shift, shift32By(request.finalShift),
                               all32(request.multiplier)};
  FinishedRows finished;
  const auto put = [](int32_t* to, Vec column) { store(to, column); };
  smoothGroup(request.line, FixedPointRow<Sums, Limit>(request), constants, steps, count, line, out,
              [&](int64_t first, int64_t columns, int32_t* start) {
                addColumns<ShortSums>(steps, count, request.line.readable, first, columns, sums, finished, start, put);
              });
}

template <typename Sums, typename Pixel>
void smoothRowsWith(const FixedPointLine& request, const LineStep* steps, int64_t count, int32_t* sums, int32_t* line,
                    Pixel* const* out) {
  constexpr int limit = sizeof(Pixel) == 1 ? 255 : 32767;
  request.line.sample == 1 ? smoothRowsWith<Sums, limit>(request, steps, count, sums, line, out)
                           : smoothRowsWith<Sums, 0>(request, steps, count, sums, line, out);
}

template <typename Pixel>
void smoothRows(const FixedPointLine& request, const LineStep* steps, int64_t count, int32_t* sums, int32_t* line,
                Pixel* const* out) {
  request.isNarrow                 ? smoothRowsWith<Sums32>(request, steps, count, sums, line, out)
  : request.reach == Reach::second ? smoothRowsWith<Sums64<Reach::second>>(request, steps, count, sums, line, out)
                                   : smoothRowsWith<Sums64<Reach::difference>>(request, steps, count, sums, line, out);
}

}  // namespace

namespace KIP_LANES {
extern const FixedPointKernel fixedPointRows = {lineVectors, smoothRows<uint8_t>, smoothRows<uint16_t>};
}

}  // namespace kip
