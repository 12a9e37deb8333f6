#include "quel/measure/PointFit.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <random>

#include "testing/SampleHead.h"

namespace quel {
namespace {

using quel::testing::SampleHead;
using Kind = SampleHead::Kind;

double distance(const Vec3& a, const Vec3& b) { return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]); }

// Squared distance between where a camera sees `point` and where `corres` says, in pixels of camera `unit`.
double squaredOff(const SampleHead& head, const tag_qmRTCorres& corres, const Vec3& point, int camera, int unit) {
  const Vec2 seen = head.pinholePixel(point, camera);
  const double pixels = std::hypot(seen[0] - corres.points[camera].x, seen[1] - corres.points[camera].y);
  return std::pow(pixels / head.tensor()->imageScale[camera] * head.tensor()->imageScale[unit], 2);
}

tag_qmRTCorres noisy(tag_qmRTCorres corres, std::mt19937_64& random) {
  std::uniform_real_distribution<double> off(-0.5, 0.5);
  for (qmRTCorresPoint& point : corres.points) {
    point.x += off(random);
    point.y += off(random);
  }
  return corres;
}

TEST(FitPoint, FindsThePointThatExactPixelsCameFrom) {
  std::mt19937_64 random(7);
  for (const Kind kind : {Kind::Converging, Kind::CommonImagePlane}) {
    for (std::uint64_t seed = 0; seed < 20; ++seed) {
      const SampleHead head(seed, kind);
      const Vec3 point = head.randomPoint(random);
      for (const FitCameras& cameras : kFitChoices) {
        for (const Fit method : kClosedFits) {
          const auto fitted = fitPoint(method, *head.tensor(), head.correspondence(point), cameras);
          ASSERT_TRUE(fitted) << nameOf(method);
          EXPECT_LT(distance(fitted->point, point), 1e-6) << nameOf(method);
          EXPECT_LT(fitted->errorPx, 1e-6) << nameOf(method);
        }
      }
    }
  }
}

TEST(FitPoint, LeavesTheReferencePixelWhereItWasMeasuredUnlessTheFitIsLinear) {
  std::mt19937_64 random(8);
  const SampleHead head(3);
  for (const FitCameras& cameras : kFitChoices) {
    const tag_qmRTCorres corres = noisy(head.correspondence(head.randomPoint(random)), random);
    for (const Fit method : kClosedFits) {
      const auto fitted = fitPoint(method, *head.tensor(), corres, cameras);
      ASSERT_TRUE(fitted);
      const double off = std::sqrt(squaredOff(head, corres, fitted->point, cameras.reference, cameras.reference));
      if (method == Fit::Linear) {
        EXPECT_GT(off, 1e-3);
      } else {
        EXPECT_LT(off, 1e-6) << nameOf(method);
      }
    }
  }
}

TEST(FitPoint, TellsTheDistanceInTheImagesAsItsError) {
  std::mt19937_64 random(9);
  for (std::uint64_t seed = 0; seed < 10; ++seed) {
    const SampleHead head(seed);
    for (const FitCameras& cameras : kFitChoices) {
      const tag_qmRTCorres corres = noisy(head.correspondence(head.randomPoint(random)), random);
      const auto linear = fitPoint(Fit::Linear, *head.tensor(), corres, cameras);
      const auto planar = fitPoint(Fit::Planar, *head.tensor(), corres, cameras);
      const auto singular = fitPoint(Fit::Singular, *head.tensor(), corres, cameras);
      ASSERT_TRUE(linear && planar && singular);
      const auto off = [&](const FittedPoint& fitted, int camera) {
        return squaredOff(head, corres, fitted.point, camera, cameras.firstTarget);
      };
      const auto targets = [&](const FittedPoint& f) {
        return off(f, cameras.firstTarget) + off(f, cameras.secondTarget);
      };
      EXPECT_NEAR(singular->errorPx, std::sqrt(off(*singular, cameras.firstTarget)), 1e-6);
      EXPECT_NEAR(planar->errorPx, std::sqrt(targets(*planar)), 1e-6);
      EXPECT_NEAR(linear->errorPx, std::sqrt(targets(*linear) + off(*linear, cameras.reference)), 1e-6);
      EXPECT_LE(targets(*planar), targets(*singular) + 1e-9);
    }
  }
}

TEST(FitPoint, GivesNothingWhereThereIsNoFit) {
  const SampleHead head;
  const Vec3 point = head.point(0.2, -0.3, 0.1);
  for (const double bad : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(), 1e200}) {
    tag_qmRTCorres corres = head.correspondence(point);
    corres.points[1].x = bad;
    for (const Fit method : kClosedFits) {
      EXPECT_FALSE(fitPoint(method, *head.tensor(), corres, kFitChoices[0])) << nameOf(method) << " " << bad;
    }
  }
}

TEST(Undistorted, UndoesTheDistortionOfEachCamera) {
  const SampleHead head;
  const Vec3 point = head.point(0.7, 0.6, -0.2);
  const auto corres = undistorted(*head.tensor(), {head.pixel(point, 0), head.pixel(point, 1), head.pixel(point, 2)});
  ASSERT_TRUE(corres);
  for (int camera = 0; camera < 3; ++camera) {
    EXPECT_NEAR(corres->points[camera].x, head.pinholePixel(point, camera)[0], 1e-6);
    EXPECT_NEAR(corres->points[camera].y, head.pinholePixel(point, camera)[1], 1e-6);
  }
  EXPECT_FALSE(undistorted(*head.tensor(), {{{NAN, 0.0}, {0.0, 0.0}, {0.0, 0.0}}}));
}

}  // namespace
}  // namespace quel
