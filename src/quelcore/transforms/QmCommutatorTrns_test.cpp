#include "quelcore/transforms/QmCommutatorTrns.h"

#include <gtest/gtest.h>

#include <cstring>

#include "testing/Numbers.h"

namespace {

using quel::testing::testRandom;
using quel::testing::uniform;

qmMathTransform anyTransform(std::mt19937_64& random) {
  qmMathTransform t;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) t.rotation[i][j] = uniform(random, -1, 1);
    t.translation[i] = uniform(random, -10, 10);
  }
  return t;
}

bool sameBits(const qmMathTransform& a, const qmMathTransform& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

TEST(QmCommutatorTrns, IsTheIdentityOnBothSidesWhenNew) {
  const QmCommutatorTrns pair;
  qmMathTransform identity;
  qmMathIdTransformCreate(&identity);
  EXPECT_EQ(pair.getSourceID(), 0u);
  EXPECT_TRUE(sameBits(pair.getTrn(TrnPosLeft), identity));
  EXPECT_TRUE(sameBits(pair.getTrn(TrnPosRight), identity));
  EXPECT_FALSE(pair.isDirty());
  EXPECT_EQ(QmCommutatorTrns(7).getSourceID(), 7u);
}

TEST(QmCommutatorTrns, IsDirtyOnlyWhenItsSourceChanges) {
  QmCommutatorTrns pair(7);
  pair.setSourceID(7);
  EXPECT_FALSE(pair.isDirty());
  pair.setSourceID(8);
  EXPECT_TRUE(pair.isDirty());
  pair.setSourceID(8);
  EXPECT_TRUE(pair.isDirty());
  EXPECT_EQ(pair.getSourceID(), 8u);
}

TEST(QmCommutatorTrns, IsDirtyWheneverACorrectionIsSet) {
  QmCommutatorTrns pair(7);
  pair.setTrn(TrnPosLeft, pair.getTrn(TrnPosLeft));
  EXPECT_TRUE(pair.isDirty());
}

TEST(QmCommutatorTrns, KeepsItsHalvesApartAndTakesAnyOtherPlaceForTheRight) {
  auto random = testRandom();
  const qmMathTransform left = anyTransform(random);
  const qmMathTransform right = anyTransform(random);
  QmCommutatorTrns pair;
  pair.setTrn(TrnPosLeft, left);
  pair.setTrn(static_cast<TrnPos>(1000000), right);
  EXPECT_TRUE(sameBits(pair.getTrn(TrnPosLeft), left));
  EXPECT_TRUE(sameBits(pair.getTrn(TrnPosRight), right));
  EXPECT_TRUE(sameBits(pair.getTrn(static_cast<TrnPos>(-1)), right));
}

TEST(QmCommutatorTrns, CopiesAllMembers) {
  auto random = testRandom();
  QmCommutatorTrns pair(7);
  pair.setTrn(TrnPosRight, anyTransform(random));
  const QmCommutatorTrns copy(pair);
  QmCommutatorTrns assigned;
  assigned = pair;
  for (const QmCommutatorTrns* each : {&copy, static_cast<const QmCommutatorTrns*>(&assigned)}) {
    EXPECT_EQ(each->getSourceID(), 7u);
    EXPECT_TRUE(sameBits(each->getTrn(TrnPosRight), pair.getTrn(TrnPosRight)));
    EXPECT_TRUE(each->isDirty());
  }
}

TEST(QmCommutatorTrns, AppliesItsCorrectionsOnEitherSide) {
  auto random = testRandom();
  for (int round = 0; round < 1000; ++round) {
    QmCommutatorTrns pair;
    pair.setTrn(TrnPosLeft, anyTransform(random));
    pair.setTrn(TrnPosRight, anyTransform(random));
    const qmMathTransform before = anyTransform(random);
    qmMathTransform t = before;
    pair.compensateTrn(t);
    // A point goes through right, the transform and left, in this order.
    double p[3] = {uniform(random, -1, 1), uniform(random, -1, 1), uniform(random, -1, 1)};
    double q[3];
    qmMathTransformVec3(&t, p, q);
    for (const qmMathTransform* step : {&pair.getTrn(TrnPosRight), &before, &pair.getTrn(TrnPosLeft)}) {
      qmMathTransformVec3(step, p, p);
    }
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(q[i], p[i], 1e-12);
  }
}

TEST(QmCommutatorTrns, MultipliesByTheRightCorrectionFirst) {
  auto random = testRandom();
  QmCommutatorTrns pair;
  pair.setTrn(TrnPosLeft, anyTransform(random));
  pair.setTrn(TrnPosRight, anyTransform(random));
  qmMathTransform t = anyTransform(random);
  qmMathTransform expected;
  qmMathTransformMultTransform(&t, &pair.getTrn(TrnPosRight), &expected);
  qmMathTransformMultTransform(&pair.getTrn(TrnPosLeft), &expected, &expected);
  pair.compensateTrn(t);
  EXPECT_TRUE(sameBits(t, expected));
}

}  // namespace
