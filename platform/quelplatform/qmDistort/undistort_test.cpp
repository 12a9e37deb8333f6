#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "quelplatform/qmDistort/LensPolynomial.h"
#include "quelplatform/qmDistort/LensSamples_fixture.h"
#include "quelplatform/qmDistort/LutSamples_fixture.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"
#include "testing/Canary.h"

namespace {

using namespace quel::testing;
using quelplatform::LutGrid;
using quelplatform::makeDistortLuts;
using quelplatform::undistortOnePt;

class undistort : public ::testing::Test {
 protected:
  ~undistort() override { DistortLutsManager::getManager().releaseAllDistortLuts(); }
};

void expectClosure(const tag_qmDistortParams& model, const float* depth, double x, double y, double tolerance) {
  const double ideal[2] = {x, y};
  double distorted[2], back[2];
  ASSERT_EQ(qmDistortDistortOnePt(ideal, &model, depth, distorted), 1) << x << ' ' << y;
  ASSERT_EQ(undistortOnePt(distorted, &model, depth, back), 1) << x << ' ' << y;
  ASSERT_THAT(back[0], Near(x, tolerance));
  ASSERT_THAT(back[1], Near(y, tolerance));
}

TEST_F(undistort, TakesBackEveryPixelOfAWideAngleImage) {
  tag_qmDistortParams model = inPixels(strongLens());
  for (const std::int32_t option : {1, 2}) {
    model.distortOption = option;
    for (double y = 0; y < 480; y += 7) {
      for (double x = 0; x < 640; x += 7) expectClosure(model, nullptr, x, y, 1e-10);
    }
  }
}

TEST_F(undistort, TakesBackPixelsOfRandomLensesThroughRandomLuts) {
  auto random = testRandom();
  int checked = 0;
  for (int n = 0; n < 200; ++n) {
    tag_qmDistortParams model = randomLens(random);
    model.distortOption = 1 + n % 2;
    const LutGrid grid = {{model.xp - 700, model.yp - 700},
                          {uniform(random, 20, 60), uniform(random, 20, 60)},
                          71,
                          71,
                          {-300, -100, 120, 310}};
    // Neighbouring cells differ by up to two pixels.
    model.luts = makeDistortLuts("random", grid, [&random](double, double, double, float displacement[2]) {
      displacement[0] = static_cast<float>(uniform(random, -1, 1));
      displacement[1] = static_cast<float>(uniform(random, -1, 1));
    });
    ASSERT_NE(model.luts, nullptr);
    for (int k = 0; k < 50; ++k) {
      const LongPixel p = randomPixel(random, model, 650);
      const float depth = static_cast<float>(uniform(random, -300, 310));
      const double ideal[2] = {static_cast<double>(p.x), static_cast<double>(p.y)};
      double distorted[2];
      if (leastDeterminantOnTheWay(model, p, 50) < 0.1L) continue;
      if (qmDistortDistortOnePt(ideal, &model, &depth, distorted) == 0) continue;
      expectClosure(model, k % 4 == 0 ? nullptr : &depth, ideal[0], ideal[1], 1e-8);
      ++checked;
    }
  }
  EXPECT_GT(checked, 8000);
}

TEST_F(undistort, MayOverwriteItsInput) {
  const tag_qmDistortParams model = inPixels(strongLens());
  double pixel[2] = {100, 400};
  ASSERT_EQ(qmDistortDistortOnePt(pixel, &model, nullptr, pixel), 1);
  ASSERT_EQ(undistortOnePt(pixel, &model, nullptr, pixel), 1);
  EXPECT_THAT(pixel, ::testing::ElementsAre(Near(100, 1e-10), Near(400, 1e-10)));
}

TEST_F(undistort, SucceedsOnlyWithAnUnfoldedPixelThatDistortsToTheInput) {
  auto random = testRandom();
  int failed = 0;
  for (int n = 0; n < 3000; ++n) {
    tag_qmDistortParams model = randomLens(random);
    model.distortOption = 1 + n % 2;
    const LongPixel p = randomPixel(random, model, 6000);
    const double in[2] = {static_cast<double>(p.x), static_cast<double>(p.y)};
    Canary<2> out;
    if (undistortOnePt(in, &model, nullptr, out) == 0) {
      ASSERT_TRUE(out.untouched());
      ++failed;
      continue;
    }
    const double ideal[2] = {out[0], out[1]};
    double again[2];
    ASSERT_EQ(qmDistortDistortOnePt(ideal, &model, nullptr, again), 1);
    ASSERT_THAT(again[0], Near(in[0], quelplatform::kDistortInverseTolerance));
    ASSERT_THAT(again[1], Near(in[1], quelplatform::kDistortInverseTolerance));
    const LongPixel onPolynomial = model.distortOption == 2 ? p : LongPixel{out[0], out[1]};
    ASSERT_GT(leastDeterminantOnTheWay(model, onPolynomial, 200), 0);
  }
  EXPECT_GT(failed, 100);
}

TEST_F(undistort, FailsOutsideTheImageOfTheGridAndOutsideTheLayers) {
  tag_qmDistortParams model = {};
  const LutGrid grid = {{0, 0}, {10, 10}, 11, 11, {-10, 10}};
  model.luts = makeDistortLuts("shift", grid, [](double, double, double, float displacement[2]) {
    displacement[0] = 5;
    displacement[1] = 0;
  });
  ASSERT_NE(model.luts, nullptr);
  const float inside = 0, outside = 11;
  Canary<2> out;
  for (const double x : {4.0, 106.0}) {
    const double in[2] = {x, 50};
    EXPECT_EQ(undistortOnePt(in, &model, &inside, out), 0);
  }
  const double in[2] = {50, 50};
  EXPECT_EQ(undistortOnePt(in, &model, &outside, out), 0);
  EXPECT_TRUE(out.untouched());
  EXPECT_EQ(undistortOnePt(in, &model, &inside, out), 1);
  EXPECT_EQ(out[0], 45);
  // The distorted pixel itself lies outside the grid here.
  const double edge[2] = {104, 50};
  EXPECT_EQ(undistortOnePt(edge, &model, &inside, out), 1);
  EXPECT_EQ(out[0], 99);
}

TEST_F(undistort, FailsWhereTheLutFoldsOver) {
  tag_qmDistortParams model = {};
  const LutGrid grid = {{0, 0}, {10, 10}, 11, 11, {0}};
  model.luts = makeDistortLuts("fold", grid, [](double x, double, double, float displacement[2]) {
    displacement[0] = static_cast<float>(100 - 2 * x);  // The image is mirrored about x = 50.
    displacement[1] = 0;
  });
  ASSERT_NE(model.luts, nullptr);
  const double in[2] = {23, 50};
  Canary<2> out;
  EXPECT_EQ(undistortOnePt(in, &model, nullptr, out), 0);
  EXPECT_TRUE(out.untouched());
}

TEST_F(undistort, FailsInAHoleAndForASetWithoutTables) {
  tag_qmDistortParams model = {};
  HandMadeLuts luts(5, 5, {0});
  luts.cell(0, 0, 2, 2) = kLargestFloat;
  model.luts = luts;
  const double hole[2] = {2.5, 2.5}, sound[2] = {0.5, 0.5};
  Canary<2> out;
  EXPECT_EQ(undistortOnePt(hole, &model, nullptr, out), 0);
  HandMadeLuts none(2, 2, {0}, 0);
  model.luts = none;
  EXPECT_EQ(undistortOnePt(sound, &model, nullptr, out), 0);
  EXPECT_TRUE(out.untouched());
  model.luts = luts;
  EXPECT_EQ(undistortOnePt(sound, &model, nullptr, out), 1);
}

TEST_F(undistort, RefusesNullPointersAndNumbersThatAreNotFinite) {
  const tag_qmDistortParams model = inPixels(strongLens());
  const double in[2] = {1, 1};
  Canary<2> out;
  EXPECT_EQ(undistortOnePt(nullptr, &model, nullptr, out), 0);
  EXPECT_EQ(undistortOnePt(in, nullptr, nullptr, out), 0);
  EXPECT_EQ(undistortOnePt(in, &model, nullptr, nullptr), 0);
  for (const double bad : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
    const double notFinite[2] = {bad, 1};
    EXPECT_EQ(undistortOnePt(notFinite, &model, nullptr, out), 0);
  }
  EXPECT_TRUE(out.untouched());
}

}  // namespace
