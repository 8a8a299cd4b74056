// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kip {

// The kernel of the second level's general path. Down the columns, rows enter three running sums. Output rows go
// through the same along the row, vec2Rows of them together, one row a lane.
inline constexpr int64_t vec2Rows = 8;
inline constexpr int64_t vec2Block = 32;  // columns that enter at once

// One step down the columns: the row that enters and those one, two and three box heights above it.
struct Vec2Step {
  const uint8_t* row[4];
  bool isOutput;  // the sums after this step are an output row
};

// How the running sums along the row are kept: not needed for a box of one column; integers below 2^32 with an integer
// reciprocal; the last one in doubles, of integers up to the second or the third differences; all in doubles.
enum class Vec2Sums { none, integer, narrow, wide, widest };

// A request along the row.
struct Vec2Line {
  int64_t width;  // columns, at least vec2Block
  int64_t leftPad, rightPad;
  int64_t box, sample;
  int64_t outputs;  // pixels of an output row
  bool isShort;     // first sums down the columns fit in 16 bits
  Vec2Sums sums;
  double divisor;  // every quotient is below 2^31
  bool isRounded;
  // For integers: a quotient is (sum + half) * multiplier >> shift, with 32 <= shift < 64.
  uint32_t half, multiplier;
  int32_t shift;
};

// Elements of the working memory of a request, all 0 at first: the sums of every column, then a piece of the line.
int64_t vec2MemorySize(const Vec2Line& line);

// Takes the steps, which have at most vec2Rows output rows and leave sums below 2^31, and writes the output rows.
void vec2SmoothRows8(const Vec2Line& line, const Vec2Step* steps, int64_t count, int32_t* memory, uint8_t* const* out);
void vec2SmoothRows16(const Vec2Line& line, const Vec2Step* steps, int64_t count, int32_t* memory,
                      uint16_t* const* out);

}  // namespace kip
