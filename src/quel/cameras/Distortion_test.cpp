#include "quel/cameras/Distortion.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <random>

#include "testing/Numbers.h"

namespace quel {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

using quel::testing::testRandom;
using quel::testing::uniform;

Camera randomCamera(std::mt19937_64& random) {
  Camera camera;
  camera.width = 1536;
  camera.height = 1024;
  camera.fx = camera.fy = uniform(random, 1500.0, 6000.0);
  camera.cx = uniform(random, 700.0, 830.0);
  camera.cy = uniform(random, 450.0, 570.0);
  camera.k1 = uniform(random, -0.3, 0.3);
  camera.k2 = uniform(random, -0.2, 0.2);
  camera.k3 = uniform(random, -0.1, 0.1);
  camera.p1 = uniform(random, -2e-3, 2e-3);
  camera.p2 = uniform(random, -2e-3, 2e-3);
  return camera;
}

Vec2 randomPixel(std::mt19937_64& random, const Camera& camera) {
  const double x = uniform(random, 0.0, camera.width - 1.0);
  const double y = uniform(random, 0.0, camera.height - 1.0);
  return {x, y};
}

double distance(const Camera& camera, const tag_qmDistortParams& params, const Vec2& ideal) {
  double out[2] = {kNan, kNan};
  EXPECT_EQ(qmDistortDistortOnePt(ideal.data(), &params, nullptr, out), 1);
  const Vec2 expected = distortedPixel(camera, ideal);
  return std::hypot(out[0] - expected[0], out[1] - expected[1]);
}

TEST(ConvertDistortion, IsExactForSquarePixelsWithoutSkew) {
  std::mt19937_64 random = testRandom();
  for (int n = 0; n < 2000; ++n) {
    const Camera camera = randomCamera(random);
    DistortionFit fit;
    const tag_qmDistortParams params = convertDistortion(camera, fit);
    EXPECT_TRUE(fit.exact);
    EXPECT_EQ(fit.maxPx, 0.0);
    for (int k = 0; k < 10; ++k) ASSERT_LT(distance(camera, params, randomPixel(random, camera)), 1e-11);
  }
}

TEST(ConvertDistortion, FitsOtherCamerasAndReportsWhatIsLeft) {
  std::mt19937_64 random = testRandom();
  for (int n = 0; n < 20; ++n) {
    Camera camera = randomCamera(random);
    camera.fy = camera.fx * uniform(random, 0.97, 1.03);
    camera.skew = uniform(random, -20.0, 20.0);
    DistortionFit fit;
    const tag_qmDistortParams params = convertDistortion(camera, fit);
    EXPECT_FALSE(fit.exact);
    double sum = 0.0;
    double most = 0.0;
    constexpr int kPoints = 4000;
    int counted = 0;
    for (int k = 0; k < kPoints; ++k) {
      const Vec2 ideal = randomPixel(random, camera);
      if (!seenInImage(camera, ideal)) continue;
      const double d = distance(camera, params, ideal);
      sum += d * d;
      most = std::max(most, d);
      ++counted;
    }
    EXPECT_GT(fit.maxPx, 0.0);
    EXPECT_LT(most, 1.1 * fit.maxPx);
    EXPECT_LT(std::sqrt(sum / counted), 1.5 * fit.rmsPx);
    EXPECT_GT(std::sqrt(sum / counted), 0.3 * fit.rmsPx);
    // The displacement that was converted is of tens of pixels; a hundredth of it may be left.
    EXPECT_LT(fit.rmsPx, 0.5);
  }
}

// Of unequal focal lengths; the corners have the largest error.
Camera squeezedCamera() {
  Camera camera;
  camera.width = 1536;
  camera.height = 1024;
  camera.fx = 2000.0;
  camera.fy = 2100.0;
  camera.cx = 767.5;
  camera.cy = 511.5;
  camera.k1 = -0.15;
  return camera;
}

TEST(ConvertDistortion, ReportsTheErrorOfTheCornersAndEdgesToo) {
  Camera camera = squeezedCamera();
  for (const double k1 : {-0.15, -0.05, 0.1}) {
    camera.k1 = k1;
    DistortionFit fit;
    const tag_qmDistortParams params = convertDistortion(camera, fit);
    double most = 0.0;
    for (int n = 0; n <= 1000; ++n) {
      const double x = camera.width * (n / 1000.0) - 0.5, y = camera.height * (n / 1000.0) - 0.5;
      for (const Vec2& pixel :
           {Vec2{x, -0.5}, Vec2{x, camera.height - 0.5}, Vec2{-0.5, y}, Vec2{camera.width - 0.5, y}}) {
        const auto ideal = undistortedPixel(camera, pixel);
        ASSERT_TRUE(ideal);
        most = std::max(most, distance(camera, params, *ideal));
      }
    }
    EXPECT_GT(most, 0.0);
    EXPECT_LE(most, 1.001 * fit.maxPx + 1e-9) << k1;
  }
}

TEST(ConvertDistortion, IsInfinitelyFarOffWhereNothingCanBeSampled) {
  Camera camera = squeezedCamera();
  camera.fx = 1e-5;
  DistortionFit fit;
  convertDistortion(camera, fit);
  EXPECT_EQ(fit.maxPx, HUGE_VAL);
  EXPECT_EQ(fit.rmsPx, HUGE_VAL);
  camera.cx = 1e9;
  weakDistortion(camera, fit);
  EXPECT_EQ(fit.maxPx, HUGE_VAL) << "no ideal pixel is in the image";
  EXPECT_EQ(fit.rmsPx, HUGE_VAL);
}

TEST(ConvertDistortion, NeedsNoFitWithoutDistortion) {
  Camera camera;
  camera.width = 640;
  camera.height = 480;
  camera.fx = 500.0;
  camera.fy = 510.0;
  camera.skew = 3.0;
  camera.cx = 320.0;
  camera.cy = 240.0;
  DistortionFit fit;
  const tag_qmDistortParams params = convertDistortion(camera, fit);
  EXPECT_TRUE(fit.exact);
  EXPECT_EQ(distance(camera, params, {13.0, 470.0}), 0.0);
}

TEST(WeakDistortion, KeepsOneRadialCoefficientAndReportsTheRest) {
  std::mt19937_64 random = testRandom();
  const Camera camera = randomCamera(random);
  DistortionFit fit;
  const tag_qmDistortParams params = weakDistortion(camera, fit);
  EXPECT_NE(params.k1, 0.0);
  EXPECT_EQ(params.k2, 0.0);
  EXPECT_EQ(params.p1, 0.0);
  EXPECT_EQ(params.distortExtra[0], 0.0);
  EXPECT_GT(fit.rmsPx, 0.0);
}

}  // namespace
}  // namespace quel
