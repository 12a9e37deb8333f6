#include "quel/formats/Poses.h"

#include <gmock/gmock.h>

#include <cmath>
#include <numbers>
#include <random>

#include "testing/Numbers.h"

namespace quel {
namespace {

using quel::testing::testRandom;
using quel::testing::uniform;

Vec3 randomVector(std::mt19937_64& random, double size) {
  const double x = uniform(random, -size, size), y = uniform(random, -size, size), z = uniform(random, -size, size);
  return {x, y, z};
}

double differs(const Mat3& a, const Mat3& b) {
  double most = 0.0;
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t k = 0; k < 3; ++k) most = std::max(most, std::abs(a[i][k] - b[i][k]));
  }
  return most;
}

TEST(Rodrigues, TurnsAboutItsVectorByItsLength) {
  const Mat3 quarter = rotationOfRodrigues({0.0, 0.0, 0.5 * std::numbers::pi});
  const Vec3 turned = times(quarter, Vec3{1.0, 0.0, 2.0});
  EXPECT_NEAR(turned[0], 0.0, 1e-15);
  EXPECT_NEAR(turned[1], 1.0, 1e-15);
  EXPECT_NEAR(turned[2], 2.0, 1e-15);
  EXPECT_EQ(differs(rotationOfRodrigues({0, 0, 0}), {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}}), 0.0);
}

TEST(Rodrigues, ComesBackFromTheRotation) {
  std::mt19937_64 random = testRandom();
  for (int n = 0; n < 300; ++n) {
    const Mat3 rotation = rotationOfRodrigues(randomVector(random, n < 100 ? 1e-6 : 1.8));
    EXPECT_LE(differs(rotationOfRodrigues(rodriguesOf(rotation)), rotation), 1e-14);
  }
}

// (w, x, y, z) of a third of a turn about (1, 1, 1) takes x to y, y to z and z to x.
TEST(Quaternion, BeginsWithItsRealPart) {
  const Mat3 third = rotationOfQuaternion({1.0, 1.0, 1.0, 1.0});
  EXPECT_LE(differs(third, {{{0, 0, 1}, {1, 0, 0}, {0, 1, 0}}}), 1e-15);
  const auto q = quaternionOf(third);
  for (const double value : q) EXPECT_NEAR(value, 0.5, 1e-15);
}

TEST(Quaternion, ComesBackFromTheRotation) {
  std::mt19937_64 random = testRandom();
  for (int n = 0; n < 300; ++n) {
    const Mat3 rotation = rotationOfRodrigues(randomVector(random, 1.8));
    EXPECT_LE(differs(rotationOfQuaternion(quaternionOf(rotation)), rotation), 1e-14);
    EXPECT_GE(quaternionOf(rotation)[0], 0.0);
  }
}

TEST(Pose, AfterAnotherTakesPointsThroughBoth) {
  std::mt19937_64 random = testRandom();
  const Pose inner{rotationOfRodrigues(randomVector(random, 1.0)), randomVector(random, 100.0)};
  const Pose outer{rotationOfRodrigues(randomVector(random, 1.0)), randomVector(random, 100.0)};
  const Vec3 point = randomVector(random, 100.0);
  const auto through = [](const Pose& pose, const Vec3& p) {
    Vec3 q = times(pose.rotation, p);
    for (std::size_t i = 0; i < 3; ++i) q[i] += pose.translation[i];
    return q;
  };
  const Vec3 both = through(after(outer, inner), point), one = through(outer, through(inner, point));
  const Vec3 back = through(inverse(inner), through(inner, point));
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_NEAR(both[i], one[i], 1e-12);
    EXPECT_NEAR(back[i], point[i], 1e-12);
  }
}

}  // namespace
}  // namespace quel
