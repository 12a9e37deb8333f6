#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>

#include "quelplatform/qmMath/Wide_fixture.h"
#include "quelplatform/qmMath/qmMath.h"
#include "testing/Numbers.h"

namespace {

using quel::testing::SameBits;
using quel::testing::testRandom;
using quel::testing::uniform;
using quel::testing::Wide;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

qmMathTransform randomTransform(std::mt19937_64& random) {
  qmMathTransform t;
  for (auto& row : t.rotation) {
    for (double& entry : row) entry = uniform(random, -1, 1);
  }
  for (double& entry : t.translation) entry = uniform(random, -1000, 1000);
  return t;
}

// A rotation from a random unit quaternion.
qmMathTransform randomRigidTransform(std::mt19937_64& random) {
  qmMathTransform t = randomTransform(random);
  double q[4], norm = 0.0;
  for (double& x : q) x = uniform(random, -1, 1), norm += x * x;
  for (double& x : q) x /= std::sqrt(norm);
  const auto [w, x, y, z] = std::to_array(q);
  const double rotation[3][3] = {{1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y)},
                                 {2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x)},
                                 {2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y)}};
  std::memcpy(t.rotation, rotation, sizeof rotation);
  return t;
}

TEST(qmMathTransformVec3, AgreesWithExtendedPrecision) {
  auto random = testRandom();
  for (int n = 0; n < 10000; ++n) {
    const qmMathTransform t = randomTransform(random);
    const double p[3] = {uniform(random, -1e3, 1e3), uniform(random, -1e3, 1e3), uniform(random, -1e3, 1e3)};
    double out[3];
    ASSERT_EQ(qmMathTransformVec3(&t, p, out), 1);
    for (int i = 0; i < 3; ++i) {
      Wide truth = t.translation[i];
      for (int j = 0; j < 3; ++j) truth += Wide(t.rotation[i][j]) * Wide(p[j]);
      ASSERT_NEAR(Wide(out[i] - truth).get_d(), 0.0, 4 * 0x1p-53 * 4000);
    }
  }
}

TEST(qmMathTransformVec3, SumsFromLeftToRightAndAddsTheTranslationLast) {
  // Each partial sum absorbs the small term in any other order.
  const qmMathTransform t = {{{1, 1, 1}, {1, 1, 1}, {1, 1, 1}}, {1, -1e16, 0}};
  const double p[3] = {1e16, -1e16, 1};
  double out[3];
  ASSERT_EQ(qmMathTransformVec3(&t, p, out), 1);
  EXPECT_EQ(out[0], 2.0);
  EXPECT_EQ(out[1], 1.0 - 1e16);
  EXPECT_EQ(out[2], 1.0);
}

TEST(qmMathTransformVec3, MayOverwriteItsInput) {
  const qmMathTransform t = {{{0, -1, 0}, {1, 0, 0}, {0, 0, 1}}, {10, 20, 30}};
  double p[3] = {1, 2, 3};
  ASSERT_EQ(qmMathTransformVec3(&t, p, p), 1);
  EXPECT_THAT(p, testing::ElementsAre(8, 21, 33));
}

TEST(qmMathTransformVec3, FailsWithTheResultWrittenWhenItIsNotFinite) {
  const qmMathTransform t = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {1, 2, 3}};
  for (int i = 0; i < 3; ++i) {
    double p[3] = {1, 1, 1}, out[3] = {0, 0, 0};
    p[i] = kNaN;
    EXPECT_EQ(qmMathTransformVec3(&t, p, out), 0);
    EXPECT_TRUE(std::isnan(out[i]));
  }
  const double huge[3] = {1, 1, 1e308};
  const qmMathTransform twice = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 2}}, {1, 2, 3}};
  double out[3];
  EXPECT_EQ(qmMathTransformVec3(&twice, huge, out), 0);
  EXPECT_THAT(out, testing::ElementsAre(2, 3, kInfinity));
}

TEST(qmMathTransformVecAF, GivesTheBitsOfTheDoubleFormForTheSamePoint) {
  auto random = testRandom();
  for (int n = 0; n < 10000; ++n) {
    const qmMathTransform t = randomTransform(random);
    float p[3];
    for (float& x : p) x = static_cast<float>(uniform(random, -1e3, 1e3));
    const double wide[3] = {static_cast<double>(p[0]), static_cast<double>(p[1]), static_cast<double>(p[2])};
    double out[3], expected[3];
    ASSERT_EQ(qmMathTransformVecAF(&t, p, out), 1);
    ASSERT_EQ(qmMathTransformVec3(&t, wide, expected), 1);
    for (int i = 0; i < 3; ++i) ASSERT_THAT(out[i], SameBits(expected[i]));
  }
  const float bad[3] = {0, std::numeric_limits<float>::infinity(), 0};
  const qmMathTransform t = randomTransform(random);
  double out[3];
  EXPECT_EQ(qmMathTransformVecAF(&t, bad, out), 0);
}

TEST(qmMathTransformInv, TakesTransformedPointsBack) {
  auto random = testRandom();
  for (int n = 0; n < 10000; ++n) {
    const qmMathTransform t = randomRigidTransform(random);
    qmMathTransform inverse;
    ASSERT_EQ(qmMathTransformInv(&t, &inverse), 1);
    double p[3] = {uniform(random, -1e3, 1e3), uniform(random, -1e3, 1e3), uniform(random, -1e3, 1e3)}, there[3],
           back[3];
    qmMathTransformVec3(&t, p, there);
    qmMathTransformVec3(&inverse, there, back);
    for (int i = 0; i < 3; ++i) ASSERT_NEAR(back[i], p[i], 1e-11);
  }
}

TEST(qmMathTransformInv, IsTheRigidFormulaEvenForAMatrixThatIsNotRigid) {
  const qmMathTransform t = {{{2, 3, 5}, {7, 11, 13}, {17, 19, 23}}, {1, 10, 100}};
  qmMathTransform inverse;
  ASSERT_EQ(qmMathTransformInv(&t, &inverse), 1);
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) EXPECT_EQ(inverse.rotation[i][j], t.rotation[j][i]);
  }
  EXPECT_THAT(inverse.translation, testing::ElementsAre(-1772, -2013, -2435));
}

TEST(qmMathTransformInv, MayOverwriteItsInputAndFailsForEntriesThatAreNotFinite) {
  qmMathTransform t = {{{0, -1, 0}, {1, 0, 0}, {0, 0, 1}}, {10, 20, 30}};
  ASSERT_EQ(qmMathTransformInv(&t, &t), 1);
  EXPECT_THAT(t.rotation[0], testing::ElementsAre(0, 1, 0));
  EXPECT_THAT(t.translation, testing::ElementsAre(-20, 10, -30));
  t.rotation[2][0] = kNaN;
  qmMathTransform inverse;
  EXPECT_EQ(qmMathTransformInv(&t, &inverse), 0);
  EXPECT_TRUE(std::isnan(inverse.rotation[0][2]));
}

TEST(qmMathTransformMultTransform, TransformsByTheSecondFirst) {
  auto random = testRandom();
  for (int n = 0; n < 1000; ++n) {
    const qmMathTransform a = randomTransform(random);
    const qmMathTransform b = randomTransform(random);
    qmMathTransform product;
    ASSERT_EQ(qmMathTransformMultTransform(&a, &b, &product), 1);
    const double p[3] = {uniform(random, -1, 1), uniform(random, -1, 1), uniform(random, -1, 1)};
    double once[3], twice[3];
    qmMathTransformVec3(&product, p, once);
    qmMathTransformVec3(&b, p, twice);
    qmMathTransformVec3(&a, twice, twice);
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(once[i], twice[i], 4e-12);
  }
}

TEST(qmMathTransformMultTransform, HasTheBitsOfSumsFromTheLeft) {
  auto random = testRandom();
  const qmMathTransform a = randomTransform(random);
  const qmMathTransform b = randomTransform(random);
  qmMathTransform product;
  qmMathTransformMultTransform(&a, &b, &product);
  for (int i = 0; i < 3; ++i) {
    const double* r = a.rotation[i];
    for (int j = 0; j < 3; ++j) {
      EXPECT_THAT(product.rotation[i][j],
                  SameBits((r[0] * b.rotation[0][j] + r[1] * b.rotation[1][j]) + r[2] * b.rotation[2][j]));
    }
    const double* t = b.translation;
    EXPECT_THAT(product.translation[i], SameBits(((r[0] * t[0] + r[1] * t[1]) + r[2] * t[2]) + a.translation[i]));
  }
}

TEST(qmMathTransformMultTransform, MayOverwriteEitherFactor) {
  auto random = testRandom();
  const qmMathTransform a = randomTransform(random);
  const qmMathTransform b = randomTransform(random);
  qmMathTransform product, first = a, second = b;
  qmMathTransformMultTransform(&a, &b, &product);
  qmMathTransformMultTransform(&first, &b, &first);
  qmMathTransformMultTransform(&a, &second, &second);
  EXPECT_EQ(std::memcmp(&first, &product, sizeof product), 0);
  EXPECT_EQ(std::memcmp(&second, &product, sizeof product), 0);
}

TEST(qmMathTransformMultTransform, FailsWithTheResultWrittenWhenItIsNotFinite) {
  qmMathTransform a, b, product;
  qmMathIdTransformCreate(&a);
  b = a;
  b.translation[1] = kInfinity;
  EXPECT_EQ(qmMathTransformMultTransform(&a, &b, &product), 0);
  EXPECT_EQ(product.translation[1], kInfinity);
}

TEST(qmMathTransformFromMat4, ReadsRotationAndTranslationAndNothingElse) {
  const double matrix[4][4] = {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}, {kNaN, kNaN, kNaN, kNaN}};
  qmMathTransform t;
  ASSERT_EQ(qmMathTransformFromMat4(matrix, &t), 1);
  EXPECT_THAT(t.rotation[0], testing::ElementsAre(1, 2, 3));
  EXPECT_THAT(t.rotation[1], testing::ElementsAre(5, 6, 7));
  EXPECT_THAT(t.rotation[2], testing::ElementsAre(9, 10, 11));
  EXPECT_THAT(t.translation, testing::ElementsAre(4, 8, 12));
}

TEST(qmMathTransformFromMat4, FailsForEachEntryThatIsNotFinite) {
  for (int n = 0; n < 12; ++n) {
    double matrix[4][4] = {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}, {0, 0, 0, 1}};
    matrix[n / 4][n % 4] = kInfinity;
    qmMathTransform t;
    EXPECT_EQ(qmMathTransformFromMat4(matrix, &t), 0) << n;
  }
}

TEST(qmMathTransform2Mat4, CompletesTheTransformByTheLastRow) {
  const qmMathTransform t = {{{1, 2, 3}, {5, 6, 7}, {9, 10, 11}}, {4, 8, 12}};
  double matrix[4][4];
  qmMathTransform2Mat4(&t, matrix);
  EXPECT_THAT(matrix[0], testing::ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(matrix[1], testing::ElementsAre(5, 6, 7, 8));
  EXPECT_THAT(matrix[2], testing::ElementsAre(9, 10, 11, 12));
  EXPECT_THAT(matrix[3], testing::ElementsAre(0, 0, 0, 1));
}

TEST(qmMathIdTransformCreate, MovesNoPoint) {
  qmMathTransform t;
  qmMathIdTransformCreate(&t);
  const double p[3] = {1.5, -2.25, 1e-300};
  double out[3];
  ASSERT_EQ(qmMathTransformVec3(&t, p, out), 1);
  EXPECT_THAT(out, testing::ElementsAreArray(p));
}

// Turns (p[i], p[j]) by `angle`, from axis i towards axis j, in extended precision.
void turn(long double p[3], int i, int j, double angle) {
  const long double s = std::sin(static_cast<long double>(angle)), c = std::cos(static_cast<long double>(angle));
  const long double x = p[i], y = p[j];
  p[i] = c * x - s * y;
  p[j] = s * x + c * y;
}

TEST(qmMathRotationMatCreate, TurnsAboutTheFixedAxesXThenYThenZ) {
  auto random = testRandom();
  for (int n = 0; n < 10000; ++n) {
    const double ax = uniform(random, -4, 4), ay = uniform(random, -4, 4), az = uniform(random, -4, 4);
    double rotation[3][3];
    ASSERT_EQ(qmMathRotationMatCreate(ax, ay, az, rotation), 1);
    for (int column = 0; column < 3; ++column) {
      long double p[3] = {};
      p[column] = 1;
      turn(p, 1, 2, ax);
      turn(p, 2, 0, ay);
      turn(p, 0, 1, az);
      for (int row = 0; row < 3; ++row) {
        const long double computed = static_cast<long double>(rotation[row][column]);
        ASSERT_NEAR(static_cast<double>(p[row] - computed), 0, 0x1p-51);
      }
    }
  }
}

TEST(qmMathRotationMatCreate, HasTheBitsOfTheProductFromTheLeft) {
  auto random = testRandom();
  for (int n = 0; n < 10000; ++n) {
    const double ax = uniform(random, -4, 4), ay = uniform(random, -4, 4), az = uniform(random, -4, 4);
    const double x[4][4] = {{1, 0, 0, 0}, {0, std::cos(ax), -std::sin(ax), 0}, {0, std::sin(ax), std::cos(ax), 0}, {}};
    const double y[4][4] = {{std::cos(ay), 0, std::sin(ay), 0}, {0, 1, 0, 0}, {-std::sin(ay), 0, std::cos(ay), 0}, {}};
    const double z[4][4] = {{std::cos(az), -std::sin(az), 0, 0}, {std::sin(az), std::cos(az), 0, 0}, {0, 0, 1, 0}, {}};
    double zy[4][4], product[4][4], rotation[3][3];
    ASSERT_EQ(qmMathMat4MultMat4(z, y, zy), 1);
    ASSERT_EQ(qmMathMat4MultMat4(zy, x, product), 1);
    ASSERT_EQ(qmMathRotationMatCreate(ax, ay, az, rotation), 1);
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) ASSERT_EQ(rotation[i][j], product[i][j]);
    }
  }
}

TEST(qmMathRotationMatCreate, GivesTheIdentityForNoRotation) {
  double rotation[3][3];
  ASSERT_EQ(qmMathRotationMatCreate(0, 0, 0, rotation), 1);
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) EXPECT_EQ(rotation[i][j], i == j ? 1.0 : 0.0);
  }
}

TEST(qmMathRotationMatCreate, FailsForAnglesThatAreNotFiniteWithTheResultWritten) {
  for (const double bad : {kNaN, kInfinity, -kInfinity}) {
    double rotation[3][3] = {};
    EXPECT_EQ(qmMathRotationMatCreate(bad, 0, 0, rotation), 0);
    EXPECT_TRUE(std::isnan(rotation[2][2]));
    EXPECT_EQ(qmMathRotationMatCreate(0, bad, 0, rotation), 0);
    EXPECT_TRUE(std::isnan(rotation[2][0]));
    EXPECT_EQ(qmMathRotationMatCreate(0, 0, bad, rotation), 0);
    EXPECT_TRUE(std::isnan(rotation[0][0]));
  }
}

}  // namespace
