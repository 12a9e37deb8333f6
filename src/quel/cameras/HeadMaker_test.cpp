#include <gmock/gmock.h>

#include <Eigen/Dense>
#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>
#include <vector>

#include "quel/cameras/CameraTypes.h"
#include "quel/cameras/HeadMaker.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"
#include "quelplatform/qmEnv/qmCamera.h"
#include "testing/Numbers.h"
#include "testing/SampleHead.h"
#include "testing/TempHome.h"

namespace quel {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

using quel::testing::SampleHead;
using quel::testing::testRandom;
using quel::testing::uniform;
using ::testing::HasSubstr;

using Vector = Eigen::Vector3d;
using Matrix = Eigen::Matrix3d;

constexpr int kHeads = 2000;

struct Truth {
  Matrix intrinsics;
  Matrix rotation;
  Vector translation;
  Vector centre;
};

// A camera of any plausible intrinsics that stands `place`, looks at `target` and is rolled by any angle.
Camera randomCamera(std::mt19937_64& random, const Vector& place, const Vector& target) {
  Camera camera;
  camera.width = 2048;
  camera.height = 1536;
  camera.fx = uniform(random, 1500.0, 8000.0);
  camera.fy = camera.fx * uniform(random, 0.8, 1.25);
  camera.skew = uniform(random, -50.0, 50.0);
  camera.cx = uniform(random, 800.0, 1200.0);
  camera.cy = uniform(random, 600.0, 900.0);
  const Vector forward = (target - place).normalized();
  const Vector right = forward.cross(Vector(0.3, 0.2, 0.9).cross(forward)).normalized();
  Matrix rotation;
  rotation << right.transpose(), forward.cross(right).transpose(), forward.transpose();
  rotation = Eigen::AngleAxisd(uniform(random, -3.0, 3.0), Vector::UnitZ()).toRotationMatrix() * rotation;
  const Vector translation = -rotation * place;
  for (int i = 0; i < 3; ++i) {
    const auto row = static_cast<std::size_t>(i);
    camera.rotation[row] = {rotation(i, 0), rotation(i, 1), rotation(i, 2)};
    camera.translation[row] = translation[i];
  }
  return camera;
}

Vector randomVector(std::mt19937_64& random, double by) {
  return {uniform(random, -by, by), uniform(random, -by, by), uniform(random, -by, by)};
}

struct RandomHead {
  std::array<Camera, 3> cameras;
  Vector scene;
};

// Three cameras around a scene anywhere in the world, 0.6 to 1.4 m away, at least 0.1 m apart.
RandomHead randomHead(std::mt19937_64& random) {
  RandomHead head;
  head.scene = randomVector(random, 3000.0);
  const Vector middle = head.scene + randomVector(random, 1.0).normalized() * uniform(random, 700.0, 1300.0);
  std::array<Vector, 3> places;
  do {
    for (Vector& place : places) place = middle + randomVector(random, 250.0);
  } while ((places[0] - places[1]).norm() < 100.0 || (places[1] - places[2]).norm() < 100.0 ||
           (places[2] - places[0]).norm() < 100.0);
  for (std::size_t i = 0; i < 3; ++i) {
    head.cameras[i] = randomCamera(random, places[i], head.scene + randomVector(random, 20.0));
  }
  return head;
}

Truth truthOf(const Camera& camera) {
  Truth truth;
  truth.intrinsics << camera.fx, camera.skew, camera.cx, 0.0, camera.fy, camera.cy, 0.0, 0.0, 1.0;
  for (int i = 0; i < 3; ++i) {
    const auto row = static_cast<std::size_t>(i);
    truth.rotation.row(i) << camera.rotation[row][0], camera.rotation[row][1], camera.rotation[row][2];
    truth.translation[i] = camera.translation[row];
  }
  truth.centre = -truth.rotation.transpose() * truth.translation;
  return truth;
}

// Homogeneous normalised position (third component 1) of a world point.
Vector seen(const tag_qmReconsTensorData& tensor, const Truth& truth, int camera, const Vector& world) {
  const Vector pixel = (truth.intrinsics * (truth.rotation * world + truth.translation)).eval();
  return {(pixel[0] / pixel[2] - tensor.imageCentre[camera][0]) / tensor.imageScale[camera],
          (pixel[1] / pixel[2] - tensor.imageCentre[camera][1]) / tensor.imageScale[camera], 1.0};
}

double depth(const Truth& truth, const Vector& world) { return (truth.rotation * world + truth.translation)[2]; }

Matrix matrix(const double (&m)[3][3]) {
  return Eigen::Map<const Eigen::Matrix<double, 3, 3, Eigen::RowMajor>>(&m[0][0]);
}
Eigen::Matrix4d matrix(const double (&m)[4][4]) {
  return Eigen::Map<const Eigen::Matrix<double, 4, 4, Eigen::RowMajor>>(&m[0][0]);
}
Vector vector(const double (&v)[3]) { return {v[0], v[1], v[2]}; }

struct TestedHead {
  std::unique_ptr<tag_qmReconsTensorData> tensor;
  std::array<Truth, 3> truths;
  Vector scene;
};

// Thousands of heads, made once for all tests.
const std::vector<TestedHead>& madeHeads() {
  static const std::vector<TestedHead> heads = [] {
    std::mt19937_64 random(20261121);
    std::vector<TestedHead> made;
    for (int n = 0; n < kHeads; ++n) {
      const RandomHead given = randomHead(random);
      Result<MadeHead> head = makeHead(given.cameras);
      if (!head) throw std::logic_error(head.error().message());
      made.push_back({std::make_unique<tag_qmReconsTensorData>(head.value().tensor),
                      {truthOf(given.cameras[0]), truthOf(given.cameras[1]), truthOf(given.cameras[2])},
                      given.scene});
    }
    return made;
  }();
  return heads;
}

// Runs `check(tensor, truths, a, b, world point)` for every ordered pair of every head and some points of each.
template <typename Check>
void forPairsOfRandomHeads(Check check) {
  std::mt19937_64 random = testRandom();
  for (const TestedHead& head : madeHeads()) {
    for (int k = 0; k < 3; ++k) {
      const Vector world = head.scene + randomVector(random, 120.0);
      for (int a = 0; a < 3; ++a) {
        for (int b = 0; b < 3; ++b) check(*head.tensor, head.truths, a, b, world);
      }
      if (::testing::Test::HasFailure()) return;
    }
  }
}

struct Plane {
  Vector normal;
  Vector point;
  double behind(const Vector& world) const { return normal.dot(world - point); }
};

Plane referencePlane(const tag_qmReconsTensorData& tensor, const std::array<Truth, 3>& truths) {
  const Vector sum = truths[0].rotation.row(2) + truths[1].rotation.row(2) + truths[2].rotation.row(2);
  return {sum.normalized(), vector(tensor.worldCentre)};
}

Plane singularPlane(const tag_qmReconsTensorData& tensor, const Truth& a, const Truth& b) {
  const Vector scene = vector(tensor.worldCentre);
  const Vector toCameras = (a.centre + b.centre) / 2.0 - scene;
  return {-toCameras.normalized(), scene + toCameras / 16.0};
}

double sine(const Vector& a, const Vector& b) { return a.cross(b).norm() / (a.norm() * b.norm()); }

TEST(MakeHead, PlanarTransferTakesEveryPointIntoEveryOtherView) {
  forPairsOfRandomHeads([](const auto& tensor, const auto& truths, int a, int b, const Vector& world) {
    const auto& truth = truths[static_cast<std::size_t>(a)];
    const double parallax = referencePlane(tensor, truths).behind(world) / depth(truth, world);
    const Vector moved =
        matrix(tensor.planarTransfer[a][b]) * seen(tensor, truth, a, world) + parallax * vector(tensor.epipole[a][b]);
    EXPECT_LT(sine(moved, seen(tensor, truths[static_cast<std::size_t>(b)], b, world)), 1e-11);
    // Nothing is rescaled per pair: the third component is the ratio of the depths.
    EXPECT_NEAR(moved[2], depth(truths[static_cast<std::size_t>(b)], world) / depth(truth, world), 1e-11);
  });
}

TEST(MakeHead, SingularTransferTakesEveryPointIntoEveryOtherViewFromItsOwnPlane) {
  forPairsOfRandomHeads([](const auto& tensor, const auto& truths, int a, int b, const Vector& world) {
    if (a == b) return;
    const auto& truth = truths[static_cast<std::size_t>(a)];
    const Plane plane = singularPlane(tensor, truth, truths[static_cast<std::size_t>(b)]);
    const double unit = referencePlane(tensor, truths).behind(truth.centre) / plane.behind(truth.centre);
    const double parallax = unit * plane.behind(world) / depth(truth, world);
    const Vector moved =
        matrix(tensor.singularTransfer[a][b]) * seen(tensor, truth, a, world) + parallax * vector(tensor.epipole[a][b]);
    EXPECT_LT(sine(moved, seen(tensor, truths[static_cast<std::size_t>(b)], b, world)), 1e-11);
  });
}

TEST(MakeHead, PlanarDepthLeadsBackToTheWorldPoint) {
  forPairsOfRandomHeads([](const auto& tensor, const auto& truths, int a, int b, const Vector& world) {
    const auto& truth = truths[static_cast<std::size_t>(a)];
    const double parallax = referencePlane(tensor, truths).behind(world) / depth(truth, world);
    Eigen::Vector4d image;
    image << seen(tensor, truth, a, world), parallax / tensor.planarDepthScale[a][b];
    const Eigen::Vector4d back = matrix(tensor.pairReconstruction[a][b]) * image;
    const Vector found = tensor.worldScale * back.head<3>() / back[3] + vector(tensor.worldCentre);
    EXPECT_LT((found - world).norm(), 1e-9);
  });
}

TEST(MakeHead, SingularDepthLeadsBackThroughThePlaneBetweenTheTables) {
  forPairsOfRandomHeads([](const auto& tensor, const auto& truths, int a, int b, const Vector& world) {
    if (a == b) return;
    const auto& truth = truths[static_cast<std::size_t>(a)];
    const Matrix difference = matrix(tensor.singularTransfer[a][b]) - matrix(tensor.planarTransfer[a][b]);
    const Vector epipole = vector(tensor.epipole[a][b]);
    const Vector v = difference.transpose() * epipole / epipole.squaredNorm();
    EXPECT_GT(v.norm(), 1e-3);
    EXPECT_LT((difference - epipole * v.transpose()).norm(), 1e-13 * (1.0 + difference.norm()));

    const Plane plane = singularPlane(tensor, truth, truths[static_cast<std::size_t>(b)]);
    const double unit = referencePlane(tensor, truths).behind(truth.centre) / plane.behind(truth.centre);
    const Vector p = seen(tensor, truth, a, world);
    const double parallax = unit * plane.behind(world) / depth(truth, world) + v.dot(p);
    Eigen::Vector4d image;
    image << p, parallax / tensor.planarDepthScale[a][b];
    const Eigen::Vector4d back = matrix(tensor.pairReconstruction[a][b]) * image;
    const Vector found = tensor.worldScale * back.head<3>() / back[3] + vector(tensor.worldCentre);
    EXPECT_LT((found - world).norm(), 1e-8);
  });
}

TEST(MakeHead, ProjectionsOfTheMetricTablesAreThoseOfTheCameras) {
  for (const TestedHead& head : madeHeads()) {
    const tag_qmReconsTensorData& tensor = *head.tensor;
    const double s = tensor.worldScale;
    Eigen::Matrix4d normalise = Eigen::Matrix4d::Identity() / s;
    normalise.col(3) << -vector(tensor.worldCentre) / s, 1.0;
    for (int i = 0; i < 3; ++i) {
      const Truth& truth = head.truths[static_cast<std::size_t>(i)];
      Eigen::Matrix<double, 3, 4> expected;
      expected << truth.intrinsics * truth.rotation, truth.intrinsics * truth.translation;
      Matrix pixels = Matrix::Identity() * tensor.imageScale[i];
      pixels.col(2) << tensor.imageCentre[i][0], tensor.imageCentre[i][1], 1.0;
      for (int b = 0; b < 3; ++b) {
        const Eigen::Matrix4d inverse = matrix(tensor.pairReconstruction[i][b]).inverse();
        EXPECT_LT((pixels * inverse.topRows<3>() * normalise - expected).norm(), 1e-11 * expected.norm());
      }
      EXPECT_LT((matrix(tensor.projections[i]).topRows<3>() - expected).norm(), 1e-14 * expected.norm());
      EXPECT_TRUE(matrix(tensor.projections[i]).row(3).isZero(0.0));
      EXPECT_LT((vector(tensor.cameraLocations[i]) - truth.centre).norm(), 1e-9);
    }
    if (HasFailure()) return;
  }
}

TEST(MakeHead, WhatTheLibraryDerivesFromTheMetricTablesIsWhatTheRecordHolds) {
  for (const TestedHead& head : madeHeads()) {
    tag_qmReconsTensorData tensor = *head.tensor;
    double derived[3][4][4];
    ASSERT_EQ(qmRTComputeProjections(&tensor, derived), 1);
    for (int i = 0; i < 3; ++i) {
      const Eigen::Matrix4d expected = matrix(tensor.projections[i]);
      EXPECT_LT((matrix(derived[i]) - expected).norm(), 1e-11 * expected.norm());
    }
    // The order of the cameras is random here, so the call may report it as wrong; it derives everything all the same.
    qmRTfillLocsAndCalibDist(&tensor, nullptr);
    for (int i = 0; i < 3; ++i) {
      EXPECT_LT((vector(tensor.cameraLocations[i]) - vector(head.tensor->cameraLocations[i])).norm(), 1e-8);
    }
    EXPECT_NEAR(tensor.calibDistance, head.tensor->calibDistance, 1e-8);
    if (HasFailure()) return;
  }
}

TEST(MakeHead, OneUnitOfDepthMovesTheSceneCentreByOnePixel) {
  forPairsOfRandomHeads([](const auto& tensor, const auto& truths, int a, int b, const Vector&) {
    if (a == b) return;
    const auto ratio = [&](const double(&transfer)[3][3], double scale) {
      const Vector p = seen(tensor, truths[static_cast<std::size_t>(a)], a, vector(tensor.worldCentre));
      const double step = 1e-4 * scale;
      const Vector lower = matrix(transfer) * p - step * vector(tensor.epipole[a][b]);
      const Vector upper = matrix(transfer) * p + step * vector(tensor.epipole[a][b]);
      return tensor.imageScale[b] * (upper / upper[2] - lower / lower[2]).norm() / 2e-4;
    };
    EXPECT_NEAR(ratio(tensor.planarTransfer[a][b], tensor.planarDepthScale[a][b]), 1.0, 1e-6);
    EXPECT_NEAR(ratio(tensor.singularTransfer[a][b], tensor.singularDepthScale[a][b]), 1.0, 1e-6);
  });
}

TEST(MakeHead, TheScaleOfDepthDiffersFromPairToPair) {
  const SampleHead head;
  for (int pair = 0; pair < 9; ++pair) {
    for (int other = 0; other < pair; ++other) {
      if (pair % 4 == 0 && other % 4 == 0) continue;  // The diagonal's are 1.
      EXPECT_NE(head.tensor()->planarDepthScale[pair / 3][pair % 3],
                head.tensor()->planarDepthScale[other / 3][other % 3]);
      EXPECT_NE(head.tensor()->singularDepthScale[pair / 3][pair % 3],
                head.tensor()->planarDepthScale[other / 3][other % 3]);
    }
  }
}

TEST(MakeHead, ACameraRelatesToItselfByTheIdentity) {
  const SampleHead head;
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(matrix(head.tensor()->planarTransfer[i][i]).isIdentity(0.0));
    EXPECT_TRUE(matrix(head.tensor()->singularTransfer[i][i]).isIdentity(0.0));
    EXPECT_TRUE(vector(head.tensor()->epipole[i][i]).isZero(0.0));
    EXPECT_EQ(head.tensor()->planarDepthScale[i][i], 1.0);
    EXPECT_EQ(head.tensor()->singularDepthScale[i][i], 1.0);
  }
}

TEST(MakeHead, CamerasOfOneImagePlaneHaveEpipolesAtInfinityExactly) {
  for (std::uint64_t seed = 0; seed < 50; ++seed) {
    const SampleHead head(seed, SampleHead::Kind::CommonImagePlane);
    std::mt19937_64 random = testRandom();
    for (int a = 0; a < 3; ++a) {
      for (int b = 0; b < 3; ++b) {
        EXPECT_EQ(head.tensor()->epipole[a][b][2], 0.0);
        EXPECT_EQ(head.tensor()->planarTransfer[a][b][2][2], 1.0);
        const Vec3 point = head.randomPoint(random);
        const Vec2 from = head.normalisedPixel(point, a);
        const Vec2 to = head.normalisedPixel(point, b);
        const Vector moved = matrix(head.tensor()->planarTransfer[a][b]) * Vector(from[0], from[1], 1.0) +
                             head.planarParallax(point, a) * vector(head.tensor()->epipole[a][b]);
        EXPECT_NEAR(moved[0], to[0], 1e-12);
        EXPECT_NEAR(moved[1], to[1], 1e-12);
      }
    }
  }
}

TEST(MakeHead, FillsIdentityParametersAndBox) {
  HeadOptions options;
  options.machineId = "M7";
  options.blockNumber = 42;
  options.calibWord0 = 1;
  options.imageTag = 2;
  options.calibWord2 = 3;
  options.calibrationTimeStamp = 4;
  options.temperature = {21.0, 22.0, 23.0};
  const SampleHead head(options);
  const tag_qmReconsTensorData& tensor = *head.tensor();
  EXPECT_EQ(tensor.version, -17);
  EXPECT_EQ(tensor.numCameras, 3);
  EXPECT_EQ(tensor.reconsFlag, 1);
  EXPECT_EQ(tensor.projectionsValid, 1);
  EXPECT_EQ(std::string(tensor.machineId, 8), std::string("M7\0\0\0\0\0\0", 8));
  EXPECT_EQ(tensor.blockNumber, 42);
  EXPECT_EQ(tensor.calibWord0, 1);
  EXPECT_EQ(tensor.imageTag, 2);
  EXPECT_EQ(tensor.calibWord2, 3);
  EXPECT_EQ(tensor.calibrationTimeStamp, 4);
  EXPECT_EQ(tensor.temperature[2], 23.0);
  EXPECT_EQ(tensor.ohType, 4);
  EXPECT_EQ(tensor.imageWidth, 1536);
  EXPECT_EQ(tensor.imageHeight, 1024);
  EXPECT_NEAR(tensor.workingDistance, 1240.0, 10.0);
  EXPECT_NEAR(tensor.pixel2WorldRatio, 5555.0 / 1240.0, 0.05);
  EXPECT_NEAR(tensor.calibDistance, 1212.5, 0.01);
  EXPECT_NEAR(tensor.reconstBoxHalfSizeZ, 45.0, 2.0);
  EXPECT_EQ(tensor.reconstBoxCenterZ, tensor.worldCentre[2]);
  EXPECT_EQ(tensor.resultAvg[0], -1.0);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(tensor.distortTables[i].xTable, nullptr);
    EXPECT_EQ(tensor.distortParams[i].luts, nullptr);
    EXPECT_EQ(tensor.distortLutsInfo[i].useLut, 0);
  }
}

TEST(MakeHead, ProjectionsInTheLutFrameTakePointsOfThatFrame) {
  HeadOptions options;
  options.lutFrameTransform = {{{0, -1, 0, 5}, {1, 0, 0, -7}, {0, 0, 1, 11}, {0, 0, 0, 1}}};
  const SampleHead head(options);
  const Eigen::Matrix4d worldFromLut = matrix(head.tensor()->lutFrameTransform);
  const Eigen::Vector4d inLut(10.0, 20.0, 30.0, 1.0);
  for (int i = 0; i < 3; ++i) {
    const Eigen::Vector4d a = matrix(head.tensor()->projectionsInLutFrame[i]) * inLut;
    const Eigen::Vector4d b = matrix(head.tensor()->projections[i]) * (worldFromLut * inLut);
    EXPECT_LT((a - b).norm(), 1e-12 * b.norm());
  }
}

TEST(MakeHead, TakesTheTypeOfTheImageSizeAndPrefersTheDefaultType) {
  EXPECT_EQ(cameraTypeOfSize(1536, 1024), 4);
  EXPECT_EQ(cameraTypeOfSize(640, 480), 5);
  EXPECT_EQ(cameraTypeOfSize(4096, 3000), 8);
  EXPECT_EQ(cameraTypeOfSize(641, 480), std::nullopt);
}

std::string refusal(const std::array<Camera, 3>& cameras, const HeadOptions& options = {}) {
  const Result<MadeHead> head = makeHead(cameras, options);
  return head ? std::string("made") : head.error().message();
}

class MakeHeadRefuses : public ::testing::Test {
 protected:
  std::array<Camera, 3> cameras_ = SampleHead().cameras();
};

TEST_F(MakeHeadRefuses, ImagesOfDifferentSize) {
  cameras_[1].width = 640;
  cameras_[2].width = 1280;
  EXPECT_THAT(refusal(cameras_), AllOf(HasSubstr("images of one size"), HasSubstr("camera 0 (upper) has 1536 x 1024"),
                                       HasSubstr("camera 1 (left) has 640 x 1024")));
}

TEST_F(MakeHeadRefuses, ASizeWithoutATypeAndShowsTheEntryThatIsMissing) {
  const quel::testing::TempHome home;
  for (Camera& camera : cameras_) camera.width = 1000;
  const std::string entry = "[Camera 9]\nName = Head of 1000 x 1024\nWidth = 1000\nHeight = 1024";
  EXPECT_THAT(refusal(cameras_), AllOf(HasSubstr((home.path() / "cameras.ini").string() + ":\n"), HasSubstr(entry)));

  quel::testing::writeFile(home.path() / "cameras.ini", entry + "\n");
  EXPECT_EQ(refusal(cameras_), "made");
  EXPECT_EQ(cameraTypeOfSize(1000, 1024), 9);
}

TEST_F(MakeHeadRefuses, IntrinsicsThatAreNone) {
  cameras_[2].fx = 0.0;
  EXPECT_THAT(refusal(cameras_), HasSubstr("camera 2 (right) has a focal length"));
  cameras_[2].fx = std::numeric_limits<double>::quiet_NaN();
  EXPECT_THAT(refusal(cameras_), HasSubstr("intrinsics that are not finite"));
  cameras_[2].fx = 5000.0;
  cameras_[2].k3 = std::numeric_limits<double>::infinity();
  EXPECT_THAT(refusal(cameras_), HasSubstr("distortion coefficients"));
  cameras_[2].k3 = 0.0;
  cameras_[2].height = 0;
  EXPECT_THAT(refusal(cameras_), HasSubstr("no image size"));
}

TEST_F(MakeHeadRefuses, PosesThatAreNone) {
  const std::array<Camera, 3> good = cameras_;
  cameras_[0].translation[1] = std::numeric_limits<double>::quiet_NaN();
  EXPECT_THAT(refusal(cameras_), HasSubstr("translation that is not finite"));
  cameras_ = good;
  cameras_[0].rotation[0][0] += 1e-4;
  EXPECT_THAT(refusal(cameras_), HasSubstr("camera 0 (upper) has a rotation that is none"));
  cameras_ = good;
  std::swap(cameras_[0].rotation[0], cameras_[0].rotation[1]);
  EXPECT_THAT(refusal(cameras_), HasSubstr("right-handed"));
}

TEST_F(MakeHeadRefuses, CamerasInOnePlace) {
  cameras_[1].rotation = cameras_[0].rotation;
  cameras_[1].translation = cameras_[0].translation;
  EXPECT_THAT(refusal(cameras_), HasSubstr("camera 0 and camera 1 stand in one place"));
}

TEST_F(MakeHeadRefuses, CamerasThatSeeTheSceneAlongOneLine) {
  HeadOptions options;
  options.sceneCentre = Vec3{0.0, 0.0, 0.0};
  cameras_[1].rotation = cameras_[0].rotation;
  // Twice as far from the origin, in the same direction.
  for (std::size_t i = 0; i < 3; ++i) cameras_[1].translation[i] = 2.0 * cameras_[0].translation[i];
  EXPECT_THAT(refusal(cameras_, options), HasSubstr("cameras 0 and 1 see the scene's centre along one line"));
}

TEST_F(MakeHeadRefuses, ASceneBehindACamera) {
  HeadOptions options;
  options.sceneCentre = Vec3{0.0, 0.0, 3000.0};
  EXPECT_THAT(refusal(cameras_, options), HasSubstr("lies behind camera 0"));
}

TEST_F(MakeHeadRefuses, ACameraInThePlaneThatTheHeadIsReferredTo) {
  // The third camera looks across the two others and stands beside the scene.
  cameras_[2].rotation = {{{0.0, 0.0, 1.0}, {0.0, -1.0, 0.0}, {1.0, 0.0, 0.0}}};
  cameras_[2].translation = {0.0, 0.0, 1200.0};
  Camera& c = cameras_[2];
  const Vec3 sum = {cameras_[0].rotation[2][0] + cameras_[1].rotation[2][0] + 1.0,
                    cameras_[0].rotation[2][1] + cameras_[1].rotation[2][1],
                    cameras_[0].rotation[2][2] + cameras_[1].rotation[2][2]};
  HeadOptions options;
  options.sceneCentre = Vec3{0.0, 0.0, 0.0};
  // A place in the plane, with the scene still in front.
  const Vec3 place = {-1200.0, 0.0, 1200.0 * sum[0] / sum[2]};
  for (std::size_t i = 0; i < 3; ++i) c.translation[i] = -dot(c.rotation[i], place);
  EXPECT_THAT(refusal(cameras_, options), HasSubstr("stands in or behind the plane"));
}

TEST_F(MakeHeadRefuses, OptionsOutOfRange) {
  HeadOptions options;
  options.machineId = "NINECHARS";
  EXPECT_THAT(refusal(cameras_, options), HasSubstr("1 to 8 letters"));
  options.machineId = "../x";
  EXPECT_THAT(refusal(cameras_, options), HasSubstr("1 to 8 letters"));
  options.machineId = "";
  EXPECT_THAT(refusal(cameras_, options), HasSubstr("1 to 8 letters"));
  options = {};
  options.blockNumber = 0;
  EXPECT_THAT(refusal(cameras_, options), HasSubstr("block number must be 1 or more"));
  options = {};
  options.workingDistance = -1.0;
  EXPECT_THAT(refusal(cameras_, options), HasSubstr("working distance"));
  options = {};
  options.sceneCentre = Vec3{0.0, kNan, 0.0};
  EXPECT_THAT(refusal(cameras_, options), HasSubstr("centre must be finite"));
  options = {};
  options.luts = LutOptions{0.0, 5, 2};
  EXPECT_THAT(refusal(cameras_, options), HasSubstr("LUTs need"));
}

TEST(MakeHeadLuts, FullModelComesBackToTheAccuracyOfTheInterpolation) {
  HeadOptions options;
  options.luts = LutOptions{};
  const SampleHead head(options);
  std::mt19937_64 random = testRandom();
  double withLut = 0.0;
  double without = 0.0;
  for (int n = 0; n < 20000; ++n) {
    const Vec3 point = head.randomPoint(random);
    const int camera = n % 3;
    const Vec2 ideal = head.pinholePixel(point, camera);
    const Vec2 expected = head.pixel(point, camera);
    tag_qmDistortParams params = head.tensor()->distortParams[camera];
    const auto z = static_cast<float>(point[2]);
    double out[2] = {kNan, kNan};
    ASSERT_EQ(qmDistortDistortOnePt(ideal.data(), &params, &z, out), 1);
    withLut = std::max(withLut, std::hypot(out[0] - expected[0], out[1] - expected[1]));
    params.luts = nullptr;
    ASSERT_EQ(qmDistortDistortOnePt(ideal.data(), &params, nullptr, out), 1);
    without = std::max(without, std::hypot(out[0] - expected[0], out[1] - expected[1]));
  }
  EXPECT_LT(withLut, 1e-4);
  EXPECT_GT(without, 0.01);
}

TEST(MakeHeadLuts, LayersSpanTheBoxAndEachCameraHasItsIdentifier) {
  HeadOptions options;
  options.luts = LutOptions{16.0, 3, 2};
  options.machineId = "AB12";
  options.blockNumber = 77;
  const SampleHead head(options);
  for (int i = 0; i < 3; ++i) {
    const tag_qmDistortLuts* luts = head.tensor()->distortParams[i].luts;
    ASSERT_NE(luts, nullptr);
    ASSERT_EQ(luts->tableCount, 3);
    EXPECT_NEAR(luts->layerDepths[2] - luts->layerDepths[0], 3.0 * head.tensor()->reconstBoxHalfSizeZ, 1e-4);
    const std::string id = head.tensor()->distortLutsInfo[i].lutId;
    EXPECT_EQ(id,
              "0000AB1200000000770"
              "0" +
                  std::to_string(i));
    EXPECT_EQ(head.tensor()->distortLutsInfo[i].useLut, 1);
    EXPECT_EQ(quelplatform::distortLutsReferences(id), 1);
    EXPECT_FALSE(head.tensor()->distortLutsInfo2[i].useLut);
  }
}

TEST(MakeHeadLuts, ReferencesEndWithTheHead) {
  std::string id;
  {
    HeadOptions options;
    options.luts = LutOptions{32.0, 2, 2};
    const SampleHead head(options);
    id = head.tensor()->distortLutsInfo[0].lutId;
    ASSERT_EQ(quelplatform::distortLutsReferences(id), 1);
  }
  EXPECT_LE(quelplatform::distortLutsReferences(id), 0);
  DistortLutsManager::getManager().removeUnusedDistortLuts();
}

}  // namespace
}  // namespace quel
