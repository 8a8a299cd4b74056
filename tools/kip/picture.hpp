// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "error.hpp"
#include "kip/cpp/view.hpp"

namespace kip::tool {

// What a picture may measure, and how much of it may lie in memory at once. A file's header is held against these
// before memory is taken for its pixels.
constexpr int64_t kMaxSide = 1'000'000;
constexpr int64_t kMaxPixels = int64_t{1} << 30;

// Memory of zeros that costs nothing before it is written, so that a file which promises more than it holds is refused
// at the price of what it holds.
template <typename Element>
struct UntouchedZeros {
  using value_type = Element;

  Element* allocate(size_t count) {
    void* const block = std::calloc(count, sizeof(Element));
    if (block == nullptr) throw std::bad_alloc();
    return static_cast<Element*>(block);
  }
  void deallocate(Element* block, size_t) { std::free(block); }
  // an element that is given no value keeps the 0 of its block
  void construct(Element*) {}
  template <typename Value>
  void construct(Element* element, Value value) {
    *element = value;
  }
  friend bool operator==(UntouchedZeros, UntouchedZeros) { return true; }
};
template <typename Element>
using Zeros = std::vector<Element, UntouchedZeros<Element>>;

struct PictureSize {
  int32_t width = 0, height = 0;
  int32_t depth = 8;  // bits of a pixel: 8 or 16

  // Throws Error when a side has no pixel or too many.
  static PictureSize make(int64_t width, int64_t height, int32_t depth);

  size_t rowSize() const { return static_cast<size_t>(width) * static_cast<size_t>(depth / 8); }
};

// A grey picture: rows top to bottom, nothing between them, 0 is black and the largest value white.
struct Picture : PictureSize {
  Zeros<uint8_t> pixels8;    // filled when depth is 8
  Zeros<uint16_t> pixels16;  // filled when depth is 16

  // A black picture. Throws Error when it measures nothing or too much.
  static Picture make(int64_t width, int64_t height, int32_t depth);
  // Keeps the upper rows, or adds rows of any pixels.
  void setHeight(int32_t rows);

  // The bytes of row y, 16-bit pixels in the machine's byte order.
  uint8_t* row(int32_t y) { return const_cast<uint8_t*>(static_cast<const Picture*>(this)->row(y)); }
  const uint8_t* row(int32_t y) const {
    const auto* bytes = depth == 8 ? pixels8.data() : reinterpret_cast<const uint8_t*>(pixels16.data());
    return bytes + static_cast<size_t>(y) * rowSize();
  }
  // Pixels of the size that `depth` tells.
  template <pixel Pixel>
  kip::view<Pixel> view() {
    return {reinterpret_cast<Pixel*>(row(0)), width, height};
  }
  template <pixel Pixel>
  kip::view<const Pixel> view() const {
    return {reinterpret_cast<const Pixel*>(row(0)), width, height};
  }
  uint32_t at(int32_t x, int32_t y) const {
    const size_t i = static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x);
    return depth == 8 ? uint32_t{pixels8[i]} : uint32_t{pixels16[i]};
  }
};

// "640 x 480"
std::string sizeText(int64_t width, int64_t height);

// Throw for a picture that is not plain grey; `kind` says what it is instead, such as "a colour picture". One that is
// convertible has pixels that become grey ones of 8 or 16 bits without a choice of their range.
[[noreturn]] void refuseNotGrey(const std::string& kind);
[[noreturn]] void refuseConvertible(const std::string& kind);

// What refuseConvertible throws.
class ConvertibleError : public Error {
 public:
  using Error::Error;
};

}  // namespace kip::tool
