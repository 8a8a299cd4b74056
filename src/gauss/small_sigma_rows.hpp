// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kip {

// The kernels of level 2 for sigma 1 and 2, 8-bit results.

// What all output rows of a request have in common.
struct SmallSigmaRequest {
  int64_t width;    // columns of the source rectangle, at least 32
  int64_t leftPad;  // columns before it that the first place of the kernel reaches
  int64_t sample;
  int64_t outputs;  // pixels of an output row: every place of the kernel that counts, no column beyond
  uint8_t* tail;    // working memory of 64 bytes
  bool isRounded;
  bool isScaled;  // by `scale`, in a second rounding
  float scale;
};

// Output rows with the source rows under their kernels: output row i starts at source row i * distance.
inline constexpr int64_t sigma1Rows = 8;
inline constexpr int64_t sigma1Distance = 3;  // at most
struct Sigma1Group {
  const uint8_t* rows[(sigma1Rows - 1) * sigma1Distance + 4];
  int64_t distance;
  uint8_t* out[sigma1Rows];
  int64_t count;  // of output rows
};
struct Sigma2Row {
  const uint8_t* rows[7];
  const uint8_t* next;  // a source row that the next output row needs
  uint8_t* out;
};

// By sample factor along the row: 1, 2, any. `Rows`: a Sigma1Group or a Sigma2Row.
template <typename Rows>
struct SmallSigmaKernel {
  using Smooth = void(const SmallSigmaRequest& request, const Rows& rows);
  Smooth *x1, *x2, *xN;

  [[nodiscard]] Smooth* of(int32_t sample) const { return sample == 1 ? x1 : sample == 2 ? x2 : xN; }
};

}  // namespace kip
