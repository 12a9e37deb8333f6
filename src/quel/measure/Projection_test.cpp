#include "quel/measure/Projection.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "quelcore/tensor/QmReconsTensor.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"
#include "testing/Numbers.h"
#include "testing/SampleHead.h"

namespace quel {
namespace {

using quel::testing::SameBits;
using quel::testing::SampleHead;
using quel::testing::testRandom;
using quel::testing::uniform;
using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::IsNan;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr Mode kModes[] = {Mode::Pinhole, Mode::Exact, Mode::Fast, Mode::ExactOrWithoutDepth, Mode::FastWithoutDepth};

HeadOptions withLuts() {
  HeadOptions options;
  options.luts = LutOptions{32.0, 3, 2};
  return options;
}

// In view, out of it, far off, behind the cameras and no points at all.
std::vector<Vec3> manyPoints(const SampleHead& sample, std::size_t count) {
  std::mt19937_64 random = testRandom();
  std::vector<Vec3> points;
  while (points.size() < count) {
    const double reach = points.size() % 3 == 0 ? 2000.0 : 200.0;
    points.push_back({uniform(random, -reach, reach), uniform(random, -reach, reach), uniform(random, -reach, reach)});
  }
  if (count > 20) {
    points[3] = {kNaN, 0, 0};
    points[7] = {0, kInfinity, 0};
    points[8] = {0, 0, 5000};
    for (int camera = 0; camera < 3; ++camera) {
      points[static_cast<std::size_t>(10 + camera)] = sample.pointOnPrincipalPlane(camera);
    }
  }
  return points;
}

bool isFinite(const Vec3& p) { return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]); }

// What the door for one point gives, with NaN where it fails or the point is behind the camera.
Vec2 byTheDoor(const SampleHead& sample, const Vec3& point, int camera, Mode mode) {
  Vec2 pixel = {kNaN, kNaN};
  if (!isFinite(point) || sample.depthBefore(point, camera) <= 0.0 ||
      qmRTProjectPointtoImage(sample.tensor(), point.data(), camera, static_cast<_ProjectDistortMode>(mode),
                              pixel.data()) != 1) {
    return {kNaN, kNaN};
  }
  return pixel;
}

bool same(const Vec2& a, const Vec2& b) {
  return (std::isnan(a[0]) && std::isnan(b[0]) && std::isnan(a[1]) && std::isnan(b[1])) ||
         std::memcmp(&a, &b, sizeof a) == 0;
}

TEST(Project, GivesTheBitsOfTheDoorForOnePoint) {
  for (const HeadOptions& options : {HeadOptions(), withLuts()}) {
    const SampleHead sample(options);
    const Head head = Head::fromRecord(*sample.tensor());
    for (const std::size_t count : {0U, 1U, 255U, 256U, 257U, 1000U}) {
      const std::vector<Vec3> points = manyPoints(sample, count);
      for (const Mode mode : kModes) {
        for (int camera = 0; camera < 3; ++camera) {
          const auto seen = project(head, points, camera, mode);
          ASSERT_TRUE(seen);
          ASSERT_EQ(seen->pixels.size(), count);
          for (std::size_t n = 0; n < count; ++n) {
            ASSERT_TRUE(same(seen->pixels[n], byTheDoor(sample, points[n], camera, mode)))
                << n << " mode " << static_cast<int>(mode);
            ASSERT_EQ(hasValue(seen->status[n]), !std::isnan(seen->pixels[n][0])) << n;
          }
        }
      }
    }
  }
}

TEST(Project, GivesTheSameOnAnyNumberOfThreadsAndForAllCamerasAtOnce) {
  for (const HeadOptions& options : {HeadOptions(), withLuts()}) {
    const SampleHead sample(options);
    const Head head = Head::fromRecord(*sample.tensor());
    const std::vector<Vec3> points = manyPoints(sample, 3000);
    for (const int threads : {0, 1, 2, 5, 1000}) {
      const auto all = projectAll(head, points, Mode::Exact, threads);
      ASSERT_TRUE(all);
      for (int camera = 0; camera < 3; ++camera) {
        const auto one = project(head, points, camera);
        const Pixels& of = all.value()[static_cast<std::size_t>(camera)];
        EXPECT_EQ(of.status, one->status);
        for (std::size_t n = 0; n < points.size(); ++n) ASSERT_TRUE(same(of.pixels[n], one->pixels[n])) << n;
        EXPECT_EQ(project(head, points, camera, Mode::Exact, threads)->status, one->status);
      }
    }
  }
}

TEST(Project, TellsWhyThereIsNoPixel) {
  const SampleHead sample;
  const Head head = Head::fromRecord(*sample.tensor());
  const Vec3 centre = centreOf(sample.cameras()[1]);
  const Vec3 points[] = {sample.point(0, 0, 0), {0, 900, 0},        {2 * centre[0], 2 * centre[1], 2 * centre[2]},
                         {kNaN, 0, 0},          {0, 0, -kInfinity}, sample.pointOnPrincipalPlane(1),
                         {1e300, 1e300, 1e300}};
  const auto seen = project(head, points, 1);
  ASSERT_TRUE(seen);
  EXPECT_EQ(seen->status[0], Status::Ok);
  EXPECT_EQ(seen->status[1], Status::Outside);
  EXPECT_EQ(seen->status[2], Status::Behind);
  EXPECT_EQ(seen->status[3], Status::Failed);
  EXPECT_EQ(seen->status[4], Status::Failed);
  EXPECT_EQ(seen->status[5], Status::Behind);
  EXPECT_FALSE(std::isnan(seen->pixels[1][0]));
  for (const std::size_t n : {2U, 3U, 4U, 5U}) EXPECT_THAT(seen->pixels[n], Each(IsNan())) << n;
}

TEST(Project, TellsWhereALutEnds) {
  const SampleHead sample(withLuts());
  const Head head = Head::fromRecord(*sample.tensor());
  const Vec3 deep[] = {{0, 0, -600}};  // below the last layer
  EXPECT_EQ(project(head, deep, 0)->status[0], Status::Distortion);
  EXPECT_THAT(project(head, deep, 0)->pixels[0], Each(IsNan()));
  EXPECT_EQ(project(head, deep, 0, Mode::ExactOrWithoutDepth)->status[0], Status::Ok);
  EXPECT_EQ(project(head, deep, 0, Mode::Pinhole)->status[0], Status::Ok);
}

TEST(Project, TakesAProjectionOfEitherSign) {
  const SampleHead sample;
  QmReconsTensor turned(*sample.tensor());
  for (auto& row : turned.projections[2]) {
    for (double& value : row) value = -value;
  }
  const Head head = Head::fromRecord(turned);
  const Vec3 before[] = {sample.point(0.1, 0.2, 0.3)};
  const Vec3 centre = centreOf(sample.cameras()[2]);
  const Vec3 behind[] = {{2 * centre[0], 2 * centre[1], 2 * centre[2]}};
  EXPECT_EQ(project(head, before, 2)->status[0], Status::Ok);
  EXPECT_EQ(project(head, behind, 2)->status[0], Status::Behind);
  EXPECT_TRUE(isBehind(head.record(), 2, behind[0]));
  EXPECT_FALSE(isBehind(head.record(), 2, before[0]));
  EXPECT_FALSE(isBehind(head.record(), 2, {kNaN, 0, 0}));
  const auto own = rays(head, project(head, before, 2)->pixels, 2);
  const auto other = rays(Head::fromRecord(*sample.tensor()), project(head, before, 2)->pixels, 2);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(own->directions[0][i], other->directions[0][i], 1e-12);
}

TEST(Project, KnowsNoOutsideWithoutAnImageSize) {
  QmReconsTensor record(*SampleHead().tensor());
  record.imageWidth = 0;
  const Vec3 points[] = {{0, 900, 0}};
  EXPECT_EQ(project(Head::fromRecord(record), points, 1)->status[0], Status::Ok);
}

TEST(Rays, LeadFromTheCameraThroughThePoints) {
  for (const HeadOptions& options : {HeadOptions(), withLuts()}) {
    const SampleHead sample(options);
    const Head head = Head::fromRecord(*sample.tensor());
    std::mt19937_64 random = testRandom();
    std::vector<Vec3> points(600);
    for (Vec3& point : points) point = sample.randomPoint(random);
    for (int camera = 0; camera < 3; ++camera) {
      const Vec3 centre = centreOf(sample.cameras()[static_cast<std::size_t>(camera)]);
      const auto seen = project(head, points, camera);
      const auto found = rays(head, seen->pixels, camera, true, 2);
      ASSERT_TRUE(found);
      for (std::size_t n = 0; n < points.size(); ++n) {
        ASSERT_EQ(found->status[n], Status::Ok);
        const Vec3 way = {points[n][0] - centre[0], points[n][1] - centre[1], points[n][2] - centre[2]};
        const double length = std::sqrt(dot(way, way));
        for (std::size_t i = 0; i < 3; ++i) {
          EXPECT_NEAR(found->origin[i], centre[i], 1e-6);
          ASSERT_NEAR(found->directions[n][i], way[i] / length, 1e-8);
        }
      }
    }
  }
}

TEST(Rays, TakeIdealPixelsAsTheyStandAndKeepTheirPlaceBesideBadOnes) {
  const SampleHead sample;
  const Head head = Head::fromRecord(*sample.tensor());
  const Vec2 pixels[] = {{700, 500}, {kNaN, 1}, {1, -kInfinity}, {10, 20}};
  const auto found = rays(head, pixels, 0, false);
  ASSERT_TRUE(found);
  EXPECT_THAT(found->status, ::testing::ElementsAre(Status::Ok, Status::Failed, Status::Failed, Status::Ok));
  EXPECT_THAT(found->directions[1], Each(IsNan()));
  double origin[3];
  const double pixel[1][2] = {{10, 20}};
  double direction[1][3];
  ASSERT_EQ(qmRTget3dRaysFromImgPts(sample.tensor(), 1, pixel, 0, origin, direction), 1);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(std::abs(found->directions[3][i]), std::abs(direction[0][i]));
  EXPECT_NEAR(dot(found->directions[0], found->directions[0]), 1.0, 1e-12);
}

TEST(Undistort, GivesTheBitsOfTheCallForOnePixel) {
  for (const HeadOptions& options : {HeadOptions(), withLuts()}) {
    const SampleHead sample(options);
    const Head head = Head::fromRecord(*sample.tensor());
    std::mt19937_64 random = testRandom();
    std::vector<Vec2> pixels(700);
    for (Vec2& p : pixels) p = {uniform(random, -4000, 6000), uniform(random, -4000, 5000)};
    pixels[5] = {kNaN, 2};
    pixels[6] = {kInfinity, 2};
    const tag_qmDistortParams* params = &sample.tensor()->distortParams[1];
    for (const std::optional<double> depth : {std::optional<double>(), std::optional(12.5)}) {
      const float single = static_cast<float>(depth.value_or(0.0));
      const float* z = depth ? &single : nullptr;
      const auto ideal = undistort(head, pixels, 1, depth, 3);
      const auto measured = distort(head, pixels, 1, depth, 3);
      ASSERT_TRUE(ideal && measured);
      for (std::size_t n = 0; n < pixels.size(); ++n) {
        Vec2 one = {kNaN, kNaN};
        const bool back = quelplatform::undistortOnePt(pixels[n].data(), params, z, one.data()) == 1;
        ASSERT_TRUE(same(ideal->pixels[n], one)) << n;
        ASSERT_EQ(ideal->status[n] == Status::Ok, back);
        Vec2 forth = {kNaN, kNaN};
        const bool there = qmDistortDistortOnePt(pixels[n].data(), params, z, forth.data()) == 1;
        ASSERT_TRUE(same(measured->pixels[n], forth)) << n;
        ASSERT_EQ(measured->status[n] == Status::Ok, there);
      }
      EXPECT_EQ(ideal->status[5], Status::Failed);
      EXPECT_EQ(measured->status[6], Status::Failed);
      EXPECT_THAT(ideal->status, ::testing::Contains(Status::Distortion));
    }
  }
}

TEST(Undistort, UndoesWhatDistortDoesAlsoInPlace) {
  const SampleHead sample;
  const Head head = Head::fromRecord(*sample.tensor());
  std::vector<Vec2> pixels = {{10, 20}, {1500, 1000}, {767.5, 511.5}};
  const std::vector<Vec2> before = pixels;
  std::vector<Status> status(3);
  ASSERT_TRUE(distort(head, pixels, 2, std::nullopt, 1, pixels, status));
  EXPECT_GT(std::abs(pixels[0][0] - before[0][0]), 0.01);
  ASSERT_TRUE(undistort(head, pixels, 2, std::nullopt, 1, pixels, status));
  EXPECT_THAT(status, Each(Status::Ok));
  for (std::size_t n = 0; n < 3; ++n) {
    EXPECT_NEAR(pixels[n][0], before[n][0], 1e-8);
    EXPECT_NEAR(pixels[n][1], before[n][1], 1e-8);
  }
}

TEST(Projection, RefusesWhatIsNoCameraAndArraysOfOtherLengths) {
  const Head head = Head::fromRecord(*SampleHead().tensor());
  const Vec3 points[2] = {};
  const Vec2 pixels[2] = {{1, 2}, {3, 4}};
  for (const int camera : {-1, 3}) {
    EXPECT_THAT(project(head, points, camera).error().cause, HasSubstr("no " + std::to_string(camera)));
    EXPECT_FALSE(rays(head, pixels, camera));
    EXPECT_FALSE(undistort(head, pixels, camera));
    EXPECT_FALSE(distort(head, pixels, camera));
  }
  Vec2 out[2] = {{7, 7}, {7, 7}};
  Vec3 directions[2] = {};
  Status status[2] = {Status::Ok, Status::Ok};
  const std::span<Vec2> one(out, 1);
  const std::span<Status> fewer(status, 1);
  EXPECT_THAT(project(head, points, 0, Mode::Exact, 1, one, status).error().cause,
              HasSubstr("has room for 1 values, and there are 2"));
  EXPECT_FALSE(project(head, points, 0, Mode::Exact, 1, out, fewer));
  EXPECT_FALSE(undistort(head, pixels, 0, std::nullopt, 1, one, status));
  EXPECT_FALSE(distort(head, pixels, 0, std::nullopt, 1, out, fewer));
  EXPECT_FALSE(rays(head, pixels, 0, true, 1, std::span<Vec3>(directions, 1), status));
  EXPECT_FALSE(rays(head, pixels, 0, true, 1, directions, fewer));
  EXPECT_EQ(out[0], (Vec2{7, 7})) << "a call that fails writes nothing";
}

TEST(Projection, RefusesAHeadWithoutProjectionsButForTheLens) {
  QmReconsTensor record(*SampleHead().tensor());
  record.projectionsValid = 0;
  const Head head = Head::fromRecord(record);
  const Vec3 points[1] = {};
  const Vec2 pixels[1] = {{1, 2}};
  EXPECT_THAT(project(head, points, 0).error().cause, HasSubstr("no projections"));
  EXPECT_THAT(projectAll(head, points).error().cause, HasSubstr("no projections"));
  EXPECT_THAT(rays(head, pixels, 0).error().cause, HasSubstr("no projections"));
  EXPECT_TRUE(undistort(head, pixels, 0));
  record.projectionsValid = 1;
  for (int i = 0; i < 3; ++i) record.projections[0][i][0] = 0.0;
  EXPECT_THAT(rays(Head::fromRecord(record), pixels, 0).error().cause, HasSubstr("no inverse"));
}

TEST(Status, HasANameAndAValueOrNone) {
  EXPECT_STREQ(nameOf(Status::Ok), "ok");
  EXPECT_STREQ(nameOf(Status::Failed), "failed");
  EXPECT_STREQ(nameOf(static_cast<Status>(17)), "");
  EXPECT_TRUE(hasValue(Status::Outside) && hasValue(Status::LinearInstead));
  EXPECT_FALSE(hasValue(Status::Behind) || hasValue(Status::Distortion));
}

}  // namespace
}  // namespace quel
