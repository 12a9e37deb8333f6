// Temperature compensation, against an independent computation from the cameras in extended precision.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <map>
#include <thread>
#include <utility>
#include <vector>

#include "quelcore/blocks/QmBlockCorrectionParameters.h"
#include "quelcore/tensor/QmReconsTensor.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "testing/Numbers.h"
#include "testing/RecordingLog.h"
#include "testing/SampleHead.h"
#include "testing/TensorFile.h"

// References here are computed in extended precision, into which doubles are promoted on purpose.
#pragma GCC diagnostic ignored "-Wdouble-promotion"

namespace {

using quel::Camera;
using quel::Vec3;
using quel::testing::differingFields;
using quel::testing::Line;
using quel::testing::Near;
using quel::testing::RecordingLog;
using quel::testing::SampleHead;
using quel::testing::testRandom;
using quel::testing::uniform;
using ::testing::Contains;
using ::testing::ElementsAre;

constexpr const char* kModule = "QmReconsTensor";

using Real = long double;
using RealMat3 = std::array<std::array<Real, 3>, 3>;
using RealVec3 = std::array<Real, 3>;

/// Rates of one camera by name.
using Rates = std::map<std::string, double>;

RealMat3 product(const RealMat3& a, const RealMat3& b) {
  RealMat3 c{};
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      for (int k = 0; k < 3; ++k) c[i][j] += a[i][k] * b[k][j];
    }
  }
  return c;
}

RealVec3 times(const RealMat3& a, const RealVec3& v) {
  RealVec3 out{};
  for (int i = 0; i < 3; ++i) {
    for (int k = 0; k < 3; ++k) out[i] += a[i][k] * v[k];
  }
  return out;
}

/// Rotation about one axis, 0 to 2.
RealMat3 about(int axis, Real angle) {
  RealMat3 R{};
  const int a = (axis + 1) % 3;
  const int b = (axis + 2) % 3;
  R[axis][axis] = 1;
  R[a][a] = R[b][b] = std::cos(angle);
  R[b][a] = std::sin(angle);
  R[a][b] = -std::sin(angle);
  return R;
}

/// A camera with the quantities that a temperature moves.
struct Moving {
  RealMat3 K{};
  RealMat3 R{};
  RealVec3 centre{};
};

Moving movingOf(const Camera& camera) {
  Moving m;
  m.K = {{{camera.fx, camera.skew, camera.cx}, {0, camera.fy, camera.cy}, {0, 0, 1}}};
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) m.R[i][j] = camera.rotation[i][j];
  }
  for (int j = 0; j < 3; ++j) {
    for (int i = 0; i < 3; ++i) m.centre[j] -= static_cast<Real>(camera.rotation[i][j]) * camera.translation[i];
  }
  return m;
}

Real rate(const Rates& rates, const char* name) {
  const auto found = rates.find(name);
  return found == rates.end() ? 0.0L : found->second;
}

/// The camera at a temperature d above its reference.
Moving moved(const std::array<Moving, 3>& cameras, int index, const Rates& rates, Real d) {
  Moving m = cameras[index];
  m.K[0][0] += rate(rates, "ax") * d;
  m.K[1][1] += rate(rates, "ay") * d;
  m.K[0][2] += rate(rates, "xp") * d;
  m.K[1][2] += rate(rates, "yp") * d;
  m.K[0][1] += rate(rates, "skew") * d;
  const Real toRadians = 3.141592653589793238462643L / 180;
  const RealMat3 turn =
      product(about(2, d * rate(rates, "rz") * toRadians),
              product(about(1, d * rate(rates, "ry") * toRadians), about(0, d * rate(rates, "rx") * toRadians)));
  m.R = product(turn, m.R);
  const std::pair<const char*, std::pair<int, int>> lines[] = {{"d01", {0, 1}}, {"d02", {0, 2}}, {"d12", {1, 2}}};
  for (const auto& [name, ab] : lines) {
    RealVec3 u;
    Real length = 0;
    for (int i = 0; i < 3; ++i) {
      u[i] = cameras[ab.second].centre[i] - cameras[ab.first].centre[i];
      length += u[i] * u[i];
    }
    length = std::sqrt(length);
    for (int i = 0; i < 3; ++i) m.centre[i] += u[i] / length * rate(rates, name) * d;
  }
  return m;
}

/// K [R | -R c], scaled so that its entry [2][3] is 1.
std::array<std::array<Real, 4>, 3> projectionOf(const Moving& m) {
  const RealMat3 KR = product(m.K, m.R);
  const RealVec3 Kt = times(KR, m.centre);
  std::array<std::array<Real, 4>, 3> P;
  for (int i = 0; i < 3; ++i) P[i] = {KR[i][0], KR[i][1], KR[i][2], -Kt[i]};
  const Real w = P[2][3];
  for (auto& row : P) {
    for (Real& value : row) value /= w;
  }
  return P;
}

class CompensationTest : public ::testing::Test {
 protected:
  explicit CompensationTest(std::uint64_t seed = 5) : head_(seed), tensor_(*head_.tensor()) {
    const double frame[4][4] = {{0.8, -0.6, 0, 10}, {0.6, 0.8, 0, -20}, {0, 0, 1, 30}, {0, 0, 0, 1}};
    qmMathCopyMat4ToMat4(frame, tensor_.lutFrameTransform);
    tensor_.temperature[0] = 1.0;
    tensor_.temperature[1] = 2.0;
    tensor_.temperature[2] = 20.0;
    for (int i = 0; i < 3; ++i) {
      cameras_[i] = movingOf(head_.cameras()[i]);
      for (int j = 0; j < 3; ++j) tensor_.cameraLocations[i][j] = static_cast<double>(cameras_[i].centre[j]);
      tensor_.distortParams2[i].k1 += 1e-9;  // the two types differ
      tensor_.distortParams2[i].xp += 3.0;
    }
  }

  void setRate(int camera, const std::string& name, double value) {
    rates_[camera][name] = value;
    table_.insertParameterValue(qmWString(name.begin(), name.end()), static_cast<std::uint32_t>(camera), value);
  }

  void expectCorrected(double temperature) {
    ASSERT_TRUE(tensor_.BuildCorrectedTensor(temperature, table_, corrected_));
    const Real d = static_cast<Real>(temperature) - 20.0L;
    for (int i = 0; i < 3; ++i) {
      const Moving truth = moved(cameras_, i, rates_[i], d);
      const auto P = projectionOf(truth);
      for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 4; ++column) {
          const auto expected = static_cast<double>(P[row][column]);
          EXPECT_THAT(corrected_.projections[i][row][column], Near(expected, 1e-10 * (1e-3 + std::abs(expected))))
              << "camera " << i << " [" << row << "][" << column << "]";
        }
      }
      EXPECT_THAT(corrected_.projections[i][3], ElementsAre(0.0, 0.0, 0.0, 0.0));
      EXPECT_THAT(corrected_.projections[i][2][3], Near(1.0, 1e-15));
      for (int j = 0; j < 3; ++j) {
        EXPECT_THAT(corrected_.cameraLocations[i][j], Near(static_cast<double>(truth.centre[j]), 1e-9));
      }
      expectInLutFrame(i);
    }
  }

  void expectInLutFrame(int i) {
    Real product[3][4] = {};
    for (int row = 0; row < 3; ++row) {
      for (int column = 0; column < 4; ++column) {
        for (int k = 0; k < 4; ++k) {
          product[row][column] +=
              static_cast<Real>(corrected_.projections[i][row][k]) * tensor_.lutFrameTransform[k][column];
        }
      }
    }
    for (int row = 0; row < 3; ++row) {
      for (int column = 0; column < 4; ++column) {
        const auto expected = static_cast<double>(product[row][column] / product[2][3]);
        EXPECT_THAT(corrected_.projectionsInLutFrame[i][row][column],
                    Near(expected, 1e-12 * (1.0 + std::abs(expected))));
      }
    }
  }

  SampleHead head_;
  QmReconsTensor tensor_;
  QmReconsTensor corrected_;
  QmBlockCorrectionParameters table_;
  std::array<Moving, 3> cameras_;
  Rates rates_[3];
};

TEST_F(CompensationTest, ReassemblesAndNormalisesProjectionsWithoutAnyRate) {
  expectCorrected(35.0);
  EXPECT_EQ(differingFields(corrected_, tensor_), "projections projectionsInLutFrame ");
}

TEST_F(CompensationTest, ChangesNoQuantityAtTheReferenceTemperature) {
  for (const char* name : {"ax", "ay", "skew", "k1", "k2", "k3", "p1", "p2"}) setRate(1, name, 0.5);
  expectCorrected(20.0);
  EXPECT_EQ(differingFields(corrected_, tensor_), "projections projectionsInLutFrame ");
}

TEST_F(CompensationTest, ShiftsEachIntrinsicAlone) {
  for (const char* name : {"ax", "ay", "skew"}) {
    table_ = QmBlockCorrectionParameters();
    for (Rates& rates : rates_) rates.clear();
    setRate(0, name, 0.25);
    setRate(2, name, -0.5);
    expectCorrected(31.0);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(corrected_.distortParams[i].xp, tensor_.distortParams[i].xp);
  }
}

TEST_F(CompensationTest, MovesThePrincipalPointOfTheDistortionWithThatOfTheCamera) {
  setRate(1, "xp", 0.03);
  expectCorrected(30.0);
  const double xp = static_cast<double>(cameras_[1].K[0][2]) + 0.3;
  EXPECT_THAT(corrected_.distortParams[1].xp, Near(xp, 1e-8));
  EXPECT_EQ(corrected_.distortParams2[1].xp, corrected_.distortParams[1].xp);
  EXPECT_EQ(corrected_.distortParams[1].yp, tensor_.distortParams[1].yp);
  EXPECT_EQ(corrected_.distortParams2[0].xp, tensor_.distortParams2[0].xp);
  setRate(1, "yp", -0.02);
  expectCorrected(30.0);
  EXPECT_THAT(corrected_.distortParams[1].yp, Near(static_cast<double>(cameras_[1].K[1][2]) - 0.2, 1e-8));
  EXPECT_EQ(corrected_.distortParams2[1].yp, corrected_.distortParams[1].yp);
}

TEST_F(CompensationTest, TurnsACameraAboutEachAxisWhereItStands) {
  for (const char* name : {"rx", "ry", "rz"}) {
    table_ = QmBlockCorrectionParameters();
    for (Rates& rates : rates_) rates.clear();
    setRate(2, name, 0.1);
    expectCorrected(35.0);
  }
}

TEST_F(CompensationTest, TurnsAboutXFirstThenYThenZ) {
  setRate(0, "rx", 2.0);
  setRate(0, "ry", -3.0);
  setRate(0, "rz", 4.0);
  expectCorrected(35.0);
}

TEST_F(CompensationTest, FormsTheTranslationFromTheStoredLocationWhenACameraTurns) {
  tensor_.cameraLocations[1][0] += 7.0;
  cameras_[1].centre[0] += 7.0L;  // the truth now stands where the record says
  setRate(1, "rx", 0.0);
  expectCorrected(35.0);
}

TEST_F(CompensationTest, KeepsTheDecomposedTranslationOfACameraThatDoesNotMove) {
  tensor_.cameraLocations[1][0] += 7.0;
  ASSERT_TRUE(tensor_.BuildCorrectedTensor(35.0, table_, corrected_));
  const auto P = projectionOf(cameras_[1]);
  EXPECT_THAT(corrected_.projections[1][0][3], Near(static_cast<double>(P[0][3]), 1e-9));
  EXPECT_EQ(corrected_.cameraLocations[1][0], tensor_.cameraLocations[1][0]);
}

TEST_F(CompensationTest, MovesACameraAlongTheBaseLineThatTheNameTells) {
  setRate(2, "d01", 0.05);  // camera 2 moves along the line from camera 0 to camera 1
  expectCorrected(40.0);
  setRate(0, "d02", -0.02);
  setRate(1, "d12", 0.03);
  setRate(1, "d01", 0.01);
  expectCorrected(40.0);
}

TEST_F(CompensationTest, AsksForTheBaseLinesByTheirNamesInLowerCase) {
  table_.insertParameterValue(u"D01", 0, 1.0);  // with a capital it is never found
  expectCorrected(40.0);
}

TEST_F(CompensationTest, DoesNotMoveACameraAlongABaseLineWithoutLengthButFormsItsTranslationAnew) {
  for (int i = 0; i < 3; ++i) tensor_.cameraLocations[1][i] = tensor_.cameraLocations[0][i];
  cameras_[1].centre = cameras_[0].centre;
  table_.insertParameterValue(u"d01", 1, 5.0);
  ASSERT_TRUE(tensor_.BuildCorrectedTensor(40.0, table_, corrected_));
  const auto P = projectionOf(cameras_[1]);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(corrected_.cameraLocations[1][i], tensor_.cameraLocations[1][i]);
    EXPECT_THAT(corrected_.projections[1][i][3], Near(static_cast<double>(P[i][3]), 1e-9));
  }
}

TEST_F(CompensationTest, AddsDistortionRatesToBothTypesEachToItsOwnValue) {
  const std::pair<const char*, double tag_qmDistortParams::*> names[] = {{"k1", &tag_qmDistortParams::k1},
                                                                         {"k2", &tag_qmDistortParams::k2},
                                                                         {"k3", &tag_qmDistortParams::k3},
                                                                         {"p1", &tag_qmDistortParams::p1},
                                                                         {"p2", &tag_qmDistortParams::p2}};
  double rate = 1e-9;
  for (const auto& [name, coefficient] : names) setRate(1, name, rate *= 2);
  expectCorrected(30.0);
  rate = 1e-9;
  for (const auto& [name, coefficient] : names) {
    rate *= 2;
    EXPECT_EQ(corrected_.distortParams[1].*coefficient, tensor_.distortParams[1].*coefficient + rate * 10.0);
    EXPECT_EQ(corrected_.distortParams2[1].*coefficient, tensor_.distortParams2[1].*coefficient + rate * 10.0);
    EXPECT_EQ(corrected_.distortParams[0].*coefficient, tensor_.distortParams[0].*coefficient);
  }
  EXPECT_NE(corrected_.distortParams[1].k1, corrected_.distortParams2[1].k1);
}

TEST_F(CompensationTest, AppliesEverythingTogetherOnRandomHeads) {
  auto random = testRandom();
  for (int n = 0; n < 50; ++n) {
    table_ = QmBlockCorrectionParameters();
    for (int camera = 0; camera < 3; ++camera) {
      rates_[camera].clear();
      for (const char* name : {"ax", "ay", "xp", "yp", "skew", "rx", "ry", "rz", "d01", "d02", "d12"}) {
        if (random() % 2 == 0) setRate(camera, name, uniform(random, -0.05, 0.05));
      }
    }
    expectCorrected(uniform(random, -10, 50));
  }
}

TEST_F(CompensationTest, LeavesTransferTablesTemperaturesAndEverythingElseAlone) {
  setRate(0, "ax", 0.1);
  setRate(1, "rx", 0.1);
  setRate(2, "k1", 1e-9);
  setRate(2, "d02", 0.1);
  ASSERT_TRUE(tensor_.BuildCorrectedTensor(33.0, table_, corrected_));
  EXPECT_EQ(differingFields(corrected_, tensor_),
            "projections cameraLocations projectionsInLutFrame distortParams[2] distortParams2[2] ");
}

TEST_F(CompensationTest, TakesTheTemperatureOfTheFirstImage) {
  setRate(0, "ax", 0.1);
  tag_qmImage first = {};
  tag_qmImage second = {};
  first.temperature[0] = 90.0F;
  first.temperature[2] = 31.1F;
  second.temperature[2] = 99.0F;
  const tag_qmImage* const images[] = {&first, &second};
  ASSERT_TRUE(tensor_.BuildCorrectedTensor(images, table_, corrected_));
  QmReconsTensor expected;
  ASSERT_TRUE(tensor_.BuildCorrectedTensor(static_cast<double>(31.1F), table_, expected));
  EXPECT_EQ(differingFields(corrected_, expected), "");
  const tag_qmImage* const none[] = {nullptr};
  EXPECT_FALSE(tensor_.BuildCorrectedTensor(none, table_, corrected_));
  EXPECT_FALSE(tensor_.BuildCorrectedTensor(static_cast<const tag_qmImage* const*>(nullptr), table_, corrected_));
}

TEST_F(CompensationTest, MayCorrectATensorInPlace) {
  setRate(0, "d01", 0.1);
  setRate(1, "d01", 0.1);
  setRate(2, "rx", 0.1);
  ASSERT_TRUE(tensor_.BuildCorrectedTensor(33.0, table_, corrected_));
  QmReconsTensor inPlace(tensor_);
  ASSERT_TRUE(inPlace.BuildCorrectedTensor(33.0, table_, inPlace));
  EXPECT_EQ(differingFields(inPlace, corrected_), "");
}

TEST_F(CompensationTest, CorrectsACorrectedCopyOnceMore) {
  setRate(0, "ax", 0.1);
  setRate(1, "d12", 0.02);
  QmReconsTensor once;
  ASSERT_TRUE(tensor_.BuildCorrectedTensor(30.0, table_, once));
  ASSERT_TRUE(once.BuildCorrectedTensor(30.0, table_, corrected_));  // the temperatures stayed, so the step is the same
  const auto P = projectionOf(moved(cameras_, 0, rates_[0], 20.0L));
  for (int i = 0; i < 3; ++i) EXPECT_THAT(corrected_.projections[0][i][0], Near(static_cast<double>(P[i][0]), 1e-9));
  EXPECT_NE(corrected_.cameraLocations[1][0], once.cameraLocations[1][0]);
}

TEST_F(CompensationTest, FailsAtAProjectionThatCannotBeDecomposedWithTheCamerasBeforeItCorrected) {
  setRate(0, "ax", 0.1);
  setRate(1, "ax", 0.1);
  setRate(2, "ax", 0.1);
  for (int bad = 0; bad < 3; ++bad) {
    QmReconsTensor broken(tensor_);
    for (double& value : broken.projections[bad][2]) value = 0.0;
    const RecordingLog log;
    EXPECT_FALSE(broken.BuildCorrectedTensor(33.0, table_, corrected_));
    EXPECT_THAT(log.told(),
                Contains(Line(5, kModule, "Failed decomposing tensor projection for tensor compensation")).Times(1));
    for (int i = 0; i < 3; ++i) {
      const bool changed =
          std::memcmp(corrected_.projections[i], broken.projections[i], sizeof(broken.projections[i])) != 0;
      EXPECT_EQ(changed, i < bad);
    }
  }
}

TEST_F(CompensationTest, FailsAtAProjectionWithZeroAtItsLastEntry) {
  QmReconsTensor broken(tensor_);
  const double P[4][4] = {{1000, 0, 500, 10}, {0, 1000, 400, 20}, {0, 0, 1, 0}, {}};
  std::memcpy(broken.projections[1], P, sizeof(P));
  const RecordingLog log;
  EXPECT_FALSE(broken.BuildCorrectedTensor(33.0, table_, corrected_));
  EXPECT_THAT(log.told(), Contains(Line(5, kModule, "Invalid Proj matrix value - dividing by zero")).Times(1));
  EXPECT_THAT(corrected_.projections[0][2][3], Near(1.0, 1e-15));
  EXPECT_EQ(corrected_.projections[1][2][3], 0.0);
  EXPECT_EQ(std::memcmp(corrected_.projectionsInLutFrame[1], broken.projectionsInLutFrame[1], sizeof(P)), 0);
  EXPECT_EQ(std::memcmp(corrected_.projections[2], broken.projections[2], sizeof(P)), 0);
}

TEST_F(CompensationTest, DividesByAZeroInTheLutFrameAllTheSame) {
  std::memset(tensor_.lutFrameTransform, 0, sizeof(tensor_.lutFrameTransform));
  EXPECT_TRUE(tensor_.BuildCorrectedTensor(33.0, table_, corrected_));
  EXPECT_TRUE(std::isnan(corrected_.projectionsInLutFrame[0][0][0]));
}

TEST_F(CompensationTest, BuildsSeveralCopiesAtOnceOnThreads) {
  setRate(0, "ax", 0.1);
  setRate(1, "d12", 0.02);
  setRate(2, "rz", 0.2);
  ASSERT_TRUE(tensor_.BuildCorrectedTensor(33.0, table_, corrected_));
  std::vector<std::string> differences(4, "not run");
  std::vector<std::thread> threads;
  for (std::string& difference : differences) {
    threads.emplace_back([&] {
      QmBlockCorrectionParameters table = table_;
      for (int n = 0; n < 20; ++n) {
        QmReconsTensor copy;
        const bool built = tensor_.BuildCorrectedTensor(33.0, table, copy);
        difference = built ? differingFields(copy, corrected_) : "not built";
        if (!difference.empty()) return;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(differences, ::testing::Each(""));
}

TEST_F(CompensationTest, BringsTheDriftOfAHeadDownToRounding) {
  // The head is known at 20 degrees; at 38 each camera has another focal length, principal point, attitude and place.
  auto random = testRandom();
  for (int camera = 0; camera < 3; ++camera) {
    for (const char* name : {"ax", "ay"}) setRate(camera, name, uniform(random, 0.02, 0.06));
    for (const char* name : {"xp", "yp"}) setRate(camera, name, uniform(random, -0.05, 0.05));
    for (const char* name : {"rx", "ry", "rz"}) setRate(camera, name, uniform(random, -5e-4, 5e-4));
    setRate(camera, "d12", uniform(random, 0.001, 0.005));
  }
  ASSERT_TRUE(tensor_.BuildCorrectedTensor(38.0, table_, corrected_));
  double worstBefore = 0.0;
  double worstAfter = 0.0;
  for (int n = 0; n < 500; ++n) {
    const Vec3 point = head_.randomPoint(random);
    for (int camera = 0; camera < 3; ++camera) {
      const auto P = projectionOf(moved(cameras_, camera, rates_[camera], 18.0L));
      Real uvw[3];
      for (int i = 0; i < 3; ++i) uvw[i] = P[i][0] * point[0] + P[i][1] * point[1] + P[i][2] * point[2] + P[i][3];
      const double truth[2] = {static_cast<double>(uvw[0] / uvw[2]), static_cast<double>(uvw[1] / uvw[2])};
      for (const QmReconsTensor* tensor : {&tensor_, &corrected_}) {
        double pixel[2];
        ASSERT_EQ(qmRTProjectPointtoImage(*tensor, point.data(), camera, PROJECT_PINHOLE, pixel), 1);
        double& worst = tensor == &tensor_ ? worstBefore : worstAfter;
        worst = std::max(worst, std::hypot(pixel[0] - truth[0], pixel[1] - truth[1]));
      }
    }
  }
  EXPECT_GT(worstBefore, 0.5);
  EXPECT_LT(worstAfter, 1e-7);
}

}  // namespace
