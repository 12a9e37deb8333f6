#include "web/PageCloud.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <random>

#include "quelcore/presentation/DeviationColorScheme.h"
#include "testing/TempHome.h"

namespace queltool {
namespace {

using testing::ElementsAre;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

class PageCloudTest : public testing::Test {
 protected:
  PageCloudTest() { DeviationColorScheme::FreeInstance(); }
  ~PageCloudTest() override { DeviationColorScheme::FreeInstance(); }

  quel::testing::TempHome home_;
  GradedBy limits_{-0.1, 0.1, false};
  DeviationSteps steps_{limits_};
};

// A column of planes, read number by number; `begin` goes on behind it.
std::vector<std::int64_t> columnOf(const std::string& planes, std::size_t rows, std::size_t bytes, std::size_t& begin) {
  std::vector<std::int64_t> column;
  std::int64_t last = 0;
  const std::int64_t turn = std::int64_t{1} << (8 * bytes);
  for (std::size_t row = 0; row < rows; ++row) {
    std::int64_t code = 0;
    for (std::size_t plane = bytes; plane-- > 0;) {
      code = code * 256 + static_cast<unsigned char>(planes[begin + plane * rows + row]);
    }
    last = (last + (code % 2 == 0 ? code / 2 : -(code / 2) - 1) + turn) % turn;
    column.push_back(bytes == 4 && last >= turn / 2 ? last - turn : last);
  }
  begin += rows * bytes;
  return column;
}

struct Decoded {
  std::vector<Vec3> points;
  std::vector<double> deviations;
};

Decoded decoded(const PageCloud& cloud, const DeviationSteps& steps) {
  Decoded all;
  all.points.resize(cloud.graded);
  std::size_t begin = 0;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const auto column = columnOf(cloud.gradedPlanes, cloud.graded, 2, begin);
    for (std::size_t i = 0; i < column.size(); ++i) {
      all.points[i][axis] = cloud.origin[axis] + static_cast<double>(column[i]) * cloud.cellStep;
    }
  }
  for (const std::int64_t value : columnOf(cloud.gradedPlanes, cloud.graded, 4, begin)) {
    all.deviations.push_back(steps.valueOf(static_cast<double>(value)));
  }
  EXPECT_EQ(begin, cloud.gradedPlanes.size());
  return all;
}

// Every point at a place of its own, by which its deviation can be told.
TEST_F(PageCloudTest, HoldsEveryPointWithItsDeviation) {
  std::mt19937 random(7);
  std::uniform_real_distribution<double> share(-50.0, 50.0);
  std::vector<Vec3> points;
  std::vector<double> deviations;
  for (int i = 0; i < 3000; ++i) {
    points.push_back({share(random), share(random), share(random)});
    deviations.push_back(0.01 * points.back()[0]);
  }
  const PageCloud cloud = pageCloudOf(points, deviations, steps_);
  const Decoded page = decoded(cloud, steps_);
  ASSERT_EQ(page.points.size(), 3000U);
  std::vector<bool> found(points.size());
  for (std::size_t i = 0; i < page.points.size(); ++i) {
    EXPECT_NEAR(page.deviations[i], 0.01 * page.points[i][0], 2.0 * steps_.step() + 0.01 * cloud.cellStep);
    for (std::size_t k = 0; k < points.size(); ++k) {
      bool isHere = true;
      for (std::size_t axis = 0; axis < 3; ++axis) {
        isHere = isHere && std::abs(page.points[i][axis] - points[k][axis]) <= 0.5001 * cloud.cellStep;
      }
      if (isHere) found[k] = true;
    }
  }
  EXPECT_THAT(found, testing::Each(true));
}

TEST_F(PageCloudTest, KeepsPointsWithoutDeviationApartAndLeavesOutWhatIsNotFinite) {
  const std::vector<Vec3> points = {{0, 0, 0}, {1, 0, 0}, {kNaN, 0, 0}, {0, HUGE_VAL, 0}, {0, 1, 0}};
  const std::vector<double> deviations = {0.05, kNaN, 0.05, 0.05, -0.2};
  const PageCloud cloud = pageCloudOf(points, deviations, steps_);
  EXPECT_EQ(cloud.points, 3U);
  EXPECT_EQ(cloud.notFinite, 2U);
  EXPECT_EQ(cloud.graded, 2U);
  EXPECT_EQ(cloud.ungraded, 1U);
  EXPECT_EQ(cloud.gradedPlanes.size(), 20U);
  EXPECT_EQ(cloud.ungradedPlanes.size(), 6U);
  EXPECT_EQ(cloud.usualSteps, (std::array<double, 2>{-2000.0, 500.0}));
}

TEST_F(PageCloudTest, OfNothingIsEmpty) {
  const PageCloud cloud = pageCloudOf({}, {}, steps_);
  EXPECT_EQ(cloud.points, 0U);
  EXPECT_EQ(cloud.gradedPlanes, "");
  EXPECT_EQ(cloud.usualSteps, (std::array<double, 2>{0.0, 0.0}));
}

// Of a row of points every other one is left, whether it has a deviation or not.
TEST_F(PageCloudTest, ThinsEvenly) {
  std::vector<Vec3> points;
  std::vector<double> deviations;
  for (int i = 0; i < 1000; ++i) {
    points.push_back({1.0 * i, 0.0, 0.0});
    deviations.push_back(i < 500 ? 0.0001 * i : kNaN);
  }
  const PageCloud cloud = pageCloudOf(points, deviations, steps_, 500);
  EXPECT_EQ(cloud.points, 1000U);
  EXPECT_EQ(cloud.graded, 250U);
  EXPECT_EQ(cloud.ungraded, 250U);
  const Decoded page = decoded(cloud, steps_);
  for (std::size_t i = 0; i < 250; ++i) {
    EXPECT_NEAR(page.points[i][0], 2.0 * static_cast<double>(i), cloud.cellStep);
    EXPECT_NEAR(page.deviations[i], 0.0002 * static_cast<double>(i), 1.5 * steps_.step());
  }
}

TEST_F(PageCloudTest, CountsDeviationsThatAreFartherOffThanItsStepsReach) {
  const std::vector<Vec3> points = {{0, 0, 0}, {1, 0, 0}};
  EXPECT_EQ(pageCloudOf(points, std::vector<double>{HUGE_VAL, 1.0}, steps_).beyond, 1U);
}

TEST_F(PageCloudTest, GradesAreCountedByBandAndByPlace) {
  const std::vector<Vec3> points = {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {4, 0, 0}, {kNaN, 0, 0}};
  const std::vector<double> deviations = {-0.2, 0.05, 0.1, 0.3, kNaN, 0.05};
  const GradeCounts counts = countGrades(points, deviations, limits_, 2);
  EXPECT_THAT(counts.bands, ElementsAre(1, 3));  // On the limit the outer band begins.
  EXPECT_THAT(counts.places, ElementsAre(1, 2, 1));
  EXPECT_EQ(counts.none, 1U);
}

}  // namespace
}  // namespace queltool
