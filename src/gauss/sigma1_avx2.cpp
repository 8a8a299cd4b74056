// SPDX-License-Identifier: Apache-2.0
#include "gauss/small_sigma_avx2.hpp"
#include "lanes/sigma1_sums.hpp"

namespace kip {

namespace {

constexpr int64_t taps = 4;
constexpr int64_t prefetchDistance = 256;  // columns

template <bool IsEven, bool IsRounded, typename LoadColumns>
KIP_INLINE void smoothColumns(const Sigma1Group& rows, const LoadColumns& loadColumns, int64_t ahead,
                              uint8_t* const* out, int64_t at) {
  Down low;
  Down high;
  int64_t toNext = taps;
  const uint8_t* const* row = rows.rows;
  for (uint8_t* const* const end = out + rows.count; out != end; ++row) {
    _mm_prefetch(*row + ahead, _MM_HINT_T0);
    const RowSums sums =
        sumRow<IsEven>(loadColumns(*row, 0), loadColumns(*row, 1), loadColumns(*row, 2), loadColumns(*row, 3));
    const Vec lows = low.add(sums.low);
    const Vec highs = high.add(sums.high);
    if (--toNext == 0) {
      toNext = rows.distance;
      const Vec bytes = _mm256_packus_epi16(divide<IsRounded>(lows), divide<IsRounded>(highs));
      store(*out++ + at, IsEven ? _mm256_permute4x64_epi64(bytes, 0xD8) : bytes);
    }
  }
}

// Results `from` to `from + count`, at least a group, of all places or of every second one.
template <bool IsEven, bool IsRounded>
void smoothRows(const SmallSigmaRequest& request, const Sigma1Group& rows, int64_t from, int64_t count,
                uint8_t* const* out) {
  constexpr int64_t distance = IsEven ? 2 : 1;
  for (int64_t i = 0; i < count; i += group) {
    const int64_t at = smaller(i, count - group);
    const int64_t column = (from + at) * distance - request.leftPad;
    const int64_t ahead = smaller(column < 0 ? 0 : column + prefetchDistance, request.width - 1);
    if (column >= 0 && column + offsets<IsEven>[3] + group <= request.width) {
      smoothColumns<IsEven, IsRounded>(rows, Inside<IsEven>{column}, ahead, out, at);
    } else {
      smoothColumns<IsEven, IsRounded>(rows, AtEdge<IsEven>(column, request.width), ahead, out, at);
    }
  }
}

template <Pick P>
void smoothGroup(const SmallSigmaRequest& request, const Sigma1Group& rows) {
  constexpr bool isEven = P == Pick::even;
  const auto run = [&](int64_t from, int64_t count, uint8_t* const* out) {
    request.isRounded ? smoothRows<isEven, true>(request, rows, from, count, out)
                      : smoothRows<isEven, false>(request, rows, from, count, out);
  };
  const int64_t results = P == Pick::any ? (request.outputs - 1) * request.sample + 1 : request.outputs;
  if (P != Pick::any && !request.isScaled && results >= group) return run(0, results, rows.out);

  uint8_t waiting[size_t{sigma1Rows}][size_t{mostWaiting + 2 * group}];
  uint8_t* out[size_t{sigma1Rows}];
  for (int64_t i = 0; i < sigma1Rows; ++i) out[i] = waiting[i];
  for (int64_t from = 0; from < results; from += mostWaiting) {
    const int64_t count = smaller(mostWaiting, results - from);
    run(from, count < group ? group : count, out);
    for (int64_t i = 0; i < rows.count; ++i) {
      if (request.isScaled) {
        scaleBytes(out[i], count, request.scale, [](__m256 values) { return _mm256_cvtps_epi32(values); });
      }
      if constexpr (P == Pick::any) {
        writePicked<P>(request, out[i], from, count, rows.out[i]);
      } else {
        std::memcpy(rows.out[i] + from, out[i], static_cast<size_t>(count));
      }
    }
  }
}

}  // namespace

namespace KIP_LANES {
extern const SmallSigmaKernel<Sigma1Group> sigma1 = {smoothGroup<Pick::all>, smoothGroup<Pick::even>,
                                                     smoothGroup<Pick::any>};
}

}  // namespace kip
