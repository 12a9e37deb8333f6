// The fast transform of single-precision points, bit for bit against plain sums.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "quelcore/patches/kernels/transformPoints.h"
#include "quelcore/patches/qmPatchBasicFuncs.h"
#include "testing/Numbers.h"
#include "testing/Widths.h"

namespace {

using quel::testing::awkwardNumber;
using quel::testing::SameBits;
using quel::testing::testRandom;
using quel::testing::uniform;
using ::testing::ElementsAre;

const qmMathTransform kQuarterTurn = {{{0, -1, 0}, {1, 0, 0}, {0, 0, 1}}, {100, 200, 300}};

/// The plain sum, one lane at a time.
void plainTransformAF(const qmMathTransform& t, float* p) {
  float out[3];
  for (int i = 0; i < 3; ++i) {
    const auto c0 = static_cast<float>(t.rotation[i][0]);
    const auto c1 = static_cast<float>(t.rotation[i][1]);
    const auto c2 = static_cast<float>(t.rotation[i][2]);
    const auto T = static_cast<float>(t.translation[i]);
    volatile float sum = p[1] * c1;  // volatile: no two operations may be joined
    volatile float next = p[0] * c0;
    sum = sum + next;
    next = p[2] * c2;
    sum = sum + next;
    out[i] = sum + T;
  }
  std::memcpy(p, out, sizeof(out));
  p[3] = 0.0F;
}

bool sameFloats(const float* a, const float* b) {
  for (int i = 0; i < 4; ++i) {
    const bool bothNaN = std::isnan(a[i]) && std::isnan(b[i]);
    if (!bothNaN && std::memcmp(a + i, b + i, sizeof(float)) != 0) return false;
  }
  return true;
}

TEST(qmPatchInplaceTransformAF, GivesTheStatedSinglePrecisionSumsBitForBit) {
  auto random = testRandom();
  for (int round = 0; round < 20; ++round) {
    qmMathTransform t;
    for (auto& row : t.rotation) {
      for (double& value : row) value = uniform(random, -1, 1);
    }
    for (double& value : t.translation) value = uniform(random, -1000, 1000);
    struct alignas(16) Point {
      float p[4];
    };
    std::vector<Point> fast(50001);
    for (Point& point : fast) {
      for (float& value : point.p) value = static_cast<float>(uniform(random, -2000, 2000));
    }
    std::vector<Point> plain = fast;
    qmPatchInplaceTransformAF(&t, reinterpret_cast<float(*)[4]>(fast.data()), static_cast<std::int64_t>(fast.size()));
    for (std::size_t n = 0; n < fast.size(); ++n) {
      plainTransformAF(t, plain[n].p);
      ASSERT_TRUE(sameFloats(fast[n].p, plain[n].p)) << n;
    }
  }
}

TEST(qmPatchInplaceTransformAF, HoldsForSpecialValuesAndAlwaysClearsTheFourthFloat) {
  const float specials[] = {0.0F,
                            -0.0F,
                            1.0F,
                            -1.0F,
                            std::numeric_limits<float>::infinity(),
                            -std::numeric_limits<float>::infinity(),
                            std::numeric_limits<float>::quiet_NaN(),
                            std::numeric_limits<float>::max(),
                            std::numeric_limits<float>::denorm_min(),
                            std::numeric_limits<float>::min()};
  const qmMathTransform t = {{{0.5, -0.25, 0}, {-0.0, 1e-30, 1e30}, {1, 1, 1}}, {-0.0, 0.0, 1e39}};
  for (const float x : specials) {
    for (const float y : specials) {
      for (const float z : specials) {
        for (const float w : specials) {
          alignas(16) float fast[1][4] = {{x, y, z, w}};
          float plain[4] = {x, y, z, w};
          qmPatchInplaceTransformAF(&t, fast, 1);
          plainTransformAF(t, plain);
          ASSERT_TRUE(sameFloats(fast[0], plain)) << x << ' ' << y << ' ' << z;
          ASSERT_THAT(fast[0][3], SameBits(0.0F));
        }
      }
    }
  }
}

TEST(qmPatchInplaceTransformAF, GivesTheSameBitsAtEveryWidthForAnyNumberOfPoints) {
  auto random = testRandom();
  for (int round = 0; round < 400; ++round) {
    qmMathTransform t;
    quelcore::FloatMotion motion = {};
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) {
        motion.column[j][i] = static_cast<float>(awkwardNumber(random));
        t.rotation[i][j] = static_cast<double>(motion.column[j][i]);
      }
      motion.translation[i] = static_cast<float>(awkwardNumber(random));
      t.translation[i] = static_cast<double>(motion.translation[i]);
    }
    const int count =
        quel::testing::kAwkwardCounts[static_cast<std::size_t>(round) % std::size(quel::testing::kAwkwardCounts)];
    std::vector<float> points(4 * static_cast<std::size_t>(count) + 1);
    for (float& value : points) value = static_cast<float>(awkwardNumber(random));
    std::vector<float> plain = points;
    for (std::size_t n = 0; n < static_cast<std::size_t>(count); ++n) plainTransformAF(t, plain.data() + 4 * n);
    for (const quelkernels::Width width : quel::testing::widthsOfThisMachine()) {
      std::vector<float> moved = points;
      quelcore::kTransformPoints.at(width)(motion, reinterpret_cast<float(*)[4]>(moved.data()), count);
      for (std::size_t n = 0; n < moved.size(); ++n) {
        ASSERT_TRUE(quel::testing::sameNumber(moved[n], plain[n])) << quelkernels::nameOf(width) << ' ' << n;
      }
    }
  }
}

TEST(qmPatchInplaceTransformAF, TakesPointsThatAreNotAligned) {
  alignas(16) unsigned char bytes[4 + 32];
  auto* points = reinterpret_cast<float(*)[4]>(bytes + 4);
  const float input[2][4] = {{0, 1, 2, 9}, {10, 11, 12, 9}};
  std::memcpy(bytes + 4, input, sizeof(input));
  qmPatchInplaceTransformAF(&kQuarterTurn, points, 2);
  float output[2][4];
  std::memcpy(output, bytes + 4, sizeof(output));
  EXPECT_THAT(output[0], ElementsAre(99, 200, 302, 0));
  EXPECT_THAT(output[1], ElementsAre(89, 210, 312, 0));
}

TEST(qmPatchInplaceTransformAF, TouchesNothingForNoPointsOrNull) {
  alignas(16) float points[1][4] = {{1, 2, 3, 4}};
  qmPatchInplaceTransformAF(&kQuarterTurn, points, 0);
  qmPatchInplaceTransformAF(&kQuarterTurn, points, -5);
  qmPatchInplaceTransformAF(nullptr, points, 1);
  qmPatchInplaceTransformAF(&kQuarterTurn, nullptr, 1);
  EXPECT_THAT(points[0], ElementsAre(1, 2, 3, 4));
}

}  // namespace
