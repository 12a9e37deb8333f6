// The fits against the same fits in 256 bits, on generated data sets.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "quelplatform/qmMath/FitDataSets_fixture.h"
#include "quelplatform/qmMath/Wide_fixture.h"
#include "quelplatform/qmMath/qmMathFit.h"
#include "testing/Numbers.h"
#include "testing/Sanitized.h"

static_assert(quelplatform::kFitDirectionError <= 1e-13 && quelplatform::fitDirectionError(1.0) <= 1e-13);

namespace {

using quel::testing::FitDataSet;
using quel::testing::kSanitized;
using quel::testing::pointsOf;
using quel::testing::testRandom;
using quel::testing::Wide;

constexpr double kEps = std::numeric_limits<double>::epsilon();

Wide root(const Wide& value) { return Wide(sqrt(value)); }
Wide sizeOf(const Wide& value) { return Wide(abs(value)); }

struct WideFit {
  Wide centroid[3];
  Wide value[3];    // Descending.
  Wide axis[3][3];  // Row k belongs to value k.
};

// Jacobi rotations by the angle itself, to 70 digits.
void diagonalise(Wide (&a)[3][3], Wide (&v)[3][3]) {
  for (int i = 0; i < 3; ++i) v[i][i] = 1;
  for (int sweep = 0; sweep < 12; ++sweep) {
    for (int p = 0; p < 2; ++p) {
      for (int q = p + 1; q < 3; ++q) {
        if (a[p][q] == 0) continue;
        const Wide theta = (a[q][q] - a[p][p]) / (2 * a[p][q]);
        const Wide size = sizeOf(theta) + root(theta * theta + 1);
        const Wide t = (theta < 0 ? Wide(-1) : Wide(1)) / size;
        const Wide c = 1 / root(t * t + 1);
        const Wide s = t * c;
        for (int i = 0; i < 3; ++i) {
          const Wide x = a[i][p], y = a[i][q];
          a[i][p] = c * x - s * y;
          a[i][q] = s * x + c * y;
        }
        for (int i = 0; i < 3; ++i) {
          const Wide x = a[p][i], y = a[q][i], vx = v[p][i], vy = v[q][i];
          a[p][i] = c * x - s * y;
          a[q][i] = s * x + c * y;
          v[p][i] = c * vx - s * vy;
          v[q][i] = s * vx + c * vy;
        }
      }
    }
  }
}

WideFit wideFit(const std::vector<QmVec3>& points) {
  WideFit fit;
  const Wide n(static_cast<double>(points.size()));
  for (const QmVec3& p : points) {
    for (int i = 0; i < 3; ++i) fit.centroid[i] += Wide(p[i]);
  }
  for (Wide& c : fit.centroid) c = c / n;
  Wide a[3][3], v[3][3];
  for (const QmVec3& p : points) {
    const Wide d[3] = {Wide(p[0]) - fit.centroid[0], Wide(p[1]) - fit.centroid[1], Wide(p[2]) - fit.centroid[2]};
    for (int i = 0; i < 3; ++i) {
      for (int j = i; j < 3; ++j) a[i][j] += d[i] * d[j];
    }
  }
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < i; ++j) a[i][j] = a[j][i];
  }
  diagonalise(a, v);
  int order[3] = {0, 1, 2};
  std::sort(order, order + 3, [&](int i, int j) { return a[i][i] > a[j][j]; });
  for (int k = 0; k < 3; ++k) {
    fit.value[k] = a[order[k]][order[k]];
    for (int i = 0; i < 3; ++i) fit.axis[k][i] = v[order[k]][i];
  }
  return fit;
}

// Sine of the angle between a fitted direction and a reference, signs aside.
double angle(const double (&fitted)[3], const Wide (&reference)[3]) {
  Wide square;
  for (int i = 0; i < 3; ++i) {
    const int j = (i + 1) % 3, k = (i + 2) % 3;
    const Wide c = Wide(fitted[j]) * reference[k] - Wide(fitted[k]) * reference[j];
    square += c * c;
  }
  return root(square).get_d();
}

double bound(const Wide& largest, const Wide& gap) {
  return gap == 0 ? 1.0 : quelplatform::fitDirectionError(Wide(gap / largest).get_d());
}

void expectCentroid(const double (&point)[3], const WideFit& fit, const std::vector<QmVec3>& points) {
  double size = 0.0;
  for (const QmVec3& p : points) size = std::max(size, length(p));
  for (int i = 0; i < 3; ++i) {
    EXPECT_LE(sizeOf(Wide(point[i]) - fit.centroid[i]).get_d(), kEps * size) << "coordinate " << i;
  }
}

const double (*triples(const std::vector<QmVec3>& points))[3] {
  return reinterpret_cast<const double(*)[3]>(points.data());
}

std::vector<FitDataSet> dataSets(double width) {
  std::vector<FitDataSet> sets;
  for (const std::size_t count : {std::size_t{10}, std::size_t{101}, std::size_t{3000}}) {
    for (const double offset : {0.0, 1e3, 1e8}) {
      for (const double noise : {0.0, 1e-7, 1e-3, 0.5, 40.0}) {
        for (const double coverage : {1.0, 0.01}) sets.push_back({count, 100.0, width, noise, offset, coverage});
      }
    }
  }
  for (const double noise : {0.0, 1e-3, 40.0}) {
    sets.push_back({kSanitized ? std::size_t{10000} : std::size_t{100000}, 100.0, width, noise, 1e8, 1.0});
    sets.push_back({kSanitized ? std::size_t{10000} : std::size_t{100000}, 1e4, width, noise, 0.0, 0.01});
  }
  return sets;
}

// Promise 1.
TEST(qmMathFit3DLine, AgreesWith256BitsOnGeneratedDataSets) {
  auto random = testRandom();
  double worst = 0.0;
  for (const FitDataSet& set : dataSets(0.0)) {
    SCOPED_TRACE(set.name());
    const std::vector<QmVec3> points = pointsOf(set, random);
    const WideFit reference = wideFit(points);
    double direction[3], point[3];
    ASSERT_EQ(qmMathFit3DLine(triples(points), static_cast<std::int64_t>(points.size()), direction, point), 1);
    const double limit = bound(reference.value[0], reference.value[0] - reference.value[1]);
    EXPECT_LE(angle(direction, reference.axis[0]), limit);
    worst = std::max(worst, angle(direction, reference.axis[0]) / limit);
    expectCentroid(point, reference, points);
  }
  RecordProperty("worst_share_of_limit", std::to_string(worst));
}

// Promise 1.
TEST(qmMathFit3DPlane, AgreesWith256BitsOnGeneratedDataSets) {
  auto random = testRandom();
  double worst = 0.0;
  for (const double width : {100.0, 1.0, 1e-3}) {
    for (const FitDataSet& set : dataSets(width)) {
      SCOPED_TRACE(set.name());
      const std::vector<QmVec3> points = pointsOf(set, random);
      const WideFit reference = wideFit(points);
      double normal[3], center[3];
      ASSERT_EQ(qmMathFit3DPlane(triples(points), static_cast<std::int64_t>(points.size()), normal, center), 1);
      const double limit = bound(reference.value[0], reference.value[1] - reference.value[2]);
      EXPECT_LE(angle(normal, reference.axis[2]), limit);
      worst = std::max(worst, angle(normal, reference.axis[2]) / limit);
      expectCentroid(center, reference, points);
    }
  }
  RecordProperty("worst_share_of_limit", std::to_string(worst));
}

// A strip a million times longer than wide: what a plane fit on plain second moments would lose all digits of.
// Promise 1.
TEST(qmMathFit3DPlane, KeepsTheDigitsThatThePointsOfANarrowStripHold) {
  auto random = testRandom();
  for (const double width : {1e-2, 1e-4, 1e-6}) {
    const std::vector<QmVec3> points = pointsOf({500, 1e3, width, width * 1e-3, 0.0, 1.0}, random);
    const WideFit reference = wideFit(points);
    double normal[3], center[3];
    ASSERT_EQ(qmMathFit3DPlane(triples(points), 500, normal, center), 1);
    EXPECT_LE(angle(normal, reference.axis[2]), 40.0 * kEps * 1e3 / width) << width;
  }
}

// The second singular value decides, at n eps of the first, far below what second moments can tell.
TEST(qmMathFit3DPlane, TellsALineFromAPlaneByTheSecondSingularValue) {
  for (const std::int64_t n : {3, 30, 300}) {
    for (const double share : {0.3, 3.0}) {
      std::vector<QmVec3> points;
      for (std::int64_t i = 0; i < n; ++i) {
        const double x = static_cast<double>(2 * i - n + 1);
        points.emplace_back(x, 0.0, (i % 2 == 0 ? 1.0 : -1.0));
      }
      const WideFit plain = wideFit(points);
      const double ratio = root(plain.value[1] / plain.value[0]).get_d();
      for (QmVec3& p : points) p[2] *= share * static_cast<double>(n) * kEps / ratio;
      double normal[3], center[3];
      EXPECT_EQ(qmMathFit3DPlane(triples(points), n, normal, center), share > 1.0 ? 1 : 0) << n << " " << share;
    }
  }
}

}  // namespace
