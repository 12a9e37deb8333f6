#include "quel/measure/Triangulation.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "quel/measure/Projection.h"
#include "quelcore/tensor/QmReconsTensor.h"
#include "testing/Numbers.h"
#include "testing/SampleHead.h"

namespace quel {
namespace {

using quel::testing::SampleHead;
using quel::testing::testRandom;
using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::IsNan;
using Kind = SampleHead::Kind;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr Fit kFits[] = {Fit::Linear, Fit::Planar, Fit::Singular, Fit::Rays};

using PixelsOfThree = std::array<std::vector<Vec2>, 3>;
using Spans = std::array<std::span<const Vec2>, 3>;

Spans spansOf(const PixelsOfThree& pixels) { return {pixels[0], pixels[1], pixels[2]}; }

// Where the sample's own cameras see the points, off by `noise` of a normal distribution.
PixelsOfThree seenBy(const SampleHead& sample, const std::vector<Vec3>& points, double noise, std::mt19937_64& random) {
  std::normal_distribution<double> off(0.0, 1.0);
  PixelsOfThree pixels;
  for (const Vec3& point : points) {
    for (int camera = 0; camera < 3; ++camera) {
      const Vec2 seen = sample.pixel(point, camera);
      pixels[static_cast<std::size_t>(camera)].push_back(
          {seen[0] + noise * off(random), seen[1] + noise * off(random)});
    }
  }
  return pixels;
}

std::vector<Vec3> randomPoints(const SampleHead& sample, std::size_t count, std::mt19937_64& random) {
  std::vector<Vec3> points(count);
  for (Vec3& point : points) point = sample.randomPoint(random);
  return points;
}

double distance(const Vec3& a, const Vec3& b) { return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]); }

template <typename T>
bool sameBits(const std::vector<T>& a, const std::vector<T>& b) {
  return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0);
}

TEST(Triangulate, FindsThePointsThatExactPixelsCameFrom) {
  std::mt19937_64 random = testRandom();
  for (const Kind kind : {Kind::Converging, Kind::CommonImagePlane}) {
    for (std::uint64_t seed = 0; seed < 5; ++seed) {
      const SampleHead sample(seed, kind);
      const std::vector<Vec3> points = randomPoints(sample, 40, random);
      const PixelsOfThree pixels = seenBy(sample, points, 0.0, random);
      const Head head = Head::fromRecord(*sample.tensor());
      for (const Fit fit : kFits) {
        for (const FitCameras& cameras : kFitChoices) {
          TriangulateOptions options{.fit = fit, .reference = cameras.reference};
          options.targets = {{cameras.firstTarget, cameras.secondTarget}};
          const auto found = triangulate(head, spansOf(pixels), options);
          ASSERT_TRUE(found) << found.error().message();
          EXPECT_TRUE(found->covariance.empty());
          for (std::size_t n = 0; n < points.size(); ++n) {
            ASSERT_TRUE(hasValue(found->status[n])) << nameOf(fit) << " " << nameOf(found->status[n]);
            EXPECT_LT(distance(found->points[n], points[n]), 1e-5) << nameOf(fit);
            EXPECT_LT(found->residuals[n], 1e-5) << nameOf(fit);
          }
        }
      }
    }
  }
}

TEST(Triangulate, TellsTheDistanceOfTheMeasuredPixelsFromWhereTheCamerasSeeThePoint) {
  std::mt19937_64 random = testRandom();
  const SampleHead sample(4);
  const Head head = Head::fromRecord(*sample.tensor());
  const PixelsOfThree pixels = seenBy(sample, randomPoints(sample, 300, random), 0.3, random);
  for (const Fit fit : kFits) {
    const auto found = triangulate(head, spansOf(pixels), {.fit = fit});
    for (std::size_t n = 0; n < 300; ++n) {
      double sum = 0.0;
      const int used = fit == Fit::Singular ? 2 : 3;
      for (int camera = 0; camera < used; ++camera) {
        const Vec2 seen = sample.pixel(found->points[n], camera);
        const Vec2& measured = pixels[static_cast<std::size_t>(camera)][n];
        sum += std::pow(seen[0] - measured[0], 2) + std::pow(seen[1] - measured[1], 2);
      }
      ASSERT_NEAR(found->residuals[n], std::sqrt(sum / used), 1e-7) << nameOf(fit);
    }
  }
}

TEST(Triangulate, OfIdealPixelsLeavesTheLensOut) {
  std::mt19937_64 random = testRandom();
  const SampleHead sample;
  const std::vector<Vec3> points = randomPoints(sample, 10, random);
  PixelsOfThree pixels;
  for (const Vec3& point : points) {
    for (int camera = 0; camera < 3; ++camera) {
      pixels[static_cast<std::size_t>(camera)].push_back(sample.pinholePixel(point, camera));
    }
  }
  const auto found =
      triangulate(Head::fromRecord(*sample.tensor()), spansOf(pixels), {.distorted = false, .noise = 0.1});
  for (std::size_t n = 0; n < 10; ++n) {
    EXPECT_LT(distance(found->points[n], points[n]), 1e-6);
    EXPECT_LT(found->residuals[n], 1e-6);
  }
}

TEST(Triangulate, GivesTheSameBitsOnAnyNumberOfThreadsAndInAnyBatch) {
  std::mt19937_64 random = testRandom();
  const SampleHead sample(3);
  const Head head = Head::fromRecord(*sample.tensor());
  PixelsOfThree pixels = seenBy(sample, randomPoints(sample, 1500, random), 0.2, random);
  pixels[1][700][0] = kNaN;
  for (const Fit fit : kFits) {
    const TriangulateOptions alone{.fit = fit, .noise = 0.05};
    const auto expected = triangulate(head, spansOf(pixels), alone);
    for (const int threads : {0, 2, 3, 64}) {
      TriangulateOptions options = alone;
      options.threads = threads;
      const auto found = triangulate(head, spansOf(pixels), options);
      EXPECT_TRUE(sameBits(found->points, expected->points)) << nameOf(fit);
      EXPECT_TRUE(sameBits(found->residuals, expected->residuals));
      EXPECT_TRUE(sameBits(found->covariance, expected->covariance));
      EXPECT_EQ(found->status, expected->status);
    }
    for (const std::size_t n : {0U, 255U, 256U, 700U, 1499U}) {
      const Spans one = {std::span(&pixels[0][n], 1), std::span(&pixels[1][n], 1), std::span(&pixels[2][n], 1)};
      const auto found = triangulate(head, one, alone);
      EXPECT_EQ(std::memcmp(&found->points[0], &expected->points[n], sizeof(Vec3)), 0) << n;
      EXPECT_EQ(std::memcmp(&found->covariance[0], &expected->covariance[n], sizeof(Mat3)), 0) << n;
    }
  }
}

TEST(Triangulate, GivesNaNAndTheReasonWhereThereIsNoPoint) {
  std::mt19937_64 random = testRandom();
  const SampleHead sample;
  const Head head = Head::fromRecord(*sample.tensor());
  PixelsOfThree pixels = seenBy(sample, randomPoints(sample, 6, random), 0.0, random);
  pixels[0][1][1] = kNaN;
  pixels[1][2][0] = kInfinity;
  pixels[1][3] = {1e9, 1e9};  // beyond where the lens model is one-to-one
  for (const Fit fit : kFits) {
    const auto found = triangulate(head, spansOf(pixels), {.fit = fit, .noise = 0.05});
    EXPECT_EQ(found->status[0], Status::Ok);
    EXPECT_EQ(found->status[1], Status::Failed);
    EXPECT_EQ(found->status[2], Status::Failed);
    EXPECT_EQ(found->status[3], Status::Distortion);
    for (const std::size_t n : {1U, 2U, 3U}) {
      EXPECT_THAT(found->points[n], Each(IsNan()));
      EXPECT_THAT(found->residuals[n], IsNan());
      for (const Vec3& row : found->covariance[n]) EXPECT_THAT(row, Each(IsNan()));
    }
  }
}

TEST(Triangulate, TellsOfAPointBehindACamera) {
  const SampleHead sample;
  const Head head = Head::fromRecord(*sample.tensor());
  const Vec3 behind = {20.0, 30.0, 3000.0};
  PixelsOfThree pixels;
  for (int camera = 0; camera < 3; ++camera) {
    ASSERT_LT(sample.depthBefore(behind, camera), 0.0);
    pixels[static_cast<std::size_t>(camera)] = {sample.pinholePixel(behind, camera)};
  }
  for (const Fit fit : kFits) {
    const auto found = triangulate(head, spansOf(pixels), {.fit = fit, .distorted = false});
    EXPECT_EQ(found->status[0], Status::Behind) << nameOf(fit);
    EXPECT_THAT(found->points[0], Each(IsNan()));
    EXPECT_THAT(found->residuals[0], IsNan());
  }
}

TEST(Triangulate, LooksAtTwoCamerasAloneWithTheSingularFit) {
  std::mt19937_64 random = testRandom();
  const SampleHead sample;
  const std::vector<Vec3> points = randomPoints(sample, 20, random);
  const PixelsOfThree pixels = seenBy(sample, points, 0.0, random);
  const Head head = Head::fromRecord(*sample.tensor());
  TriangulateOptions options{.fit = Fit::Singular, .reference = 2, .noise = 0.05};
  options.targets = {{0, 1}};
  const auto found = triangulate(head, {pixels[0], std::span<const Vec2>(), pixels[2]}, options);
  ASSERT_TRUE(found) << found.error().message();
  for (std::size_t n = 0; n < points.size(); ++n) {
    EXPECT_EQ(found->status[n], Status::Ok);
    EXPECT_LT(distance(found->points[n], points[n]), 1e-6);
    EXPECT_FALSE(std::isnan(found->covariance[n][2][2]));
  }
}

TEST(Triangulate, TakesTheLinearFitWhereThePlanarOneMeetsItsPole) {
  std::mt19937_64 random = testRandom();
  std::size_t instead = 0;
  std::size_t planar = 0;
  for (std::uint64_t seed = 0; seed < 12; ++seed) {
    const SampleHead sample(seed, Kind::CommonImagePlane);
    QmReconsTensor record(*sample.tensor());
    // Two targets with one principal plane, and a reference before it: their denominators vanish at one parallax.
    for (int target = 1; target < 3; ++target) {
      record.epipole[0][target][2] = 0.05;
      for (int i = 0; i < 3; ++i) record.planarTransfer[0][target][2][i] = record.planarTransfer[0][1][2][i];
    }
    const Head head = Head::fromRecord(record);
    const PixelsOfThree pixels = seenBy(sample, randomPoints(sample, 50, random), 0.2, random);
    const auto found = triangulate(head, spansOf(pixels), {.fit = Fit::Planar, .noise = 0.1});
    const auto linear = triangulate(head, spansOf(pixels), {.fit = Fit::Linear, .noise = 0.1});
    for (std::size_t n = 0; n < 50; ++n) {
      if (found->status[n] == Status::Ok) ++planar;
      if (found->status[n] != Status::LinearInstead) continue;
      ++instead;
      EXPECT_EQ(found->points[n], linear->points[n]);
      EXPECT_EQ(found->residuals[n], linear->residuals[n]);
      EXPECT_EQ(found->covariance[n], linear->covariance[n]);
    }
  }
  EXPECT_GT(instead, 0U);
  EXPECT_GT(planar, 0U);
}

TEST(Triangulate, RefusesRaysThatAreParallel) {
  const SampleHead sample(1, Kind::CommonImagePlane);
  QmReconsTensor record(*sample.tensor());
  std::memcpy(record.projections[1], record.projections[0], sizeof record.projections[0]);
  std::memcpy(record.projections[2], record.projections[0], sizeof record.projections[0]);
  const PixelsOfThree pixels = {{{{700, 500}}, {{700, 500}}, {{700, 500}}}};
  const auto found = triangulate(Head::fromRecord(record), spansOf(pixels), {.fit = Fit::Rays, .distorted = false});
  EXPECT_EQ(found->status[0], Status::Failed);
}

// The covariance of `draws` points whose pixels were drawn about the given ones.
Mat3 drawnCovariance(const Head& head, const std::array<Vec2, 3>& pixels, double noise, TriangulateOptions options,
                     std::mt19937_64& random) {
  constexpr std::size_t kDraws = 100'000;
  std::normal_distribution<double> off(0.0, noise);
  PixelsOfThree drawn;
  for (std::size_t camera = 0; camera < 3; ++camera) {
    for (std::size_t n = 0; n < kDraws; ++n) {
      drawn[camera].push_back({pixels[camera][0] + off(random), pixels[camera][1] + off(random)});
    }
  }
  options.noise.reset();
  options.threads = 0;
  const auto found = triangulate(head, spansOf(drawn), options);
  Vec3 mean{};
  for (const Vec3& point : found->points) {
    for (std::size_t i = 0; i < 3; ++i) mean[i] += point[i] / kDraws;
  }
  Mat3 covariance{};
  for (const Vec3& point : found->points) {
    for (std::size_t i = 0; i < 3; ++i) {
      for (std::size_t k = 0; k < 3; ++k) covariance[i][k] += (point[i] - mean[i]) * (point[k] - mean[k]) / kDraws;
    }
  }
  return covariance;
}

void expectWithinFivePercent(const Mat3& told, const Mat3& drawn, const char* fit) {
  for (std::size_t i = 0; i < 3; ++i) {
    ASSERT_GT(drawn[i][i], 0.0);
    for (std::size_t k = 0; k < 3; ++k) {
      EXPECT_NEAR(told[i][k], drawn[i][k], 0.05 * std::sqrt(drawn[i][i] * drawn[k][k])) << fit << " " << i << k;
      EXPECT_EQ(told[i][k], told[k][i]);
    }
  }
}

TEST(Covariance, IsThatOfAHundredThousandDrawsToFivePercent) {
  constexpr double kNoise = 0.05;
  std::mt19937_64 random = testRandom();
  HeadOptions luts;
  luts.luts = LutOptions{32.0, 3, 2};
  const SampleHead samples[] = {SampleHead(), SampleHead(luts), SampleHead(5), SampleHead(2, Kind::CommonImagePlane)};
  int choice = 0;
  for (const SampleHead& sample : samples) {
    const Head head = Head::fromRecord(*sample.tensor());
    const PixelsOfThree seen = seenBy(sample, {sample.point(0.6, -0.5, 0.4)}, 0.2, random);
    const std::array<Vec2, 3> pixels = {seen[0][0], seen[1][0], seen[2][0]};
    for (const Fit fit : kFits) {
      const FitCameras& cameras = kFitChoices[static_cast<std::size_t>(choice++ % 6)];
      TriangulateOptions options{.fit = fit, .reference = cameras.reference, .noise = kNoise};
      options.targets = {{cameras.firstTarget, cameras.secondTarget}};
      const auto found = triangulate(head, spansOf(seen), options);
      ASSERT_EQ(found->status[0], Status::Ok);
      expectWithinFivePercent(found->covariance[0], drawnCovariance(head, pixels, kNoise, options, random),
                              nameOf(fit));
    }
  }
}

TEST(Covariance, OfThePlanarFitIsThatOfItsOwnDifferences) {
  constexpr double kStep = 0.01;
  std::mt19937_64 random = testRandom();
  for (std::uint64_t seed = 0; seed < 10; ++seed) {
    const SampleHead sample(seed);
    const Head head = Head::fromRecord(*sample.tensor());
    const PixelsOfThree pixels = seenBy(sample, randomPoints(sample, 1, random), 0.5, random);
    const TriangulateOptions options{.fit = Fit::Planar, .noise = 2.0};
    Mat3 expected{};
    for (std::size_t camera = 0; camera < 3; ++camera) {
      for (std::size_t axis = 0; axis < 2; ++axis) {
        PixelsOfThree ahead = pixels;
        PixelsOfThree behind = pixels;
        ahead[camera][0][axis] += kStep;
        behind[camera][0][axis] -= kStep;
        const Vec3 a = triangulate(head, spansOf(ahead), options)->points[0];
        const Vec3 b = triangulate(head, spansOf(behind), options)->points[0];
        for (std::size_t i = 0; i < 3; ++i) {
          for (std::size_t k = 0; k < 3; ++k) {
            expected[i][k] += 4.0 * (a[i] - b[i]) * (a[k] - b[k]) / (4.0 * kStep * kStep);
          }
        }
      }
    }
    const Mat3 told = triangulate(head, spansOf(pixels), options)->covariance[0];
    for (std::size_t i = 0; i < 3; ++i) {
      for (std::size_t k = 0; k < 3; ++k) {
        EXPECT_NEAR(told[i][k], expected[i][k], 1e-5 * std::sqrt(expected[i][i] * expected[k][k])) << seed;
      }
    }
  }
}

TEST(Covariance, IsThereWhereRoundingRefusesThePlanarFitBesideThePoint) {
  std::mt19937_64 random = testRandom();
  const SampleHead sample(2, Kind::CommonImagePlane);
  const Head head = Head::fromRecord(*sample.tensor());
  const PixelsOfThree pixels = seenBy(sample, randomPoints(sample, 500, random), 0.2, random);
  const auto found = triangulate(head, spansOf(pixels), {.fit = Fit::Planar, .noise = 0.1});
  for (std::size_t n = 0; n < 500; ++n) {
    ASSERT_TRUE(hasValue(found->status[n]));
    EXPECT_GT(found->covariance[n][2][2], 0.0) << n;
    EXPECT_LT(found->covariance[n][2][2], 1.0) << n;
  }
}

TEST(Covariance, GrowsWithTheSquareOfTheNoiseAndIsNoneWithoutIt) {
  std::mt19937_64 random = testRandom();
  const SampleHead sample;
  const Head head = Head::fromRecord(*sample.tensor());
  const PixelsOfThree pixels = seenBy(sample, randomPoints(sample, 3, random), 0.2, random);
  const auto one = triangulate(head, spansOf(pixels), {.noise = 0.25});
  const auto two = triangulate(head, spansOf(pixels), {.noise = 0.5});
  const auto none = triangulate(head, spansOf(pixels), {.noise = 0.0});
  for (std::size_t n = 0; n < 3; ++n) {
    for (std::size_t i = 0; i < 3; ++i) {
      for (std::size_t k = 0; k < 3; ++k) {
        EXPECT_DOUBLE_EQ(two->covariance[n][i][k], 4.0 * one->covariance[n][i][k]);
        EXPECT_EQ(none->covariance[n][i][k], 0.0);
      }
    }
  }
}

TEST(Covariance, IsNaNAtTheEdgeOfALut) {
  HeadOptions options;
  options.luts = LutOptions{32.0, 3, 2};
  const SampleHead sample(options);
  const Head head = Head::fromRecord(*sample.tensor());
  const tag_qmDistortLuts& luts = *sample.tensor()->distortParams[0].luts;
  const Vec2 corner[] = {{luts.gridOrigin[0], 500.0}};
  PixelsOfThree pixels;
  pixels[0] = distort(head, corner, 0)->pixels;
  pixels[1] = {{700.0, 500.0}};
  pixels[2] = {{700.0, 500.0}};
  const Vec2 inward[] = {{pixels[0][0][0] + 1e-3, pixels[0][0][1]}};
  pixels[0] = {inward[0]};
  const auto found = triangulate(head, spansOf(pixels), {.fit = Fit::Rays, .noise = 0.1});
  ASSERT_TRUE(found);
  if (hasValue(found->status[0])) {
    EXPECT_THAT(found->covariance[0][0], Each(IsNan()));
  } else {
    EXPECT_EQ(found->status[0], Status::Distortion);
  }
}

TEST(Triangulate, RefusesWhatItCannotWorkWith) {
  const SampleHead sample;
  const Head head = Head::fromRecord(*sample.tensor());
  const std::vector<Vec2> two(2, {700, 500});
  const Spans pixels = {two, two, two};
  const auto why = [&](TriangulateOptions options, const Spans& given) {
    const auto found = triangulate(head, given, options);
    return found ? std::string() : found.error().cause;
  };
  EXPECT_EQ(why({}, pixels), "");
  EXPECT_THAT(why({.reference = 3}, pixels), HasSubstr("reference camera is 0, 1 or 2, and is 3"));
  EXPECT_THAT(why({.reference = -1}, pixels), HasSubstr("is -1"));
  EXPECT_THAT(why({.reference = 1, .targets = {{1, 2}}}, pixels), HasSubstr("beside the reference 1, and are 1 and 2"));
  EXPECT_THAT(why({.targets = {{2, 2}}}, pixels), HasSubstr("are 2 and 2"));
  EXPECT_THAT(why({.noise = -0.1}, pixels), HasSubstr("the noise"));
  EXPECT_THAT(why({.noise = kNaN}, pixels), HasSubstr("the noise"));
  EXPECT_THAT(why({.noise = kInfinity}, pixels), HasSubstr("the noise"));
  const Spans unlike = {two, std::span(two).first(1), two};
  EXPECT_THAT(why({}, unlike), HasSubstr("camera 1 has 1 pixels, and the reference camera 2"));
  EXPECT_THAT(why({.fit = Fit::Singular}, unlike), HasSubstr("camera 1 has 1"));
  EXPECT_EQ(why({.fit = Fit::Singular, .targets = {{2, 1}}}, unlike), "");
  EXPECT_EQ(why({}, {}), "") << "no pixels make no points";
}

TEST(Triangulate, RefusesSpansOfOtherLengthsAndWritesNothing) {
  const SampleHead sample;
  const Head head = Head::fromRecord(*sample.tensor());
  const std::vector<Vec2> two(2, {700, 500});
  std::vector<Vec3> points(2, {7, 7, 7});
  std::vector<double> residuals(2, 7);
  std::vector<Status> status(2);
  std::vector<Mat3> covariance(1);
  const auto why = [&](const TriangulatedSpans& result, std::optional<double> noise) {
    const auto done = triangulate(head, {two, two, two}, {.noise = noise}, result);
    return done ? std::string() : done.error().cause;
  };
  EXPECT_EQ(why({points, residuals, status}, {}), "");
  points.assign(2, {7, 7, 7});
  EXPECT_THAT(why({std::span(points).first(1), residuals, status}, {}), HasSubstr("points has room for 1"));
  EXPECT_THAT(why({points, std::span(residuals).first(1), status}, {}), HasSubstr("residuals"));
  EXPECT_THAT(why({points, residuals, std::span(status).first(1)}, {}), HasSubstr("statuses"));
  EXPECT_THAT(why({points, residuals, status, covariance}, 0.1), HasSubstr("covariances has room for 1"));
  EXPECT_EQ(points[0], (Vec3{7, 7, 7}));
}

TEST(Triangulate, RefusesAHeadWithoutTheTablesThatItNeeds) {
  QmReconsTensor record(*SampleHead().tensor());
  const std::vector<Vec2> one(1, {700, 500});
  record.reconsFlag = 0;
  EXPECT_THAT(triangulate(Head::fromRecord(record), {one, one, one}).error().cause, HasSubstr("no metric tables"));
  EXPECT_TRUE(triangulate(Head::fromRecord(record), {one, one, one}, {.fit = Fit::Rays}));
  record.projectionsValid = 0;
  EXPECT_THAT(triangulate(Head::fromRecord(record), {one, one, one}, {.fit = Fit::Rays}).error().cause,
              HasSubstr("no projections"));
}

}  // namespace
}  // namespace quel
