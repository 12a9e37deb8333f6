#include "quelplatform/qmMath/FitMoments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "quelplatform/prim_geom/QmVec3.h"
#include "quelplatform/qmMath/exact/DoubleDouble.h"
#include "testing/Numbers.h"
#include "testing/Sanitized.h"

namespace {

using quel::testing::kSanitized;
using quel::testing::testRandom;
using quel::testing::uniform;
using quelplatform::FitCentre;
using quelplatform::FitMoments;
using quelplatform::FitSurvey;

const double (*triples(const std::vector<QmVec3>& points))[3] {
  return reinterpret_cast<const double(*)[3]>(points.data());
}

/// The plain form: one lane after the other, one point after the other.
struct PlainSum {
  double sum[8] = {};
  double lost[8] = {};

  void add(std::size_t i, double value) {
    const quelplatform::DoubleDouble exact = quelplatform::exactSum(sum[i % 8], value);
    sum[i % 8] = exact.hi;
    lost[i % 8] += exact.lo;
  }
  double joined() const {
    quelplatform::DoubleDouble lane[8];
    for (int i = 0; i < 8; ++i) lane[i] = quelplatform::exactSum(sum[i], lost[i]);
    return (((lane[0] + lane[4]) + (lane[2] + lane[6])) + ((lane[1] + lane[5]) + (lane[3] + lane[7]))).hi;
  }
};

FitMoments plainMoments(const std::vector<QmVec3>& points, const FitCentre& centre, const double (&frame)[3][3]) {
  PlainSum first[3], second[3][3];
  for (std::size_t i = 0; i < points.size(); ++i) {
    double d[3], q[3];
    for (int axis = 0; axis < 3; ++axis) d[axis] = (points[i][axis] - centre.hi[axis]) * centre.scale - centre.lo[axis];
    for (int k = 0; k < 3; ++k) q[k] = (frame[k][0] * d[0] + frame[k][1] * d[1]) + frame[k][2] * d[2];
    for (int k = 0; k < 3; ++k) first[k].add(i, q[k]);
    for (int k = 0; k < 3; ++k) {
      for (int j = k; j < 3; ++j) second[k][j].add(i, q[k] * q[j]);
    }
  }
  FitMoments moments{};
  for (int k = 0; k < 3; ++k) moments.first[k] = first[k].joined();
  for (int k = 0; k < 3; ++k) {
    for (int j = k; j < 3; ++j) {
      moments.second[k][j] =
          second[k][j].joined() - moments.first[k] * moments.first[j] / static_cast<double>(points.size());
    }
  }
  return moments;
}

void expectSameBits(const FitMoments& a, const FitMoments& b) {
  EXPECT_EQ(std::memcmp(&a, &b, sizeof(a)), 0)
      << a.first[0] << " " << b.first[0] << " " << a.second[0][0] << " " << b.second[0][0];
}

TEST(FitMoments, HaveTheBitsOfThePlainForm) {
  constexpr double kWorld[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  auto random = testRandom();
  for (int round = 0; round < (kSanitized ? 200 : 3000); ++round) {
    std::vector<QmVec3> points(static_cast<std::size_t>(1 + round % 300));
    const double size = std::pow(10.0, uniform(random, -6, 6));
    FitCentre centre{};
    double frame[3][3];
    for (int i = 0; i < 3; ++i) {
      centre.hi[i] = uniform(random, -1e3, 1e3);
      centre.lo[i] = uniform(random, -1e-13, 1e-13);
      for (double& c : frame[i]) c = uniform(random, -1, 1);
    }
    centre.scale = std::ldexp(1.0, static_cast<int>(uniform(random, -20, 20)));
    for (QmVec3& p : points) {
      for (int i = 0; i < 3; ++i) p[i] = centre.hi[i] + uniform(random, -size, size);
    }
    const auto n = static_cast<std::int64_t>(points.size());
    using quelplatform::momentsOf;
    expectSameBits(momentsOf(triples(points), n, centre, frame), plainMoments(points, centre, frame));
    expectSameBits(momentsOf(triples(points), n, centre, nullptr), plainMoments(points, centre, kWorld));
  }
}

TEST(FitMoments, CarryOnWithWhatIsNotFinite) {
  const double infinity = std::numeric_limits<double>::infinity();
  const FitCentre centre{{}, {}, 1.0};
  for (std::size_t count = 1; count < 20; ++count) {
    std::vector<QmVec3> points(count, QmVec3(1, 2, 3));
    points.back()[1] = infinity;
    const FitMoments fast = quelplatform::momentsOf(triples(points), static_cast<std::int64_t>(count), centre, nullptr);
    EXPECT_FALSE(std::isfinite(fast.first[1]));
    EXPECT_TRUE(std::isfinite(fast.first[0]));
    const FitSurvey survey = quelplatform::surveyOf(triples(points), static_cast<std::int64_t>(count));
    EXPECT_FALSE(std::isfinite(survey.mean[1]));
  }
}

TEST(FitSurvey, GivesMeanAndSpreadFromTheFirstPoint) {
  for (std::size_t count = 1; count < 40; ++count) {
    std::vector<QmVec3> points;
    for (std::size_t i = 0; i < count; ++i) points.emplace_back(1e6 + static_cast<double>(i), 5.0, -2.0 * double(i));
    const FitSurvey survey = quelplatform::surveyOf(triples(points), static_cast<std::int64_t>(count));
    const double middle = 0.5 * static_cast<double>(count - 1);
    EXPECT_EQ(survey.mean[0], 1e6 + middle);
    EXPECT_EQ(survey.mean[1], 5.0);
    EXPECT_EQ(survey.mean[2], -2.0 * middle);
    EXPECT_EQ(survey.spread, 4.0 * middle);
  }
}

}  // namespace
