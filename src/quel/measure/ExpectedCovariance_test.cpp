#include "quel/measure/ExpectedCovariance.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "quel/measure/Projection.h"
#include "testing/Numbers.h"
#include "testing/SampleHead.h"

namespace quel {
namespace {

using quel::testing::SampleHead;
using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::IsNan;

TEST(ExpectedCovariance, IsThatOfAPointMeasuredThere) {
  HeadOptions luts;
  luts.luts = LutOptions{32.0, 3, 2};
  for (const HeadOptions& made : {HeadOptions(), luts}) {
    const SampleHead sample(made);
    const Head head = Head::fromRecord(*sample.tensor());
    const Vec3 points[] = {sample.point(0, 0, 0), sample.point(0.5, -0.5, 0.9)};
    const auto seen = projectAll(head, points);
    for (const Fit fit : {Fit::Linear, Fit::Planar, Fit::Singular, Fit::Rays}) {
      const TriangulateOptions options{.fit = fit, .noise = 0.05};
      const auto expected = expectedCovariance(head, points, options);
      const auto measured = triangulate(head, {(*seen)[0].pixels, (*seen)[1].pixels, (*seen)[2].pixels}, options);
      ASSERT_TRUE(expected && measured);
      EXPECT_EQ(expected->covariance, measured->covariance);
      EXPECT_THAT(expected->status, Each(Status::Ok));
    }
  }
}

// Two cameras side by side at distance b see a point at depth z before them: by the rule of the normal case its
// depth is known to z^2 / (f b) times sqrt 2 sigma. A head of converging cameras comes near to that.
TEST(ExpectedCovariance, GrowsAsTheNormalCaseSays) {
  const SampleHead sample(1, SampleHead::Kind::CommonImagePlane);
  const Head head = Head::fromRecord(*sample.tensor());
  const Camera& left = sample.cameras()[1];
  const Camera& right = sample.cameras()[2];
  const Vec3 a = centreOf(left);
  const Vec3 b = centreOf(right);
  const double base = std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
  const Vec3 points[] = {sample.point(0, 0, 0)};
  const double depth = sample.depthBefore(points[0], 1);
  TriangulateOptions options{.fit = Fit::Singular, .reference = 1, .noise = 0.1};
  options.targets = {{2, 0}};
  const Mat3 told = expectedCovariance(head, points, options)->covariance[0];
  // Along the optical axis, which is the third row of the rotation.
  double variance = 0.0;
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t k = 0; k < 3; ++k) variance += left.rotation[2][i] * told[i][k] * left.rotation[2][k];
  }
  const double noise = 0.1 * std::hypot(1.0 / left.fx, 1.0 / right.fx);
  EXPECT_NEAR(std::sqrt(variance), depth * depth / base * noise, 0.02 * std::sqrt(variance));
}

TEST(ExpectedCovariance, IsNoneWhereACameraThatIsUsedDoesNotSeeThePoint) {
  const SampleHead sample;
  const Head head = Head::fromRecord(*sample.tensor());
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const Vec3 points[] = {{0, 0, 0}, {0, 900, 0}, {0, 0, 5000}, {nan, 0, 0}};
  const auto expected = expectedCovariance(head, points, {.noise = 0.05});
  ASSERT_TRUE(expected);
  EXPECT_THAT(expected->status, ::testing::ElementsAre(Status::Ok, Status::Outside, Status::Behind, Status::Failed));
  for (const std::size_t n : {1U, 2U, 3U}) EXPECT_THAT(expected->covariance[n][1], Each(IsNan()));
}

TEST(ExpectedCovariance, DoesNotAskACameraThatPlaysNoPart) {
  const SampleHead sample;
  const Head head = Head::fromRecord(*sample.tensor());
  // A place at the edge of the image of camera 0 that the others see.
  Vec3 point{};
  const auto statusOf = [&](int camera) { return project(head, std::span(&point, 1), camera)->status[0]; };
  while (statusOf(0) == Status::Ok && statusOf(1) == Status::Ok && statusOf(2) == Status::Ok) point[0] += 1.0;
  const int blind = statusOf(0) != Status::Ok ? 0 : statusOf(1) != Status::Ok ? 1 : 2;
  const int one = blind == 0 ? 1 : 0;
  const int other = blind == 2 ? 1 : 2;
  ASSERT_EQ(statusOf(one), Status::Ok);
  ASSERT_EQ(statusOf(other), Status::Ok);
  TriangulateOptions options{.fit = Fit::Singular, .reference = one, .noise = 0.05};
  options.targets = {{other, blind}};
  EXPECT_EQ(expectedCovariance(head, std::span(&point, 1), options)->status[0], Status::Ok);
  options.fit = Fit::Linear;
  EXPECT_EQ(expectedCovariance(head, std::span(&point, 1), options)->status[0], Status::Outside);
}

TEST(ExpectedCovariance, FailsWithoutANoiseAndAsTriangulationDoes) {
  const Head head = Head::fromRecord(*SampleHead().tensor());
  const Vec3 points[] = {{0, 0, 0}};
  EXPECT_THAT(expectedCovariance(head, points, {}).error().cause, HasSubstr("noise of the pixels is not given"));
  EXPECT_THAT(expectedCovariance(head, points, {.reference = 4, .noise = 0.1}).error().cause, HasSubstr("is 4"));
}

}  // namespace
}  // namespace quel
