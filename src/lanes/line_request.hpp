// SPDX-License-Identifier: Apache-2.0
// What engines hand to their kernels of running sums.
#pragma once

#include <cstdint>

#include "lanes/piece.hpp"

namespace kip {

// One step down the columns: the row that enters and those one, two and three box heights above it.
struct LineStep {
  const uint8_t* row[4];
  bool isOutput;  // the sums after this step are an output row
};

// A request along the row.
struct LineRequest {
  int64_t width;                    // columns
  int64_t readable;                 // columns that rows have, at least a block
  int64_t leftPad, rightPad;        // columns beyond either edge
  int64_t leftMirror, rightMirror;  // the nearest of them, which one reflection supplies; the others count as 0
  int64_t box, sample;
  int64_t outputs;  // pixels of an output row
};

// A kernel's vectors: columns that enter at once, output rows that go along the row together, one a lane.
struct LineVectors {
  int64_t block, rows;
};

// Elements of a kernel's working memory.
namespace {  // kernel files use them, too: each has its own

// The sums of all blocks of columns, 0 at first.
[[maybe_unused]] int64_t sumsSize(const LineRequest& line, const LineVectors& vectors) {
  return (line.width + vectors.block - 1) / vectors.block * 3 * vectors.block;
}
// A piece of the line, with what was before it and the pads; anything at first.
[[maybe_unused]] int64_t lineSize(const LineRequest& line, const LineVectors& vectors) {
  const int64_t piece = pieceWidth(line.width, line.leftPad, line.rightPad, vectors.block);
  return (3 * line.box + line.leftPad + piece + line.rightPad) * vectors.rows;
}

}  // namespace

}  // namespace kip
