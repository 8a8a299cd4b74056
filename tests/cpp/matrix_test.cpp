// SPDX-License-Identifier: Apache-2.0
// Views over matrices: of a class with OpenCV's members and, where OpenCV is installed, of cv::Mat itself.
#include <gtest/gtest.h>

#ifdef KIP_TEST_OPENCV
#include <opencv2/core.hpp>
#endif

#include "cpp/drawn.hpp"

namespace {

using namespace kiptest;

// OpenCV's numbers of element types.
enum Type { u8 = 0, s8 = 1, u16 = 2, s16 = 3, f32 = 5, u8x2 = 8, u8x3 = 16 };

struct Matrix {
  struct Step {
    size_t bytes;
    operator size_t() const { return bytes; }
  };

  Matrix(int height, int width, int elements, void* pixels, size_t stepBytes)
      : type(elements), rows(height), cols(width), data(static_cast<unsigned char*>(pixels)), step{stepBytes} {}
  [[nodiscard]] int channels() const { return type / 8 + 1; }
  [[nodiscard]] int depth() const { return type % 8; }
  [[nodiscard]] size_t elemSize() const {
    return static_cast<size_t>(channels()) * (depth() < u16 ? 1 : depth() < 4 ? 2 : 4);
  }

  int type, rows, cols;
  unsigned char* data;
  Step step;
};

// No more than the four members.
template <typename Count>
struct PlainMatrix {
  const uint16_t* data;
  Count rows, cols;
  size_t step;
};
static_assert(std::is_constructible_v<kip::view<const uint16_t>, PlainMatrix<int>>);
static_assert(!std::is_constructible_v<kip::view<uint16_t>, PlainMatrix<int>>, "its pixels are const");
static_assert(!std::is_convertible_v<Matrix, kip::view<const uint8_t>>, "the depth is the caller's to say");

template <typename Any>
class Matrices : public testing::Test {};
#ifdef KIP_TEST_OPENCV
using Classes = testing::Types<Matrix, cv::Mat>;
#else
using Classes = testing::Types<Matrix>;
#endif
TYPED_TEST_SUITE(Matrices, Classes);

TYPED_TEST(Matrices, AreSmoothedInPlaceOfViews) {
  Random random(71);
  const Painted<uint8_t> small = drawPicture<uint8_t>({0, 0, 13, 7}, random);
  const Painted<uint16_t> deep = drawPicture<uint16_t>({0, 0, 13, 7}, random);
  const Canvas<uint16_t> result({0, 0, 13, 7}, 0xA7);
  const kip::smooth_params params = {.x_sigma = 2, .y_sigma = 2};
  const TypeParam source8(7, 13, u8, small.pixels(), static_cast<size_t>(small.strideBytes()));
  const TypeParam source16(7, 13, u16, deep.pixels(), static_cast<size_t>(deep.strideBytes()));
  TypeParam dest(7, 13, u16, result.pixels(), static_cast<size_t>(result.strideBytes()));
  EXPECT_EQ(pixelsOf(kip::smooth(kip::view<const uint8_t>(source8), params)),
            pixelsOf(kip::smooth(viewOf(small), params)));
  ASSERT_EQ(kip::try_smooth(kip::view<const uint16_t>(source16), kip::view<uint16_t>(dest), params), 0);
  EXPECT_EQ(result.crop(result.region()), pixelsOf(kip::smooth(viewOf(deep), params)));
  EXPECT_TRUE(result.intactOutside(result.region()));
}

template <typename Pixel, typename Any>
std::string refusalOf(const Any& matrix) {
  try {
    return kip::view<const Pixel>(matrix).data == nullptr ? "" : "taken";
  } catch (const kip::error& error) {
    EXPECT_EQ(error.status(), KSYS_STATUS_BAD_ARGUMENT);
    return error.what();
  }
}

TYPED_TEST(Matrices, OfOtherElementsAreRefused) {
  alignas(8) unsigned char memory[12 * 4 * 4] = {};
  const std::string number = " (status 0x80000011)";
  for (const auto& [type, text8, text16] : std::initializer_list<std::tuple<Type, std::string, std::string>>{
           {u8, "taken", "elements of 1 bytes"},
           {s8, "the type of depth 1", "elements of 1 bytes"},
           {u16, "elements of 2 bytes", "taken"},
           {s16, "elements of 2 bytes", "the type of depth 3"},
           {f32, "elements of 4 bytes", "elements of 4 bytes"},
           {u8x2, "2 channels", "2 channels"},
           {u8x3, "3 channels", "3 channels"}}) {
    const TypeParam matrix(4, 3, type, memory, 48);
    const auto wanted = [&](const char* bits, const std::string& text) {
      const std::string start = "one channel of ";
      return text == "taken" ? text : start + bits + "-bit unsigned pixels is wanted, not " + text + number;
    };
    EXPECT_EQ(refusalOf<uint8_t>(matrix), wanted("8", text8)) << type;
    EXPECT_EQ(refusalOf<uint16_t>(matrix), wanted("16", text16)) << type;
  }
}

TEST(MatrixRows, MustBeWholePixelsApart) {
  alignas(8) unsigned char memory[64] = {};
  for (const size_t step : {size_t{0}, size_t{5}, size_t{9}, size_t{0} - 8, size_t{1} << 40}) {
    EXPECT_NE(refusalOf<uint16_t>(Matrix(2, 4, u16, memory, step)).find("does not fit rows of 4 pixels"),
              std::string::npos)
        << step;
    EXPECT_EQ(refusalOf<uint16_t>(Matrix(1, 4, u16, memory, step)), "taken") << step;
  }
  EXPECT_NE(refusalOf<uint8_t>(Matrix(-1, -1, u8, memory, 8)).find("two dimensions"), std::string::npos);
  const PlainMatrix<size_t> large = {nullptr, 1, (size_t{1} << 32) + 5, 0};
  EXPECT_NE(refusalOf<uint16_t>(large).find("too many rows or columns"), std::string::npos);
}

}  // namespace
