// Intrinsics and pose from a projection, against projections composed from known ones.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "quelcore/tensor/qmReconsTensorCore.h"
#include "testing/Canary.h"
#include "testing/Numbers.h"
#include "testing/RecordingLog.h"

namespace {

using quel::testing::BareTrace;
using quel::testing::Canary;
using quel::testing::Near;
using quel::testing::RecordingLog;
using quel::testing::testRandom;
using quel::testing::uniform;
using ::testing::ElementsAre;

constexpr const char* kModule = "qmReconsTensorCore";

struct Pose {
  double K[3][3];
  double R[3][3];
  double t[3];
};

/// A proper rotation from three angles, by products of rotations about the axes.
void makeRotation(double a, double b, double c, double R[3][3]) {
  const double X[3][3] = {{1, 0, 0}, {0, std::cos(a), -std::sin(a)}, {0, std::sin(a), std::cos(a)}};
  const double Y[3][3] = {{std::cos(b), 0, std::sin(b)}, {0, 1, 0}, {-std::sin(b), 0, std::cos(b)}};
  const double Z[3][3] = {{std::cos(c), -std::sin(c), 0}, {std::sin(c), std::cos(c), 0}, {0, 0, 1}};
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      R[i][j] = 0.0;
      for (int k = 0; k < 3; ++k) {
        for (int l = 0; l < 3; ++l) R[i][j] += Z[i][k] * Y[k][l] * X[l][j];
      }
    }
  }
}

Pose randomPose(std::mt19937_64& random) {
  Pose pose = {{{uniform(random, 500, 9000), uniform(random, -50, 50), uniform(random, 200, 2000)},
                {0, uniform(random, 500, 9000), uniform(random, 200, 2000)},
                {0, 0, 1}},
               {},
               {uniform(random, -500, 500), uniform(random, -500, 500), uniform(random, 200, 2000)}};
  makeRotation(uniform(random, -3, 3), uniform(random, -1.5, 1.5), uniform(random, -3, 3), pose.R);
  return pose;
}

/// scale * K [R | t], row 3 zero.
void compose(const Pose& pose, double scale, double P[4][4]) {
  std::memset(P, 0, 16 * sizeof(double));
  for (int i = 0; i < 3; ++i) {
    for (int k = 0; k < 3; ++k) {
      for (int j = 0; j < 3; ++j) P[i][j] += scale * pose.K[i][k] * pose.R[k][j];
      P[i][3] += scale * pose.K[i][k] * pose.t[k];
    }
  }
}

struct Decomposed {
  double K[3][3];
  double Kinv[3][3];
  double R[3][3];
  double t[3];
};

TEST(qmRTdecomposeProj, GivesBackTheIntrinsicsAndThePoseWhateverTheScale) {
  auto random = testRandom();
  for (int n = 0; n < 2000; ++n) {
    const Pose truth = randomPose(random);
    for (const double scale : {1.0, 1e-3, 250.0, 1e-100, 1e100}) {
      double P[4][4];
      compose(truth, scale, P);
      Decomposed found;
      ASSERT_EQ(qmRTdecomposeProj(P, found.K, found.Kinv, found.R, found.t), 1);
      for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
          EXPECT_THAT(found.K[i][j], Near(truth.K[i][j], 2e-7));
          EXPECT_THAT(found.R[i][j], Near(truth.R[i][j], 1e-9));
        }
        EXPECT_THAT(found.t[i], Near(truth.t[i], 1e-6));
      }
    }
  }
}

TEST(qmRTdecomposeProj, RebuildsTheProjectionUpToItsScale) {
  auto random = testRandom();
  for (int n = 0; n < 500; ++n) {
    double P[4][4];
    compose(randomPose(random), 1.0, P);
    Decomposed found;
    ASSERT_EQ(qmRTdecomposeProj(P, found.K, found.Kinv, found.R, found.t), 1);
    double rebuilt[4][4];
    Pose pose;
    std::memcpy(pose.K, found.K, sizeof(pose.K));
    std::memcpy(pose.R, found.R, sizeof(pose.R));
    std::memcpy(pose.t, found.t, sizeof(pose.t));
    compose(pose, 1.0, rebuilt);
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 4; ++j) EXPECT_THAT(rebuilt[i][j], Near(P[i][j], 1e-6));
    }
  }
}

TEST(qmRTdecomposeProj, GivesAnInverseOfTheIntrinsics) {
  auto random = testRandom();
  double P[4][4];
  compose(randomPose(random), 1.0, P);
  Decomposed found;
  ASSERT_EQ(qmRTdecomposeProj(P, found.K, found.Kinv, found.R, found.t), 1);
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      double sum = 0.0;
      for (int k = 0; k < 3; ++k) sum += found.K[i][k] * found.Kinv[k][j];
      EXPECT_THAT(sum, Near(i == j ? 1.0 : 0.0, 1e-12));
    }
  }
}

TEST(qmRTdecomposeProj, KeepsTheIntrinsicsAndTurnsTheRotationOfAMirroredProjection) {
  auto random = testRandom();
  for (int n = 0; n < 200; ++n) {
    const Pose truth = randomPose(random);
    double P[4][4];
    double mirrored[4][4];
    compose(truth, 1.0, P);
    compose(truth, -1.0, mirrored);
    Decomposed a;
    Decomposed b;
    ASSERT_EQ(qmRTdecomposeProj(P, a.K, a.Kinv, a.R, a.t), 1);
    ASSERT_EQ(qmRTdecomposeProj(mirrored, b.K, b.Kinv, b.R, b.t), 1);
    EXPECT_EQ(std::memcmp(a.K, b.K, sizeof(a.K)), 0);
    EXPECT_EQ(std::memcmp(a.R, b.R, sizeof(a.R)), 0);
    EXPECT_EQ(std::memcmp(a.t, b.t, sizeof(a.t)), 0);
  }
}

TEST(qmRTdecomposeProj, FailsForAZeroThirdRow) {
  const double P[4][4] = {{1, 2, 3, 4}, {5, 6, 8, 8}, {0, 0, 0, 1}, {}};
  Decomposed found;
  const RecordingLog log;
  EXPECT_EQ(qmRTdecomposeProj(P, found.K, found.Kinv, found.R, found.t), 0);
  EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
}

TEST(qmRTdecomposeProj, FailsWhenASquareComesOutNegative) {
  // Rows 1 and 2 parallel: ay^2 is 0 but for rounding, which the numbers are chosen to push below.
  bool seen = false;
  auto random = testRandom();
  for (int n = 0; n < 1000 && !seen; ++n) {
    const double row[3] = {uniform(random, -1, 1), uniform(random, -1, 1), uniform(random, -1, 1)};
    const double s = uniform(random, 1, 2);
    const double S22 = (row[0] * row[0] + row[1] * row[1]) + row[2] * row[2];
    const double r1[3] = {s * row[0], s * row[1], s * row[2]};
    const double S11 = (r1[0] * r1[0] + r1[1] * r1[1]) + r1[2] * r1[2];
    const double S21 = (row[0] * r1[0] + row[1] * r1[1]) + row[2] * r1[2];
    if (!(S11 / S22 - (S21 / S22) * (S21 / S22) < 0.0)) continue;
    seen = true;
    const double P[4][4] = {{1, 2, 5, 4}, {r1[0], r1[1], r1[2], 8}, {row[0], row[1], row[2], 1}, {}};
    Decomposed found;
    const RecordingLog log;
    EXPECT_EQ(qmRTdecomposeProj(P, found.K, found.Kinv, found.R, found.t), 0);
    EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
  }
  EXPECT_TRUE(seen);
}

TEST(qmRTdecomposeProj, FailsWhenTheSecondSquareComesOutNegative) {
  // Row 0 a combination of the others: ax^2 is 0 but for rounding.
  bool seen = false;
  auto random = testRandom();
  for (int n = 0; n < 5000 && !seen; ++n) {
    double P[4][4] = {};
    for (int j = 0; j < 4; ++j) {
      P[1][j] = uniform(random, -1, 1);
      P[2][j] = uniform(random, -1, 1);
    }
    const double s = uniform(random, 1, 2);
    for (int j = 0; j < 4; ++j) P[0][j] = s * P[1][j] + P[2][j];
    Decomposed found;
    const RecordingLog log;
    if (qmRTdecomposeProj(P, found.K, found.Kinv, found.R, found.t) != 0) continue;
    seen = true;
    EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
  }
  EXPECT_TRUE(seen);
}

TEST(qmRTdecomposeProj, FailsWhenTheIntrinsicsHaveNoInverse) {
  const double noY[4][4] = {{1, 0, 0, 0}, {0, 0, 2, 0}, {0, 0, 1, 0}, {}};  // ay = 0: skew is 0 / 0
  const double noX[4][4] = {{0, 0, 3, 0}, {0, 1, 2, 0}, {0, 0, 1, 0}, {}};  // ax = 0
  const double notFinite[4][4] = {{std::numeric_limits<double>::infinity(), 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {}};
  for (const auto* P : {noY, noX, notFinite}) {
    Decomposed found;
    const RecordingLog log;
    EXPECT_EQ(qmRTdecomposeProj(P, found.K, found.Kinv, found.R, found.t), 0);
    EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
  }
}

TEST(qmRTdecomposeProj, WritesTheIntrinsicsAloneWhenTheyHaveNoInverse) {
  const double noX[4][4] = {{0, 0, 3, 0}, {0, 1, 2, 0}, {0, 0, 1, 0}, {}};
  double K[3][3];
  Canary<9> Kinv;
  Canary<9> R;
  Canary<3> t;
  EXPECT_EQ(qmRTdecomposeProj(noX, K, reinterpret_cast<double(*)[3]>(&*Kinv), reinterpret_cast<double(*)[3]>(&*R), t),
            0);
  EXPECT_THAT(K[0], ElementsAre(0, 0, 3));
  EXPECT_THAT(K[1], ElementsAre(0, 1, 2));
  EXPECT_THAT(K[2], ElementsAre(0, 0, 1));
  EXPECT_TRUE(Kinv.untouched());
  EXPECT_TRUE(R.untouched());
  EXPECT_TRUE(t.untouched());
}

TEST(qmRTdecomposeProj, RefusesNullArguments) {
  Decomposed found;
  const double P[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {}};
  EXPECT_EQ(qmRTdecomposeProj(nullptr, found.K, found.Kinv, found.R, found.t), 0);
  EXPECT_EQ(qmRTdecomposeProj(P, nullptr, found.Kinv, found.R, found.t), 0);
  EXPECT_EQ(qmRTdecomposeProj(P, found.K, nullptr, found.R, found.t), 0);
  EXPECT_EQ(qmRTdecomposeProj(P, found.K, found.Kinv, nullptr, found.t), 0);
  EXPECT_EQ(qmRTdecomposeProj(P, found.K, found.Kinv, found.R, nullptr), 0);
}

}  // namespace
