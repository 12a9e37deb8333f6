#include "testing/SampleHead.h"

#include <gmock/gmock.h>

#include <cmath>

#include "quelcore/tensor/qmReconsTensorCore.h"
#include "testing/Numbers.h"

namespace quel::testing {
namespace {

constexpr std::uint64_t kSeeds = 200;

// Runs `check` on the fixed head and on many of both kinds.
template <typename Check>
void forHeads(Check check) {
  check(SampleHead());
  for (std::uint64_t seed = 0; seed < kSeeds; ++seed) {
    check(SampleHead(seed));
    check(SampleHead(seed, SampleHead::Kind::CommonImagePlane));
    if (::testing::Test::HasFailure()) return;
  }
}

TEST(SampleHead, SeesItsPointsInAllImages) {
  forHeads([](const SampleHead& head) {
    std::mt19937_64 random = testRandom();
    for (int n = 0; n < 20; ++n) {
      const Vec3 point = head.randomPoint(random);
      for (int camera = 0; camera < 3; ++camera) {
        const auto [x, y] = head.pixel(point, camera);
        EXPECT_GE(x, 0.0);
        EXPECT_GE(y, 0.0);
        EXPECT_LT(x, 1536.0);
        EXPECT_LT(y, 1024.0);
        EXPECT_GT(head.depthBefore(point, camera), 1000.0);
      }
    }
  });
}

TEST(SampleHead, HasTheOrderOfARealHead) {
  forHeads([](const SampleHead& head) {
    qmCameraOrder order{};
    qmGetCameraIndicesByLocations(head.tensor()->cameraLocations, &order);
    EXPECT_EQ(order.upper, 0);
    EXPECT_EQ(order.left, 1);
    EXPECT_EQ(order.right, 2);
  });
}

TEST(SampleHead, TensorProjectsPointsToTheTruePixels) {
  forHeads([](const SampleHead& head) {
    std::mt19937_64 random = testRandom();
    for (int camera = 0; camera < 3; ++camera) {
      const Vec3 point = head.randomPoint(random);
      double pixel[2];
      ASSERT_EQ(qmRTProjectPointtoImage(head.tensor(), point.data(), camera, PROJECT_PINHOLE, pixel), 1);
      EXPECT_THAT(pixel[0], Near(head.pinholePixel(point, camera)[0], 1e-9));
      EXPECT_THAT(pixel[1], Near(head.pinholePixel(point, camera)[1], 1e-9));
      ASSERT_EQ(qmRTProjectPointtoImage(head.tensor(), point.data(), camera, PROJECT_EXACT, pixel), 1);
      EXPECT_THAT(pixel[0], Near(head.pixel(point, camera)[0], 1e-9));
      EXPECT_THAT(pixel[1], Near(head.pixel(point, camera)[1], 1e-9));
    }
  });
}

TEST(SampleHead, PointOnThePrincipalPlaneHasDepthZeroExactly) {
  forHeads([](const SampleHead& head) {
    for (int camera = 0; camera < 3; ++camera) {
      const Vec3& p = head.pointOnPrincipalPlane(camera);
      const double(&row)[4] = head.tensor()->projections[camera][2];
      EXPECT_EQ(((row[0] * p[0] + row[1] * p[1]) + row[2] * p[2]) + row[3], 0.0);
      for (const double coordinate : p) EXPECT_EQ(static_cast<double>(static_cast<float>(coordinate)), coordinate);
    }
  });
}

TEST(SampleHead, CorrespondenceHoldsThePinholePixels) {
  const SampleHead head;
  const Vec3 point = head.point(0.3, -0.2, 0.7);
  const tag_qmRTCorres corres = head.correspondence(point);
  for (int camera = 0; camera < 3; ++camera) {
    EXPECT_EQ(corres.points[camera].x, head.pinholePixel(point, camera)[0]);
    EXPECT_EQ(corres.points[camera].y, head.pinholePixel(point, camera)[1]);
  }
}

TEST(SampleHead, ParallaxIsZeroOnTheReferencePlaneAndGrowsAwayFromTheCameras) {
  forHeads([](const SampleHead& head) {
    const double(&c)[3] = head.tensor()->worldCentre;
    for (int camera = 0; camera < 3; ++camera) {
      EXPECT_EQ(head.planarParallax({c[0], c[1], c[2]}, camera), 0.0);
      EXPECT_GT(head.planarParallax({c[0], c[1], c[2] - 10.0}, camera), 0.0);
    }
  });
}

TEST(SampleHead, IsTheSameForTheSameSeedAndAnotherForAnother) {
  EXPECT_EQ(SampleHead(7).tensor()->epipole[0][1][0], SampleHead(7).tensor()->epipole[0][1][0]);
  EXPECT_NE(SampleHead(7).tensor()->epipole[0][1][0], SampleHead(8).tensor()->epipole[0][1][0]);
}

}  // namespace
}  // namespace quel::testing
