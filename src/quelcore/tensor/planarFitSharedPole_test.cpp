// Heads whose two target cameras have one principal plane, while the reference camera is displaced along the axes: then
// both targets' denominators vanish at the same parallax, the quartic has a triple root there, and rounding decides
// whether a root falls on the pole exactly. The rule that such a fit fails stands.
#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <random>

#include "quel/cameras/HeadMaker.h"
#include "quelcore/tensor/fitKernel.h"
#include "quelcore/tensor/qmReconsFitCorresToTensor.h"
#include "quelplatform/qmMath/qmMathSolve.h"
#include "testing/Numbers.h"

namespace {

using quel::Camera;
using quel::MadeHead;
using quel::Vec3;
using quel::testing::testRandom;
using quel::testing::uniform;

constexpr int kCorrespondences = 5000;

/// Parallel axes; cameras 1 and 2 in one plane, camera 0 `displaced` millimetres behind it.
MadeHead headWith(double displaced) {
  std::array<Camera, 3> cameras;
  const double places[3][3] = {{0.0, 250.0, 1240.0 + displaced}, {-230.0, -130.0, 1240.0}, {230.0, -130.0, 1240.0}};
  for (std::size_t i = 0; i < 3; ++i) {
    Camera& camera = cameras[i];
    camera.width = 1536;
    camera.height = 1024;
    camera.fx = camera.fy = 1800.0;
    camera.cx = 767.5;
    camera.cy = 511.5;
    camera.rotation = {Vec3{1.0, 0.0, 0.0}, Vec3{0.0, -1.0, 0.0}, Vec3{0.0, 0.0, -1.0}};
    for (std::size_t k = 0; k < 3; ++k) camera.translation[k] = -camera.rotation[k][k] * places[i][k];
  }
  auto head = quel::makeHead(cameras);
  if (!head) throw std::runtime_error(head.error().message());
  return std::move(head.value());
}

/// Where the cameras see a random point of the scene, with `noise` pixels of error.
tag_qmRTCorres randomCorrespondence(const tag_qmReconsTensorData& tensor, std::mt19937_64& random, double noise) {
  const double point[4] = {uniform(random, -100.0, 100.0), uniform(random, -80.0, 80.0), uniform(random, -40.0, 40.0),
                           1.0};
  tag_qmRTCorres corres = {};
  std::normal_distribution<double> error(0.0, noise);
  for (int k = 0; k < 3; ++k) {
    double uvw[3] = {};
    for (int row = 0; row < 3; ++row) {
      for (int i = 0; i < 4; ++i) uvw[row] += tensor.projections[k][row][i] * point[i];
    }
    corres.points[k].x = uvw[0] / uvw[2] + error(random);
    corres.points[k].y = uvw[1] / uvw[2] + error(random);
  }
  return corres;
}

/// True when a root of the fit's quartic lies on the pole of a target camera, in the arithmetic of doubles.
bool rootOnPole(const tag_qmReconsTensorData& tensor, const tag_qmRTCorres& corres) {
  using namespace quelcore;
  const Position p = normalised(tensor, corres, 0);
  const Transfer b = transferOf(tensor.planarTransfer[0][1], tensor.epipole[0][1], p);
  const Transfer c = transferOf(tensor.planarTransfer[0][2], tensor.epipole[0][2], p);
  const Quartic Q = stationaryQuartic(b, normalised(tensor, corres, 1), c, normalised(tensor, corres, 2));
  std::int32_t count = 0;
  std::int32_t kind = 0;
  double unread[2];
  double roots[4] = {};
  EXPECT_EQ(qmMathSolveQuartic(Q.c4, Q.c3, Q.c2, Q.c1, Q.c0, &count, &kind, &unread[0], &unread[1], roots), 1);
  for (int i = 0; i < count; ++i) {
    if (b.fixed.z + roots[i] * b.epipole.z == 0.0 || c.fixed.z + roots[i] * c.epipole.z == 0.0) return true;
  }
  return false;
}

struct Fitted {
  std::int32_t result;
  double error;
  double depth;
};

using Fit = decltype(qmRTFitCorresToTensorPlanar);

Fitted fitted(Fit fit, const tag_qmReconsTensorData& tensor, const tag_qmRTCorres& corres) {
  double ref[2], b[2], c[2];
  Fitted out = {0, 0.0, 0.0};
  out.result = fit(tensor, corres, 0, 1, 2, ref, b, c, out.error, out.depth);
  return out;
}

class SharedPole : public ::testing::TestWithParam<double> {
 protected:
  const MadeHead head_ = headWith(GetParam());
};

TEST_P(SharedPole, FailsThePlanarFitWhereARootFallsOnItAndOnlyThere) {
  auto random = testRandom();
  int failures = 0;
  for (int n = 0; n < kCorrespondences; ++n) {
    const tag_qmRTCorres corres = randomCorrespondence(head_.tensor, random, 0.3);
    const Fitted planar = fitted(qmRTFitCorresToTensorPlanar, head_.tensor, corres);
    ASSERT_EQ(planar.result == 0, rootOnPole(head_.tensor, corres)) << n;
    if (planar.result == 0) ++failures;
  }
  EXPECT_GT(failures, kCorrespondences / 100);
  EXPECT_LT(failures, kCorrespondences);
}

TEST_P(SharedPole, LeavesEveryCorrespondenceToTheLinearFit) {
  auto random = testRandom();
  for (int n = 0; n < kCorrespondences; ++n) {
    const tag_qmRTCorres corres = randomCorrespondence(head_.tensor, random, 0.3);
    const Fitted linear = fitted(qmRTFitCorresToTensorPlanarLinear, head_.tensor, corres);
    ASSERT_EQ(linear.result, 1);
    const Fitted planar = fitted(qmRTFitCorresToTensorPlanar, head_.tensor, corres);
    // Both place the point within its noise; they weigh the cameras differently.
    if (planar.result == 1) {
      ASSERT_NEAR(linear.depth, planar.depth, 5.0) << n;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(MillimetresBehindOrBefore, SharedPole, ::testing::Values(-40.0, 20.0, 33.0, 100.0));

// With the reference camera in the same plane no denominator depends on the parallax, and there is no pole.
TEST(qmRTFitCorresToTensorPlanar, FitsEveryCorrespondenceOfAHeadWithOnePlaneForAllCameras) {
  const MadeHead head = headWith(0.0);
  auto random = testRandom();
  for (int n = 0; n < kCorrespondences; ++n) {
    ASSERT_EQ(fitted(qmRTFitCorresToTensorPlanar, head.tensor, randomCorrespondence(head.tensor, random, 0.3)).result,
              1);
  }
}

}  // namespace
