// SPDX-License-Identifier: Apache-2.0
#include "kip/host/kmath.h"

#include <gtest/gtest.h>

#include <array>
#include <deque>

#include "host/records.hpp"
#include "kip/host/kimg.h"
#include "support/host_seams.hpp"
#include "support/random.hpp"

namespace {

using kiptest::mapped;
using kiptest::same;

TEST(Idiv, RemainderIsNeverNegative) {
  for (int32_t n = -20; n <= 20; ++n) {
    for (const int32_t d : {-7, -2, -1, 1, 3, 8}) {
      const int32_t remainder = n - kmath_idiv(n, d) * d;
      EXPECT_TRUE(remainder >= 0 && remainder < std::abs(d)) << n << '/' << d;
    }
  }
  EXPECT_EQ(kmath_idiv(INT32_MIN, -1), INT32_MAX);
  EXPECT_EQ(kmath_idiv(-1, INT32_MIN), 1);
}

TEST(Numeric, MinimumMaximumAndLimits) {
  const double nan = std::nan("");
  EXPECT_EQ(std::pair(kxfDMin(-1.5, 2), kxfDMin(2, -1.5)), std::pair(-1.5, -1.5));
  EXPECT_EQ(kxfDMin(nan, 2), 2);
  EXPECT_TRUE(std::isnan(kxfDMin(2, nan)));
  EXPECT_EQ(std::pair(kxfIMax(INT32_MIN, -3), kxfIMax(4, -3)), std::pair(-3, 4));
  for (const auto& [value, low, high, limited] :
       {std::array{5, -2, 3, 3}, {-5, -2, 3, -2}, {1, -2, 3, 1}, {INT32_MAX, INT32_MIN, 7, 7}, {5, 3, -2, 3}}) {
    EXPECT_EQ(kxfILimit(value, low, high), limited) << value;
  }
}

TEST(FXform, RoundsOnceAndKeepsZeroPositive) {
  ksFXform a, b, out;
  ksFXformElemCT(&a, 1, 2, 3, 4, -0.0f, 5);
  EXPECT_TRUE(same(a, {0.0f, 5, 1, 2, 3, 4}));
  ksFXformElemCT(&b, 2, 0, 0, 3, -5, 7);
  ksFXformCompose(&a, &b, &out);  // b first
  EXPECT_TRUE(same(out, {9, 18, 2, 6, 6, 12}));
  ksFXformCompose(&b, &a, &b);
  EXPECT_TRUE(same(b, {-5, 22, 2, 4, 9, 12}));
  // In float the sum 1 + 2^-24 is 1.
  ksFXformElemCT(&a, 1, 0x1p-24f, 0, 1, -1, 0);
  ksFXformElemCT(&b, 1, 0, 0, 1, 1, 1);
  ksFXformCompose(&a, &b, &out);
  EXPECT_EQ(out.tx, 0x1p-24f);
  ksFXformElemCT(&a, 3, 0, 0, 7, 0, -7);
  ksFXformInv(&a, &a);
  EXPECT_TRUE(same(a, {0.0f, 1, 1.0f / 3, -0.0f, -0.0f, 1.0f / 7}));
  ksFXformElemCT(&a, 1, 1, 1, 1, 0, 0);
  ksFXformInv(&a, &a);
  EXPECT_FALSE(std::isfinite(a.m00));
}

TEST(Linear, Inverse) {
  kmath_xformLinear x{0, -6, 2, 1, -2, 3}, out;  // determinant 8
  ASSERT_EQ(kmath_xformLinear_getInverse(&x, &out), 0);
  kmath_xformLinear_initCompose(&out, &x, &out);
  EXPECT_TRUE(same(out, {0, 0, 1, 0, 0, 1}));
  for (const double m11 : {-1.0, std::nan(""), 1e308}) {
    x.m11 = m11;
    EXPECT_EQ(kmath_xformLinear_getInverse(&x, &out), KSYS_STATUS_NOT_INVERTIBLE);
    EXPECT_EQ(out.m00, 1);
  }
}

TEST(Handle, LinearOnesStayLinearAndUnchanged) {
  const kmath_xformLinear x{-0.0, 0.1, 2, 1, -3, 4}, scale{1, 1, 2, 0, 0, 3};
  const double point[2] = {7, 8};
  kmath_xformLinear linear;
  kmath_xformPtrhConst a, b, out;
  kmath_xformPtrhConst_constructLinear(&a, &x);
  kmath_xformPtrhConst_constructLinear(&b, &scale);
  kmath_xformPtrhConst_construct(&out);
  kmath_xformPtrhConst_getLinear(&out, point, &linear);
  EXPECT_TRUE(same(linear, {0, 0, 1, 0, 0, 1}));
  kmath_xformPtrhConst_assignCompose(&out, &out, &a);  // with the identity
  kmath_xformPtrhConst_getLinear(&out, point, &linear);
  EXPECT_TRUE(same(linear, x));
  kmath_xformPtrhConst_assignCompose(&out, &b, &out);
  kmath_xformPtrhConst_getLinear(&out, point, &linear);
  EXPECT_TRUE(same(linear, {1, 0.1 * 3 + 1, 4, 2, -9, 12}));
  for (auto* handle : {&a, &b, &out, &out}) kmath_xformPtrhConst_destruct(handle);
}

TEST(Handle, NonLinearOnesComposeDifferentiateAndLetGoOnce) {
  int releases = 0;
  const kmath_xformLinear scale{1, 1, 2, 0, 0, 3};
  kmath_xformPtrhConst bent, linear, out;
  kmath_xformPtrhConst_construct(&out);
  kmath_xformPtrhConst_constructLinear(&linear, &scale);
  ASSERT_EQ(kiptest::constructBent(&bent, &releases), 0);
  kmath_xformPtrhConst_assignCompose(&out, &bent, &linear);
  EXPECT_EQ(mapped(out, 0.5, 2), (std::pair{std::exp(2.0), 9.0}));
  int32_t isLinear = 1;
  kmath_xformPtrhConst_getIsLinear(&out, &isLinear);
  EXPECT_EQ(isLinear, 0);

  const double at[2] = {0.25, 10};  // value (exp 1.5, 32.5), slopes (2 exp 1.5, 0) and (2, 3)
  kmath_xformLinear tangent;
  kmath_xformPtrhConst_getLinear(&out, at, &tangent);
  const double slopeX = 2 * std::exp(1.5);
  const double expected[] = {std::exp(1.5) - slopeX * at[0], 32.5 - 2 * at[0] - 3 * at[1], slopeX, 0, 2, 3};
  const double actual[] = {tangent.tx, tangent.ty, tangent.m00, tangent.m01, tangent.m10, tangent.m11};
  for (size_t i = 0; i < 6; ++i) EXPECT_NEAR(actual[i], expected[i], 1e-8) << i;

  kmath_xformPtrhConst_assignCompose(&out, &linear, &out);
  kmath_xformPtrhConst_destruct(&linear);
  kmath_xformPtrhConst_destruct(&bent);
  EXPECT_EQ(mapped(out, 0.5, 2), (std::pair{2 * std::exp(2.0) + 1, 28.0}));
  EXPECT_EQ(releases, 0);
  kmath_xformPtrhConst_destruct(&out);
  kmath_xformPtrhConst_destruct(&out);
  EXPECT_EQ(releases, 1);
}

// The inverse, as an image gives it.
void assignInverse(kmath_xformPtrhConst& inverse, const kmath_xformPtrhConst& handle) {
  kimg_image image;
  kimg_image_constructUnbound(&image);
  EXPECT_EQ(kimg_image_setClientFromImageXform(&image, &handle), 0);
  EXPECT_EQ(kimg_imageConst_getImageFromClientXform(&image, &inverse), 0);
  kimg_image_destruct(&image);
}

// Draws a chain that grows at both ends, keeps its steps in a list and applies both.
TEST(Handle, CompositionsAreTheirStepsInOrder) {
  const auto swap = [](void*, const double in[2], double out[2]) { out[0] = in[1], out[1] = in[0] + 1; };
  const auto unswap = [](void*, const double in[2], double out[2]) { out[0] = in[1] - 1, out[1] = in[0]; };
  const kmath_xformLinear larger{3, -1, 2, 0, 0, 4}, smaller{-1, 5, 0.5, 0, 0, 0.25};
  kmath_xformPtrhConst kinds[3], inverse;  // all exact
  ASSERT_EQ(kmath_xformPtrhConst_constructFunction(&kinds[0], swap, unswap, nullptr, nullptr), 0);
  kmath_xformPtrhConst_constructLinear(&kinds[1], &larger);
  kmath_xformPtrhConst_constructLinear(&kinds[2], &smaller);
  kmath_xformPtrhConst_construct(&inverse);
  kiptest::Random random(3);
  for (int chain = 0; chain < 200; ++chain) {
    kmath_xformPtrhConst whole;
    kmath_xformPtrhConst_construct(&whole);
    std::deque<const kmath_xformPtrhConst*> steps;  // the first one applied first
    for (int length = random.between(1, 12); length > 0; --length) {
      const auto* const step = &kinds[random.between(0, 2)];
      if (random.chance(2)) {
        ASSERT_EQ(kmath_xformPtrhConst_assignCompose(&whole, step, &whole), 0);
        steps.push_back(step);
      } else {
        ASSERT_EQ(kmath_xformPtrhConst_assignCompose(&whole, &whole, step), 0);
        steps.push_front(step);
      }
    }
    if (random.chance(3)) {  // two copies
      ASSERT_EQ(kmath_xformPtrhConst_assignCompose(&whole, &whole, &whole), 0);
      steps.insert(steps.end(), steps.begin(), steps.end());
    }
    std::pair expected{3.0, -7.0};
    for (const auto* step : steps) expected = mapped(*step, expected.first, expected.second);
    EXPECT_EQ(mapped(whole, 3, -7), expected) << chain;
    assignInverse(inverse, whole);
    EXPECT_EQ(mapped(inverse, expected.first, expected.second), std::pair(3.0, -7.0)) << chain;
    kmath_xformPtrhConst_destruct(&whole);
  }
  for (auto* handle : {&kinds[0], &kinds[1], &kinds[2], &inverse}) kmath_xformPtrhConst_destruct(handle);
}

TEST(Handle, ChainsOfAnyLength) {
  constexpr int many = 300000;
  int releases = 0;
  const auto up = [](void*, const double in[2], double out[2]) { out[0] = in[0] + 1, out[1] = in[1]; };
  const auto down = [](void*, const double in[2], double out[2]) { out[0] = in[0] - 1, out[1] = in[1]; };
  const auto count = [](void* releasesOf) { ++*static_cast<int*>(releasesOf); };
  kmath_xformPtrhConst step, chain;
  ASSERT_EQ(kmath_xformPtrhConst_constructFunction(&step, up, down, &releases, count), 0);
  const kmath_xformLinear shift{0, 1, 1, 0, 0, 1};
  for (const bool atOuterEnd : {false, true}) {
    kmath_xformPtrhConst_construct(&chain);
    for (int i = 0; i < many; ++i) {
      ASSERT_EQ(kmath_xformPtrhConst_assignCompose(&chain, atOuterEnd ? &step : &chain, atOuterEnd ? &chain : &step),
                0);
    }
    EXPECT_EQ(mapped(chain, 0, 0), std::pair(double{many}, 0.0));
    assignInverse(chain, chain);
    EXPECT_EQ(mapped(chain, 0, 0), std::pair(-double{many}, 0.0));
    {
      const kiptest::AllocationProbe probe(1);
      double point[2] = {5, 6};
      EXPECT_EQ(kmath_xformPtrhConst_mapPoint(&chain, point, point), probe.failure());
      EXPECT_EQ(std::pair(point[0], point[1]), std::pair(5.0, 6.0));
    }
    kmath_xformPtrhConst_destruct(&chain);
  }
  // linear ones at both ends stay one each: not deep
  kmath_xformPtrhConst_construct(&chain);
  ASSERT_EQ(kmath_xformPtrhConst_assignCompose(&chain, &chain, &step), 0);
  kmath_xformPtrhConst linear;
  kmath_xformPtrhConst_constructLinear(&linear, &shift);
  for (int i = 0; i < 100; ++i) {
    ASSERT_EQ(kmath_xformPtrhConst_assignCompose(&chain, &linear, &chain), 0);
    ASSERT_EQ(kmath_xformPtrhConst_assignComposePtrhLinear(&chain, &chain, &shift), 0);
  }
  const kiptest::AllocationProbe probe;
  EXPECT_EQ(mapped(chain, 0, 0), std::pair(1.0, 200.0));
  EXPECT_EQ(probe.count(), 0);
  for (auto* handle : {&chain, &linear}) kmath_xformPtrhConst_destruct(handle);
  EXPECT_EQ(releases, 0);
  kmath_xformPtrhConst_destruct(&step);
  EXPECT_EQ(releases, 1);
}

}  // namespace
