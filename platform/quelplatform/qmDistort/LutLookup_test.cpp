#include "quelplatform/qmDistort/LutLookup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "quelplatform/qmDistort/DistortLutsManager.h"
#include "quelplatform/qmDistort/LensSamples_fixture.h"
#include "quelplatform/qmDistort/LutSamples_fixture.h"
#include "testing/Canary.h"
#include "testing/Numbers.h"

namespace {

using namespace quel::testing;
using ::testing::ElementsAre;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// Three columns and two rows at x = 10, 12, 14 and y = 20, 24; layers at -5, 1 and 15. The x displacement of a cell is
// 100 layer + 10 row + column, the y displacement its negative half.
class LutLookup : public ::testing::Test {
 protected:
  LutLookup() : luts_(3, 2, {-5, 1, 15}) {
    luts_.get().gridOrigin[0] = 10;
    luts_.get().gridOrigin[1] = 20;
    luts_.get().gridPitch[0] = 2;
    luts_.get().gridPitch[1] = 4;
    luts_.get().referenceLayer = 1;
    for (std::int32_t layer = 0; layer < 3; ++layer) {
      for (std::int32_t row = 0; row < 2; ++row) {
        for (std::int32_t column = 0; column < 3; ++column) {
          const float value = static_cast<float>(100 * layer + 10 * row + column);
          luts_.cell(0, static_cast<std::size_t>(layer), row, column) = value;
          luts_.cell(1, static_cast<std::size_t>(layer), row, column) = -value / 2;
        }
      }
    }
    model_.luts = luts_;
  }

  // The displacement of the exact call; expects that an untouched output goes with failure.
  std::optional<double> exact(double x, double y, const float* depth) {
    const double in[2] = {x, y};
    Canary<2> out;
    if (qmDistortDistortOnePt(in, &model_, depth, out) == 0) {
      EXPECT_TRUE(out.untouched());
      return std::nullopt;
    }
    EXPECT_THAT(out[1] - y, Near(-(out[0] - x) / 2, 1e-12));
    return out[0] - x;
  }
  std::optional<double> exact(double x, double y, float depth) { return exact(x, y, &depth); }
  std::optional<double> exact(double x, double y) { return exact(x, y, nullptr); }

  // The same of the fast call; expects that the polynomial's pixel, here the input, goes with failure.
  std::optional<double> fast(double x, double y, const float* depth) {
    const double in[2] = {x, y};
    double out[2] = {-1, -1};
    if (qmDistortDistortOnePtFast(in, &model_, depth, out) == 0) {
      EXPECT_EQ(out[0], x);
      EXPECT_EQ(out[1], y);
      return std::nullopt;
    }
    return out[0] - x;
  }
  std::optional<double> fast(double x, double y, float depth) { return fast(x, y, &depth); }
  std::optional<double> fast(double x, double y) { return fast(x, y, nullptr); }

  HandMadeLuts luts_;
  tag_qmDistortParams model_ = {};
};

TEST_F(LutLookup, GivesACellItsOwnValue) {
  EXPECT_EQ(exact(10, 20, -5.0F), 0);
  EXPECT_EQ(exact(12, 20, -5.0F), 1);
  EXPECT_EQ(exact(12, 24, 1.0F), 111);
  EXPECT_EQ(exact(14, 24, 15.0F), 212);
}

TEST_F(LutLookup, IsBilinearInTheImage) {
  EXPECT_EQ(exact(11, 20, -5.0F), 0.5);
  EXPECT_EQ(exact(10, 21, -5.0F), 2.5);
  EXPECT_EQ(exact(12.5, 23, -5.0F), 1.25 + 7.5);
  luts_.cell(0, 0, 1, 1) += 8;  // A twist: the bilinear term counts a quarter in the middle of its square.
  luts_.cell(1, 0, 1, 1) -= 4;
  EXPECT_EQ(exact(11, 22, -5.0F), 0.5 + 5 + 2);
}

TEST_F(LutLookup, IsLinearBetweenTheLayers) {
  EXPECT_EQ(exact(12, 20, -2.0F), 1 + 50);
  EXPECT_EQ(exact(12, 20, 8.0F), 1 + 150);
  EXPECT_EQ(exact(11, 22, 4.5F), 5.5 + 125);
}

TEST_F(LutLookup, TakesTheReferenceLayerWithoutADepth) {
  EXPECT_EQ(exact(12, 20), 101);
  EXPECT_EQ(fast(12, 20), 101);
  luts_.get().referenceLayer = 2;
  EXPECT_EQ(exact(12, 20), 201);
  EXPECT_EQ(fast(12, 20), 201);
}

// Promise 3 of the exact call.
TEST_F(LutLookup, EndsExactlyAtTheOuterCells) {
  const double below = std::nextafter(10.0, 0.0), above = std::nextafter(14.0, 20.0);
  const double over = std::nextafter(20.0, 0.0), under = std::nextafter(24.0, 30.0);
  for (const double x : {10.0, 14.0}) {
    for (const double y : {20.0, 24.0}) {
      EXPECT_TRUE(exact(x, y));
      EXPECT_TRUE(fast(x, y));
    }
  }
  for (const double x : {below, above, -1e9, 1e9}) {
    EXPECT_FALSE(exact(x, 22));
    EXPECT_FALSE(fast(x, 22));
  }
  for (const double y : {over, under, -1e9, 1e9}) {
    EXPECT_FALSE(exact(12, y));
    EXPECT_FALSE(fast(12, y));
  }
}

// Promise 3 of the exact call.
TEST_F(LutLookup, EndsExactlyAtTheOuterLayers) {
  for (const float depth : {std::nextafter(-5.0F, -9.0F), std::nextafter(15.0F, 20.0F), -kLargestFloat, kLargestFloat,
                            -std::numeric_limits<float>::infinity(), std::numeric_limits<float>::infinity(), kNaN}) {
    EXPECT_FALSE(exact(12, 22, depth));
    EXPECT_FALSE(fast(12, 22, depth));
  }
  EXPECT_TRUE(exact(12, 22, std::nextafter(-5.0F, 0.0F)));
  EXPECT_TRUE(exact(12, 22, std::nextafter(15.0F, 0.0F)));
}

// Promise 3 of the exact call.
TEST_F(LutLookup, HoldsForItsOwnDepthAloneWithASingleLayer) {
  HandMadeLuts single(2, 2, {3});
  single.cell(0, 0, 0, 0) = 2;
  single.cell(1, 0, 0, 0) = -1;
  model_.luts = single;
  EXPECT_EQ(exact(0, 0, 3.0F), 2);
  EXPECT_EQ(exact(0, 0), 2);
  EXPECT_FALSE(exact(0, 0, 3.5F));
  EXPECT_FALSE(fast(0, 0, 2.5F));
}

// Promise 3 of the exact call.
TEST_F(LutLookup, HoldsAtItsOwnPlaceAloneWithASingleCell) {
  HandMadeLuts single(1, 1, {5});
  single.get().gridOrigin[0] = 10;
  single.get().gridOrigin[1] = 20;
  single.cell(0, 0, 0, 0) = 3;
  single.cell(1, 0, 0, 0) = -1.5F;
  model_.luts = single;
  EXPECT_EQ(exact(10, 20, 5), 3);
  EXPECT_EQ(fast(10, 20, 5), 3);
  EXPECT_EQ(exact(10.5, 20, 5), std::nullopt);
  EXPECT_EQ(exact(10, 19.5, 5), std::nullopt);
}

TEST_F(LutLookup, FailsWhereANeededCellHoldsNoValueInEitherTable) {
  for (const float none : {kNaN, kLargestFloat}) {
    for (const std::size_t table : {0, 1}) {
      const float kept = luts_.cell(table, 1, 0, 1);
      luts_.cell(table, 1, 0, 1) = none;
      EXPECT_FALSE(exact(12, 20, 1.0F));
      EXPECT_FALSE(exact(11, 20, 1.0F));
      EXPECT_FALSE(exact(13, 23, 1.0F));
      EXPECT_FALSE(exact(12, 20, 0.0F)) << "the layer above is needed";
      EXPECT_FALSE(exact(12, 20, 2.0F)) << "the layer below is needed";
      EXPECT_FALSE(exact(12, 20));
      EXPECT_FALSE(fast(12, 20));
      luts_.cell(table, 1, 0, 1) = kept;
    }
  }
}

// Promise 3 of the exact call.
TEST_F(LutLookup, DoesNotNeedCellsAndLayersOfNoWeight) {
  for (const float none : {kNaN, kLargestFloat}) {
    luts_.cell(0, 1, 0, 1) = none;
    EXPECT_EQ(exact(10, 20, 1.0F), 100) << "its right neighbour";
    EXPECT_EQ(exact(14, 22, 1.0F), 107) << "the column before the last";
    EXPECT_EQ(exact(12, 24, 1.0F), 111) << "the row above";
    EXPECT_EQ(exact(12, 20, 15.0F), 201) << "the layer below";
    EXPECT_EQ(exact(12, 20, -5.0F), 1) << "the layer above";
    EXPECT_EQ(fast(10.75, 20, 1.0F), 100) << "not the nearest cell";
  }
}

// Promise 2 of the quick form.
TEST_F(LutLookup, TakesTheNearestCellAndLayerInTheFastCall) {
  EXPECT_EQ(fast(10.75, 21.9, -5.0F), 0);
  EXPECT_EQ(fast(11, 21.9, -5.0F), 1) << "halfway goes to the higher column";
  EXPECT_EQ(fast(10.75, 22, -5.0F), 10) << "halfway goes to the higher row";
  EXPECT_EQ(fast(13.25, 24, -2.5F), 12);
  EXPECT_EQ(fast(13.25, 24, -2.0F), 112) << "halfway goes to the higher layer";
  EXPECT_EQ(fast(14, 24, 14.0F), 212);
}

TEST_F(LutLookup, HappensAtTheIdealPixelAndIsAddedToTheDistortedOne) {
  for (const std::int32_t option : {1, 2}) {
    model_.distortOption = option;
    model_.k1 = 1e-3;
    model_.luts = nullptr;
    const double in[2] = {12, 24};
    double plain[2], exact[2], fast[2];
    ASSERT_EQ(qmDistortDistortOnePt(in, &model_, nullptr, plain), 1);
    ASSERT_GT(std::abs(plain[0] - in[0]), 1) << "far enough to fall into another cell";
    model_.luts = luts_;
    ASSERT_EQ(qmDistortDistortOnePt(in, &model_, nullptr, exact), 1);
    ASSERT_EQ(qmDistortDistortOnePtFast(in, &model_, nullptr, fast), 1);
    EXPECT_THAT(exact, ElementsAre(plain[0] + 111, plain[1] - 55.5));
    EXPECT_THAT(fast, ElementsAre(Near(exact[0], 1e-3), Near(exact[1], 1e-3)));
  }
}

// Promise 3 of the quick form.
TEST_F(LutLookup, GivesThePolynomialsPixelWhereTheFastCallFails) {
  model_.k1 = 1e-3;
  const double in[2] = {9, 24};
  double out[2];
  EXPECT_EQ(qmDistortDistortOnePtFast(in, &model_, nullptr, out), 0);
  const double s = 1 + 1e-3 * (81 + 576);
  EXPECT_THAT(out, ElementsAre(Near(9 * s, 1e-12), Near(24 * s, 1e-12)));
}

TEST_F(LutLookup, IgnoresTheThirdAndFourthTable) {
  HandMadeLuts four(2, 2, {0}, 15);
  four.cell(0, 0, 0, 0) = 2;
  four.cell(1, 0, 0, 0) = -1;
  four.cell(2, 0, 0, 0) = 100;
  four.cell(3, 0, 0, 0) = kNaN;
  model_.luts = four;
  EXPECT_EQ(exact(0, 0), 2);
  EXPECT_EQ(fast(0, 0), 2);
}

// Promise 3 of the exact call.
TEST_F(LutLookup, FailsForASetThatLacksATableOrLayers) {
  for (const unsigned tables : {0U, 1U, 2U, 12U, 14U}) {
    HandMadeLuts lacking(2, 2, {0}, tables);
    model_.luts = lacking;
    EXPECT_FALSE(exact(0, 0)) << tables;
    EXPECT_FALSE(fast(0, 0)) << tables;
  }
  HandMadeLuts none(2, 2, {});
  model_.luts = none;
  EXPECT_FALSE(exact(0, 0));
  HandMadeLuts empty(0, 0, {0});
  model_.luts = empty;
  EXPECT_FALSE(exact(0, 0));
  HandMadeLuts broken(2, 2, {0});
  model_.luts = broken;
  broken.get().layerDepths = nullptr;
  EXPECT_TRUE(exact(0, 0));
  EXPECT_FALSE(exact(0, 0, 0.0F));
  for (const std::int32_t layer : {-1, 1}) {
    broken.get().referenceLayer = layer;
    EXPECT_FALSE(exact(0, 0));
  }
}

TEST(LutLookupRandom, AgreesWithAWeightedSumOfAllEightCells) {
  auto random = testRandom();
  HandMadeLuts luts(7, 5, {-200, -50, 10, 300});
  for (std::size_t table = 0; table < 2; ++table) {
    for (std::size_t layer = 0; layer < 4; ++layer) {
      for (int n = 0; n < 35; ++n) luts.cell(table, layer, n / 7, n % 7) = static_cast<float>(uniform(random, -2, 2));
    }
  }
  luts.get().gridOrigin[0] = -13.7;
  luts.get().gridOrigin[1] = 4.1;
  luts.get().gridPitch[0] = 25.3;
  luts.get().gridPitch[1] = 31.9;
  tag_qmDistortParams model = randomLens(random);
  for (int n = 0; n < 5000; ++n) {
    const double column = uniform(random, 0, 6), row = uniform(random, 0, 4);
    const double in[2] = {-13.7 + column * 25.3, 4.1 + row * 31.9};
    const float depth = static_cast<float>(uniform(random, -200, 300));
    const std::size_t low = depth < -50 ? 0 : depth < 10 ? 1 : 2;
    const float* depths = luts.get().layerDepths;
    const long double floor = static_cast<long double>(depths[low]),
                      ceiling = static_cast<long double>(depths[low + 1]);
    const long double z = (static_cast<long double>(depth) - floor) / (ceiling - floor);
    model.luts = nullptr;
    double plain[2], out[2];
    ASSERT_EQ(qmDistortDistortOnePt(in, &model, nullptr, plain), 1);
    model.luts = luts;
    ASSERT_EQ(qmDistortDistortOnePt(in, &model, &depth, out), 1);
    const auto j = std::min(static_cast<std::int32_t>(column), 5), i = std::min(static_cast<std::int32_t>(row), 3);
    const long double u = wide(column) - j, v = wide(row) - i;
    for (std::size_t table = 0; table < 2; ++table) {
      long double sum = 0;
      for (int bits = 0; bits < 8; ++bits) {
        const int right = bits & 1, lower = (bits >> 1) & 1, above = bits >> 2;
        const long double weight = (right ? u : 1 - u) * (lower ? v : 1 - v) * (above ? z : 1 - z);
        const float value = luts.cell(table, low + static_cast<std::size_t>(above), i + lower, j + right);
        sum += weight * static_cast<long double>(value);
      }
      ASSERT_THAT(out[table] - plain[table], Near(static_cast<double>(sum), 1e-11));
    }
  }
}

TEST(interpolatedLut, HasTheSlopeOfItsCellAndTheEdgeBeyondTheGrid) {
  HandMadeLuts luts(3, 3, {0, 10});
  luts.get().gridPitch[0] = 2;
  luts.get().gridPitch[1] = 4;
  for (int n = 0; n < 18; ++n) {
    luts.cell(0, static_cast<std::size_t>(n / 9), n % 9 / 3, n % 3) = static_cast<float>(n * n);
    luts.cell(1, static_cast<std::size_t>(n / 9), n % 9 / 3, n % 3) = static_cast<float>(7 * n % 5);
  }
  const float depth = 3;
  const double h = 1e-3;
  const auto at = [&](double x, double y) {
    return quelplatform::interpolatedLut(luts.get(), {x, y}, &depth, quelplatform::OutsideGrid::TakesTheEdge).value();
  };
  for (const auto& [x, y] : {std::pair(1.3, 2.2), std::pair(3.1, 5.9), std::pair(0.4, 7.0)}) {
    const auto slope = at(x, y).slope;
    const auto byX = (at(x + h, y).displacement - at(x - h, y).displacement);
    const auto byY = (at(x, y + h).displacement - at(x, y - h).displacement);
    EXPECT_THAT(slope.xx, Near(byX.x / (2 * h), 1e-10));
    EXPECT_THAT(slope.yx, Near(byX.y / (2 * h), 1e-10));
    EXPECT_THAT(slope.xy, Near(byY.x / (2 * h), 1e-10));
    EXPECT_THAT(slope.yy, Near(byY.y / (2 * h), 1e-10));
  }
  EXPECT_EQ(at(-9, 100).displacement.x, at(0, 8).displacement.x);
  EXPECT_EQ(at(99, 4).displacement.y, at(4, 4).displacement.y);
}

}  // namespace
