// Every way of projecting, against LUTs whose displacement tells cells, depths and the modes apart.
#include <gtest/gtest.h>

#include <cmath>

#include "quelcore/tensor/projection_fixture.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "testing/Numbers.h"
#include "testing/SampleHead.h"

namespace {

using quel::Vec2;
using quel::Vec3;
using quel::testing::kAllModes;
using quel::testing::Near;
using quel::testing::SampleHead;
using quel::testing::WholeImageLuts;

constexpr double kSlope = 1.0 / 64.0;  // displacement per pixel and per millimetre of depth, exact in floats
constexpr double kReferenceDepth = -20.0;
constexpr double kLutFrameZ = 30.0;

class ProjectionModesTest : public ::testing::Test {
 protected:
  ProjectionModesTest() : luts_(*head_.tensor(), {-300.0F, -20.0F, 100.0F, 400.0F}, -1000.0, sloping) {
    const double frame[4][4] = {
        {0.0, -1.0, 0.0, 5.0}, {1.0, 0.0, 0.0, -7.0}, {0.0, 0.0, 1.0, kLutFrameZ}, {0.0, 0.0, 0.0, 1.0}};
    qmMathCopyMat4ToMat4(frame, head_.tensor()->lutFrameTransform);
  }

  static void sloping(double x, double, double depth, float displacement[2]) {
    displacement[0] = static_cast<float>(x * kSlope);
    displacement[1] = static_cast<float>(depth * kSlope);
  }

  static double nearestLayer(double depth) {
    return depth < -160.0 ? -300.0 : depth < 40.0 ? -20.0 : depth < 250.0 ? 100.0 : 400.0;
  }

  /// Where `camera` sees `point` in this mode: the polynomial, and the displacement of the cells that the mode looks
  /// at.
  Vec2 seen(const Vec3& point, int camera, _ProjectDistortMode mode) const {
    const Vec2 ideal = head_.pinholePixel(point, camera);
    if (mode == PROJECT_PINHOLE) return ideal;
    const Vec2 bent = head_.pixel(point, camera);
    const double depth = point[2] - kLutFrameZ;
    const double cell = 100.0 * std::round(ideal[0] / 100.0);
    switch (mode) {
      case PROJECT_FAST:
        return {bent[0] + cell * kSlope, bent[1] + nearestLayer(depth) * kSlope};
      case PROJECT_FAST_WITHOUT_DEPTH:
        return {bent[0] + cell * kSlope, bent[1] + kReferenceDepth * kSlope};
      default:
        return {bent[0] + ideal[0] * kSlope, bent[1] + depth * kSlope};
    }
  }

  SampleHead head_;
  WholeImageLuts luts_;
};

/// Points on both sides of the middle between two layers; their coordinates are exact in single precision.
constexpr Vec3 kPoints[] = {{10.5, -20.25, 5.0}, {-60.0, 30.0, 90.0}, {40.0, 50.0, -40.0}};

TEST_F(ProjectionModesTest, OfOnePoint) {
  for (const Vec3& point : kPoints) {
    for (int camera = 0; camera < 3; ++camera) {
      for (const _ProjectDistortMode mode : kAllModes) {
        double pixel[2];
        ASSERT_EQ(qmRTProjectPointtoImage(head_.tensor(), point.data(), camera, mode, pixel), 1);
        EXPECT_THAT(pixel[0], Near(seen(point, camera, mode)[0], 1e-4)) << mode;
        EXPECT_THAT(pixel[1], Near(seen(point, camera, mode)[1], 1e-4)) << mode;
      }
    }
  }
}

TEST_F(ProjectionModesTest, OfASinglePrecisionPoint) {
  for (const Vec3& point : kPoints) {
    const float single[3] = {static_cast<float>(point[0]), static_cast<float>(point[1]), static_cast<float>(point[2])};
    for (const _ProjectDistortMode mode : kAllModes) {
      double pixel[2];
      ASSERT_EQ(qmRTProjectPointAFtoImage(head_.tensor(), single, 1, mode, pixel), 1);
      EXPECT_THAT(pixel[0], Near(seen(point, 1, mode)[0], 1e-4)) << mode;
      EXPECT_THAT(pixel[1], Near(seen(point, 1, mode)[1], 1e-4)) << mode;
    }
  }
}

TEST_F(ProjectionModesTest, OfManyPoints) {
  const qmMathTransform shift = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {1.0, 2.0, 40.0}};
  double points[3][3];
  for (int n = 0; n < 3; ++n) {
    for (int i = 0; i < 3; ++i) points[n][i] = kPoints[n][i] - shift.translation[i];
  }
  for (const _ProjectDistortMode mode : kAllModes) {
    double pixels[3][3][2];
    double(*const images[3])[2] = {pixels[0], pixels[1], pixels[2]};
    ASSERT_EQ(qmTransAndProjPoints2Images(&shift, head_.tensor(), points, 0, 3, mode, images), 1);
    for (int camera = 0; camera < 3; ++camera) {
      for (int n = 0; n < 3; ++n) {
        EXPECT_THAT(pixels[camera][n][0], Near(seen(kPoints[n], camera, mode)[0], 1e-4)) << mode;
        EXPECT_THAT(pixels[camera][n][1], Near(seen(kPoints[n], camera, mode)[1], 1e-4)) << mode;
      }
    }
  }
}

TEST_F(ProjectionModesTest, OfPointsThatAreCompacted) {
  for (const _ProjectDistortMode mode : kAllModes) {
    double points[3][3];
    for (int n = 0; n < 3; ++n) qmMathCopyVec3ToVec3(kPoints[n].data(), points[n]);
    double pixels[3][2];
    ASSERT_EQ(qmRTUnifyProjectPoints2Image(head_.tensor(), points, 3, 0, mode, pixels), 3);
    for (int n = 0; n < 3; ++n) {
      EXPECT_EQ(pixels[n][0], std::round(seen(kPoints[n], 0, mode)[0])) << mode;
      EXPECT_EQ(pixels[n][1], std::round(seen(kPoints[n], 0, mode)[1])) << mode;
    }
  }
}

TEST_F(ProjectionModesTest, OfPointsThatMoveUpWhenOthersDropOut) {
  // Depths of -250 and 350: whoever takes the depth of another point is off by nine pixels.
  const Vec3 bad = head_.pointOnPrincipalPlane(0);
  const Vec3 low = {10.5, -20.25, -220.0}, high = {-60.0, 30.0, 380.0};
  const Vec3 input[5] = {bad, low, bad, high, low};
  for (const _ProjectDistortMode mode : kAllModes) {
    double points[5][3];
    for (int n = 0; n < 5; ++n) qmMathCopyVec3ToVec3(input[n].data(), points[n]);
    double pixels[5][2];
    ASSERT_EQ(qmRTUnifyProjectPoints2Image(head_.tensor(), points, 5, 0, mode, pixels), 3);
    const Vec3 kept[3] = {low, high, low};
    for (int n = 0; n < 3; ++n) {
      EXPECT_EQ(pixels[n][0], std::round(seen(kept[n], 0, mode)[0])) << mode;
      EXPECT_EQ(pixels[n][1], std::round(seen(kept[n], 0, mode)[1])) << mode;
      EXPECT_EQ(points[n][2], kept[n][2]);
    }
  }
}

TEST(ProjectionModes, WithoutDepthNeedNoLayerAtDepthZero) {
  SampleHead head;
  const WholeImageLuts luts(*head.tensor(), {100.0F, 400.0F});
  const Vec3 point = {10.5, -20.25, 5.0};
  const float single[3] = {10.5F, -20.25F, 5.0F};
  double pixel[2], ofSingle[2];
  EXPECT_EQ(qmRTProjectPointtoImage(head.tensor(), point.data(), 1, PROJECT_FAST_WITHOUT_DEPTH, pixel), 1);
  ASSERT_EQ(qmRTProjectPointAFtoImage(head.tensor(), single, 1, PROJECT_FAST_WITHOUT_DEPTH, ofSingle), 1);
  for (const double* seen : {pixel, ofSingle}) {
    EXPECT_THAT(seen[0], Near(head.pixel(point, 1)[0] + 1.0, 1e-4));
    EXPECT_THAT(seen[1], Near(head.pixel(point, 1)[1] + 2.0, 1e-4));
  }
}

}  // namespace
