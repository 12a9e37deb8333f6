// What the fits hand to their solvers, and what they make of any answer. The solvers of this program are its own: they
// keep what they are asked and answer as the test says, also what the platform's solvers never say.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "quelcore/tensor/qmReconsFitCorresToTensor.h"
#include "quelplatform/qmMath/qmMathSolve.h"
#include "testing/Numbers.h"
#include "testing/RecordingLog.h"

namespace {

using quel::testing::BareTrace;
using quel::testing::RecordingLog;
using quel::testing::SameBits;
using quel::testing::testRandom;
using quel::testing::uniform;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kLargestFloat = 3.4028234663852886e+38;

struct QuarticAnswer {
  std::int32_t result = 1;
  std::int32_t kind = 3;
  std::int32_t count = 0;
  std::vector<double> roots;
};
QuarticAnswer quarticAnswer;
bool rootsWereZero = false;

struct LinearAnswer {
  std::int32_t result = 1;
  double solution[3] = {};
};
LinearAnswer linearAnswer;
double askedMatrix[3][3];
double askedRightHandSide[3];
std::int32_t askedNumbers[4];

}  // namespace

std::int32_t qmMathSolveQuartic(double, double, double, double, double, std::int32_t* count, std::int32_t* kind,
                                double*, double*, double roots[4]) noexcept {
  rootsWereZero = std::all_of(roots, roots + 4, [](double root) { return root == 0.0; });
  *count = quarticAnswer.count;
  *kind = quarticAnswer.kind;
  std::copy(quarticAnswer.roots.begin(), quarticAnswer.roots.end(), roots);
  return quarticAnswer.result;
}

std::int32_t qmMathSolveBySvd(double* const* matrix, std::int32_t rows, std::int32_t columns,
                              const double* rightHandSide, std::int32_t unused1, std::int32_t unused2,
                              double* solution) noexcept {
  const std::int32_t numbers[] = {rows, columns, unused1, unused2};
  std::copy(numbers, numbers + 4, askedNumbers);
  for (int i = 0; i < 3; ++i) {
    std::copy(matrix[i], matrix[i] + 3, askedMatrix[i]);
    askedRightHandSide[i] = rightHandSide[i];
    solution[i] = linearAnswer.solution[i];
  }
  return linearAnswer.result;
}

namespace {

/// A fit of the reference camera 0 to 1 and 2 over random tables, the reference measured at its image centre.
class FitSolversTest : public ::testing::Test {
 protected:
  FitSolversTest() : tensor_(std::make_unique<tag_qmReconsTensorData>()) {
    auto random = testRandom();
    *tensor_ = {};
    quarticAnswer = {};
    linearAnswer = {};
    const double scales[3] = {3.0, 7.0, 11.0};
    for (int k = 0; k < 3; ++k) {
      tensor_->imageScale[k] = scales[k];
      corres_.points[k] = {k == 0 ? 0.0 : uniform(random, -20, 20), k == 0 ? 0.0 : uniform(random, -20, 20), kNaN};
      tensor_->planarDepthScale[0][k] = 1.0;
      for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) tensor_->planarTransfer[0][k][i][j] = uniform(random, -2, 2);
        tensor_->epipole[0][k][i] = uniform(random, -2, 2);
      }
    }
  }

  std::int32_t planar() {
    return qmRTFitCorresToTensorPlanar(*tensor_, corres_, 0, 1, 2, ref_, b_, c_, error_, depth_);
  }
  std::int32_t linear() {
    return qmRTFitCorresToTensorPlanarLinear(*tensor_, corres_, 0, 1, 2, ref_, b_, c_, error_, depth_);
  }

  double measured(int k, int i) const {
    return (i == 0 ? corres_.points[k].x : corres_.points[k].y) / tensor_->imageScale[k];
  }

  /// The summed squares in both target cameras, from the left.
  double squares() const {
    double sum = 0.0;
    for (const int k : {1, 2}) {
      for (int i = 0; i < 2; ++i) {
        const double d = (k == 1 ? b_ : c_)[i] - measured(k, i);
        sum += d * d;
      }
    }
    return sum;
  }

  /// The cost of a parallax, through the fit itself with that one candidate.
  double costOf(double parallax) {
    quarticAnswer = {1, 3, 1, {parallax}};
    EXPECT_EQ(planar(), 1);
    return error_;
  }

  std::unique_ptr<tag_qmReconsTensorData> tensor_;
  tag_qmRTCorres corres_ = {};
  double ref_[2] = {}, b_[2] = {}, c_[2] = {};
  double error_ = -99.0;
  double depth_ = -99.0;
};

TEST_F(FitSolversTest, PlanarFitLooksAtTheEntriesThatTheKindNames) {
  const std::vector<double> roots = {0.25, 0.5, 0.75, 1.0};
  double costs[4];
  for (int i = 0; i < 4; ++i) costs[i] = costOf(roots[i]);
  struct Row {
    std::int32_t kind, count;
    std::vector<int> entries;
  };
  const Row rows[] = {{0, 2, {0}},    {0, 4, {0, 2}},       {1, 0, {0, 1}},    {2, 2, {0}},          {2, 4, {0, 1, 2}},
                      {3, 2, {0, 1}}, {3, 4, {0, 1, 2, 3}}, {4, 3, {0, 1, 2}}, {4, 99, {0, 1, 2, 3}}};
  for (const Row& row : rows) {
    const int best =
        *std::min_element(row.entries.begin(), row.entries.end(), [&](int i, int j) { return costs[i] < costs[j]; });
    quarticAnswer = {1, row.kind, row.count, roots};
    EXPECT_EQ(planar(), 1);
    EXPECT_TRUE(rootsWereZero);
    EXPECT_EQ(depth_, roots[best]) << row.kind << ' ' << row.count;
    EXPECT_EQ(error_, costs[best]);
  }
}

TEST_F(FitSolversTest, PlanarFitRefusesAnUnknownKindWithoutATrace) {
  quarticAnswer = {1, 5, 4, {0.25, 0.5, 0.75, 1.0}};
  const RecordingLog log;
  EXPECT_EQ(planar(), 0);
  EXPECT_EQ(depth_, -99.0);
  EXPECT_EQ(error_, -99.0);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(FitSolversTest, PlanarFitFailsWithItsSolverWhateverElseThatSays) {
  quarticAnswer = {0, 3, 1, {0.25}};
  const RecordingLog log;
  EXPECT_EQ(planar(), 0);
  EXPECT_EQ(depth_, -99.0);
  EXPECT_THAT(log.records(), ElementsAre(BareTrace("qmReconsFitCorresToTensor")));
}

TEST_F(FitSolversTest, PlanarFitNeverLetsACostWinThatIsNoNumber) {
  for (const int nan : {0, 1}) {
    quarticAnswer = {1, 3, 2, {0.25, 0.25}};
    quarticAnswer.roots[nan] = kNaN;
    EXPECT_EQ(planar(), 1);
    EXPECT_EQ(depth_, 0.25);
    EXPECT_LT(error_, kLargestFloat);
  }
  quarticAnswer = {1, 3, 1, {kNaN}};
  depth_ = 2.0;
  EXPECT_EQ(planar(), 1);
  EXPECT_EQ(depth_, 2.0);
  EXPECT_EQ(error_, kLargestFloat);
}

TEST_F(FitSolversTest, PlanarFitEndsAtARootWithoutPositionEvenIfAnotherHasOne) {
  for (const int k : {1, 2}) {
    tensor_->planarTransfer[0][k][2][2] = 1.0;
    tensor_->epipole[0][k][2] = 1.0;
    quarticAnswer = {1, 3, 2, {0.5, -1.0}};
    EXPECT_EQ(planar(), 0);
    EXPECT_EQ(depth_, 0.5);  // the root before it had won so far
    EXPECT_EQ(error_, -99.0);
  }
}

TEST_F(FitSolversTest, PlanarFitSumsItsErrorFromTheLeft) {
  for (int n = 0; n < 50; ++n) {
    costOf(0.125 * n + 0.01);
    EXPECT_THAT(error_, SameBits(squares() * (7.0 * 7.0)));
  }
}

TEST_F(FitSolversTest, LinearFitSumsItsErrorFromTheLeft) {
  for (int n = 0; n < 50; ++n) {
    linearAnswer = {1, {0.1 * n, 0.03 * n, -0.07}};
    EXPECT_EQ(linear(), 1);
    EXPECT_THAT(error_, SameBits((squares() + ref_[0] * ref_[0] + ref_[1] * ref_[1]) * (7.0 * 7.0)));
  }
}

TEST_F(FitSolversTest, LinearFitAsksForItsNormalEquationsToTheLastBit) {
  EXPECT_EQ(linear(), 1);
  double sums[3][4] = {};
  for (const int k : {1, 2}) {
    const auto& H = tensor_->planarTransfer[0][k];
    const auto& e = tensor_->epipole[0][k];
    for (int i = 0; i < 2; ++i) {
      const double t = measured(k, i);
      const double row[4] = {e[i] - t * e[2], H[i][0] - t * H[2][0], H[i][1] - t * H[2][1], H[i][2] - t * H[2][2]};
      for (int a = 0; a < 3; ++a) {
        for (int b = 0; b < 4; ++b) sums[a][b] += row[a] * row[b];
      }
    }
  }
  for (int a = 0; a < 3; ++a) {
    for (int b = 0; b < 3; ++b) {
      EXPECT_THAT(askedMatrix[a][b], SameBits(2.0 * sums[a][b] + (a == b && a > 0 ? 2.0 : 0.0))) << a << b;
    }
    EXPECT_THAT(askedRightHandSide[a], SameBits(-2.0 * sums[a][3]));
  }
  EXPECT_THAT(askedNumbers, ElementsAre(3, 3, 0, 0));
}

TEST_F(FitSolversTest, LinearFitFailsWithItsSolver) {
  linearAnswer = {0, {1.0, 2.0, 3.0}};
  const RecordingLog log;
  EXPECT_EQ(linear(), 0);
  EXPECT_EQ(depth_, -99.0);
  EXPECT_EQ(error_, -99.0);
  EXPECT_THAT(log.records(), ElementsAre(BareTrace("qmReconsFitCorresToTensor")));
}

}  // namespace
