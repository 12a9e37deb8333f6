// The planar fit finds the global minimum of its cost among the stationary points: against a dense search over the
// whole line of parallaxes, polished in extended precision.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>

#include "quelcore/tensor/qmReconsFitCorresToTensor.h"
#include "testing/Numbers.h"
#include "testing/SampleHead.h"
#include "testing/Sanitized.h"

// References here are computed in extended precision, into which doubles are promoted on purpose.
#pragma GCC diagnostic ignored "-Wdouble-promotion"

namespace {

using quel::testing::SampleHead;
using quel::testing::testRandom;
using quel::testing::uniform;
using Real = long double;

/// The cost of one correspondence and its derivative, in normalised units.
class Cost {
 public:
  Cost(const tag_qmReconsTensorData& t, const tag_qmRTCorres& corres, const std::int32_t (&rbc)[3]) {
    const auto norm = [&](int k, int i) {
      const Real value = i == 0 ? corres.points[k].x : corres.points[k].y;
      return (value - t.imageCentre[k][i]) / t.imageScale[k];
    };
    const Real p[3] = {norm(rbc[0], 0), norm(rbc[0], 1), 1.0L};
    for (int target = 0; target < 2; ++target) {
      const int k = rbc[target + 1];
      for (int i = 0; i < 3; ++i) {
        m_[target][i] = 0;
        for (int j = 0; j < 3; ++j) m_[target][i] += t.planarTransfer[rbc[0]][k][i][j] * p[j];
        e_[target][i] = t.epipole[rbc[0]][k][i];
      }
      q_[target][0] = norm(k, 0);
      q_[target][1] = norm(k, 1);
    }
  }

  Real operator()(Real l) const {
    Real sum = 0;
    for (int k = 0; k < 2; ++k) {
      const Real D = m_[k][2] + l * e_[k][2];
      for (int i = 0; i < 2; ++i) {
        const Real d = (m_[k][i] + l * e_[k][i]) / D - q_[k][i];
        sum += d * d;
      }
    }
    return sum;
  }

  Real slope(Real l) const {
    Real sum = 0;
    for (int k = 0; k < 2; ++k) {
      const Real D = m_[k][2] + l * e_[k][2];
      for (int i = 0; i < 2; ++i) {
        const Real d = (m_[k][i] + l * e_[k][i]) / D - q_[k][i];
        sum += 2 * d * (e_[k][i] * m_[k][2] - m_[k][i] * e_[k][2]) / (D * D);
      }
    }
    return sum;
  }

 private:
  Real m_[2][3], e_[2][3], q_[2][2];
};

/// Where the slope changes from falling to rising between `low` and `high`.
Real minimumBetween(const Cost& cost, Real low, Real high) {
  for (int n = 0; n < 200 && low < high; ++n) {
    const Real middle = low + (high - low) / 2;
    if (middle == low || middle == high) break;
    (cost.slope(middle) < 0 ? low : high) = middle;
  }
  return high;
}

/// The least cost of all local minima that a walk of `steps` over the line meets; the line is walked by angle, so that
/// it is covered to infinity, with `unit` where the angle is 45 degrees.
Real leastOfDenseSearch(const Cost& cost, Real unit, int steps) {
  Real least = HUGE_VALL;
  Real before = -HUGE_VALL;
  bool falling = false;
  for (int n = 1; n < steps; ++n) {
    const Real l = unit * std::tan(std::numbers::pi_v<Real> * (static_cast<Real>(n) / steps - 0.5L));
    const Real slope = cost.slope(l);
    if (n > 1 && falling && slope >= 0) least = std::min(least, cost(minimumBetween(cost, before, l)));
    falling = slope < 0;
    before = l;
  }
  return least;
}

class PlanarFitMinimumTest : public ::testing::TestWithParam<double> {
 protected:
  void check(SampleHead::Kind kind, int heads, int perHead, int steps) {
    auto random = testRandom();
    for (int h = 0; h < heads; ++h) {
      const SampleHead head(static_cast<std::uint64_t>(h), kind);
      for (int n = 0; n < perHead; ++n) checkOne(head, random, steps);
    }
  }

 private:
  void checkOne(const SampleHead& head, std::mt19937_64& random, int steps) {
    constexpr std::int32_t kTriples[6][3] = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};
    const auto& rbc = kTriples[random() % 6];
    tag_qmRTCorres corres = head.correspondence(head.randomPoint(random));
    for (qmRTCorresPoint& point : corres.points) {
      point.x += uniform(random, -GetParam(), GetParam());
      point.y += uniform(random, -GetParam(), GetParam());
    }
    const tag_qmReconsTensorData& t = *head.tensor();
    double ref[2], b[2], c[2], error = 0.0, depth = 0.0;
    ASSERT_EQ(qmRTFitCorresToTensorPlanar(t, corres, rbc[0], rbc[1], rbc[2], ref, b, c, error, depth), 1);
    const Cost cost(t, corres, rbc);
    const Real lambda = static_cast<Real>(depth) * t.planarDepthScale[rbc[0]][rbc[1]];
    const Real found = cost(lambda);
    const Real least = leastOfDenseSearch(cost, 1.0L, steps);
    // Rounding of the measured positions to double leaves about 1e-16 in a coordinate of order 1.
    ASSERT_LE(found, least * (1 + 1e-10L) + 1e-26L);
    const Real scale = t.imageScale[rbc[1]];
    ASSERT_NEAR(error, static_cast<double>(found * scale * scale), 1e-9 * (1e-6 + error));
  }
};

TEST_P(PlanarFitMinimumTest, IsFoundForHeadsWhoseAxesMeet) {
  check(SampleHead::Kind::Converging, quel::testing::kSanitized ? 20 : 200, quel::testing::kSanitized ? 100 : 500, 96);
}

TEST_P(PlanarFitMinimumTest, IsFoundForHeadsWithOneImagePlane) {
  check(SampleHead::Kind::CommonImagePlane, quel::testing::kSanitized ? 20 : 200, quel::testing::kSanitized ? 100 : 500,
        96);
}

INSTANTIATE_TEST_SUITE_P(Noise, PlanarFitMinimumTest, ::testing::Values(0.0, 0.01, 0.1, 0.5, 3.0));

/// Transfers that no head has: the cost may then have two local minima, close in value.
TEST(PlanarFitMinimum, IsFoundForTransfersThatNoHeadHas) {
  auto random = testRandom();
  auto tensor = std::make_unique<tag_qmReconsTensorData>();
  const int rounds = quel::testing::kSanitized ? 2000 : 200000;
  int compared = 0;
  for (int n = 0; n < rounds; ++n) {
    *tensor = {};
    for (int k = 0; k < 3; ++k) tensor->imageScale[k] = 1.0;
    tensor->planarDepthScale[0][1] = 1.0;
    tag_qmRTCorres corres = {};
    for (const int k : {1, 2}) {
      for (int i = 0; i < 3; ++i) {
        tensor->planarTransfer[0][k][i][2] = uniform(random, -2, 2);
        tensor->epipole[0][k][i] = uniform(random, -2, 2);
      }
      corres.points[k] = {uniform(random, -3, 3), uniform(random, -3, 3), 0.0};
    }
    double ref[2], b[2], c[2], error = 0.0, depth = 0.0;
    ASSERT_EQ(qmRTFitCorresToTensorPlanar(*tensor, corres, 0, 1, 2, ref, b, c, error, depth), 1);
    const Cost cost(*tensor, corres, {0, 1, 2});
    const Real least = leastOfDenseSearch(cost, 1.0L, 400);
    if (std::isinf(least)) continue;  // every minimum slipped between two steps
    ++compared;
    ASSERT_LE(error, least * (1 + 1e-9L) + 1e-20L) << n;
  }
  EXPECT_GT(compared, rounds * 9 / 10);
}

}  // namespace
