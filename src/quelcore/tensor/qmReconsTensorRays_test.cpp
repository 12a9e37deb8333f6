// The way back from a projection: rays, camera positions and their order. Its decomposition is in
// qmRTdecomposeProj_test.cpp.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "quelcore/tensor/qmReconsTensorCore.h"
#include "testing/Canary.h"
#include "testing/Numbers.h"
#include "testing/RecordingLog.h"
#include "testing/SampleHead.h"
#include "testing/TempHome.h"

namespace {

using quel::Vec3;
using quel::testing::BareTrace;
using quel::testing::Canary;
using quel::testing::Line;
using quel::testing::Near;
using quel::testing::RecordingLog;
using quel::testing::SameBits;
using quel::testing::SampleHead;
using quel::testing::TempHome;
using quel::testing::testRandom;
using quel::testing::uniform;
using quel::testing::writeFile;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kModule = "qmReconsTensorCore";

// --- Inverse of a projection ---------------------------------------------------------------------------------------

TEST(qmRTGetInverseProjForCamera, InvertsTheLeftBlockOfTheCamerasProjection) {
  const SampleHead head;
  for (int camera = 0; camera < 3; ++camera) {
    double M[3][3];
    std::int32_t status = -5;
    ASSERT_EQ(qmRTGetInverseProjForCamera(head.tensor(), camera, M, &status), 1);
    EXPECT_EQ(status, -5);
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) {
        double sum = 0.0;
        for (int k = 0; k < 3; ++k) sum += head.tensor()->projections[camera][i][k] * M[k][j];
        EXPECT_THAT(sum, Near(i == j ? 1.0 : 0.0, 1e-9));
      }
    }
  }
}

TEST(qmRTGetInverseProjForCamera, SetsStatusTwoForASingularBlockWithoutATrace) {
  SampleHead head;
  for (double& value : head.tensor()->projections[1][2]) value = 0.0;
  double M[3][3];
  std::int32_t status = 0;
  const RecordingLog log;
  EXPECT_EQ(qmRTGetInverseProjForCamera(head.tensor(), 1, M, &status), 0);
  EXPECT_EQ(status, 2);
  EXPECT_EQ(qmRTGetInverseProjForCamera(head.tensor(), 1, M, nullptr), 0);
  status = 0;
  EXPECT_EQ(qmRTGetInverseProjForCameraByProj(head.tensor()->projections[1], M, &status), 0);
  EXPECT_EQ(status, 2);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST(qmRTGetInverseProjForCamera, RefusesNullAndACameraThatIsNone) {
  const SampleHead head;
  double M[3][3];
  std::int32_t status = 0;
  EXPECT_EQ(qmRTGetInverseProjForCamera(nullptr, 0, M, &status), 0);
  EXPECT_EQ(qmRTGetInverseProjForCamera(head.tensor(), -1, M, &status), 0);
  EXPECT_EQ(qmRTGetInverseProjForCamera(head.tensor(), 3, M, &status), 0);
  EXPECT_EQ(qmRTGetInverseProjForCamera(head.tensor(), 0, nullptr, &status), 0);
  EXPECT_EQ(qmRTGetInverseProjForCameraByProj(nullptr, M, &status), 0);
  EXPECT_EQ(status, 0);
}

// --- Rays ----------------------------------------------------------------------------------------------------------

TEST(qmRTget3dRaysFromImgPts, LeadsFromThePixelBackToThePoint) {
  auto random = testRandom();
  for (std::uint64_t seed = 0; seed < 100; ++seed) {
    const SampleHead head(seed);
    for (int camera = 0; camera < 3; ++camera) {
      const Vec3 point = head.randomPoint(random);
      double pixel[1][2];
      ASSERT_EQ(qmRTProjectPointtoImage(head.tensor(), point.data(), camera, PROJECT_PINHOLE, pixel[0]), 1);
      double origin[3];
      double ray[1][3];
      ASSERT_EQ(qmRTget3dRaysFromImgPts(head.tensor(), 1, pixel, camera, origin, ray), 1);
      const Vec3 d = {point[0] - origin[0], point[1] - origin[1], point[2] - origin[2]};
      const double distance = std::abs((d[0] * ray[0][0] + d[1] * ray[0][1]) + d[2] * ray[0][2]);
      const double squared = (d[0] * d[0] + d[1] * d[1]) + d[2] * d[2];
      EXPECT_THAT(std::sqrt(std::abs(squared - distance * distance)), Near(0.0, 2e-3));
      const double along = (d[0] * ray[0][0] + d[1] * ray[0][1]) + d[2] * ray[0][2];
      for (int i = 0; i < 3; ++i) EXPECT_THAT(origin[i] + along * ray[0][i], Near(point[i], 1e-8));
      EXPECT_THAT(std::hypot(ray[0][0], ray[0][1], ray[0][2]), Near(1.0, 1e-15));
      const Vec3 centre = quel::centreOf(head.cameras()[camera]);
      for (int i = 0; i < 3; ++i) EXPECT_THAT(origin[i], Near(centre[i], 1e-8));
    }
  }
}

TEST(qmRTget3dRaysFromImgPts, TakesTheStoredLocationForTheOriginOfAllRays) {
  SampleHead head;
  const double location[3] = {7.0, 8.0, 9.0};
  qmMathCopyVec3ToVec3(location, head.tensor()->cameraLocations[2]);
  const double pixels[2][2] = {{10, 20}, {1000, 500}};
  double origin[3];
  double rays[2][3];
  ASSERT_EQ(qmRTget3dRaysFromImgPts(head.tensor(), 2, pixels, 2, origin, rays), 1);
  EXPECT_THAT(origin, ElementsAre(7.0, 8.0, 9.0));
  EXPECT_NE(rays[0][0], rays[1][0]);
}

TEST(qmRTget3dRaysFromImgPts, DoesNotTurnRaysIntoTheScene) {
  SampleHead head;
  for (auto& row : head.tensor()->projections[0]) {
    for (double& value : row) value = -value;
  }
  const double pixels[1][2] = {{700, 500}};
  double origin[3];
  double turned[1][3];
  ASSERT_EQ(qmRTget3dRaysFromImgPts(head.tensor(), 1, pixels, 0, origin, turned), 1);
  const SampleHead plain;
  double ray[1][3];
  ASSERT_EQ(qmRTget3dRaysFromImgPts(plain.tensor(), 1, pixels, 0, origin, ray), 1);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(turned[0][i], -ray[0][i]);
}

TEST(qmRTget3dRaysFromImgPts, GivesTheOriginAloneForNoPixels) {
  const SampleHead head;
  Canary<3> origin;
  EXPECT_EQ(qmRTget3dRaysFromImgPts(head.tensor(), 0, nullptr, 1, origin, nullptr), 1);
  EXPECT_FALSE(origin.untouched(0));
}

TEST(qmRTget3dRaysFromImgPts, LeavesATraceAndNothingElseWithoutValidProjections) {
  SampleHead head;
  const double pixels[1][2] = {};
  for (const std::int32_t valid : {0, 2}) {
    head.tensor()->projectionsValid = valid;
    Canary<3> origin;
    double rays[1][3];
    const RecordingLog log;
    EXPECT_EQ(qmRTget3dRaysFromImgPts(head.tensor(), 1, pixels, 0, origin, rays), 0);
    EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
    EXPECT_TRUE(origin.untouched());
  }
}

TEST(qmRTget3dRaysFromImgPts, WritesTheOriginBeforeItFailsForASingularProjection) {
  SampleHead head;
  for (double& value : head.tensor()->projections[0][1]) value = 0.0;
  const double pixels[1][2] = {};
  Canary<3> origin;
  Canary<3> ray;
  const RecordingLog log;
  EXPECT_EQ(qmRTget3dRaysFromImgPts(head.tensor(), 1, pixels, 0, origin, reinterpret_cast<double(*)[3]>(&*ray)), 0);
  EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
  EXPECT_FALSE(origin.untouched(2));
  EXPECT_TRUE(ray.untouched());
}

TEST(qmRTget3dRaysFromImgPts, KeepsTheRaysBeforeOneOfLengthZero) {
  // The inverse is diag(1e100, 1e100, 1e-165): the ray of pixel (0, 0) is so short that its square underflows.
  SampleHead head;
  const double P[4][4] = {{1e-100, 0, 0, 0}, {0, 1e-100, 0, 0}, {0, 0, 1e165, 0}, {}};
  std::memcpy(head.tensor()->projections[0], P, sizeof(P));
  const double pixels[3][2] = {{1, 0}, {0, 0}, {0, 1}};
  double origin[3];
  Canary<9> rays;
  const RecordingLog log;
  EXPECT_EQ(qmRTget3dRaysFromImgPts(head.tensor(), 3, pixels, 0, origin, reinterpret_cast<double(*)[3]>(&*rays)), 0);
  EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
  EXPECT_EQ(rays[0], 1.0);
  for (std::size_t i = 3; i < 9; ++i) EXPECT_TRUE(rays.untouched(i));
}

TEST(qmRTget3dRaysFromImgPts, RefusesNullArgumentsAndACameraThatIsNone) {
  const SampleHead head;
  const double pixels[1][2] = {};
  double origin[3];
  double rays[1][3];
  EXPECT_EQ(qmRTget3dRaysFromImgPts(nullptr, 1, pixels, 0, origin, rays), 0);
  EXPECT_EQ(qmRTget3dRaysFromImgPts(head.tensor(), 1, nullptr, 0, origin, rays), 0);
  EXPECT_EQ(qmRTget3dRaysFromImgPts(head.tensor(), 1, pixels, 0, nullptr, rays), 0);
  EXPECT_EQ(qmRTget3dRaysFromImgPts(head.tensor(), 1, pixels, 0, origin, nullptr), 0);
  EXPECT_EQ(qmRTget3dRaysFromImgPts(head.tensor(), 1, pixels, -1, origin, rays), 0);
  EXPECT_EQ(qmRTget3dRaysFromImgPts(head.tensor(), 1, pixels, 3, origin, rays), 0);
}

TEST(qmRTtranform3dRays, MovesTheOriginAsAPointAndTurnsTheRays) {
  const qmMathTransform quarterTurn = {{{0, -1, 0}, {1, 0, 0}, {0, 0, 1}}, {10, 20, 30}};
  double origin[3] = {1, 2, 3};
  double rays[2][3] = {{1, 0, 0}, {0, 0.6, 0.8}};
  EXPECT_EQ(qmRTtranform3dRays(&quarterTurn, 2, origin, rays), 1);
  EXPECT_THAT(origin, ElementsAre(8, 21, 33));
  EXPECT_THAT(rays[0], ElementsAre(0, 1, 0));
  EXPECT_THAT(rays[1], ElementsAre(-0.6, 0, 0.8));
}

TEST(qmRTtranform3dRays, MovesTheOriginAloneForNoRays) {
  const qmMathTransform shift = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {1, 1, 1}};
  double origin[3] = {1, 2, 3};
  EXPECT_EQ(qmRTtranform3dRays(&shift, 0, origin, nullptr), 1);
  EXPECT_THAT(origin, ElementsAre(2, 3, 4));
  EXPECT_EQ(qmRTtranform3dRays(nullptr, 1, origin, nullptr), 1);
  EXPECT_EQ(qmRTtranform3dRays(&shift, 1, nullptr, nullptr), 1);
  EXPECT_THAT(origin, ElementsAre(2, 3, 4));
}

// --- Cameras of a head ---------------------------------------------------------------------------------------------

TEST(qmRTfillCameraLocations, FindsWhereTheCamerasStand) {
  for (std::uint64_t seed = 0; seed < 100; ++seed) {
    SampleHead head(seed);
    for (auto& location : head.tensor()->cameraLocations) std::fill(std::begin(location), std::end(location), 0.0);
    ASSERT_EQ(qmRTfillCameraLocations(head.tensor(), nullptr), 1);
    for (int camera = 0; camera < 3; ++camera) {
      const Vec3 centre = quel::centreOf(head.cameras()[camera]);
      for (int i = 0; i < 3; ++i) EXPECT_THAT(head.tensor()->cameraLocations[camera][i], Near(centre[i], 1e-8));
    }
  }
}

TEST(qmRTfillCameraLocations, KeepsTheCamerasBeforeASingularOne) {
  SampleHead head;
  for (auto& location : head.tensor()->cameraLocations) std::fill(std::begin(location), std::end(location), -77.0);
  std::memset(head.tensor()->projections[1], 0, sizeof(head.tensor()->projections[1]));
  std::int32_t status = 0;
  const RecordingLog log;
  EXPECT_EQ(qmRTfillCameraLocations(head.tensor(), &status), 0);
  EXPECT_EQ(status, 2);
  EXPECT_NE(head.tensor()->cameraLocations[0][2], -77.0);
  EXPECT_EQ(head.tensor()->cameraLocations[1][2], -77.0);
  EXPECT_EQ(head.tensor()->cameraLocations[2][2], -77.0);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST(qmRTfillCameraLocations, RefusesANullTensor) { EXPECT_EQ(qmRTfillCameraLocations(nullptr, nullptr), 0); }

qmCameraOrder orderOf(const double (&locations)[3][3]) {
  qmCameraOrder order;
  EXPECT_EQ(qmGetCameraIndicesByLocations(locations, &order), 1);
  return order;
}

TEST(qmGetCameraIndicesByLocations, TakesTheHighestForTheUpperAndOrdersTheOthersByX) {
  struct Row {
    double y[3];
    double x[3];
    qmCameraOrder order;
  };
  const Row rows[] = {
      {{3, 1, 2}, {0, -5, 5}, {0, 1, 2}}, {{3, 1, 2}, {0, 5, -5}, {0, 2, 1}}, {{1, 3, 2}, {-5, 0, 5}, {1, 0, 2}},
      {{1, 3, 2}, {5, 0, -5}, {1, 2, 0}}, {{1, 2, 3}, {-5, 5, 0}, {2, 0, 1}}, {{1, 2, 3}, {5, -5, 0}, {2, 1, 0}},
      {{2, 2, 2}, {0, -1, 1}, {0, 1, 2}},  // a tie of all keeps camera 0
      {{2, 2, 1}, {0, -1, 1}, {0, 1, 2}},  // a tie with camera 0 keeps it
      {{1, 2, 2}, {1, 0, -1}, {1, 2, 0}},  // a tie of 1 and 2 keeps 1
      {{0, -1, 5}, {0, 0, 9}, {2, 0, 1}},  // equal X: cyclic order
      {{5, 0, 0}, {9, 4, 4}, {0, 1, 2}},  {{0, 5, 0}, {4, 9, 4}, {1, 2, 0}},
  };
  for (const Row& row : rows) {
    const double locations[3][3] = {{row.x[0], row.y[0], 0}, {row.x[1], row.y[1], 0}, {row.x[2], row.y[2], 0}};
    const qmCameraOrder order = orderOf(locations);
    EXPECT_EQ(order.upper, row.order.upper);
    EXPECT_EQ(order.left, row.order.left);
    EXPECT_EQ(order.right, row.order.right);
  }
}

class LocsAndCalibDistTest : public ::testing::Test {
 protected:
  /// P = [I | -c] places a camera at c.
  void place(int camera, double x, double y, double z) {
    const double P[4][4] = {{1, 0, 0, -x}, {0, 1, 0, -y}, {0, 0, 1, -z}, {}};
    std::memcpy(head_.tensor()->projections[camera], P, sizeof(P));
  }

  std::int32_t fill() { return qmRTfillLocsAndCalibDist(head_.tensor(), &status_); }
  double distance() const { return head_.tensor()->calibDistance; }

  TempHome home_;
  SampleHead head_;
  std::int32_t status_ = 0;
};

TEST_F(LocsAndCalibDistTest, TakesTheMeanDepthOfTheLeftAndRightCameras) {
  place(0, 0, 100, 1000);
  place(1, -50, 0, 1100);
  place(2, 50, 0, 1300);
  EXPECT_EQ(fill(), 1);
  EXPECT_EQ(distance(), 1200.0);
  EXPECT_EQ(status_, 0);
}

TEST_F(LocsAndCalibDistTest, TakesTheMagnitudeOfThatDepth) {
  place(0, 0, 100, -1000);
  place(1, -50, 0, -1100);
  place(2, 50, 0, -1300);
  EXPECT_EQ(fill(), 1);
  EXPECT_EQ(distance(), 1200.0);
}

TEST_F(LocsAndCalibDistTest, TakesTheDistanceOfCameraZeroWhenTheParameterSaysSo) {
  writeFile(home_.path() / "params.ini", "qmRTnewCalibProjCalib = 1\n");
  place(0, 3, 4, 12);
  place(1, -50, 0, -1100);
  place(2, 50, 0, -1300);
  EXPECT_EQ(fill(), 1);
  EXPECT_EQ(distance(), 13.0);
}

TEST_F(LocsAndCalibDistTest, FailsWithStatusEightWhenAnotherCameraIsUppermostAfterWritingEverything) {
  place(0, 0, 100, 1000);
  place(1, -50, 200, 1100);
  place(2, 50, 0, 1300);
  const RecordingLog log;
  EXPECT_EQ(fill(), 0);
  EXPECT_EQ(status_, 8);
  EXPECT_THAT(log.records(), ElementsAre(Line(0, kModule,
                                              "!!!!!!!!! camera 0 is not the upper cammera !!!!!!!!!  Current camera "
                                              "order is: 1 0 2")));
  EXPECT_EQ(distance(), 1150.0);
  EXPECT_THAT(head_.tensor()->cameraLocations[1], ElementsAre(-50, 200, 1100));
  EXPECT_EQ(qmRTfillLocsAndCalibDist(head_.tensor(), nullptr), 0);
}

TEST_F(LocsAndCalibDistTest, AcceptsAnyOrderWhenTheParameterSaysSo) {
  writeFile(home_.path() / "params.ini", "qmRTnewCalibCheckCamOrder = false\n");
  place(0, 0, 100, 1000);
  place(1, -50, 200, 1100);
  place(2, 50, 0, 1300);
  const RecordingLog log;
  EXPECT_EQ(fill(), 1);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(LocsAndCalibDistTest, FailsWithStatusTwoWhenALocationCannotBeHad) {
  std::memset(head_.tensor()->projections[2], 0, sizeof(head_.tensor()->projections[2]));
  head_.tensor()->calibDistance = -9.0;
  const RecordingLog log;
  EXPECT_EQ(fill(), 0);
  EXPECT_THAT(log.records(), IsEmpty());
  EXPECT_EQ(status_, 2);
  EXPECT_EQ(distance(), -9.0);
}

// --- Magnification -------------------------------------------------------------------------------------------------

TEST(calcPixel2WorldRatio, IsAboutFourPointEightEightForTheCommonHead) {
  double ratio = 0.0;
  calcPixel2WorldRatio(1240.0, 50.0, 0.009, &ratio);
  EXPECT_THAT(ratio, Near(4.88, 0.005));
}

TEST(calcPixel2WorldRatio, IsTheMagnificationOfAThinLensOverThePixelSize) {
  // Object distance g and image distance b with 1/g + 1/b = 1/f and g + b = W; the magnification is b / g.
  auto random = testRandom();
  for (int n = 0; n < 100; ++n) {
    const double f = uniform(random, 10, 100);
    const double b = f * uniform(random, 1.01, 1.9);
    const double g = 1.0 / (1.0 / f - 1.0 / b);
    double ratio = 0.0;
    calcPixel2WorldRatio(g + b, f, 0.01, &ratio);
    EXPECT_THAT(ratio, Near(b / g / 0.01, 1e-8));
  }
}

TEST(calcPixel2WorldRatio, IsNotANumberWhenTheWorkingDistanceIsBelowFourFocalLengths) {
  double ratio = 0.0;
  calcPixel2WorldRatio(199.0, 50.0, 0.009, &ratio);
  EXPECT_TRUE(std::isnan(ratio));
  calcPixel2WorldRatio(199.0, 50.0, 0.009, nullptr);
}

TEST(qmReconsGetLensPixel2WorldRatio, UsesTheGivenFocalLengthAndNotTheTensorsLens) {
  SampleHead head;
  head.tensor()->workingDistance = 1240.0;
  head.tensor()->ccdPixelSize = 0.009;
  head.tensor()->lensType = 35.0;
  double ratio = 0.0;
  double expected = 0.0;
  qmReconsGetLensPixel2WorldRatio(head.tensor(), 50.0, &ratio);
  calcPixel2WorldRatio(1240.0, 50.0, 0.009, &expected);
  EXPECT_THAT(ratio, SameBits(expected));
  qmReconsGetLensPixel2WorldRatio(nullptr, 50.0, &ratio);
  EXPECT_THAT(ratio, SameBits(expected));
}

}  // namespace
