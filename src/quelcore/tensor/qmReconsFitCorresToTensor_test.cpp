// The closed-form fits: on exact correspondences of random heads, at every failure, and by the rules of their outputs.
// That the planar fit finds the global minimum is in planarFitMinimum_test.cpp.
#include "quelcore/tensor/qmReconsFitCorresToTensor.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <thread>
#include <vector>

#include "quelcore/tensor/fitKernel.h"
#include "testing/Canary.h"
#include "testing/Numbers.h"
#include "testing/RecordingLog.h"
#include "testing/SampleHead.h"

// References here are computed in extended precision, into which doubles are promoted on purpose.
#pragma GCC diagnostic ignored "-Wdouble-promotion"

namespace {

using quel::Vec2;
using quel::Vec3;
using quel::testing::BareTrace;
using quel::testing::Canary;
using quel::testing::Near;
using quel::testing::RecordingLog;
using quel::testing::SameBits;
using quel::testing::SampleHead;
using quel::testing::testRandom;
using quel::testing::uniform;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* kModule = "qmReconsFitCorresToTensor";
constexpr double kLargestFloat = 3.4028234663852886e+38;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

constexpr std::int32_t kTriples[6][3] = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};

/// Everything that a fit hands out, set before to what no fit yields.
struct Outputs {
  Canary<2> ref, b, c;
  double error = -99.0;
  double depth = -99.0;

  bool untouched() const {
    return ref.untouched() && b.untouched() && c.untouched() && error == -99.0 && depth == -99.0;
  }
};

std::int32_t planar(const tag_qmReconsTensorData& t, const tag_qmRTCorres& m, const std::int32_t (&rbc)[3],
                    Outputs& o) {
  return qmRTFitCorresToTensorPlanar(t, m, rbc[0], rbc[1], rbc[2], o.ref, o.b, o.c, o.error, o.depth);
}
std::int32_t linear(const tag_qmReconsTensorData& t, const tag_qmRTCorres& m, const std::int32_t (&rbc)[3],
                    Outputs& o) {
  return qmRTFitCorresToTensorPlanarLinear(t, m, rbc[0], rbc[1], rbc[2], o.ref, o.b, o.c, o.error, o.depth);
}
std::int32_t singular(const tag_qmReconsTensorData& t, const tag_qmRTCorres& m, std::int32_t r, std::int32_t b,
                      Outputs& o) {
  return qmRTFitCorresToTensorSingular(t, m, r, b, o.b, o.error, o.depth);
}

void addNoise(tag_qmRTCorres& corres, std::mt19937_64& random, double pixels) {
  for (qmRTCorresPoint& point : corres.points) {
    point.x += uniform(random, -pixels, pixels);
    point.y += uniform(random, -pixels, pixels);
  }
}

/// A head without physics: identity normalisation, unit depth scales, transfers as the test sets them.
class BareHead {
 public:
  BareHead() : tensor_(std::make_unique<tag_qmReconsTensorData>()) {
    std::memset(tensor_.get(), 0, sizeof(*tensor_));
    for (int a = 0; a < 3; ++a) {
      tensor_->imageScale[a] = 1.0;
      for (int b = 0; b < 3; ++b) tensor_->planarDepthScale[a][b] = tensor_->singularDepthScale[a][b] = 1.0;
    }
  }

  /// A reference point at (0, 0) goes to m + l e in camera k, in both tables.
  void transfer(int k, const Vec3& m, const Vec3& e) {
    for (int i = 0; i < 3; ++i) {
      tensor_->planarTransfer[0][k][i][2] = tensor_->singularTransfer[0][k][i][2] = m[i];
      tensor_->epipole[0][k][i] = e[i];
    }
  }
  void measure(int k, double x, double y) { corres_.points[k] = {x, y, kNaN}; }

  tag_qmReconsTensorData& tensor() { return *tensor_; }
  const tag_qmRTCorres& corres() const { return corres_; }

 private:
  std::unique_ptr<tag_qmReconsTensorData> tensor_;
  tag_qmRTCorres corres_ = {};
};

constexpr std::int32_t kInOrder[3] = {0, 1, 2};

// --- Exact correspondences -----------------------------------------------------------------------------------------

TEST(AllFits, ExplainAnExactCorrespondenceOfEveryHeadAndOrderOfCameras) {
  auto random = testRandom();
  for (std::uint64_t seed = 0; seed < 300; ++seed) {
    const auto kind = seed % 2 == 0 ? SampleHead::Kind::Converging : SampleHead::Kind::CommonImagePlane;
    const SampleHead head(seed, kind);
    const tag_qmReconsTensorData& tensor = *head.tensor();
    const Vec3 point = head.randomPoint(random);
    const tag_qmRTCorres corres = head.correspondence(point);
    for (const auto& rbc : kTriples) {
      const Vec2 ref = head.normalisedPixel(point, rbc[0]);
      const Vec2 b = head.normalisedPixel(point, rbc[1]);
      const Vec2 c = head.normalisedPixel(point, rbc[2]);
      const double depth = head.planarParallax(point, rbc[0]) / tensor.planarDepthScale[rbc[0]][rbc[1]];
      for (const auto fit : {planar, linear}) {
        Outputs o;
        ASSERT_EQ(fit(tensor, corres, rbc, o), 1);
        EXPECT_THAT(o.error, Near(0.0, 1e-12));
        // In units that move the scene's centre by one pixel.
        EXPECT_THAT(o.depth, Near(depth, 1e-7));
        for (int i = 0; i < 2; ++i) {
          EXPECT_THAT(o.ref[i], Near(ref[i], 1e-10));
          EXPECT_THAT(o.b[i], Near(b[i], 1e-10));
          EXPECT_THAT(o.c[i], Near(c[i], 1e-10));
        }
      }
      Outputs o;
      ASSERT_EQ(singular(tensor, corres, rbc[0], rbc[1], o), 1);
      EXPECT_THAT(o.error, Near(0.0, 1e-12));
      EXPECT_THAT(o.b[0], Near(b[0], 1e-10));
      EXPECT_THAT(o.b[1], Near(b[1], 1e-10));
    }
  }
}

TEST(AllFits, ReadTheirOwnTableAlone) {
  const SampleHead head;
  const tag_qmRTCorres corres = head.correspondence(head.point(0.2, 0.3, 0.4));
  Outputs before[3];
  planar(*head.tensor(), corres, kInOrder, before[0]);
  linear(*head.tensor(), corres, kInOrder, before[1]);
  singular(*head.tensor(), corres, 0, 1, before[2]);

  SampleHead other;
  std::memset(other.tensor()->singularTransfer, 0x7f, sizeof(other.tensor()->singularTransfer));
  std::memset(other.tensor()->singularDepthScale, 0x7f, sizeof(other.tensor()->singularDepthScale));
  Outputs after[2];
  EXPECT_EQ(planar(*other.tensor(), corres, kInOrder, after[0]), 1);
  EXPECT_EQ(linear(*other.tensor(), corres, kInOrder, after[1]), 1);
  EXPECT_EQ(after[0].depth, before[0].depth);
  EXPECT_EQ(after[1].depth, before[1].depth);

  SampleHead third;
  std::memset(third.tensor()->planarTransfer, 0x7f, sizeof(third.tensor()->planarTransfer));
  std::memset(third.tensor()->planarDepthScale, 0x7f, sizeof(third.tensor()->planarDepthScale));
  third.tensor()->planarFlag = third.tensor()->projectionsValid = third.tensor()->reconsFlag = 0;
  Outputs last;
  EXPECT_EQ(singular(*third.tensor(), corres, 0, 1, last), 1);
  EXPECT_EQ(last.depth, before[2].depth);
}

TEST(AllFits, GiveTheSameBitsOnAnyNumberOfThreads) {
  const SampleHead head;
  auto random = testRandom();
  std::vector<tag_qmRTCorres> corres(500);
  std::vector<double> serial;
  for (tag_qmRTCorres& c : corres) {
    c = head.correspondence(head.randomPoint(random));
    addNoise(c, random, 1.0);
  }
  const auto fitAll = [&] {
    std::vector<double> depths;
    for (const tag_qmRTCorres& c : corres) {
      Outputs o[3];
      planar(*head.tensor(), c, kInOrder, o[0]);
      linear(*head.tensor(), c, kInOrder, o[1]);
      singular(*head.tensor(), c, 0, 1, o[2]);
      for (const Outputs& out : o) depths.push_back(out.depth);
    }
    return depths;
  };
  serial = fitAll();
  std::vector<std::vector<double>> results(4);
  std::vector<std::thread> threads;
  for (auto& result : results) threads.emplace_back([&] { result = fitAll(); });
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(results, Each(serial));
}

TEST(AllFits, RefuseACameraThatIsNoneWithNothingWritten) {
  const SampleHead head;
  const tag_qmRTCorres corres = head.correspondence(head.point(0, 0, 0));
  const std::int32_t bad[][3] = {{-1, 1, 2}, {3, 1, 2}, {0, -1, 2}, {0, 3, 2}, {0, 1, -1}, {0, 1, 3}};
  for (const auto& rbc : bad) {
    const RecordingLog log;
    Outputs o;
    EXPECT_EQ(planar(*head.tensor(), corres, rbc, o), 0);
    EXPECT_EQ(linear(*head.tensor(), corres, rbc, o), 0);
    EXPECT_TRUE(o.untouched());
    EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule), BareTrace(kModule)));
  }
  const RecordingLog log;
  Outputs o;
  EXPECT_EQ(singular(*head.tensor(), corres, 3, 1, o), 0);
  EXPECT_EQ(singular(*head.tensor(), corres, 0, -1, o), 0);
  EXPECT_TRUE(o.untouched());
  EXPECT_THAT(log.records(), SizeIs(2));
}

// --- Planar fit ----------------------------------------------------------------------------------------------------

TEST(PlanarFit, HandsOutThePlainNormalisationOfTheReference) {
  const SampleHead head;
  auto random = testRandom();
  for (int n = 0; n < 100; ++n) {
    tag_qmRTCorres corres = head.correspondence(head.randomPoint(random));
    addNoise(corres, random, 3.0);
    Outputs o;
    ASSERT_EQ(planar(*head.tensor(), corres, kInOrder, o), 1);
    EXPECT_THAT(o.ref[0],
                SameBits((corres.points[0].x - head.tensor()->imageCentre[0][0]) / head.tensor()->imageScale[0]));
    EXPECT_THAT(o.ref[1],
                SameBits((corres.points[0].y - head.tensor()->imageCentre[0][1]) / head.tensor()->imageScale[0]));
  }
}

TEST(PlanarFit, MeasuresBothResidualsByTheScaleOfCameraB) {
  SampleHead head;
  tag_qmReconsTensorData& t = *head.tensor();
  auto random = testRandom();
  for (int n = 0; n < 100; ++n) {
    tag_qmRTCorres corres = head.correspondence(head.randomPoint(random));
    addNoise(corres, random, 2.0);
    Outputs o;
    ASSERT_EQ(planar(t, corres, kInOrder, o), 1);
    double sum = 0.0;
    for (const int k : {1, 2}) {
      for (int i = 0; i < 2; ++i) {
        const double measured = i == 0 ? corres.points[k].x : corres.points[k].y;
        const double q = (measured - t.imageCentre[k][i]) / t.imageScale[k];
        const double d = (k == 1 ? o.b[i] : o.c[i]) - q;
        sum += d * d;
      }
    }
    EXPECT_THAT(o.error, Near(sum * t.imageScale[1] * t.imageScale[1], 1e-12 * (1.0 + o.error)));
    EXPECT_GT(o.error, 0.0);
  }
}

TEST(PlanarFit, GivesOneParallaxWhicheverTargetComesFirst) {
  auto random = testRandom();
  for (std::uint64_t seed = 0; seed < 100; ++seed) {
    SampleHead head(seed);
    tag_qmReconsTensorData& t = *head.tensor();
    tag_qmRTCorres corres = head.correspondence(head.randomPoint(random));
    addNoise(corres, random, 1.0);
    Outputs bc, cb;
    ASSERT_EQ(planar(t, corres, {0, 1, 2}, bc), 1);
    ASSERT_EQ(planar(t, corres, {0, 2, 1}, cb), 1);
    const double lambda = bc.depth * t.planarDepthScale[0][1];
    EXPECT_THAT(cb.depth * t.planarDepthScale[0][2], Near(lambda, 1e-9 * (1.0 + std::abs(lambda))));
    const double ratio = t.imageScale[1] / t.imageScale[2];
    EXPECT_THAT(bc.error, Near(cb.error * ratio * ratio, 1e-9 * (1.0 + bc.error)));
  }
}

TEST(PlanarFit, LetsTheEarlierOfTwoRootsOfEqualCostWin) {
  // 1 / (1 + l) in camera 1 and 1 / (1 - l) in camera 2, both measured at -1: the cost is even in l, with minima at
  // +-l0.
  BareHead head;
  head.transfer(1, {1, 0, 1}, {0, 0, 1});
  head.transfer(2, {1, 0, 1}, {0, 0, -1});
  head.measure(1, -1.0, 0.0);
  head.measure(2, -1.0, 0.0);
  Outputs o;
  ASSERT_EQ(planar(head.tensor(), head.corres(), kInOrder, o), 1);
  EXPECT_LT(o.depth, -1.0);
  const auto cost = [](double l) { return std::pow(1 / (1 + l) + 1, 2) + std::pow(1 / (1 - l) + 1, 2); };
  EXPECT_THAT(o.error, Near(cost(-o.depth), 1e-14));
}

TEST(PlanarFit, FailsWhenTheQuarticVanishes) {
  BareHead head;  // no epipoles: nothing depends on l
  head.transfer(1, {1, 2, 1}, {0, 0, 0});
  head.transfer(2, {1, 2, 1}, {0, 0, 0});
  Outputs o;
  const RecordingLog log;
  EXPECT_EQ(planar(head.tensor(), head.corres(), kInOrder, o), 0);
  EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
  EXPECT_FALSE(o.ref.untouched(0));
  EXPECT_TRUE(o.b.untouched() && o.c.untouched());
  EXPECT_EQ(o.error, -99.0);
  EXPECT_EQ(o.depth, -99.0);
}

TEST(PlanarFit, FailsForMeasurementsThatAreNotFinite) {
  const SampleHead head;
  for (const double bad : {kNaN, std::numeric_limits<double>::infinity()}) {
    for (int camera = 0; camera < 3; ++camera) {
      tag_qmRTCorres corres = head.correspondence(head.point(0, 0, 0));
      corres.points[camera].x = bad;
      Outputs o;
      EXPECT_EQ(planar(*head.tensor(), corres, kInOrder, o), 0);
      EXPECT_EQ(o.depth, -99.0);
    }
  }
}

/// A head without a stationary point: 1 / (1 + l) in camera 1, measured at 0; camera 2 does not move.
BareHead headWithoutRoots() {
  BareHead head;
  head.transfer(1, {1, 0, 1}, {0, 0, 1});
  head.transfer(2, {3, 4, 2}, {0, 0, 0});
  head.measure(1, 0.0, 0.0);
  head.measure(2, 1.5, 2.0);
  return head;
}

TEST(PlanarFit, TakesTheCallersDepthForTheParallaxWhenThereIsNoRoot) {
  BareHead head = headWithoutRoots();
  head.tensor().planarDepthScale[0][1] = 4.0;
  Outputs o;
  o.depth = 3.0;
  const RecordingLog log;
  EXPECT_EQ(planar(head.tensor(), head.corres(), kInOrder, o), 1);
  EXPECT_EQ(o.error, kLargestFloat);
  EXPECT_EQ(o.depth, 0.75);
  EXPECT_EQ(o.b[0], 0.25);
  EXPECT_EQ(o.c[0], 1.5);
  EXPECT_EQ(o.c[1], 2.0);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST(PlanarFit, FailsAtTheEndWhenTheCallersDepthLeadsNowhereInCameraB) {
  BareHead head = headWithoutRoots();
  Outputs o;
  o.depth = -1.0;
  const RecordingLog log;
  EXPECT_EQ(planar(head.tensor(), head.corres(), kInOrder, o), 0);
  EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
  EXPECT_EQ(o.error, kLargestFloat);
  EXPECT_EQ(o.depth, -1.0);
  EXPECT_TRUE(o.b.untouched());
}

TEST(PlanarFit, TreatsCostsBeyondTheLargestFloatLikeNoRootAndFailsAtTheEndInCameraC) {
  // The even cost of above, in a scale that makes it too large: the caller's depth of 1 has no position in camera 2.
  BareHead head;
  head.transfer(1, {1, 0, 1}, {0, 0, 1});
  head.transfer(2, {1, 0, 1}, {0, 0, -1});
  head.measure(1, -1.0, 0.0);
  head.measure(2, -1.0, 0.0);
  head.tensor().imageScale[1] = 1.0;
  Outputs fine;
  ASSERT_EQ(planar(head.tensor(), head.corres(), kInOrder, fine), 1);
  head.tensor().imageScale[1] = 1e30;
  head.tensor().imageCentre[1][0] = 0.0;
  head.measure(1, -1e30, 0.0);
  Outputs o;
  o.depth = 3.0;
  EXPECT_EQ(planar(head.tensor(), head.corres(), kInOrder, o), 1);
  EXPECT_EQ(o.error, kLargestFloat);
  EXPECT_EQ(o.depth, 3.0);
  EXPECT_EQ(o.b[0], 0.25);
  EXPECT_EQ(o.c[0], -0.5);
  o.depth = 1.0;
  const RecordingLog log;
  EXPECT_EQ(planar(head.tensor(), head.corres(), kInOrder, o), 0);
  EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
  EXPECT_EQ(o.b[0], 0.5);
  EXPECT_EQ(o.depth, 1.0);
}

TEST(PlanarFit, FailsWhenARootHasNoPositionInOneOfTheCameras) {
  // The camera whose epipole is parallel to its fixed part contributes nothing but the triple root where its
  // denominator is 0.
  for (const int still : {1, 2}) {
    BareHead head;
    head.transfer(still, {0, 0, 1}, {0, 0, 1});
    head.transfer(3 - still, {1, 0, 1}, {0, 0, 0.5});
    Outputs o;
    const RecordingLog log;
    EXPECT_EQ(planar(head.tensor(), head.corres(), kInOrder, o), 0);
    EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
    EXPECT_EQ(o.b.untouched(), still == 1);
    EXPECT_TRUE(o.c.untouched());
    EXPECT_EQ(o.error, -99.0);
    EXPECT_EQ(o.depth, -99.0);
  }
}

TEST(CandidateEntries, FollowTheKindAndTheCount) {
  using quelcore::candidateEntries;
  EXPECT_EQ(candidateEntries(0, 2), 0b0001U);
  EXPECT_EQ(candidateEntries(0, 4), 0b0101U);
  for (const std::int32_t count : {-1, 0, 1, 3, 5}) EXPECT_EQ(candidateEntries(0, count), 0U);
  for (const std::int32_t count : {-1, 0, 4, 9}) EXPECT_EQ(candidateEntries(1, count), 0b0011U);
  const unsigned first[] = {0b0000, 0b0001, 0b0011, 0b0111, 0b1111, 0b1111, 0b1111};
  for (std::int32_t count = 0; count < 6; ++count) {
    EXPECT_EQ(candidateEntries(2, count + 1), first[count]);
    EXPECT_EQ(candidateEntries(3, count), first[count]);
    EXPECT_EQ(candidateEntries(4, count), first[count]);
  }
  constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
  constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
  for (const std::int32_t kind : {2, 3, 4}) {
    EXPECT_EQ(candidateEntries(kind, kLeast), 0U);
    EXPECT_EQ(candidateEntries(kind, 0), 0U);
    EXPECT_EQ(candidateEntries(kind, kMost), 0b1111U);
  }
  for (const std::int32_t kind : {-1, 5, kLeast, kMost}) EXPECT_FALSE(candidateEntries(kind, 4).has_value());
}

TEST(StationaryQuartic, IsTheNumeratorOfTheDerivativeOfTheCost) {
  auto random = testRandom();
  const auto draw = [&] { return uniform(random, -2, 2); };
  for (int n = 0; n < 20000; ++n) {
    const quelcore::Transfer b = {{draw(), draw(), draw()}, {draw(), draw(), draw()}};
    const quelcore::Transfer c = {{draw(), draw(), draw()}, {draw(), draw(), draw()}};
    const quelcore::Position qb = {draw(), draw()};
    const quelcore::Position qc = {draw(), draw()};
    const quelcore::Quartic Q = quelcore::stationaryQuartic(b, qb, c, qc);
    const long double l = draw();
    const auto numerator = [&](const quelcore::Transfer& t, quelcore::Position q) {
      const long double mx = t.fixed.x, my = t.fixed.y, mz = t.fixed.z;
      const long double ex = t.epipole.x, ey = t.epipole.y, ez = t.epipole.z;
      return 2 * ((ex * mz - mx * ez) * ((mx - q.x * mz) + l * (ex - q.x * ez)) +
                  (ey * mz - my * ez) * ((my - q.y * mz) + l * (ey - q.y * ez)));
    };
    const auto cubed = [&](const quelcore::Transfer& t) {
      const long double D = t.fixed.z + l * t.epipole.z;
      return D * D * D;
    };
    const long double expected = numerator(b, qb) * cubed(c) + numerator(c, qc) * cubed(b);
    const long double value = (((Q.c4 * l + Q.c3) * l + Q.c2) * l + Q.c1) * l + Q.c0;
    EXPECT_THAT(static_cast<double>(value), Near(static_cast<double>(expected), 1e-11));
  }
}

// --- Linear fit ----------------------------------------------------------------------------------------------------

/// The three unknowns of the linear fit by Gaussian elimination in extended precision, from the definition of the
/// residuals.
struct Unknowns {
  long double lambda, dx, dy;
};

Unknowns solveLinear(const tag_qmReconsTensorData& t, const tag_qmRTCorres& corres, const std::int32_t (&rbc)[3]) {
  const auto norm = [&](int k, int i) {
    const long double value = i == 0 ? corres.points[k].x : corres.points[k].y;
    return (value - t.imageCentre[k][i]) / t.imageScale[k];
  };
  const long double p[3] = {norm(rbc[0], 0), norm(rbc[0], 1), 1.0L};
  long double M[3][4] = {{0, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}};
  for (const int k : {rbc[1], rbc[2]}) {
    const auto& H = t.planarTransfer[rbc[0]][k];
    const auto& e = t.epipole[rbc[0]][k];
    for (int i = 0; i < 2; ++i) {
      const long double q = norm(k, i);
      long double R = 0;
      for (int j = 0; j < 3; ++j) R += (H[i][j] - q * H[2][j]) * p[j];
      const long double row[4] = {e[i] - q * e[2], H[i][0] - q * H[2][0], H[i][1] - q * H[2][1], -R};
      for (int a = 0; a < 3; ++a) {
        for (int b = 0; b < 4; ++b) M[a][b] += row[a] * row[b];
      }
    }
  }
  for (int a = 0; a < 3; ++a) {
    for (int b = 0; b < 3; ++b) {
      if (b == a) continue;
      const long double factor = M[b][a] / M[a][a];
      for (int j = 0; j < 4; ++j) M[b][j] -= factor * M[a][j];
    }
  }
  return {M[0][3] / M[0][0], M[1][3] / M[1][1], M[2][3] / M[2][2]};
}

TEST(LinearFit, SolvesItsLeastSquaresProblem) {
  auto random = testRandom();
  for (std::uint64_t seed = 0; seed < 200; ++seed) {
    const auto kind = seed % 2 == 0 ? SampleHead::Kind::Converging : SampleHead::Kind::CommonImagePlane;
    const SampleHead head(seed, kind);
    const tag_qmReconsTensorData& t = *head.tensor();
    for (const auto& rbc : kTriples) {
      tag_qmRTCorres corres = head.correspondence(head.randomPoint(random));
      addNoise(corres, random, seed % 3 == 0 ? 0.01 : 3.0);
      Outputs o;
      ASSERT_EQ(linear(t, corres, rbc, o), 1);
      const Unknowns truth = solveLinear(t, corres, rbc);
      const double lambda = o.depth * t.planarDepthScale[rbc[0]][rbc[1]];
      EXPECT_THAT(lambda, Near(static_cast<double>(truth.lambda), 1e-9 * (1.0 + std::abs(lambda))));
      const double x = (corres.points[rbc[0]].x - t.imageCentre[rbc[0]][0]) / t.imageScale[rbc[0]];
      const double y = (corres.points[rbc[0]].y - t.imageCentre[rbc[0]][1]) / t.imageScale[rbc[0]];
      EXPECT_THAT(o.ref[0] - x, Near(static_cast<double>(truth.dx), 1e-10));
      EXPECT_THAT(o.ref[1] - y, Near(static_cast<double>(truth.dy), 1e-10));
    }
  }
}

TEST(LinearFit, CountsTheDisplacementOfTheReferenceInItsError) {
  SampleHead head;
  const tag_qmReconsTensorData& t = *head.tensor();
  auto random = testRandom();
  for (int n = 0; n < 100; ++n) {
    tag_qmRTCorres corres = head.correspondence(head.randomPoint(random));
    addNoise(corres, random, 2.0);
    Outputs o;
    ASSERT_EQ(linear(t, corres, kInOrder, o), 1);
    double sum = 0.0;
    const double* fitted[3] = {&*o.ref, &*o.b, &*o.c};
    for (int k = 0; k < 3; ++k) {
      for (int i = 0; i < 2; ++i) {
        const double measured = i == 0 ? corres.points[k].x : corres.points[k].y;
        const double d = fitted[k][i] - (measured - t.imageCentre[k][i]) / t.imageScale[k];
        sum += d * d;
      }
    }
    EXPECT_THAT(o.error, Near(sum * t.imageScale[1] * t.imageScale[1], 1e-9 * (1.0 + o.error)));
  }
}

TEST(LinearFit, LeadsFromTheMovedReferenceToItsPositions) {
  SampleHead head;
  const tag_qmReconsTensorData& t = *head.tensor();
  auto random = testRandom();
  tag_qmRTCorres corres = head.correspondence(head.randomPoint(random));
  addNoise(corres, random, 3.0);
  Outputs o;
  ASSERT_EQ(linear(t, corres, kInOrder, o), 1);
  const double lambda = o.depth * t.planarDepthScale[0][1];
  for (const int k : {1, 2}) {
    double h[3];
    for (int i = 0; i < 3; ++i) {
      const auto& row = t.planarTransfer[0][k][i];
      h[i] = row[0] * o.ref[0] + row[1] * o.ref[1] + row[2] + lambda * t.epipole[0][k][i];
    }
    EXPECT_THAT((k == 1 ? o.b[0] : o.c[0]), Near(h[0] / h[2], 1e-12));
    EXPECT_THAT((k == 1 ? o.b[1] : o.c[1]), Near(h[1] / h[2], 1e-12));
  }
}

// Number by number, in the stated order, without scale; for systems whose pivots are all large enough.
struct PlainLinearFit {
  double parallax, ref[2], target[2][2], error;

  PlainLinearFit(const tag_qmReconsTensorData& t, const tag_qmRTCorres& m, const std::int32_t (&rbc)[3]) {
    const auto normalised = [&](int k, int axis) {
      const qmRTCorresPoint& point = m.points[k];
      return ((axis == 0 ? point.x : point.y) - t.imageCentre[k][axis]) / t.imageScale[k];
    };
    const double p[2] = {normalised(rbc[0], 0), normalised(rbc[0], 1)};
    double products[3][3] = {}, right[3] = {};
    for (const int k : {rbc[1], rbc[2]}) {
      const auto& H = t.planarTransfer[rbc[0]][k];
      const auto& e = t.epipole[rbc[0]][k];
      for (int axis = 0; axis < 2; ++axis) {
        const double s = normalised(k, axis);
        const double of[3] = {e[axis] - s * e[2], H[axis][0] - s * H[2][0], H[axis][1] - s * H[2][1]};
        const double rest =
            ((H[axis][0] * p[0] + H[axis][1] * p[1]) + H[axis][2]) - s * ((H[2][0] * p[0] + H[2][1] * p[1]) + H[2][2]);
        for (int i = 0; i < 3; ++i) {
          right[i] -= of[i] * rest;
          for (int j = 0; j < 3; ++j) products[i][j] += of[i] * of[j];
        }
      }
    }
    double a[3][3], x[3], g[3];
    for (int i = 0; i < 3; ++i) {
      g[i] = 2 * right[i];
      for (int j = 0; j < 3; ++j) a[i][j] = 2 * products[i][j] + (i == j && i > 0 ? 2 : 0);
    }
    const double l10 = a[1][0] / a[0][0], l20 = a[2][0] / a[0][0];
    const double d1 = a[1][1] - l10 * a[1][0], rest21 = a[2][1] - l20 * a[1][0], l21 = rest21 / d1;
    const double d2 = (a[2][2] - l20 * a[2][0]) - l21 * rest21;
    const double y1 = g[1] - l10 * g[0];
    x[2] = ((g[2] - l20 * g[0]) - l21 * y1) / d2;
    x[1] = y1 / d1 - l21 * x[2];
    x[0] = (g[0] / a[0][0] - l10 * x[1]) - l20 * x[2];
    parallax = x[0];
    for (int axis = 0; axis < 2; ++axis) ref[axis] = p[axis] + x[1 + axis];
    double squares = 0;
    for (int n = 0; n < 2; ++n) {
      const int k = rbc[1 + n];
      double h[3];
      for (int i = 0; i < 3; ++i) {
        const auto& row = t.planarTransfer[rbc[0]][k][i];
        h[i] = ((row[0] * ref[0] + row[1] * ref[1]) + row[2]) + parallax * t.epipole[rbc[0]][k][i];
      }
      for (int axis = 0; axis < 2; ++axis) target[n][axis] = h[axis] / h[2];
      const double dx = target[n][0] - normalised(k, 0), dy = target[n][1] - normalised(k, 1);
      squares = (squares + dx * dx) + dy * dy;
    }
    error = ((squares + x[1] * x[1]) + x[2] * x[2]) * (t.imageScale[rbc[1]] * t.imageScale[rbc[1]]);
  }
};

TEST(LinearFit, GivesTheBitsOfItsPlainForm) {
  auto random = testRandom();
  for (std::uint64_t seed = 1; seed <= 50; ++seed) {
    const SampleHead head(seed);
    const tag_qmReconsTensorData& t = *head.tensor();
    for (int n = 0; n < 40; ++n) {
      tag_qmRTCorres corres = head.correspondence(head.randomPoint(random));
      addNoise(corres, random, 3.0);
      const auto& rbc = kTriples[n % 6];
      const PlainLinearFit plain(t, corres, rbc);
      Outputs o;
      ASSERT_EQ(linear(t, corres, rbc, o), 1);
      ASSERT_THAT(o.depth, SameBits(plain.parallax / t.planarDepthScale[rbc[0]][rbc[1]])) << seed;
      for (int axis = 0; axis < 2; ++axis) {
        ASSERT_THAT(o.ref[axis], SameBits(plain.ref[axis]));
        ASSERT_THAT(o.b[axis], SameBits(plain.target[0][axis]));
        ASSERT_THAT(o.c[axis], SameBits(plain.target[1][axis]));
      }
      ASSERT_THAT(o.error, SameBits(plain.error));
    }
  }
}

TEST(LinearFit, OverwritesTheCallersDepth) {
  const SampleHead head;
  const tag_qmRTCorres corres = head.correspondence(head.point(0.3, 0.2, 0.1));
  Outputs a, b;
  a.depth = 1e30;
  b.depth = kNaN;
  ASSERT_EQ(linear(*head.tensor(), corres, kInOrder, a), 1);
  ASSERT_EQ(linear(*head.tensor(), corres, kInOrder, b), 1);
  EXPECT_THAT(a.depth, SameBits(b.depth));
}

TEST(LinearFit, TakesTheParallaxForZeroWhereNothingDependsOnIt) {
  BareHead head;
  head.transfer(1, {1, 2, 1}, {0, 0, 0});
  head.transfer(2, {1, 2, 1}, {0, 0, 0});
  Outputs o;
  EXPECT_EQ(linear(head.tensor(), head.corres(), kInOrder, o), 1);
  EXPECT_EQ(o.depth, 0.0);
}

TEST(LinearFit, WritesNothingWhenItsSystemCannotBeSolved) {
  const SampleHead head;
  tag_qmRTCorres corres = head.correspondence(head.point(0, 0, 0));
  corres.points[1].y = kNaN;
  Outputs o;
  const RecordingLog log;
  EXPECT_EQ(linear(*head.tensor(), corres, kInOrder, o), 0);
  EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
  EXPECT_TRUE(o.untouched());
}

TEST(LinearFit, KeepsTheUndividedParallaxWhenACameraHasNoPosition) {
  for (const int without : {1, 2}) {
    BareHead head;
    head.transfer(without, {2, 0, 0}, {1, 0, 0});  // third component 0 for every l
    head.transfer(3 - without, {2, 0, 1}, {1, 0, 0});
    head.tensor().planarDepthScale[0][1] = 8.0;
    Outputs o;
    const RecordingLog log;
    EXPECT_EQ(linear(head.tensor(), head.corres(), kInOrder, o), 0);
    EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
    EXPECT_THAT(o.depth, Near(-2.0, 1e-12));
    EXPECT_THAT(o.ref[0], Near(0.0, 1e-12));
    EXPECT_EQ(o.b.untouched(), without == 1);
    EXPECT_TRUE(o.c.untouched());
    EXPECT_EQ(o.error, -99.0);
  }
}

// --- Singular fit --------------------------------------------------------------------------------------------------

TEST(SingularFit, FindsTheNearestPlaceOnTheEpipolarLine) {
  auto random = testRandom();
  for (std::uint64_t seed = 0; seed < 200; ++seed) {
    const SampleHead head(seed, seed % 2 == 0 ? SampleHead::Kind::Converging : SampleHead::Kind::CommonImagePlane);
    const tag_qmReconsTensorData& t = *head.tensor();
    for (const auto& rbc : kTriples) {
      const int r = rbc[0];
      const int b = rbc[1];
      tag_qmRTCorres corres = head.correspondence(head.randomPoint(random));
      addNoise(corres, random, 3.0);
      Outputs o;
      ASSERT_EQ(singular(t, corres, r, b, o), 1);
      // The line through the images of l = 0 and of the epipole; the nearest point of it by the foot of the
      // perpendicular.
      long double m[3];
      const long double p[3] = {(corres.points[r].x - t.imageCentre[r][0]) / t.imageScale[r],
                                (corres.points[r].y - t.imageCentre[r][1]) / t.imageScale[r], 1.0L};
      for (int i = 0; i < 3; ++i) {
        m[i] = 0;
        for (int j = 0; j < 3; ++j) m[i] += t.singularTransfer[r][b][i][j] * p[j];
      }
      const auto& e = t.epipole[r][b];
      const long double line[3] = {m[1] * e[2] - m[2] * e[1], m[2] * e[0] - m[0] * e[2], m[0] * e[1] - m[1] * e[0]};
      const long double q[2] = {(corres.points[b].x - t.imageCentre[b][0]) / t.imageScale[b],
                                (corres.points[b].y - t.imageCentre[b][1]) / t.imageScale[b]};
      const long double norm = line[0] * line[0] + line[1] * line[1];
      const long double offset = (line[0] * q[0] + line[1] * q[1] + line[2]) / norm;
      EXPECT_THAT(o.b[0], Near(static_cast<double>(q[0] - offset * line[0]), 1e-9));
      EXPECT_THAT(o.b[1], Near(static_cast<double>(q[1] - offset * line[1]), 1e-9));
      const auto squared = static_cast<double>(offset * offset * norm);
      EXPECT_THAT(o.error, Near(squared * t.imageScale[b] * t.imageScale[b], 1e-7));
      // And the depth leads there.
      const double lambda = o.depth * t.singularDepthScale[r][b];
      const long double D = m[2] + lambda * e[2];
      EXPECT_THAT(o.b[0], Near(static_cast<double>((m[0] + lambda * e[0]) / D), 1e-12));
    }
  }
}

TEST(SingularFit, FailsWithNothingWrittenForAZeroEpipole) {
  BareHead head;
  head.transfer(1, {1, 2, 1}, {0, 0, 0});
  Outputs o;
  const RecordingLog log;
  EXPECT_EQ(singular(head.tensor(), head.corres(), 0, 1, o), 0);
  EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
  EXPECT_TRUE(o.untouched());
}

TEST(SingularFit, KeepsWhatIsUndividedWhenThePositionHasNoThirdComponent) {
  // Exact numbers never lead there; these underflow on the way.
  BareHead head;
  head.transfer(1, {1e-100, 0, 0}, {1e100, 0, 1e-180});
  head.tensor().singularDepthScale[0][1] = 8.0;
  Outputs o;
  const RecordingLog log;
  EXPECT_EQ(singular(head.tensor(), head.corres(), 0, 1, o), 0);
  EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
  EXPECT_EQ(o.depth, 0.0);
  EXPECT_EQ(o.b[0], 1e-100);
  EXPECT_EQ(o.b[1], 0.0);
  EXPECT_EQ(o.error, -99.0);
}

TEST(SingularFit, GoesOnWithMeasurementsThatAreNotFinite) {
  const SampleHead head;
  tag_qmRTCorres corres = head.correspondence(head.point(0, 0, 0));
  corres.points[1].x = kNaN;
  Outputs o;
  EXPECT_EQ(singular(*head.tensor(), corres, 0, 1, o), 1);  // NaN is not exactly 0
  EXPECT_TRUE(std::isnan(o.depth));
}

}  // namespace
