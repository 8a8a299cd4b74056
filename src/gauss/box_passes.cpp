// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <span>

#include "frame/check.hpp"
#include "gauss/pixel.hpp"
#include "geometry/span.hpp"
#include "kip/gauss.h"

namespace kip {

namespace {

// The smoothing along one axis: `passes` boxes of width sigma + 1.
struct MultiPassKernel {
  int64_t passes;
  int64_t box;

  // taps less one
  [[nodiscard]] constexpr int64_t extent() const { return passes * (box - 1); }
  [[nodiscard]] constexpr Span taps() const { return {-(extent() / 2), extent() + 1}; }
  // Translation that puts a destination pixel's centre onto the centre of an even number of taps.
  [[nodiscard]] constexpr float centreShift() const { return (extent() & 1) != 0 ? -0.5f : 0.0f; }
};

struct FreeBlock {
  void operator()(void* block) const { kxfFree(block); }
};
template <typename Element>
using Block = std::unique_ptr<Element[], FreeBlock>;

// `count` elements, not initialised; null when memory is short or the bytes leave 64 bits.
template <typename Element>
Block<Element> allocateBlock(int64_t count) {
  uint64_t bytes = 0;
  if (__builtin_mul_overflow(static_cast<uint64_t>(count), sizeof(Element), &bytes)) return nullptr;
  return Block<Element>(static_cast<Element*>(kxfMalloc(bytes)));
}

struct FreeImage {
  void operator()(ksImage* image) const { ksImageFree(image); }
};

// The destination's rows. In place they wait in a small image, the lowest that keeps every source row until the last
// row that reads it is done.
class Output {
 public:
  Output(const ksImage* destination, Span x, Span y) : destination_(destination), x_(x), y_(y) {}

  [[nodiscard]] bool delay(int64_t rows) {
    if (rows > std::numeric_limits<int32_t>::max()) return false;
    waiting_.reset(ksImageCreate(static_cast<int32_t>(x_.size), static_cast<int32_t>(rows)));
    delay_ = rows;
    return waiting_ != nullptr;
  }

  // Where row `index` goes, counted from the first one; rows are asked for once each, in order.
  [[nodiscard]] uint8_t* row(int64_t index) const {
    if (waiting_ == nullptr) return destinationRow(index);
    if (index >= delay_) release(index - delay_);
    return waitingRow(index);
  }

  // The rows that still wait; then the small image goes, before anything else is freed.
  void finish() {
    if (waiting_ == nullptr) return;
    for (int64_t index = std::max<int64_t>(y_.size - delay_, 0); index < y_.size; ++index) release(index);
    waiting_.reset();
  }

 private:
  [[nodiscard]] uint8_t* destinationRow(int64_t index) const {
    return ksImagePixAddr(destination_, static_cast<int32_t>(x_.start), static_cast<int32_t>(y_.start + index));
  }
  [[nodiscard]] uint8_t* waitingRow(int64_t index) const {
    return ksImagePixAddr(waiting_.get(), 0, static_cast<int32_t>(index % delay_));
  }
  void release(int64_t index) const {
    std::memcpy(destinationRow(index), waitingRow(index), static_cast<size_t>(x_.size));
  }

  const ksImage* destination_;
  Span x_, y_;
  std::unique_ptr<ksImage, FreeImage> waiting_;
  int64_t delay_ = 0;
};

// Rows enter with the signs of the passes-th difference at the box height, and as many running sums turn that into the
// vertical sum of the boxes; along a finished row the same again. Columns are taken in groups small enough to stay in
// registers from the pixels to the quotients. All sums are doubles.
class MultiPassSmoother {
 public:
  MultiPassSmoother(const ksImage* source, MultiPassKernel x, MultiPassKernel y, Span columns, Span rows)
      : source_(source), x_(x), y_(y), columns_(columns), rows_(rows), passes_(x.passes) {}

  [[nodiscard]] bool allocate() {
    // a margin of zeros, then the sums of the last pass, which is taken up first: its differences reach back
    margin_ = passes_ * x_.box;
    sumCount_ = margin_ + passes_ * columns_.size;
    sums_ = allocateBlock<double>(sumCount_);
    running_ = allocateBlock<double>(passes_);
    taps_ = allocateBlock<Tap>(passes_ + 1);
    return sums_ != nullptr && running_ != nullptr && taps_ != nullptr;
  }

  void run(Output& output, bool peakNormalize) {
    std::fill_n(sums_.get(), sumCount_, 0.0);
    double weight = 1.0;
    for (int64_t i = 0; i <= passes_; ++i) {
      taps_.get()[i].weight = weight;
      weight = -weight * static_cast<double>(passes_ - i) / static_cast<double>(i + 1);
    }
    const double sum =
        std::pow(static_cast<double>(x_.box) * static_cast<double>(y_.box), static_cast<double>(passes_));
    divisor_ = peakNormalize ? middleWeight(x_) * middleWeight(y_) : sum;
    // While every value on the way is exact, no sum is negative. A pass doubles differences before it makes them sums
    // of a box, so that boxes of one count as two; the passes along the row come last and find the largest values. The
    // quotients of such sums must fit in 32 bits, too.
    const double growth = static_cast<double>(std::max<int64_t>(x_.box, 2)) * static_cast<double>(y_.box);
    isSmall_ = 255.0 * std::pow(growth, static_cast<double>(passes_)) < 0x1p53 && 255.0 * sum / divisor_ < 0x1p31;

    for (int64_t row = 0; row < rows_.size; ++row) {
      enterRow(row);
      forColumns(0, columns_.size, [this]<size_t Columns>(int64_t column) { addDown<Columns>(column); });
      if (row < y_.extent()) continue;
      // asked for now that the row's pixels have been read: in place it may be one of them that is let go
      uint8_t* const out = output.row(row - y_.extent());
      std::fill_n(running_.get(), passes_, 0.0);
      forColumns(0, x_.extent(), [this]<size_t Columns>(int64_t column) {
        std::array<double, Columns> values;
        addAlong(column, values);
      });
      forColumns(x_.extent(), columns_.size, [this, out]<size_t Columns>(int64_t column) {
        std::array<double, Columns> values;
        addAlong(column, values);
        store(values, out + (column - x_.extent()));
      });
    }
    output.finish();
  }

 private:
  struct Tap {
    double weight;
    const uint8_t* row;
  };

  // The kernel's weight in the middle.
  [[nodiscard]] double middleWeight(const MultiPassKernel& kernel) const {
    std::fill_n(running_.get(), passes_, 0.0);
    std::array<double, 1> weight{};
    for (int64_t i = 0; i <= kernel.extent() / 2; ++i) {
      weight[0] = i % kernel.box == 0 ? taps_.get()[i / kernel.box].weight : 0.0;
      sumAlong(weight);
    }
    return weight[0];
  }

  void enterRow(int64_t row) {
    reached_ = std::min(passes_, row / y_.box) + 1;
    for (int64_t i = 0; i < reached_; ++i) {
      taps_.get()[i].row = ksImagePixAddr(source_, static_cast<int32_t>(columns_.start),
                                          static_cast<int32_t>(rows_.start + row - i * y_.box));
    }
  }

  // Columns are taken many at once, as far as there are as many.
  template <typename Take>
  static void forColumns(int64_t column, int64_t end, const Take& take) {
    constexpr size_t many = 16;
    for (; end - column >= int64_t{many}; column += int64_t{many}) take.template operator()<many>(column);
    for (; column < end; ++column) take.template operator()<1>(column);
  }

  // The entering row's pixels into the sums down the columns.
  template <size_t Columns>
  void addDown(int64_t column) const {
    double* const last = sums_.get() + margin_ + column;
    double* sums = last + (passes_ - 1) * columns_.size;
    std::array<double, Columns> values;
    std::copy_n(sums, Columns, values.begin());
    if (passes_ <= 8) {
      addDifference(column, values);
    } else {
      addTaps<double>(column, values);
    }
    std::copy_n(values.begin(), Columns, sums);
    while (sums != last) {
      sums -= columns_.size;
      for (size_t k = 0; k < Columns; ++k) values[k] += sums[k];
      for (size_t k = 0; k < Columns; ++k) sums[k] = values[k];
    }
  }

  // The full sums of the taps that end in these columns.
  template <size_t Columns>
  void addAlong(int64_t column, std::array<double, Columns>& values) const {
    const double* left = sums_.get() + margin_ + column;
    std::copy_n(left, Columns, values.begin());
    for (int64_t i = 1; i <= passes_; ++i) {
      left -= x_.box;
      const double weight = taps_.get()[i].weight;
      for (size_t k = 0; k < Columns; ++k) values[k] += weight * left[k];
    }
    sumAlong(values);
  }

  // In 16 bits, where sums are at most 2^7 * 255.
  template <size_t Columns>
  void addDifference(int64_t column, std::array<double, Columns>& values) const {
    std::array<int16_t, Columns> difference{};
    addTaps<int16_t>(column, difference);
    for (size_t k = 0; k < Columns; ++k) values[k] += difference[k];
  }

  // One after the other onto what is there: of sums that doubles do not hold exactly the order is the result.
  template <typename Value, size_t Columns>
  void addTaps(int64_t column, std::array<Value, Columns>& values) const {
    for (const Tap& tap : std::span(taps_.get(), static_cast<size_t>(reached_))) {
      const Value weight = static_cast<Value>(tap.weight);
      const uint8_t* const pixels = tap.row + column;
      for (size_t k = 0; k < Columns; ++k) values[k] = static_cast<Value>(values[k] + weight * pixels[k]);
    }
  }

  // The running sums of all passes, carried on from the group before.
  template <size_t Columns>
  void sumAlong(std::array<double, Columns>& values) const {
    double* running = running_.get();
    int64_t left = passes_;
    for (; left >= 3; left -= 3, running += 3) sumAlong<3>(running, values);
    if (left == 2) sumAlong<2>(running, values);
    if (left == 1) sumAlong<1>(running, values);
  }

  template <size_t Passes, size_t Columns>
  static void sumAlong(double* running, std::array<double, Columns>& values) {
    std::array<double, Passes> sums;
    std::copy_n(running, Passes, sums.begin());
    for (double& value : values) {
      for (double& sum : sums) value = sum += value;
    }
    std::copy_n(sums.begin(), Passes, running);
  }

  template <size_t Columns>
  void store(const std::array<double, Columns>& values, uint8_t* out) const {
    const double divisor = divisor_;
    if (isSmall_) {
      std::array<int32_t, Columns> quotients;
      for (size_t k = 0; k < Columns; ++k) quotients[k] = static_cast<int32_t>(values[k] / divisor);
      for (size_t k = 0; k < Columns; ++k) out[k] = static_cast<uint8_t>(quotients[k]);
    } else {
      for (size_t k = 0; k < Columns; ++k) out[k] = storeLow<uint8_t>(values[k] / divisor);
    }
  }

  const ksImage* source_;
  MultiPassKernel x_, y_;
  Span columns_, rows_;  // of the source
  int64_t passes_;
  int64_t margin_ = 0, sumCount_ = 0;
  Block<double> sums_, running_;
  Block<Tap> taps_;
  int64_t reached_ = 0;  // taps that have a row
  double divisor_ = 1.0;
  bool isSmall_ = false;
};

void setClientCoords(const ksImage* source, const MultiPassKernel& x, const MultiPassKernel& y, ksImage* destination) {
  ksFXform xform;
  ksFXformElemCT(&xform, 1.0f, 0.0f, 0.0f, 1.0f, x.centreShift(), y.centreShift());
  // the shift is one of pixels: applied last, whatever the scale and rotation of the client coordinates
  ksFXformCompose(&xform, ksImageClientCoords(source), &xform);
  ksImageSetClientCoords(destination, &xform);
}

ksImage* createImage(Span x, Span y) {
  ksImage* const image = ksImageCreate(static_cast<int32_t>(x.size), static_cast<int32_t>(y.size));
  if (image == nullptr) return nullptr;
  return ksImageMoveTo(image, static_cast<int32_t>(x.start), static_cast<int32_t>(y.start));
}

// False when memory is short: nothing is written then.
bool smoothInto(const ksImage* source, const MultiPassKernel& x, const MultiPassKernel& y, bool peakNormalize,
                Span validColumns, Span validRows, ksImage* destination) {
  Output output(destination, validColumns, validRows);
  // a source row is read for the last time passes * box rows below it, what replaces it is done half the taps below it
  if (destination == source && !output.delay(y.passes * y.box - (y.extent() + 1) / 2)) return false;
  MultiPassSmoother smoother(source, x, y, dilate(validColumns, x.taps()), dilate(validRows, y.taps()));
  if (!smoother.allocate()) return false;
  setClientCoords(source, x, y, destination);
  smoother.run(output, peakNormalize);
  return true;
}

}  // namespace

}  // namespace kip

using kip::Span;

ksImage* kfGauss(ksImage* src, ksImage* dst, int32_t n, int32_t xSigma, int32_t ySigma, int32_t peakNormalize,
                 ksIRegion* region) {
  kip::check(src != nullptr);
  kip::check(n >= -1);
  kip::check(xSigma >= 0 && ySigma >= 0);
  kip::check(ksVImageType(src) == 0 && (dst == nullptr || ksVImageType(dst) == 0));
  const kip::MultiPassKernel x{int64_t{n} + 1, int64_t{xSigma} + 1};
  const kip::MultiPassKernel y{int64_t{n} + 1, int64_t{ySigma} + 1};

  Span columns = erode(kip::columns(*ksImageRegion(src)), x.taps());
  Span rows = erode(kip::rows(*ksImageRegion(src)), y.taps());
  if (const ksIRegion* const limit = dst != nullptr ? ksImageRegion(dst) : region; limit != nullptr) {
    columns = intersect(columns, kip::columns(*limit));
    rows = intersect(rows, kip::rows(*limit));
  }
  ksIRegion unused;
  ksIRegion& computed = region != nullptr ? *region : unused;
  computed = ksIRegionNull;
  if (columns.isNull() || rows.isNull()) return dst != nullptr ? dst : ksImageCreate(0, 0);
  kip::check(dilate(columns, x.taps()).fits32() && dilate(rows, y.taps()).fits32());

  if (dst == nullptr && (dst = kip::createImage(columns, rows)) == nullptr) return nullptr;
  if (x.extent() == 0 && y.extent() == 0) {
    if (dst != src) ksImageCopy(src, dst);
  } else if (!kip::smoothInto(src, x, y, peakNormalize != 0, columns, rows, dst)) {
    return dst;
  }
  computed = kip::makeRegion(columns, rows);
  return dst;
}
