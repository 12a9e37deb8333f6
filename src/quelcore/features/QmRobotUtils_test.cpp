#include "quelcore/features/QmRobotUtils.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "testing/FailingNew.h"
#include "testing/Numbers.h"

namespace {

using quel::testing::SameBits;
using quel::testing::testRandom;
using quel::testing::uniform;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Joints = std::vector<double>;

std::vector<Joints> conjugates(const Joints& joints, double low4, double high4, double low6, double high6) {
  std::vector<Joints> result;
  EXPECT_TRUE(QmRobotUtils::conjugate6Joints(joints, low4, high4, low6, high6, result));
  return result;
}

// --- Forward kinematics of an arm with a spherical wrist -------------------------------------------------------------

struct Pose {
  double rotation[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  double position[3] = {};

  /// Turns about the pose's own z (axis 2) or y (axis 1), after which it moves along its own z.
  void turn(int axis, double degrees, double along) {
    const double c = std::cos(degrees * std::numbers::pi / 180), s = std::sin(degrees * std::numbers::pi / 180);
    const int p = axis == 2 ? 0 : 2;
    const int q = axis == 2 ? 1 : 0;
    for (auto& row : rotation) {
      const double x = row[p], y = row[q];
      row[p] = c * x + s * y;
      row[q] = c * y - s * x;
    }
    for (int i = 0; i < 3; ++i) position[i] += along * rotation[i][2];
  }

  double distance(const Pose& other) const {
    double most = 0;
    for (int i = 0; i < 3; ++i) {
      most = std::max(most, std::abs(position[i] - other.position[i]));
      for (int j = 0; j < 3; ++j) most = std::max(most, std::abs(rotation[i][j] - other.rotation[i][j]));
    }
    return most;
  }
};

// The wrist's three axes meet in a point: nothing moves along between them; the tool stands before the flange.
Pose toolPose(const Joints& joints) {
  Pose pose;
  pose.turn(2, joints[0], 0.4);
  pose.turn(1, joints[1], 0.6);
  pose.turn(1, joints[2], 0.5);
  pose.turn(2, joints[3], 0.0);
  pose.turn(1, joints[4], 0.0);
  pose.turn(2, joints[5], 0.2);
  return pose;
}

Joints withWrist(Joints joints, double j4, double j5, double j6) {
  joints[3] = j4;
  joints[4] = j5;
  joints[5] = j6;
  return joints;
}

/// All half turns of joints 4 and 6 within one and a half circles, with joint 5 as it is or turned over, that lie in
/// range and reach the pose, but for the joints themselves.
std::vector<Joints> bruteForce(const Joints& joints, double low4, double high4, double low6, double high6) {
  std::vector<Joints> found;
  const Pose pose = toolPose(joints);
  for (int k = -3; k <= 3; ++k) {
    for (int m = -3; m <= 3; ++m) {
      for (const double sign : {1.0, -1.0}) {
        const Joints other = withWrist(joints, joints[3] + 180 * k, sign * joints[4], joints[5] + 180 * m);
        if (other[3] < low4 || other[3] > high4 || other[5] < low6 || other[5] > high6) continue;
        if (other != joints && toolPose(other).distance(pose) < 1e-9) found.push_back(other);
      }
    }
  }
  std::sort(found.begin(), found.end());
  return found;
}

TEST(QmRobotUtils, ListsAllWristsOfTheSamePoseAndNoOther) {
  auto random = testRandom();
  for (int round = 0; round < 400; ++round) {
    Joints joints(6);
    for (double& joint : joints) joint = std::round(uniform(random, -179, 179));  // Whole: sums are exact.
    joints[4] = std::round(uniform(random, 5, 170)) * (round % 2 == 0 ? 1 : -1);
    const double low4 = uniform(random, -600, 0), high4 = uniform(random, 0, 600);
    const double low6 = uniform(random, -600, 0), high6 = uniform(random, 0, 600);
    std::vector<Joints> listed = conjugates(joints, low4, high4, low6, high6);
    for (const Joints& other : listed) EXPECT_LT(toolPose(other).distance(toolPose(joints)), 1e-12);
    std::sort(listed.begin(), listed.end());
    EXPECT_EQ(listed, bruteForce(joints, low4, high4, low6, high6));
  }
}

TEST(QmRobotUtils, ListsFullTurnsThenFlipsEachInRisingOrder) {
  const Joints joints = {0, 0, 0, 10, 20, 30};
  const std::vector<Joints> listed = conjugates(joints, -400, 400, -400, 400);
  const std::array<std::array<double, 3>, 12> expected = {{{-350, 20, -330},
                                                           {-350, 20, 30},
                                                           {-350, 20, 390},
                                                           {10, 20, -330},
                                                           {10, 20, 390},
                                                           {370, 20, -330},
                                                           {370, 20, 30},
                                                           {370, 20, 390},
                                                           {-170, -20, -150},
                                                           {-170, -20, 210},
                                                           {190, -20, -150},
                                                           {190, -20, 210}}};
  ASSERT_THAT(listed, SizeIs(12));
  for (std::size_t i = 0; i < 12; ++i) {
    EXPECT_EQ(listed[i], withWrist(joints, expected[i][0], expected[i][1], expected[i][2])) << i;
  }
}

TEST(QmRobotUtils, TakesTheEndsOfTheLimitsForInRange) {
  EXPECT_THAT(conjugates({0, 0, 0, 10, 20, 30}, 10, 10, 30, 30), IsEmpty());
  EXPECT_THAT(conjugates({0, 0, 0, 10, 20, 30}, 10, 370, 30, 30), ElementsAre(ElementsAre(0, 0, 0, 370, 20, 30)));
  EXPECT_THAT(conjugates({0, 0, 0, 10, 20, 30}, -170, -170, 210, 210),
              ElementsAre(ElementsAre(0, 0, 0, -170, -20, 210)));
  EXPECT_THAT(conjugates({0, 0, 0, 10, 20, 30}, 500, -500, -500, 500), IsEmpty());
}

TEST(QmRobotUtils, ReachesFourFlipsOfEachJoint) {
  const std::vector<Joints> listed = conjugates({0, 0, 0, 10, 20, 30}, -1000, 1000, -1000, 1000);
  ASSERT_THAT(listed, SizeIs(8 + 16));
  EXPECT_THAT(listed[8], ElementsAre(0, 0, 0, -530, -20, -510));
  EXPECT_THAT(listed[23], ElementsAre(0, 0, 0, 550, -20, 570));
}

TEST(QmRobotUtils, AddsTheHalfTurnFirst) {
  const double j4 = 0.1 + 1e-14;
  const std::vector<Joints> listed = conjugates({0, 0, 0, j4, 20, j4}, -1000, 1000, -1000, 1000);
  EXPECT_THAT(listed[8][3], SameBits((j4 + 180.0) + 360.0 * -2));
  EXPECT_THAT(listed[23][5], SameBits((j4 + 180.0) + 360.0));
  EXPECT_THAT(listed[0][3], SameBits(j4 - 360.0));
}

TEST(QmRobotUtils, KeepsTheFlipOfAStraightWrist) {
  const std::vector<Joints> listed = conjugates({0, 0, 0, 0, 0.0, 0}, 100, 200, 100, 200);
  ASSERT_THAT(listed, SizeIs(1));
  EXPECT_THAT(listed[0][4], SameBits(-0.0));
}

TEST(QmRobotUtils, CopiesTheOtherJointsAndWhatStandsBehind) {
  EXPECT_THAT(conjugates({1, 2, 3, 10, 20, 30, 7, 8}, -170, -170, 210, 210),
              ElementsAre(ElementsAre(1, 2, 3, -170, -20, 210, 7, 8)));
}

TEST(QmRobotUtils, AppendsToWhatIsThere) {
  std::vector<Joints> result = {{5}};
  const Joints joints = {0, 0, 0, 10, 20, 30};
  EXPECT_TRUE(QmRobotUtils::conjugate6Joints(joints, -400, 400, -400, 400, result));
  EXPECT_TRUE(QmRobotUtils::conjugate6Joints(joints, -400, 400, -400, 400, result));
  ASSERT_THAT(result, SizeIs(25));
  EXPECT_THAT(result[0], ElementsAre(5));
  EXPECT_EQ(result[1], result[13]);
}

TEST(QmRobotUtils, TakesJointsThatAreThemselvesInTheResult) {
  std::vector<Joints> result = {{0, 0, 0, 10, 20, 30}};
  EXPECT_TRUE(QmRobotUtils::conjugate6Joints(result[0], -400, 400, -400, 400, result));
  result.erase(result.begin());
  EXPECT_EQ(result, conjugates({0, 0, 0, 10, 20, 30}, -400, 400, -400, 400));
}

TEST(QmRobotUtils, ListsNothingWithoutAWrist) {
  for (std::size_t count = 0; count < 6; ++count) {
    EXPECT_THAT(conjugates(Joints(count, 1.0), -400, 400, -400, 400), IsEmpty());
  }
}

TEST(QmRobotUtils, LeavesTheResultAsItWasWhenMemoryIsExhausted) {
  const Joints joints = {0, 0, 0, 10, 20, 30};
  std::vector<Joints> result(1);
  EXPECT_GT(quel::testing::failEachNew(
                [&] {
                  result.resize(1);
                  return QmRobotUtils::conjugate6Joints(joints, -400, 400, -400, 400, result);
                },
                [&](bool done, bool failed) {
                  if (done) {
                    EXPECT_FALSE(failed);
                    EXPECT_THAT(result, SizeIs(13));
                  } else {
                    EXPECT_THAT(result, SizeIs(1));
                  }
                }),
            12);
}

}  // namespace
