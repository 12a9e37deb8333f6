#include "models/Deviations.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>

#include "testing/TempHome.h"

namespace queltool {
namespace {

using ::testing::ElementsAre;

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

// The plane z = 0 up to x = 10, where it ends; what lies in z = 0.5 has no side.
class HalfPlane : public Nominal {
 public:
  void findNearest(std::span<const Vec3> points, std::span<Nearest> found) const override {
    for (std::size_t n = 0; n < points.size(); ++n) {
      const Vec3& p = points[n];
      const Side side = p[0] > 10.0 ? Side::Border : p[2] == 0.5 ? Side::Unknown : Side::Known;
      found[n] = {{p[0], p[1], 0.0}, {0.0, 0.0, 1.0}, p[2], side};
    }
  }
  double size() const override { return 10.0; }
  std::string title() const override { return "half a plane"; }
};

class Broken : public HalfPlane {
 public:
  void findNearest(std::span<const Vec3>, std::span<Nearest>) const override { throw std::runtime_error("broken"); }
};

class DeviationsOfPoints : public ::testing::Test {
 protected:
  quel::testing::TempHome home_;
};

TEST_F(DeviationsOfPoints, CountApartWhatHasNoSide) {
  const Deviations found =
      deviationsFrom(HalfPlane(), {{1, 0, 2}, {11, 0, 2}, {12, 0, 0.5}, {1, 0, 0.5}, {1, 0, -3}}, 7, 1);
  EXPECT_EQ(found.notFinite, 7u);
  EXPECT_EQ(found.atBorder, 2u);
  EXPECT_EQ(found.withoutSide, 1u);
  EXPECT_EQ(found.judged(), 2u);
  ASSERT_EQ(found.each.size(), 5u);
  EXPECT_EQ(found.each[0], 2.0);
  EXPECT_TRUE(std::isnan(found.each[1]) && std::isnan(found.each[2]) && std::isnan(found.each[3]));
  EXPECT_EQ(found.each[4], -3.0);
}

TEST_F(DeviationsOfPoints, AreTheSameOnAnyThreads) {
  std::mt19937_64 random(5);
  std::uniform_real_distribution<double> place(-20.0, 20.0);
  std::vector<Vec3> points(50001);
  for (Vec3& p : points) p = {place(random), place(random), place(random)};
  const Deviations one = deviationsFrom(HalfPlane(), points, 0, 1);
  for (const int threads : {0, 2, 3, 16}) {
    const Deviations more = deviationsFrom(HalfPlane(), points, 0, threads);
    EXPECT_EQ(more.atBorder, one.atBorder);
    for (std::size_t n = 0; n < points.size(); ++n) {
      ASSERT_TRUE(more.each[n] == one.each[n] || (std::isnan(more.each[n]) && std::isnan(one.each[n]))) << n;
    }
  }
}

TEST_F(DeviationsOfPoints, HandOnWhatANominalThrows) {
  for (const int threads : {1, 4}) {
    EXPECT_THROW(deviationsFrom(Broken(), std::vector<Vec3>(30000), 0, threads), std::runtime_error);
  }
}

TEST_F(DeviationsOfPoints, MayBeNone) {
  const Deviations found = deviationsFrom(HalfPlane(), {}, 3, 0);
  EXPECT_EQ(found.judged(), 0u);
  EXPECT_EQ(found.notFinite, 3u);
}

TEST_F(DeviationsOfPoints, HaveFiguresByHand) {
  // 1, 2, 3, 6: mean 3, squares 50, differences from the mean -2 -1 0 3.
  const std::vector<double> each = {3.0, kNone, 1.0, 6.0, 2.0, kNone};
  const DeviationFigures figures = figuresOf(each, {1.0, 3.0});
  EXPECT_EQ(figures.count, 4u);
  EXPECT_DOUBLE_EQ(figures.mean, 3.0);
  EXPECT_DOUBLE_EQ(figures.rms, std::sqrt(12.5));
  EXPECT_DOUBLE_EQ(figures.standardDeviation, std::sqrt(14.0 / 3.0));
  EXPECT_EQ(figures.smallest, 1.0);
  EXPECT_EQ(figures.largest, 6.0);
  EXPECT_EQ(figures.below, 0u);
  EXPECT_EQ(figures.within, 3u);
  EXPECT_EQ(figures.above, 1u);
  EXPECT_DOUBLE_EQ(figures.shareWithin(), 0.75);
  EXPECT_THAT(figures.bands,
              ElementsAre(1u, 3u));  // The middle is 2; 1 and 3 are at 100 %, where the next band begins.
}

TEST_F(DeviationsOfPoints, HaveNoStandardDeviationWhereThereIsOne) {
  const DeviationFigures figures = figuresOf(std::vector<double>{-0.5}, {-1.0, 1.0});
  EXPECT_TRUE(std::isnan(figures.standardDeviation));
  EXPECT_EQ(figures.quantile95, 0.5);
  EXPECT_EQ(figures.quantile99, 0.5);
}

TEST_F(DeviationsOfPoints, KeepTheDigitsOfASpreadThatIsSmallBesideTheMean) {
  const DeviationFigures figures = figuresOf(std::vector<double>{1e6 + 0.25, 1e6 - 0.25}, {-1.0, 1.0});
  EXPECT_NEAR(figures.standardDeviation, 0.25 * std::sqrt(2.0), 1e-9);
}

TEST(Quantile, IsTheSmallestValueWithAtLeastThatShare) {
  std::vector<double> values;
  for (int n = 100; n > 0; --n) values.push_back(n);
  EXPECT_EQ(quantileOf(values, 95), 95.0);
  EXPECT_EQ(quantileOf(values, 99), 99.0);
  values.push_back(101.0);  // 95 of 101 are 94.06 %.
  EXPECT_EQ(quantileOf(values, 95), 96.0);
  std::vector<double> twenty;
  for (int n = 1; n <= 20; ++n) twenty.push_back(n);
  EXPECT_EQ(quantileOf(twenty, 95), 19.0);
  EXPECT_EQ(quantileOf(twenty, 99), 20.0);
  std::vector<double> two = {7.0, 3.0};
  EXPECT_EQ(quantileOf(two, 50), 3.0);
  EXPECT_EQ(quantileOf(two, 51), 7.0);
}

TEST_F(DeviationsOfPoints, HaveQuantilesOfTheirSizes) {
  std::vector<double> each;
  for (int n = 1; n <= 200; ++n) each.push_back(n % 2 == 0 ? n : -n);
  const DeviationFigures figures = figuresOf(each, {-1.0, 1.0});
  EXPECT_EQ(figures.quantile95, 190.0);
  EXPECT_EQ(figures.quantile99, 198.0);
  EXPECT_EQ(figures.smallest, -199.0);
}

}  // namespace
}  // namespace queltool
