// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kip {

// The kernels of the second level's paths for sigma 1 and 2, 8-bit results.

// What all output rows of a request have in common.
struct Vec2Request {
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
inline constexpr int64_t vec2Sigma1Rows = 8;
inline constexpr int64_t vec2Sigma1Distance = 3;  // at most
struct Vec2Sigma1Group {
  const uint8_t* rows[(vec2Sigma1Rows - 1) * vec2Sigma1Distance + 4];
  int64_t distance;
  uint8_t* out[vec2Sigma1Rows];
  int64_t count;  // of output rows
};
struct Vec2Sigma2Row {
  const uint8_t* rows[7];
  const uint8_t* next;  // a source row that the next output row needs
  uint8_t* out;
};

// By sample factor: 1, 2, any.
void vec2Sigma1X1(const Vec2Request& request, const Vec2Sigma1Group& group);
void vec2Sigma1X2(const Vec2Request& request, const Vec2Sigma1Group& group);
void vec2Sigma1XN(const Vec2Request& request, const Vec2Sigma1Group& group);
void vec2Sigma2X1(const Vec2Request& request, const Vec2Sigma2Row& row);
void vec2Sigma2X2(const Vec2Request& request, const Vec2Sigma2Row& row);
void vec2Sigma2XN(const Vec2Request& request, const Vec2Sigma2Row& row);

}  // namespace kip
